// The QuickLook generator plug-in for Quillmoor documents, loaded by the Finder's thumbnail service
// through the Core Foundation plug-in model.
//
// The service calls the exported factory with the generator type ID, gets one instance, queries it
// for the generator callbacks interface and then calls the thumbnail or preview callback once per
// document. An instance is laid out as the plug-in model expects: its first field points to the
// interface table.
//
//   instance (calloc)   offset 0: table pointer; 8: factory ID (retained); 16: reference count
//   table (malloc, 64)  0 reserved (null), 1 QueryInterface, 2 AddRef, 3 Release,
//                       4 GenerateThumbnailForURL, 5 CancelThumbnailGeneration,
//                       6 GeneratePreviewForURL, 7 CancelPreviewGeneration
// Slots 4-7 are filled when the callbacks interface is queried. The reference count is a plain
// counter: only the service changes it, from one thread.
#pragma once

#include "generator/GSThumbnailLimits.h"
#include "generator/quicklook/GSCFTypeRef.h"
#include "gs/object/GSDynaArray.h"

#include <CoreFoundation/CFPlugInCOM.h>
#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>
#include <QuickLook/QuickLook.h>

// The factory's UUID, listed under CFPlugInFactories in the bundle's Info.plist (the build copies
// it from here).
#define QM_QUICKLOOK_FACTORY_UUID "0C538D9C-4C4F-4B53-9C6E-293E2832A0D7"

struct QuickLookGeneratorPluginType {
    QLGeneratorInterfaceStruct* conduitInterface;
    CFUUIDRef factoryID;
    UInt32 refCount;
};

extern "C" {

// Exported factory: an instance for the generator type ID (with a reference count of 1), null
// for any other type.
void* QuickLookGeneratorPluginFactory(CFAllocatorRef allocator, CFUUIDRef typeID);

// Allocates an instance with its own copy of the interface table, retains `factoryID` and
// registers the instance for it. Null when memory runs out.
QuickLookGeneratorPluginType* AllocQuickLookGeneratorPluginType(CFUUIDRef factoryID);
// Frees the table and the instance; unregisters from the factory and releases its ID.
void DeallocQuickLookGeneratorPluginType(QuickLookGeneratorPluginType* instance);

// For the generator callbacks interface ID: fills slots 4-7, adds a reference, stores the instance
// in *ppv and returns S_OK. For any other ID: stores null and returns E_NOINTERFACE.
HRESULT QuickLookGeneratorQueryInterface(void* thisInstance, REFIID iid, LPVOID* ppv);
ULONG QuickLookGeneratorPluginAddRef(void* thisInstance);
// The release that brings the count from 1 to 0 deallocates the instance.
ULONG QuickLookGeneratorPluginRelease(void* thisInstance);

// The requests. Both read the document's stored picture and draw it into the request's context:
// a thumbnail fitted into maxSize, a preview at the picture's size. A document that opens but has
// no usable picture gets a flushed 0 x 0 context; a file that does not open gets no context.
// Both always return noErr, and every reference they create is released before they return, also
// when an exception (which never leaves them) interrupts the request.
OSStatus GenerateThumbnailForURL(void* thisInterface, QLThumbnailRequestRef thumbnail, CFURLRef url,
                                 CFStringRef contentTypeUTI, CFDictionaryRef options, CGSize maxSize);
void CancelThumbnailGeneration(void* thisInterface, QLThumbnailRequestRef thumbnail);
OSStatus GeneratePreviewForURL(void* thisInterface, QLPreviewRequestRef preview, CFURLRef url,
                               CFStringRef contentTypeUTI, CFDictionaryRef options);
void CancelPreviewGeneration(void* thisInterface, QLPreviewRequestRef preview);

} // extern "C"

// Reads the stored picture of the document at `url` into `bytes` and, for a JPEG or PNG picture
// that the platform decodes, puts the decoded image into `image` (releasing what it held). The
// image reads the bytes in place: `bytes` must outlive it. Returns the status of opening the
// file: 0 also when there is no picture (the image is then null). Throws what reading the
// document throws (bad_file for a document with two object tables). A picture whose size exceeds
// the pixel limits (maxWidth, maxHeight, maxPixels) is dropped before anything draws it (the
// platform decodes when drawing), so the request then answers as for no picture.
[[nodiscard]] short GenerateFillCGImage(CFURLRef url, GSDynaArray<unsigned char>* bytes, GSCFTypeRef<CGImageRef>* image,
                                        GSThumbnailLimits const& limits = GSThumbnailLimits());
