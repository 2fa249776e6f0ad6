// The command line of quillmoor-thumbnailer: one CLI11 app with a subcommand per task. main() only
// calls runCli; each command lives in its own file and registers itself in runCli's list, so that
// commands are added beside each other without touching the others.
//
// Exit codes, shared by every command that produces output from a document:
//   0 success                      2 wrong usage
//   3 the file cannot be opened or read (or an output cannot be written)
//   4 not a Quillmoor document, or a version this program does not read
//   5 no stored picture (a selection file, or a document without one)
//   6 the document is damaged (cut short, records that contradict each other, beyond the limits)
// Each failure prints one line on stderr, "quillmoor-thumbnailer: FILE: reason", with control
// characters in names escaped (thumbnailer/FileSafety.h printable). With several files each is
// reported and the exit code is the first failure's. A failed write on standard output is exit 3.
#pragma once

#include "generator/GSThumbnailReason.h"
#include "generator/GSThumbnailWalk.h"

#include <iosfwd>
#include <string>

namespace CLI {
class App;
}

namespace qm {

enum ExitCode : int {
    kExitOk = 0,
    kExitUsage = 2,
    kExitCannotRead = 3,
    kExitNotADocument = 4,
    kExitNoPicture = 5,
    kExitDamaged = 6,
};

// Every exit code with its meaning, in the order --help and the manual page list them.
struct ExitCodeMeaning {
    int code;
    char const* meaning;
};
extern ExitCodeMeaning const kExitCodeMeanings[6];

// The exit code for the outcome of a document's walk.
int exitCodeFor(GSThumbnailReason reason);

// What the commands share while they run: the streams and the exit code so far.
struct CliContext {
    std::ostream& out;
    std::ostream& err;
    int exitCode = kExitOk;

    // Records a failure: prints its line and keeps the first failure's code.
    void fail(std::string const& file, std::string const& reason, int code);
    // Prints a failure's line, "quillmoor-thumbnailer: FILE: reason" (control characters
    // escaped), leaving the exit code to the caller.
    void report(std::string const& file, std::string const& reason);
};

// The reason of a walk as the failure line says it ("cannot open: No such file or directory").
std::string describeFailure(GSThumbnailResult const& result);
// "3.2" for 0x0302.
std::string versionText(short version);

// The commands, each adding its subcommand to the app.
void addInfoCommand(CLI::App& app, CliContext& context);
void addExtractCommand(CLI::App& app, CliContext& context);
// thumbnailer/DesktopCommands.cpp: `thumbnail` (one PNG, as desktops call it) and `cache`.
void addThumbnailCommand(CLI::App& app, CliContext& context);
void addCacheCommand(CLI::App& app, CliContext& context);

// The whole command line: the program's description, --version (the build's version), the exit
// codes under --help, and every command above. runCli parses with it and the manual page is
// written from it, so the two cannot disagree. May throw std::bad_alloc.
void buildCli(CLI::App& app, CliContext& context);

// "quillmoor-thumbnailer 0.1.0": what --version prints, the version being the build's.
std::string versionLine();

// Parses the arguments, runs the command and returns the exit code. Never throws.
int runCli(int argc, char const* const* argv, std::ostream& out, std::ostream& err);

} // namespace qm
