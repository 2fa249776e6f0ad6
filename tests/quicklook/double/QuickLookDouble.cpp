#include "QuickLookDouble.h"

#include "thumbnailer/PictureDecoder.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <memory>

// The double's objects. The opaque platform types (CGImage, CGContext, ...) are defined here, each
// derived from one base that carries the reference count.
struct QMDoubleObject {
    virtual ~QMDoubleObject() = default;
    long references = 1;
    bool constant = false;
};

struct QMDoubleUUID : QMDoubleObject {
    std::array<UInt8, 16> bytes{};
};
struct QMDoubleString : QMDoubleObject {
    std::string text;
};
struct QMDoubleURL : QMDoubleObject {
    std::string path;
    bool isFile = true;
};
struct CGDataProvider : QMDoubleObject {
    void const* data = nullptr;
    size_t size = 0;
};
struct CGImage : QMDoubleObject {
    qm::RGBAImage pixels;
};
struct CGContext : QMDoubleObject {
    std::vector<QMDoubleContextRecord>* records = nullptr;
    size_t index = 0;
    QMDoubleContextRecord& record() { return (*records)[index]; }
};

const CFAllocatorRef kCFAllocatorDefault = nullptr;

namespace qmdouble {
namespace {

struct State {
    std::vector<std::string> errors;
    std::map<std::string, int> factories;
    // Every object handed out and alive, by the pointer the caller holds.
    std::map<void const*, QMDoubleObject*> objects;
    // Constants live as long as the program; keyed by their content.
    std::map<std::array<UInt8, 16>, std::unique_ptr<QMDoubleUUID>> constantUUIDs;
    std::map<std::string, std::unique_ptr<QMDoubleString>> constantStrings;
};

State& state()
{
    static State s;
    return s;
}

void error(std::string text)
{
    state().errors.push_back(std::move(text));
}

template <class T>
T* handOut(T* object)
{
    state().objects[static_cast<void const*>(object)] = object;
    return object;
}

QMDoubleObject* find(void const* p, char const* function)
{
    auto& objects = state().objects;
    auto it = objects.find(p);
    if (it == objects.end()) {
        error(std::string(function) + ": not an object of the double (or one already freed)");
        return nullptr;
    }
    return it->second;
}

void releaseObject(void const* p, char const* function)
{
    QMDoubleObject* object = find(p, function);
    if (!object)
        return;
    if (object->constant) {
        if (object->references == 1)
            error(std::string(function) + ": released a constant more often than it was retained");
        else
            --object->references;
        return;
    }
    if (--object->references == 0) {
        state().objects.erase(p);
        delete object;
    }
}

std::string hex(std::array<UInt8, 16> const& b)
{
    char text[37];
    std::snprintf(text, sizeof text, "%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X", b[0], b[1],
                  b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9], b[10], b[11], b[12], b[13], b[14], b[15]);
    return text;
}

QMDoubleUUID const* newUUID(std::array<UInt8, 16> const& bytes)
{
    auto* uuid = new QMDoubleUUID;
    uuid->bytes = bytes;
    return handOut(uuid);
}

template <class Request>
CGContextRef createContext(Request* request, CGSize size)
{
    QMDoubleContextRecord record;
    record.size = size;
    request->contexts.push_back(record);
    auto* context = new CGContext;
    context->records = &request->contexts;
    context->index = request->contexts.size() - 1;
    return handOut(context);
}

void flushContext(CGContextRef c, char const* function)
{
    if (find(c, function))
        ++c->record().flushes;
}

CGContext* liveContext(CGContextRef c, char const* function)
{
    return find(c, function) ? c : nullptr;
}

CGImageRef createImage(CGDataProviderRef source, qm::PictureFormat format)
{
    if (!find(source, "CGImageCreate"))
        return nullptr;
    // Null when the bytes do not decode, as the platform's decoders answer.
    auto image = std::make_unique<CGImage>();
    if (qm::decodePicture(static_cast<std::uint8_t const*>(source->data), source->size, format, {}, &image->pixels) !=
        qm::PictureStatus::ok)
        return nullptr;
    return handOut(image.release());
}

} // namespace

void reset() { state().errors.clear(); }

std::vector<std::string> const& errors() { return state().errors; }
std::map<std::string, int> const& factoryRegistrations() { return state().factories; }

