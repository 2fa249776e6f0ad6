#include "thumbnailer/Cli.h"

#include "gs/object/GSExceptions.h"
#include "thumbnailer/FileSafety.h"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstring>
#include <new>
#include <ostream>

#ifndef QM_VERSION
#define QM_VERSION "0"
#endif

namespace qm {

ExitCodeMeaning const kExitCodeMeanings[6] = {
    {kExitOk, "success (info: every file could be opened)"},
    {kExitUsage, "wrong usage: the arguments are not understood, or an output that is the input itself"},
    {kExitCannotRead, "a file cannot be opened or read, or is not a regular file, or an output cannot be written "
                      "(standard output included)"},
    {kExitNotADocument, "not a Quillmoor document, or a version this program does not read"},
    {kExitNoPicture, "no stored picture: a selection file, or a document without one"},
    {kExitDamaged, "the document is damaged: cut short, records that contradict each other, beyond the limits, "
                   "or a picture that does not decode in time"},
};

int exitCodeFor(GSThumbnailReason reason)
{
    using R = GSThumbnailReason;
    switch (reason) {
    case R::kOk:
        return kExitOk;
    case R::kCannotOpen:
    case R::kReadError:
    case R::kOutOfMemory:
        return kExitCannotRead;
    case R::kNotADocument:
    case R::kUnsupportedVersion:
    case R::kUnsupportedThumbnailVersion:
        return kExitNotADocument;
    case R::kSelection:
    case R::kNoPicture:
    case R::kUnsupportedPictureType:
        return kExitNoPicture;
    case R::kTruncated:
    case R::kInconsistent:
    case R::kDuplicateObjectTable:
    case R::kLimitExceeded:
    case R::kObjectTableUnreadable:
        return kExitDamaged;
    }
    return kExitDamaged;
}

void CliContext::report(std::string const& file, std::string const& reason)
{
    err << "quillmoor-thumbnailer: " << printable(file) << ": " << printable(reason) << '\n';
}

void CliContext::fail(std::string const& file, std::string const& reason, int code)
{
    report(file, reason);
    if (exitCode == kExitOk)
        exitCode = code;
}

std::string describeFailure(GSThumbnailResult const& result)
{
    if (result.reason == GSThumbnailReason::kCannotOpen && result.openErrno != 0)
        return std::string("cannot open: ") + std::strerror(result.openErrno);
    return GSThumbnailReasonText(result.reason);
}

std::string versionText(short version)
{
    unsigned v = static_cast<unsigned short>(version);
    return std::to_string(v >> 8) + "." + std::to_string(v & 0xFFu);
}

std::string versionLine()
{
    return std::string("quillmoor-thumbnailer ") + QM_VERSION;
}

void buildCli(CLI::App& app, CliContext& context)
{
    app.name("quillmoor-thumbnailer");
    app.description("Shows and extracts the pictures that Quillmoor stores in its documents, and makes desktop "
                    "thumbnails of them.");
    app.set_version_flag("--version", versionLine(), "Print the program's version and exit");
    std::string codes = "Exit codes:";
    for (ExitCodeMeaning const& entry : kExitCodeMeanings)
        codes += "\n  " + std::to_string(entry.code) + "  " + entry.meaning;
    app.footer(codes);
    app.require_subcommand(1);
    app.fallthrough(false);
    addInfoCommand(app, context);
    addExtractCommand(app, context);
    addThumbnailCommand(app, context);
    addCacheCommand(app, context);
}

int runCli(int argc, char const* const* argv, std::ostream& out, std::ostream& err)
{
    CliContext context{out, err};
    // Temporary files being written are removed on SIGTERM and SIGINT.
    installSignalCleanup();
    try {
        CLI::App app;
        buildCli(app, context);
        try {
            app.parse(argc, argv);
        } catch (CLI::ParseError const& e) {
            // --help (and its like) are successes that print; everything else is wrong usage.
            if (e.get_exit_code() == 0)
                return app.exit(e, out, err);
            app.exit(e, out, err);
            return kExitUsage;
        }
    } catch (std::bad_alloc const&) {
        err << "quillmoor-thumbnailer: out of memory\n";
        return kExitCannotRead;
    } catch (bad_file const& e) {
        err << "quillmoor-thumbnailer: " << e.what() << '\n';
        return kExitDamaged;
    } catch (std::exception const& e) {
        err << "quillmoor-thumbnailer: " << e.what() << '\n';
        return kExitCannotRead;
    }
    // What was printed must have arrived: a full disk or a closed pipe is a failed write.
    errno = 0;
    out.flush();
    if (!out) {
        int error = errno;
        context.fail("standard output", std::string("cannot write: ") + std::strerror(error ? error : EIO),
                     kExitCannotRead);
    }
    return context.exitCode;
}

} // namespace qm
