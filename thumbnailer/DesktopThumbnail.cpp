#include "thumbnailer/DesktopThumbnail.h"

#include "generator/GSThumbnailWalk.h"
#include "thumbnailer/FileSafety.h"
#include "thumbnailer/ThumbnailRender.h"

#include <glib.h>

#include <ostream>

#include <cstdio>
#include <cstring>
#include <sys/stat.h>

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
    case qm::PictureStatus::timedOut: return "timed out while decoding the stored picture";
    default: return "damaged: the stored picture does not decode";
    }
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
    // URI schemes are case-insensitive: FILE:// is a file URI too.
    if (g_ascii_strncasecmp(input.c_str(), "file:", 5) == 0) {
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
                          ThumbnailInfo* info, std::string* message, GSThumbnailLimits const& limits)
{
    qm::DocumentFile document;
    if (!document.open(path)) {
        png->data.reset();
        png->size = 0;
        *info = ThumbnailInfo();
        info->uri = uri;
        *message = document.failureText();
        return qm::kExitCannotRead;
    }
    return makeDocumentThumbnail(document, uri, size, png, info, message, limits);
}

int makeDocumentThumbnail(qm::DocumentFile const& document, std::string const& uri, int size, PngBytes* png,
                          ThumbnailInfo* info, std::string* message, GSThumbnailLimits const& limits)
{
    png->data.reset();
    png->size = 0;
    *info = ThumbnailInfo();
    info->uri = uri;
    info->mimeType = kDocumentMimeType;
    info->software = qm::versionLine();
    // One open for everything: the state written into the PNG, the walk and the picture's bytes
    // all come from this descriptor, so a file renamed over the path meanwhile cannot mix in.
    info->mtime = long(document.state().st_mtime);
    info->size = long(document.state().st_size);

    RenderedThumbnail rendered;
    if (int code = renderDocumentThumbnail(document, size, &rendered, message, limits); code != qm::kExitOk)
        return code;
    info->imageWidth = int(rendered.pictureWidth);
    info->imageHeight = int(rendered.pictureHeight);
    if (encodeThumbnailPng(rendered.pixels.pixels(), rendered.pixels.width(), rendered.pixels.height(),
                           rendered.pixels.opaque(), *info, PngEncodeOptions{}, png)) {
        *message = "the thumbnail cannot be encoded";
        return qm::kExitDamaged;
    }
    return qm::kExitOk;
}

int renderDocumentThumbnail(qm::DocumentFile const& document, int size, RenderedThumbnail* rendered,
                            std::string* message, GSThumbnailLimits const& limits)
{
    *rendered = RenderedThumbnail();
    // The walk only locates the picture; its bytes are read from the file as they are decoded.
    GSThumbnailResult found = document.walk(nullptr, limits);
    if (!found.hasPicture()) {
        *message = qm::describeFailure(found);
        return qm::exitCodeFor(found.reason);
    }
    qm::PictureStatus ps = renderThumbnailFromFile(document.fd(), found.pictureOffset, found.pictureBytes,
                                                   found.format, size, limits, rendered);
    if (ps != qm::PictureStatus::ok) {
        *message = pictureFailureText(ps);
        return qm::kExitDamaged;
    }
    return qm::kExitOk;
}

std::string timeoutText(double seconds)
{
    char text[64];
    std::snprintf(text, sizeof text, "timed out after %g s", seconds);
    return text;
}

int runThumbnailCommand(std::string const& input, std::string const& output, int size, double timeoutSeconds,
                        qm::CliContext& context)
{
    std::string path, uri, message;
    if (!resolveDocumentInput(input, &path, &uri, &message)) {
        qm::emptyExistingFile(output);
        context.fail(input, message, qm::kExitCannotRead);
        return qm::kExitCannotRead;
    }
    // Writing OUTPUT over the document (the same file under another name, or a link to it) would
    // destroy it: refused before anything is written, OUTPUT untouched.
    struct stat in{}, out{};
    if (::stat(path.c_str(), &in) == 0 && ::stat(output.c_str(), &out) == 0 && in.st_dev == out.st_dev &&
        in.st_ino == out.st_ino) {
        context.fail(input, "the output " + output + " is the document itself", qm::kExitUsage);
        return qm::kExitUsage;
    }
    qm::emptyOnSignal(output);
    qm::armTimeout(timeoutSeconds,
                   "quillmoor-thumbnailer: " + qm::printable(input) + ": " + timeoutText(timeoutSeconds) + "\n",
                   qm::kExitDamaged);
    PngBytes png;
    ThumbnailInfo info;
    int code = makeDocumentThumbnail(path, uri, size, &png, &info, &message);
    if (code == qm::kExitOk) {
        std::string error = qm::writeFileInPlace(output, png.data.get(), png.size);
        if (!error.empty()) {
            message = "cannot write " + output + ": " + error;
            code = qm::kExitCannotRead;
        }
    }
    // The result stands (or failed in full): nothing more to empty, whatever a slow exit costs.
    qm::disarmTimeout();
    qm::emptyOnSignal("");
    if (code != qm::kExitOk) {
        qm::emptyExistingFile(output);
        context.fail(input, message, code);
    }
    return code;
}
