#include "thumbnailer/ThumbnailCache.h"

#include "generator/GSDocumentHeader.h"
#include "gs/file/GSFile.h"
#include "thumbnailer/DesktopThumbnail.h"
#include "thumbnailer/FileSafety.h"

#include <glib.h>
#include <spng.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cmath>
#include <condition_variable>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <mutex>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr char kFailureFolder[] = "fail/quillmoor-thumbnailer";
// A document (not a selection) by the generator's own header reader, run over the file's first
// bytes: every other file of a folder costs one small read.
bool isDocument(std::string const& path)
{
    qm::DocumentFile file;
    if (!file.open(path))
        return false;
    unsigned char head[64];
    ssize_t n = ::pread(file.fd(), head, sizeof head, 0);
    if (n <= 0)
        return false;
    GSDynaArray<unsigned char> bytes(long(n), 0);
    if (bytes.append(head, long(n)))
        return false;
    GSFile memory(bytes);
    if (memory.open())
        return false;
    short version = 0, isSelection = 0;
    GSHeaderDetail detail;
    // Only whether the ID matched counts here: a version this program does not read is still a
    // document, which fails (and is reported) when its thumbnail is made.
    [[maybe_unused]] short accepted = GSReadDocumentHeader(&memory, &version, nullptr, &isSelection, &detail);
    return detail.idMatched && !isSelection;
}

// Documents named directly are taken as they are; in folders (recursively, without following
// links to folders) only files with the document ID. A folder that cannot be read, or a name too
// long to open, is reported through `skipped` (name, reason) and the walk goes on with the rest.
void collectDocuments(std::string const& path, std::vector<std::string>* out,
                      std::vector<std::pair<std::string, std::string>>* skipped)
{
    std::error_code ec;
    fs::file_status st = fs::status(path, ec);
    if (ec || !fs::exists(st)) {
        skipped->push_back({path, ec && ec != std::errc::no_such_file_or_directory ? ec.message()
                                                                                   : "no such file or folder"});
        return;
    }
    if (!fs::is_directory(st)) {
        out->push_back(path);
        return;
    }
    std::vector<fs::path> folders{fs::path(path)};
    while (!folders.empty()) {
        fs::path folder = std::move(folders.back());
        folders.pop_back();
        fs::directory_iterator it(folder, ec), end;
        if (ec) {
            skipped->push_back({folder.string(), "cannot read the folder: " + ec.message()});
            continue;
        }
        for (; it != end; it.increment(ec)) {
            if (ec)
                break;
            std::error_code fec;
            fs::path const& entry = it->path();
            if (entry.native().size() >= PATH_MAX) {
                skipped->push_back({entry.string(), "the path is too long"});
                continue;
            }
            if (it->is_directory(fec) && !it->is_symlink(fec))
                folders.push_back(entry);
            else if (it->is_regular_file(fec) && isDocument(entry.string()))
                out->push_back(entry.string());
        }
        if (ec)
            skipped->push_back({folder.string(), "cannot read the folder: " + ec.message()});
    }
}

// Makes root/relative folder by folder. Thumbnails show what private files contain: every folder
// of the cache is the user's alone (0700).
bool makeFolders(std::string const& root, std::string const& relative)
{
    std::string path = root;
    std::error_code ec;
    fs::create_directories(fs::path(root).parent_path(), ec);
    for (size_t at = 0;;) {
        if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST)
            return false;
        if (at > relative.size())
            break;
        size_t slash = relative.find('/', at);
        if (slash == std::string::npos)
            slash = relative.size();
        path += '/';
        path.append(relative, at, slash - at);
        at = slash + 1;
    }
    struct stat st{};
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// A failure record: a 1 x 1 transparent PNG with the document's URI and modification time.
std::string writeFailureRecord(std::string const& folder, std::string const& name, ThumbnailInfo const& info)
{
    ThumbnailInfo record;
    record.uri = info.uri;
    record.mtime = info.mtime;
    record.size = info.size;
    record.software = info.software;
    uint8_t const pixel[4] = {0, 0, 0, 0};
    PngBytes png;
    if (encodeThumbnailPng(pixel, 1, 1, false, record, PngEncodeOptions{}, &png))
        return "the failure record cannot be encoded";
    return writeCacheEntry(folder, name, png.data.get(), png.size);
}

