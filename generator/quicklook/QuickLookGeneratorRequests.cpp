// The thumbnail and preview requests: the platform's side of them (URL, decoding, contexts). What
// a document's picture is, and at what size a thumbnail is drawn, comes from the generator core.
#include "generator/GSThumbnailSize.h"
#include "generator/GSThumbnailWalk.h"
#include "gs/object/GSExceptions.h"
#include "generator/quicklook/QuickLookGeneratorPlugin.h"

#include <climits>
#include <cstdint>

namespace {

// The file spec of a file URL. A URL without a file-system path gives an empty spec, which no
// file opens under.
GSFileSpec fileSpecForURL(CFURLRef url)
{
    UInt8 path[PATH_MAX];
    if (!url || !CFURLGetFileSystemRepresentation(url, true, path, sizeof path))
        return GSFileSpec();
    return GSFileSpec(GSString(reinterpret_cast<char const*>(path)));
}

// Owns a drawing context of a request; contexts are released with CGContextRelease.
class RequestContext {
public:
    explicit RequestContext(CGContextRef c) : context(c) {}
    RequestContext(RequestContext const&) = delete;
    RequestContext& operator=(RequestContext const&) = delete;
    ~RequestContext()
    {
        if (context)
            CGContextRelease(context);
    }
    CGContextRef get() const { return context; }

private:
    CGContextRef context;
};

// The picture's size in pixels, as doubles; 0 x 0 without a picture.
CGSize imageSize(CGImageRef image)
{
    if (!image)
        return CGSizeMake(0, 0);
    return CGSizeMake(static_cast<CGFloat>(CGImageGetWidth(image)), static_cast<CGFloat>(CGImageGetHeight(image)));
}

void thumbnailRequest(QLThumbnailRequestRef request, CFURLRef url, CGSize maxSize)
{
    GSDynaArray<unsigned char> bytes(8, -100); // room for 8 bytes, doubling as it grows
    GSCFTypeRef<CGImageRef> image;
    if (GenerateFillCGImage(url, &bytes, &image) != 0)
        return;
    CGSize size = imageSize(image.get());
    GSDrawingSize drawing = GSThumbnailDrawingSize(size.width, size.height, maxSize.width, maxSize.height);
    RequestContext context(QLThumbnailRequestCreateContext(request, CGSizeMake(drawing.width, drawing.height), true, nullptr));
    if (!context.get())
        return;
    CGContextSetInterpolationQuality(context.get(), kCGInterpolationHigh);
    CGContextSetShouldAntialias(context.get(), true);
    // Without a picture the context stays empty: the service gets a 0 x 0 answer.
    if (image)
        CGContextDrawImage(context.get(), CGRectMake(0, 0, drawing.width, drawing.height), image.get());
    QLThumbnailRequestFlushContext(request, context.get());
}

void previewRequest(QLPreviewRequestRef request, CFURLRef url)
{
    GSDynaArray<unsigned char> bytes(8, -100); // room for 8 bytes, doubling as it grows
    GSCFTypeRef<CGImageRef> image;
    if (GenerateFillCGImage(url, &bytes, &image) != 0)
        return;
    CGSize size = imageSize(image.get());
    RequestContext context(QLPreviewRequestCreateContext(request, size, true, nullptr));
    if (!context.get())
        return;
    if (image)
        CGContextDrawImage(context.get(), CGRectMake(0, 0, size.width, size.height), image.get());
    QLPreviewRequestFlushContext(request, context.get());
}

} // namespace

short GenerateFillCGImage(CFURLRef url, GSDynaArray<unsigned char>* bytes, GSCFTypeRef<CGImageRef>* image,
                          GSThumbnailLimits const& limits)
{
    GSThumbnailResult found = GSFindThumbnail(fileSpecForURL(url), bytes, limits);
    if (found.reason == GSThumbnailReason::kCannotOpen)
        return found.openStatus;
    // Reading a document with two object tables is the merging read's misuse, as in GSGetThumbnail.
    if (found.reason == GSThumbnailReason::kDuplicateObjectTable)
        throw bad_file();
    // From here on the file opened: the status is 0, with or without a picture.
    if (found.format == GSPictureFormat::none)
        return 0;
    // The provider reads the buffer in place; the caller keeps the buffer until after drawing.
    GSCFTypeRef<CGDataProviderRef> provider(
        CGDataProviderCreateWithData(nullptr, bytes->getPointer(), static_cast<size_t>(bytes->getCount()), nullptr));
    if (!provider)
        return 0;
    if (found.format == GSPictureFormat::png)
        image->set(CGImageCreateWithPNGDataProvider(provider.get(), nullptr, true, kCGRenderingIntentPerceptual));
    else
        image->set(CGImageCreateWithJPEGDataProvider(provider.get(), nullptr, true, kCGRenderingIntentPerceptual));
    // The image knows its size from the picture's header; its pixels are decoded when drawn.
    if (image->get()) {
        std::uint64_t const width = CGImageGetWidth(image->get()), height = CGImageGetHeight(image->get());
        if (width > limits.maxWidth || height > limits.maxHeight || width * height > limits.maxPixels)
            image->set(nullptr);
    }
    return 0;
}

// An exception must not reach the service, which is C: the requests catch everything at their
// edge, after the objects of the request have been released on the way out.

OSStatus GenerateThumbnailForURL(void*, QLThumbnailRequestRef thumbnail, CFURLRef url, CFStringRef, CFDictionaryRef,
                                 CGSize maxSize)
{
    try {
        thumbnailRequest(thumbnail, url, maxSize);
    } catch (...) {
    }
    return noErr;
}

void CancelThumbnailGeneration(void*, QLThumbnailRequestRef) {}

OSStatus GeneratePreviewForURL(void*, QLPreviewRequestRef preview, CFURLRef url, CFStringRef, CFDictionaryRef)
{
    try {
        previewRequest(preview, url);
    } catch (...) {
    }
    return noErr;
}

void CancelPreviewGeneration(void*, QLPreviewRequestRef) {}
