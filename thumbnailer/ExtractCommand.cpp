// `extract FILE [-o OUT]`: writes the stored picture's bytes unchanged.
#include "thumbnailer/Cli.h"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <ostream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace qm {

namespace {

namespace fs = std::filesystem;

struct ExtractOptions {
    std::string file;
    std::string output;
};

// Writes `bytes` to `path` whole or not at all: into a temporary file beside it, flushed to disk,
// then renamed over it. On failure nothing is left behind and the error text is returned.
std::string writeWhole(std::string const& path, unsigned char const* bytes, long count)
{
    fs::path target(path);
    fs::path folder = target.parent_path().empty() ? fs::path(".") : target.parent_path();
    std::string temp = (folder / ("." + target.filename().string() + ".XXXXXX")).string();
    int fd = mkstemp(temp.data());
    if (fd < 0)
        return std::strerror(errno);
    std::string error;
    long done = 0;
    while (done < count && error.empty()) {
        ssize_t n = ::write(fd, bytes + done, static_cast<size_t>(count - done));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            error = std::strerror(n < 0 ? errno : EIO);
        else
            done += n;
    }
    // mkstemp makes the file private; the picture gets the permissions a new file normally has.
    mode_t mask = umask(0);
    umask(mask);
    if (error.empty() && fchmod(fd, 0666 & ~mask) != 0)
        error = std::strerror(errno);
    if (error.empty() && fsync(fd) != 0)
        error = std::strerror(errno);
    if (::close(fd) != 0 && error.empty())
        error = std::strerror(errno);
    if (error.empty() && std::rename(temp.c_str(), path.c_str()) != 0)
        error = std::strerror(errno);
    if (!error.empty())
        ::unlink(temp.c_str());
    return error;
}

std::string defaultOutput(std::string const& file, short pictureType)
{
    fs::path out(file);
    out.replace_extension(pictureType == 3 ? ".png" : ".jpg");
    return out.string();
}

void runExtract(ExtractOptions const& options, CliContext& context)
{
    GSDynaArray<unsigned char> bytes(8, -100);
    GSThumbnailResult r = GSFindThumbnail(GSFileSpec(GSString(options.file.c_str())), &bytes);
    if (!r.hasPicture()) {
        context.fail(options.file, describeFailure(r), exitCodeFor(r.reason));
        return;
    }
    std::string output = options.output.empty() ? defaultOutput(options.file, r.pictureType) : options.output;
    std::error_code ec;
    if (fs::equivalent(output, options.file, ec)) {
        context.fail(options.file, "the output " + output + " is the document itself", kExitUsage);
        return;
    }
    std::string error = writeWhole(output, bytes.getPointer(), bytes.getCount());
    if (!error.empty()) {
        context.fail(output, "cannot write: " + error, kExitCannotRead);
        return;
    }
    context.out << options.file << ": " << pictureTypeName(r.pictureType) << " thumbnail, " << bytes.getCount()
                << " bytes, written to " << output << '\n';
}

} // namespace

void addExtractCommand(CLI::App& app, CliContext& context)
{
    auto options = std::make_shared<ExtractOptions>();
    CLI::App* extract = app.add_subcommand(
        "extract", "Write the stored picture's bytes unchanged, to FILE with .jpg or .png in place of its "
                   "extension unless -o is given. The output appears whole or not at all.");
    extract->add_option("FILE", options->file, "The document")->required();
    extract->add_option("-o,--output", options->output, "Where to write the picture");
    extract->callback([options, &context] { runExtract(*options, context); });
}

} // namespace qm