long liveReferences()
{
    long n = 0;
    for (auto const& [p, object] : state().objects)
        n += object->constant ? object->references - 1 : object->references;
    return n;
}

long liveObjects()
{
    long n = 0;
    for (auto const& [p, object] : state().objects)
        n += object->constant ? 0 : 1;
    return n;
}

CFURLRef createFileURL(std::string const& path)
{
    auto* url = new QMDoubleURL;
    url->path = path;
    return handOut(url);
}

CFURLRef createNonFileURL()
{
    auto* url = new QMDoubleURL;
    url->path = "http://example.invalid/a.qmd";
    url->isFile = false;
    return handOut(url);
}

std::string uuidString(CFUUIDRef uuid)
{
    return uuid ? hex(uuid->bytes) : std::string();
}

} // namespace qmdouble

using namespace qmdouble;

// ---- Core Foundation ----

CFTypeRef CFRetain(CFTypeRef cf)
{
    if (!cf) {
        error("CFRetain: null");
        return cf;
    }
    if (QMDoubleObject* object = find(cf, "CFRetain"))
        ++object->references;
    return cf;
}

void CFRelease(CFTypeRef cf)
{
    if (!cf) {
        error("CFRelease: null");
        return;
    }
    releaseObject(cf, "CFRelease");
}

Boolean CFEqual(CFTypeRef cf1, CFTypeRef cf2)
{
    QMDoubleObject* a = find(cf1, "CFEqual");
    QMDoubleObject* b = find(cf2, "CFEqual");
    if (!a || !b)
        return false;
    auto* ua = dynamic_cast<QMDoubleUUID*>(a);
    auto* ub = dynamic_cast<QMDoubleUUID*>(b);
    return ua && ub ? ua->bytes == ub->bytes : a == b;
}

CFUUIDRef CFUUIDGetConstantUUIDWithBytes(CFAllocatorRef, UInt8 byte0, UInt8 byte1, UInt8 byte2, UInt8 byte3,
                                         UInt8 byte4, UInt8 byte5, UInt8 byte6, UInt8 byte7, UInt8 byte8,
                                         UInt8 byte9, UInt8 byte10, UInt8 byte11, UInt8 byte12, UInt8 byte13,
                                         UInt8 byte14, UInt8 byte15)
{
    std::array<UInt8, 16> bytes{byte0, byte1, byte2,  byte3,  byte4,  byte5,  byte6,  byte7,
                                byte8, byte9, byte10, byte11, byte12, byte13, byte14, byte15};
    auto& slot = state().constantUUIDs[bytes];
    if (!slot) {
        slot = std::make_unique<QMDoubleUUID>();
        slot->bytes = bytes;
        slot->constant = true;
        handOut(slot.get());
    }
    return slot.get();
}

CFUUIDRef CFUUIDCreateFromUUIDBytes(CFAllocatorRef, CFUUIDBytes b)
{
    return newUUID({b.byte0, b.byte1, b.byte2, b.byte3, b.byte4, b.byte5, b.byte6, b.byte7, b.byte8, b.byte9,
                    b.byte10, b.byte11, b.byte12, b.byte13, b.byte14, b.byte15});
}

CFUUIDRef CFUUIDCreateFromString(CFAllocatorRef, CFStringRef uuidStr)
{
    if (!find(uuidStr, "CFUUIDCreateFromString"))
        return nullptr;
    std::array<UInt8, 16> bytes{};
    size_t n = 0;
    for (char c : uuidStr->text) {
        if (c == '-')
            continue;
        int v = c >= '0' && c <= '9' ? c - '0' : c >= 'A' && c <= 'F' ? c - 'A' + 10 : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
        if (v < 0 || n == 32)
            return nullptr;
        bytes[n / 2] = static_cast<UInt8>(bytes[n / 2] << 4 | v);
        ++n;
    }
    return n == 32 ? newUUID(bytes) : nullptr;
}

CFUUIDBytes CFUUIDGetUUIDBytes(CFUUIDRef uuid)
{
    CFUUIDBytes b{};
    if (!find(uuid, "CFUUIDGetUUIDBytes"))
        return b;
    std::memcpy(&b, uuid->bytes.data(), 16);
    return b;
}

