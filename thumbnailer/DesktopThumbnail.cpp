#include "thumbnailer/DesktopThumbnail.h"

#include "generator/GSThumbnailWalk.h"
#include "thumbnailer/ThumbnailRender.h"

#include <glib.h>

#include <ostream>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#ifndef QM_VERSION
#define QM_VERSION "0"
#endif

namespace {

struct GFreeString {
    void operator()(char* p) const { g_free(p); }
};
using GString_ = std::unique_ptr<char, GFreeString>;

char const* pictureFailureText(qm::PictureStatus st)
{
    switch (st) {
    case qm::PictureStatus::tooLarge: return "damaged: the stored picture is larger than this program accepts";
    case qm::PictureStatus::noMemory: return "not enough memory to decode the stored picture";
    case qm::PictureStatus::unsupported: return "the stored picture is of a kind this program does not decode";
    default: return "damaged: the stored picture does not decode";
    }
}

// The output path for the time-out handler, which may only use async-signal-safe calls.
char gTimeoutOutput[PATH_MAX + 1];

extern "C" void onTimeout(int)
{
    if (gTimeoutOutput[0]) {
        int fd = ::open(gTimeoutOutput, O_WRONLY | O_CLOEXEC);
        if (fd >= 0) {
            [[maybe_unused]] int r = ::ftruncate(fd, 0);
            ::close(fd);
        }
    }
    static char const text[] = "quillmoor-thumbnailer: timed out\n";
    [[maybe_unused]] ssize_t w = ::write(2, text, sizeof text - 1);
    ::_exit(qm::kExitDamaged);
}

void armTimeout(std::string const& output, double seconds)
{
    if (!(seconds > 0))
        return;
    if (output.size() < sizeof gTimeoutOutput)
        std::memcpy(gTimeoutOutput, output.c_str(), output.size() + 1);
    struct sigaction sa{};
    sa.sa_handler = onTimeout;
    sigemptyset(&sa.sa_mask);
    ::sigaction(SIGALRM, &sa, nullptr);
    itimerval t{};
    double whole = double(long(seconds));
    t.it_value.tv_sec = long(whole);
    t.it_value.tv_usec = long((seconds - whole) * 1e6);
    if (t.it_value.tv_sec == 0 && t.it_value.tv_usec == 0)
        t.it_value.tv_usec = 1;
    ::setitimer(ITIMER_REAL, &t, nullptr);
}

}  // namespace

std::string fileUriForPath(std::string const& absolutePath)
{
    GString_ uri(g_filename_to_uri(absolutePath.c_str(), nullptr, nullptr));
    return uri ? std::string(uri.get()) : std::string();
}

std::string thumbnailEntryName(std::string const& uri)
{
    GString_ md5(g_compute_checksum_for_string(G_CHECKSUM_MD5, uri.c_str(), gssize(uri.size())));
    return std::string(md5.get()) + ".png";
}

bool resolveDocumentInput(std::string const& input, std::string* path, std::string* uri, std::string* message)
{
    if (input.empty()) {
        *message = "no input named";
        return false;
    }
    if (g_str_has_prefix(input.c_str(), "file:")) {
        char* host = nullptr;
        GError* error = nullptr;
        GString_ file(g_filename_from_uri(input.c_str(), &host, &error));
        GString_ hostHolder(host);
        if (!file) {
            *message = std::string("not a local file URI: ") + (error ? error->message : input.c_str());
            if (error)
                g_error_free(error);
            return false;
        }
        if (host && std::strcmp(host, "localhost") != 0) {
            *message = "not a local file URI: " + input;
            return false;
        }
        *path = file.get();
    } else {
        GString_ absolute(g_canonicalize_filename(input.c_str(), nullptr));
        *path = absolute.get();
    }
    *uri = fileUriForPath(*path);
    if (uri->empty()) {
        *message = "cannot make a URI of " + *path;
        return false;
    }
    return true;
}

int makeDocumentThumbnail(std::string const& path, std::string const& uri, int size, PngBytes* png,
                          ThumbnailInfo* info, std::string* message)
{
    png->data.reset();
    png->size = 0;
    *info = ThumbnailInfo();
    info->uri = uri;
    info->mimeType = kDocumentMimeType;
    info->software = "quillmoor-thumbnailer " QM_VERSION;
    struct stat st{};
    if (::stat(path.c_str(), &st) != 0) {
        *message = std::strerror(errno);
        return qm::kExitCannotRead;
    }
    if (S_ISDIR(st.st_mode)) {
        *message = "a folder, not a document";
        return qm::kExitCannotRead;
    }
    info->mtime = long(st.st_mtime);
    info->size = long(st.st_size);

    // The walk only locates the picture; its bytes are read from the file as they are decoded.
    GSThumbnailLimits const limits;
    GSThumbnailResult found = GSFindThumbnail(GSFileSpec(GSString(path.c_str())), nullptr, limits);
    if (!found.hasPicture()) {
        *message = qm::describeFailure(found);
        return qm::exitCodeFor(found.reason);
    }
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        *message = std::strerror(errno);
        return qm::kExitCannotRead;
    }
    RenderedThumbnail rendered;
    qm::PictureStatus ps = renderThumbnailFromFile(fd, found.pictureOffset, found.pictureBytes, found.pictureType,
                                                   size, limits, &rendered);
    ::close(fd);
    if (ps != qm::PictureStatus::ok) {
        *message = pictureFailureText(ps);
        return qm::kExitDamaged;
    }
    info->imageWidth = int(rendered.pictureWidth);
    info->imageHeight = int(rendered.pictureHeight);
    if (encodeThumbnailPng(rendered.pixels.pixels(), rendered.pixels.width(), rendered.pixels.height(),
                           rendered.pixels.opaque(), *info, PngEncodeOptions{}, png)) {
        *message = "the thumbnail cannot be encoded";
        return qm::kExitDamaged;
    }
    return qm::kExitOk;
}

int runThumbnailCommand(std::string const& input, std::string const& output, int size, double timeoutSeconds,
                        qm::CliContext& context)
{
    armTimeout(output, timeoutSeconds);
    std::string path, uri, message;
    int code = qm::kExitCannotRead;
    PngBytes png;
    ThumbnailInfo info;
    if (resolveDocumentInput(input, &path, &uri, &message))
        code = makeDocumentThumbnail(path, uri, size, &png, &info, &message);
    if (code == qm::kExitOk && writeFileInPlace(output, png.data.get(), png.size)) {
        message = "cannot write " + output + ": " + std::strerror(errno);
        code = qm::kExitCannotRead;
    }
    if (code != qm::kExitOk) {
        emptyExistingFile(output);
        context.fail(input, message, code);
    }
    // Disarm: the work is done, whatever a slow exit costs.
    itimerval off{};
    ::setitimer(ITIMER_REAL, &off, nullptr);
    return code;
}
