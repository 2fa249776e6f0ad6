// What the tests see of the platform double: the requests they hand to the plug-in, what happened
// to their contexts, and the count of every reference the double has handed out.
//
// Every object the double creates (UUIDs, URLs, data providers, images, contexts) starts with one
// reference owned by whoever created it; CFRetain adds one, CFRelease and CGContextRelease take one
// away and free the object at zero. Constants (CFUUIDGetConstantUUIDWithBytes, CFSTR) belong to the
// double and are never freed, but retains and releases of them are counted as well. Misuse
// (releasing an unknown or freed object, releasing null, unregistering a factory that has no
// instance) is recorded in errors() instead of crashing.
#pragma once

#include <QuickLook/QuickLook.h>

#include <map>
#include <string>
#include <vector>

// What happened to one drawing context a request created.
struct QMDoubleDraw {
    CGRect rect;
    size_t imageWidth;
    size_t imageHeight;
};
struct QMDoubleContextRecord {
    CGSize size{};
    int interpolationQuality = -1; // -1: never set
    int antialias = -1;            // -1: never set; else 0 or 1
    std::vector<QMDoubleDraw> draws;
    int flushes = 0;
};

// The requests are the test's own objects; the plug-in only gets pointers to them.
struct QMDoubleThumbnailRequest {
    std::vector<QMDoubleContextRecord> contexts;
};
struct QMDoublePreviewRequest {
    std::vector<QMDoubleContextRecord> contexts;
};

namespace qmdouble {

// Forgets the errors recorded so far. Objects that are still alive stay alive (and counted).
void reset();

std::vector<std::string> const& errors();

// References held on the double's objects: every reference on a created object, plus those taken
// on constants beyond the double's own.
long liveReferences();
// Created objects (not constants) that are still alive.
long liveObjects();

// Instances registered per factory UUID (upper-case text), by CFPlugInAdd/RemoveInstanceForFactory.
std::map<std::string, int> const& factoryRegistrations();

// A file URL for `path`, or a URL that names no file (as an http URL); the caller owns it.
CFURLRef createFileURL(std::string const& path);
CFURLRef createNonFileURL();

// The UUID's text form, upper case: "5E2D9680-5022-40FA-B806-43349622E5B9".
std::string uuidString(CFUUIDRef uuid);

} // namespace qmdouble
