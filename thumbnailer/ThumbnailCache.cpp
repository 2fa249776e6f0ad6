#include "thumbnailer/ThumbnailCache.h"

#include "thumbnailer/DesktopThumbnail.h"

#include <glib.h>
#include <spng.h>

#include <atomic>
#include <cerrno>
#include <chrono>
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
constexpr char kDocumentId[] = "Quillmoor Document";  // followed by a 0 byte

bool startsWithDocumentId(std::string const& path)
{
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (fd < 0)
        return false;
    char head[sizeof kDocumentId] = {};
    ssize_t n = ::read(fd, head, sizeof head);
    ::close(fd);
    return n == ssize_t(sizeof head) && std::memcmp(head, kDocumentId, sizeof head) == 0;
}

// Documents named directly are taken as they are; in folders only files with the document ID.
void collectDocuments(std::string const& path, std::vector<std::string>* out, std::vector<std::string>* unreadable)
{
    std::error_code ec;
    fs::file_status st = fs::status(path, ec);
    if (ec || !fs::exists(st)) {
        unreadable->push_back(path);
        return;
    }
    if (!fs::is_directory(st)) {
        out->push_back(path);
        return;
    }
    fs::recursive_directory_iterator it(path, fs::directory_options::skip_permission_denied, ec), end;
    if (ec) {
        unreadable->push_back(path);
        return;
    }
    for (; it != end; it.increment(ec)) {
        if (ec)
            break;
        std::error_code fec;
        if (it->is_regular_file(fec) && startsWithDocumentId(it->path().string()))
            out->push_back(it->path().string());
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
short writeFailureRecord(std::string const& folder, std::string const& name, ThumbnailInfo const& info)
{
    ThumbnailInfo record;
    record.uri = info.uri;
    record.mtime = info.mtime;
    record.size = info.size;
    record.software = info.software;
    uint8_t const pixel[4] = {0, 0, 0, 0};
    PngBytes png;
    if (encodeThumbnailPng(pixel, 1, 1, false, record, PngEncodeOptions{}, &png))
        return 1;
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

short writeCacheEntry(std::string const& folder, std::string const& name, unsigned char const* bytes, size_t size)
{
    std::string tmpl = folder + "/." + name + ".XXXXXX";
    std::vector<char> path(tmpl.begin(), tmpl.end());
    path.push_back('\0');
    int fd = ::mkostemp(path.data(), O_CLOEXEC);
    if (fd < 0)
        return 1;
    bool ok = ::fchmod(fd, 0600) == 0;
    size_t done = 0;
    while (ok && done < size) {
        ssize_t n = ::write(fd, bytes + done, size - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            ok = false;
        else
            done += size_t(n);
    }
    ok = ::close(fd) == 0 && ok;
    if (ok)
        ok = ::rename(path.data(), (folder + "/" + name).c_str()) == 0;
    if (!ok)
        ::unlink(path.data());
    return ok ? 0 : 1;
}

int runCacheCommand(CacheOptions const& options, FILE* progress, std::string* report, CacheSummary* summaryOut)
{
    int const size = thumbnailFlavorSize(options.flavor);
    if (!size) {
        std::fprintf(stderr, "quillmoor-thumbnailer: unknown size '%s' (normal, large, x-large, xx-large)\n",
                     options.flavor.c_str());
        return qm::kExitUsage;
    }
    std::vector<std::string> documents, unreadable;
    for (auto const& p : options.paths)
        collectDocuments(p, &documents, &unreadable);

    std::string const root = thumbnailCacheRoot();
    std::string const folder = root + "/" + options.flavor;
    std::string const failFolder = root + "/" + kFailureFolder;
    bool canWrite = makeFolders(root, options.flavor) && makeFolders(root, kFailureFolder);

    CacheSummary summary;
    summary.failed = long(unreadable.size());
    for (auto const& p : unreadable)
        std::fprintf(stderr, "quillmoor-thumbnailer: %s: no such file or folder\n", p.c_str());
    if (!canWrite) {
        std::fprintf(stderr, "quillmoor-thumbnailer: cannot create %s\n", folder.c_str());
        if (summaryOut)
            *summaryOut = summary;
        return qm::kExitCannotRead;
    }

    std::atomic<long> next{0}, done{0}, made{0}, upToDate{0}, noPicture{0}, failed{0};
    std::atomic<bool> writeFailed{false};
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
                struct stat st{};
                if (::stat(path.c_str(), &st) == 0 &&
                    (thumbnailEntryIsUpToDate(folder + "/" + name, long(st.st_mtime), long(st.st_size)) ||
                     thumbnailEntryIsUpToDate(failFolder + "/" + name, long(st.st_mtime), long(st.st_size)))) {
                    current = true;
                    code = qm::kExitOk;
                } else {
                    code = makeDocumentThumbnail(path, uri, size, &png, &info, &message);
                }
            }
            if (current) {
                ++upToDate;
            } else if (code == qm::kExitOk) {
                if (writeCacheEntry(folder, name, png.data.get(), png.size)) {
                    writeFailed = true;
                    ++failed;
                    message = "cannot write the cache entry";
                    code = qm::kExitCannotRead;
                } else {
                    ++made;
                }
            } else {
                // No usable picture: record it, so that desktops do not try again until it changes.
                if ((code == qm::kExitNoPicture || code == qm::kExitDamaged) && writeFailureRecord(failFolder, name, info))
                    writeFailed = true;
                (code == qm::kExitNoPicture ? noPicture : failed)++;
            }
            long d = ++done;
            std::lock_guard<std::mutex> lock(outMutex);
            if (code != qm::kExitOk && code != qm::kExitNoPicture) {
                if (bar.terminal && progress)
                    std::fputc('\n', progress);
                std::fprintf(stderr, "quillmoor-thumbnailer: %s: %s\n", documents[size_t(i)].c_str(), message.c_str());
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
    if (writeFailed || !unreadable.empty())
        return qm::kExitCannotRead;
    return summary.failed ? qm::kExitDamaged : qm::kExitOk;
}
