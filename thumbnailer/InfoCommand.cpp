// `info [--json] FILE...`: what each file is and what picture it stores.
#include "thumbnailer/Cli.h"
#include "thumbnailer/FileSafety.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <memory>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

namespace qm {

namespace {

struct InfoOptions {
    std::vector<std::string> files;
    bool json = false;
};

char const* kindName(GSThumbnailResult::Kind kind)
{
    switch (kind) {
    case GSThumbnailResult::kDocument: return "document";
    case GSThumbnailResult::kSelection: return "selection";
    case GSThumbnailResult::kUnrecognised: break;
    }
    return "unrecognised";
}

bool versionKnown(GSThumbnailResult const& r)
{
    return r.kind != GSThumbnailResult::kUnrecognised && (r.written & GSThumbnailResult::kWroteVersion);
}

nlohmann::ordered_json toJson(std::string const& file, GSThumbnailResult const& r)
{
    nlohmann::ordered_json j;
    j["file"] = file;
    j["kind"] = kindName(r.kind);
    j["version"] = versionKnown(r) ? nlohmann::ordered_json(static_cast<int>(r.version)) : nlohmann::ordered_json();
    if (r.hasPicture()) {
        nlohmann::ordered_json t;
        t["type"] = GSPictureFormatName(r.format);
        t["bytes"] = r.pictureBytes;
        t["width"] = (r.written & GSThumbnailResult::kWroteWidth) ? nlohmann::ordered_json(r.size.width)
                                                                  : nlohmann::ordered_json();
        t["height"] = (r.written & GSThumbnailResult::kWroteHeight) ? nlohmann::ordered_json(r.size.height)
                                                                    : nlohmann::ordered_json();
        j["thumbnail"] = t;
    } else {
        j["thumbnail"] = nullptr;
    }
    return j;
}

std::string toText(std::string const& file, GSThumbnailResult const& r)
{
    std::ostringstream line;
    line << file << ": " << kindName(r.kind);
    if (r.kind == GSThumbnailResult::kUnrecognised)
        return line.str();
    if (versionKnown(r))
        line << ", version " << versionText(r.version);
    if (r.hasPicture()) {
        line << ", " << GSPictureFormatName(r.format) << " thumbnail, " << r.pictureBytes << " bytes";
        if ((r.written & GSThumbnailResult::kWroteWidth) && (r.written & GSThumbnailResult::kWroteHeight))
            line << ", " << r.size.width << " x " << r.size.height;
    } else {
        line << ", no thumbnail";
        if (r.reason != GSThumbnailReason::kNoPicture && r.reason != GSThumbnailReason::kSelection)
            line << " (" << GSThumbnailReasonText(r.reason) << ")";
    }
    return line.str();
}

void runInfo(InfoOptions const& options, CliContext& context)
{
    for (std::string const& file : options.files) {
        // Only a regular file is read (a FIFO or a device could block or never end).
        DocumentFile document;
        if (!document.open(file)) {
            context.fail(file, "cannot open: " + document.failureText(), kExitCannotRead);
            continue;
        }
        // The picture is located and checked, not read.
        GSThumbnailResult r = document.walk(nullptr, GSThumbnailLimits());
        int code = exitCodeFor(r.reason);
        if (code == kExitCannotRead) {
            context.fail(file, describeFailure(r), code);
            continue;
        }
        if (options.json)
            context.out << toJson(file, r).dump() << '\n';
        else
            context.out << toText(printable(file), r) << '\n';
    }
}

} // namespace

void addInfoCommand(CLI::App& app, CliContext& context)
{
    auto options = std::make_shared<InfoOptions>();
    CLI::App* info = app.add_subcommand(
        "info", "Print each file's kind (document, selection, unrecognised), its version and its stored picture "
                "(type, bytes, width, height). Exits 0 for every file it can open, 3 when one cannot be opened.");
    info->add_flag("--json", options->json, "One JSON object per line and file");
    info->add_option("FILE", options->files, "Documents to inspect")->required();
    info->callback([options, &context] { runInfo(*options, context); });
}

} // namespace qm