struct Progress {
    FILE* out = nullptr;
    bool terminal = false;
    long total = 0;
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point last{};

    void show(long done, bool final)
    {
        if (!out)
            return;
        auto now = std::chrono::steady_clock::now();
        double const interval = terminal ? 0.1 : 1.0;
        if (!final && std::chrono::duration<double>(now - last).count() < interval)
            return;
        last = now;
        double elapsed = std::chrono::duration<double>(now - start).count();
        double rate = elapsed > 0 ? double(done) / elapsed : 0.0;
        if (terminal) {
            int const width = 30;
            int filled = total > 0 ? int(double(width) * double(done) / double(total)) : width;
            std::string bar(size_t(filled), '#');
            bar.append(size_t(width - filled), '.');
            std::fprintf(out, "\r[%s] %ld/%ld  %.1f documents/s", bar.c_str(), done, total, rate);
            if (final)
                std::fputc('\n', out);
        } else if (!final || done == total) {
            std::fprintf(out, "%ld/%ld documents, %.1f documents/s\n", done, total, rate);
        }
        std::fflush(out);
    }
};

}  // namespace

int thumbnailFlavorSize(std::string const& flavor)
{
    if (flavor == "normal")
        return 128;
    if (flavor == "large")
        return 256;
    if (flavor == "x-large")
        return 512;
    if (flavor == "xx-large")
        return 1024;
    return 0;
}

std::string thumbnailCacheRoot()
{
    // Read the variable each time (GLib caches its answer for the life of the process).
    char const* xdg = std::getenv("XDG_CACHE_HOME");
    if (xdg && xdg[0] == '/')
        return std::string(xdg) + "/thumbnails";
    return std::string(g_get_home_dir()) + "/.cache/thumbnails";
}

bool thumbnailEntryIsUpToDate(std::string const& entryPath, long mtime, long size)
{
    FILE* f = std::fopen(entryPath.c_str(), "rbe");
    if (!f)
        return false;
    spng_ctx* ctx = spng_ctx_new(0);
    bool ok = false;
    if (ctx) {
        // Cache entries are small; do not let a strange one make this read a lot.
        spng_set_chunk_limits(ctx, 1 << 20, 4 << 20);
        spng_set_png_file(ctx, f);
        uint32_t n = 0;
        if (spng_get_text(ctx, nullptr, &n) == 0 && n > 0 && n < 64) {
            std::vector<spng_text> texts(n);
            if (spng_get_text(ctx, texts.data(), &n) == 0) {
                bool mtimeOk = false, sizeOk = true;
                for (auto const& t : texts) {
                    std::string value(t.text, t.length);
                    if (std::strcmp(t.keyword, "Thumb::MTime") == 0)
                        mtimeOk = value == std::to_string(mtime);
                    else if (std::strcmp(t.keyword, "Thumb::Size") == 0)
                        sizeOk = value == std::to_string(size);
                }
                ok = mtimeOk && sizeOk;
            }
        }
        spng_ctx_free(ctx);
    }
    std::fclose(f);
    return ok;
}

std::string writeCacheEntry(std::string const& folder, std::string const& name, unsigned char const* bytes,
                            size_t size)
{
    // Not flushed to disk: an entry is a copy that desktops make again when it does not read as
    // a PNG, and a flush per entry would cost the batch more than the entries themselves.
    return qm::writeFileWhole(folder + "/" + name, bytes, size, 0600, false);
}

