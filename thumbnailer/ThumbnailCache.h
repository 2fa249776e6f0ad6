// The freedesktop.org thumbnail cache, filled the way desktops read it.
//
//   $XDG_CACHE_HOME/thumbnails/<flavor>/<md5 of the URI>.png                     a thumbnail
//   $XDG_CACHE_HOME/thumbnails/fail/quillmoor-thumbnailer/<md5 of the URI>.png   a failure record
// Flavors and their boxes: normal 128, large 256, x-large 512, xx-large 1024. The URI is the
// file's URI as GLib escapes it. An entry is up to date when its Thumb::MTime and Thumb::Size are
// the document's. Entries are written to a temporary file in their folder and renamed, so a
// desktop never reads half a PNG; folders are made 0700 and entries 0600.
#pragma once

#include "thumbnailer/Cli.h"

#include <cstdio>
#include <string>
#include <vector>

// The box of a flavor name, or 0 for an unknown name.
int thumbnailFlavorSize(std::string const& flavor);

// The cache's root: $XDG_CACHE_HOME/thumbnails (or ~/.cache/thumbnails).
std::string thumbnailCacheRoot();

// True when the PNG at `entryPath` records this modification time and (when it records one) size.
bool thumbnailEntryIsUpToDate(std::string const& entryPath, long mtime, long size);

// Writes `bytes` to `folder`/`name` (mode 0600) through a temporary file in that folder and a
// rename. "" on success, else the reason.
std::string writeCacheEntry(std::string const& folder, std::string const& name, unsigned char const* bytes,
                            size_t size);

struct CacheOptions {
    std::string flavor = "normal";
    int jobs = 0;  // 0: the processor count
    double timeoutSeconds = 30;  // the longest one document's picture may take to decode; 0: no bound
    std::vector<std::string> paths;
};

struct CacheSummary {
    long made = 0;
    long upToDate = 0;
    long noPicture = 0;
    long failed = 0;
};

// The `cache` command: every document named, and every document in the folders named (recursively,
// recognised by the generator's header reader, selections left out), gets an up-to-date entry of
// the flavor, or a failure record when it has no usable picture. Progress goes to `progress` (a bar when it is a
// terminal, plain lines otherwise; null: none), failures to `context` (one line each, also for a
// folder that cannot be read or a path too long, which count as failed), the summary line into
// *report. Returns the exit code: 0 when nothing failed, kExitUsage for a bad flavor,
// kExitCannotRead when something could not be read or written, else kExitDamaged.
int runCacheCommand(CacheOptions const& options, qm::CliContext& context, FILE* progress, std::string* report,
                    CacheSummary* summary = nullptr);
