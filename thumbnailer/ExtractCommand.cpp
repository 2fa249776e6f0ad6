// `extract FILE [-o OUT]`: writes the stored picture's bytes unchanged.
#include "thumbnailer/Cli.h"
#include "thumbnailer/FileSafety.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <memory>
#include <ostream>
#include <string>
#include <sys/stat.h>

namespace qm {

namespace {

namespace fs = std::filesystem;

struct ExtractOptions {
    std::string file;
    std::string output;
};

std::string defaultOutput(std::string const& file, GSPictureFormat format)
{
    fs::path out(file);
    out.replace_extension(GSPictureFormatExtension(format));
    return out.string();
}

void runExtract(ExtractOptions const& options, CliContext& context)
{
    DocumentFile document;
    if (!document.open(options.file)) {
        context.fail(options.file, "cannot open: " + document.failureText(), kExitCannotRead);
        return;
    }
    GSDynaArray<unsigned char> bytes(8, -100);
    GSThumbnailResult r = document.walk(&bytes, GSThumbnailLimits());
    if (!r.hasPicture()) {
        context.fail(options.file, describeFailure(r), exitCodeFor(r.reason));
        return;
    }
    std::string output = options.output.empty() ? defaultOutput(options.file, r.format) : options.output;
    // The same file under another name, or a link to it, is the document itself.
    struct stat st{};
    if (::stat(output.c_str(), &st) == 0 && st.st_dev == document.state().st_dev &&
        st.st_ino == document.state().st_ino) {
        context.fail(options.file, "the output " + output + " is the document itself", kExitUsage);
        return;
    }
    removeStaleTemporaries(fs::path(output).parent_path().empty() ? std::string(".")
                                                                  : fs::path(output).parent_path().string());
    std::string error = writeFileWhole(output, bytes.getPointer(), static_cast<std::size_t>(bytes.getCount()));
    if (!error.empty()) {
        context.fail(output, "cannot write: " + error, kExitCannotRead);
        return;
    }
    context.out << printable(options.file) << ": " << GSPictureFormatName(r.format) << " thumbnail, "
                << bytes.getCount() << " bytes, written to " << printable(output) << '\n';
}

} // namespace

void addExtractCommand(CLI::App& app, CliContext& context)
{
    auto options = std::make_shared<ExtractOptions>();
    CLI::App* extract = app.add_subcommand(
        "extract", "Write the stored picture's bytes unchanged, to FILE with .jpg or .png in place of its "
                   "extension unless -o is given. The output appears whole or not at all.");
    extract->add_option("FILE", options->file, "The document")->required();
    extract->add_option("-o,--output", options->output, "Where to write the picture")->type_name("OUT");
    extract->callback([options, &context] { runExtract(*options, context); });
}

} // namespace qm