CFStringRef QMDoubleMakeConstantString(char const* cStr)
{
    auto& slot = state().constantStrings[cStr];
    if (!slot) {
        slot = std::make_unique<QMDoubleString>();
        slot->text = cStr;
        slot->constant = true;
        handOut(slot.get());
    }
    return slot.get();
}

Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean, UInt8* buffer, CFIndex maxBufLen)
{
    if (!find(url, "CFURLGetFileSystemRepresentation") || !url->isFile)
        return false;
    if (maxBufLen < 1 || url->path.size() >= static_cast<size_t>(maxBufLen))
        return false;
    std::memcpy(buffer, url->path.c_str(), url->path.size() + 1);
    return true;
}

void CFPlugInAddInstanceForFactory(CFUUIDRef factoryID)
{
    if (find(factoryID, "CFPlugInAddInstanceForFactory"))
        ++state().factories[hex(factoryID->bytes)];
}

void CFPlugInRemoveInstanceForFactory(CFUUIDRef factoryID)
{
    if (!find(factoryID, "CFPlugInRemoveInstanceForFactory"))
        return;
    int& n = state().factories[hex(factoryID->bytes)];
    if (n == 0)
        error("CFPlugInRemoveInstanceForFactory: the factory has no instance");
    else
        --n;
}

// ---- Core Graphics ----

CGRect CGRectMake(CGFloat x, CGFloat y, CGFloat width, CGFloat height)
{
    return CGRect{{x, y}, {width, height}};
}

CGSize CGSizeMake(CGFloat width, CGFloat height)
{
    return CGSize{width, height};
}

CGDataProviderRef CGDataProviderCreateWithData(void*, void const* data, size_t size, CGDataProviderReleaseDataCallback)
{
    auto* provider = new CGDataProvider;
    provider->data = data;
    provider->size = size;
    return handOut(provider);
}

CGImageRef CGImageCreateWithJPEGDataProvider(CGDataProviderRef source, CGFloat const[], bool, CGColorRenderingIntent)
{
    return createImage(source, qm::PictureFormat::jpeg);
}

CGImageRef CGImageCreateWithPNGDataProvider(CGDataProviderRef source, CGFloat const[], bool, CGColorRenderingIntent)
{
    return createImage(source, qm::PictureFormat::png);
}

size_t CGImageGetWidth(CGImageRef image)
{
    return image && find(image, "CGImageGetWidth") ? image->pixels.width() : 0;
}

size_t CGImageGetHeight(CGImageRef image)
{
    return image && find(image, "CGImageGetHeight") ? image->pixels.height() : 0;
}

void CGContextSetInterpolationQuality(CGContextRef c, CGInterpolationQuality quality)
{
    if (CGContext* context = liveContext(c, "CGContextSetInterpolationQuality"))
        context->record().interpolationQuality = quality;
}

void CGContextSetShouldAntialias(CGContextRef c, bool shouldAntialias)
{
    if (CGContext* context = liveContext(c, "CGContextSetShouldAntialias"))
        context->record().antialias = shouldAntialias ? 1 : 0;
}

void CGContextDrawImage(CGContextRef c, CGRect rect, CGImageRef image)
{
    CGContext* context = liveContext(c, "CGContextDrawImage");
    if (!context || !image || !find(image, "CGContextDrawImage"))
        return;
    context->record().draws.push_back({rect, image->pixels.width(), image->pixels.height()});
}

void CGContextRelease(CGContextRef c)
{
    if (c)
        releaseObject(c, "CGContextRelease");
}

// ---- QuickLook ----

CGContextRef QLThumbnailRequestCreateContext(QLThumbnailRequestRef thumbnail, CGSize size, Boolean, CFDictionaryRef)
{
    return createContext(thumbnail, size);
}

void QLThumbnailRequestFlushContext(QLThumbnailRequestRef, CGContextRef context)
{
    flushContext(context, "QLThumbnailRequestFlushContext");
}

CGContextRef QLPreviewRequestCreateContext(QLPreviewRequestRef preview, CGSize size, Boolean, CFDictionaryRef)
{
    return createContext(preview, size);
}

void QLPreviewRequestFlushContext(QLPreviewRequestRef, CGContextRef context)
{
    flushContext(context, "QLPreviewRequestFlushContext");
}
