#include "thumbnailer/Cli.h"

#include "gs/object/GSExceptions.h"

#include <CLI/CLI.hpp>

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

void CliContext::fail(std::string const& file, std::string const& reason, int code)
{
    err << "quillmoor-thumbnailer: " << file << ": " << reason << '\n';
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

char const* pictureTypeName(short pictureType)
{
    return pictureType == 2 ? "jpeg" : pictureType == 3 ? "png" : "";
}

int runCli(int argc, char const* const* argv, std::ostream& out, std::ostream& err)
{
    CliContext context{out, err};
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
    return context.exitCode;
}

} // namespace qm
