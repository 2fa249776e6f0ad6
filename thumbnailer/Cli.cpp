#include "thumbnailer/Cli.h"

#include "gs/object/GSExceptions.h"
#include "thumbnailer/FileSafety.h"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstring>
#include <new>
#include <ostream>

namespace qm {

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

int runCli(int argc, char const* const* argv, std::ostream& out, std::ostream& err)
{
    CliContext context{out, err};
    // Temporary files being written are removed on SIGTERM and SIGINT.
    installSignalCleanup();
    try {
        CLI::App app("Shows and extracts the pictures that Quillmoor stores in its documents, and makes desktop "
                     "thumbnails of them.",
                     "quillmoor-thumbnailer");
        app.require_subcommand(1);
        app.fallthrough(false);
        addInfoCommand(app, context);
        addExtractCommand(app, context);
        addThumbnailCommand(app, context);
        addCacheCommand(app, context);
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