int runCacheCommand(CacheOptions const& options, qm::CliContext& context, FILE* progress, std::string* report,
                    CacheSummary* summaryOut)
{
    int const size = thumbnailFlavorSize(options.flavor);
    if (!size) {
        context.report(options.flavor, "unknown size (normal, large, x-large, xx-large)");
        return qm::kExitUsage;
    }
    std::vector<std::string> documents;
    std::vector<std::pair<std::string, std::string>> skipped;
    for (auto const& p : options.paths)
        collectDocuments(p, &documents, &skipped);

    std::string const root = thumbnailCacheRoot();
    std::string const folder = root + "/" + options.flavor;
    std::string const failFolder = root + "/" + kFailureFolder;
    bool canWrite = makeFolders(root, options.flavor) && makeFolders(root, kFailureFolder);

    CacheSummary summary;
    summary.failed = long(skipped.size());
    for (auto const& [name, reason] : skipped)
        context.report(name, reason);
    if (!canWrite) {
        context.report(folder, "cannot create the folder");
        if (summaryOut)
            *summaryOut = summary;
        return qm::kExitCannotRead;
    }
    // Temporary entries a killed run left behind.
    qm::removeStaleTemporaries(folder);
    qm::removeStaleTemporaries(failFolder);

    GSThumbnailLimits limits;
    if (options.timeoutSeconds > 0)
        limits.maxDecodeMilliseconds = std::max(1L, long(std::ceil(options.timeoutSeconds * 1000)));

    std::atomic<long> next{0}, done{0}, made{0}, upToDate{0}, noPicture{0}, failed{0};
    std::atomic<bool> writeFailed{false}, readFailed{false};
    std::mutex outMutex;
    Progress bar;
    bar.out = progress;
    bar.terminal = progress && ::isatty(::fileno(progress));
    bar.total = long(documents.size());

    auto work = [&] {
        for (;;) {
            long i = next.fetch_add(1);
            if (i >= long(documents.size()))
                return;
            std::string path, uri, message;
            int code = qm::kExitCannotRead;
            bool current = false;
            PngBytes png;
            ThumbnailInfo info;
            std::string name;
            if (resolveDocumentInput(documents[size_t(i)], &path, &uri, &message)) {
                name = thumbnailEntryName(uri);
                // One open: the state checked against the entries is the state of what is read.
                qm::DocumentFile document;
                if (!document.open(path)) {
                    message = document.failureText();
                } else {
                    long const mtime = long(document.state().st_mtime), bytes = long(document.state().st_size);
                    if (thumbnailEntryIsUpToDate(folder + "/" + name, mtime, bytes) ||
                        thumbnailEntryIsUpToDate(failFolder + "/" + name, mtime, bytes)) {
                        current = true;
                        code = qm::kExitOk;
                    } else {
                        code = makeDocumentThumbnail(document, uri, size, &png, &info, &message, limits);
                    }
                }
            }
            if (current) {
                ++upToDate;
            } else if (code == qm::kExitOk) {
                std::string error = writeCacheEntry(folder, name, png.data.get(), png.size);
                if (!error.empty()) {
                    writeFailed = true;
                    ++failed;
                    message = "cannot write the cache entry: " + error;
                    code = qm::kExitCannotRead;
                } else {
                    ++made;
                }
            } else {
                // No usable picture: record it, so that desktops do not try again until it changes.
                if ((code == qm::kExitNoPicture || code == qm::kExitDamaged) &&
                    !writeFailureRecord(failFolder, name, info).empty())
                    writeFailed = true;
                (code == qm::kExitNoPicture ? noPicture : failed)++;
                if (code == qm::kExitCannotRead)
                    readFailed = true;
            }
            long d = ++done;
            std::lock_guard<std::mutex> lock(outMutex);
            if (code != qm::kExitOk && code != qm::kExitNoPicture) {
                if (bar.terminal && progress)
                    std::fputc('\n', progress);
                context.report(documents[size_t(i)], message);
            }
            bar.show(d, false);
        }
    };

    int jobs = options.jobs > 0 ? options.jobs : int(std::max(1u, std::thread::hardware_concurrency()));
    jobs = std::min<long>(jobs, std::max<long>(1, long(documents.size())));
    std::vector<std::thread> threads;
    for (int j = 1; j < jobs; ++j)
        threads.emplace_back(work);
    work();
    for (auto& t : threads)
        t.join();
    bar.show(done, true);

    summary.made = made;
    summary.upToDate = upToDate;
    summary.noPicture = noPicture;
    summary.failed += failed;
    double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - bar.start).count();
    if (report) {
        char line[200];
        std::snprintf(line, sizeof line, "made %ld, up to date %ld, no picture %ld, failed %ld (%ld documents in %.2f s)\n",
                      summary.made, summary.upToDate, summary.noPicture, summary.failed, long(documents.size()), elapsed);
        *report = line;
    }
    if (summaryOut)
        *summaryOut = summary;
    if (writeFailed || readFailed || !skipped.empty())
        return qm::kExitCannotRead;
    return summary.failed ? qm::kExitDamaged : qm::kExitOk;
}
