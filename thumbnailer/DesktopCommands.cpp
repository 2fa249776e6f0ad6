// The `thumbnail` and `cache` commands of quillmoor-thumbnailer (thumbnailer/Cli.h).
#include "thumbnailer/Cli.h"
#include "thumbnailer/DesktopThumbnail.h"
#include "thumbnailer/ThumbnailCache.h"

#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <ostream>

namespace qm {

namespace {

// --timeout: a finite number of seconds, at least a millisecond (NaN, infinity and smaller values
// would disarm the clock or fire it before any work).
CLI::Validator const kTimeoutSeconds(
    [](std::string& text) {
        char* end = nullptr;
        double seconds = std::strtod(text.c_str(), &end);
        if (text.empty() || *end != '\0' || !std::isfinite(seconds) || seconds < 0.001)
            return std::string("a number of seconds, at least 0.001");
        return std::string();
    },
    "at least 0.001");

} // namespace

void addThumbnailCommand(CLI::App& app, CliContext& context)
{
    struct Options {
        int size = 256;
        double timeout = 30;
        std::string input;
        std::string output;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand(
        "thumbnail", "Writes the PNG thumbnail of a document, as a freedesktop.org thumbnailer does. On failure "
                     "OUTPUT is left empty.");
    command->add_option("-s,--size", options->size, "The side of the box the thumbnail fits in")
        ->type_name("SIZE")
        ->check(CLI::Range(1, 16384))
        ->capture_default_str();
    command->add_option("--timeout", options->timeout, "Give up (exit 6) after this many seconds")
        ->type_name("SECONDS")
        ->check(kTimeoutSeconds)
        ->capture_default_str();
    command->add_option("INPUT", options->input, "The document: a path or a file:// URI")->required();
    command->add_option("OUTPUT", options->output, "The PNG to write (rewritten in place)")->required();
    command->callback([options, &context] {
        int code = runThumbnailCommand(options->input, options->output, options->size, options->timeout, context);
        if (context.exitCode == kExitOk)
            context.exitCode = code;
    });
}

void addCacheCommand(CLI::App& app, CliContext& context)
{
    auto options = std::make_shared<CacheOptions>();
    CLI::App* command = app.add_subcommand(
        "cache", "Fills the freedesktop.org thumbnail cache ($XDG_CACHE_HOME/thumbnails) for documents and folders "
                 "(recursively), skipping entries that are up to date.");
    command->add_option("--size", options->flavor, "normal (128), large (256), x-large (512) or xx-large (1024)")
        ->type_name("FLAVOR")
        ->capture_default_str();
    command->add_option("--jobs", options->jobs, "Documents made at the same time (default: the processor count)")
        ->type_name("N")
        ->check(CLI::Range(1, 256));
    command->add_option("--timeout", options->timeoutSeconds,
                        "Give up on a document (counted as failed) whose picture takes longer than this many "
                        "seconds to decode")
        ->type_name("SECONDS")
        ->check(kTimeoutSeconds)
        ->capture_default_str();
    command->add_option("PATH", options->paths, "Documents and folders")->required();
    command->callback([options, &context] {
        std::string summary;
        int code = runCacheCommand(*options, context, stderr, &summary);
        context.out << summary;
        if (context.exitCode == kExitOk)
            context.exitCode = code;
    });
}

}  // namespace qm
