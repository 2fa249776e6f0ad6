// The plug-in glue: factory, instance, interface table and reference count.
#include "generator/quicklook/QuickLookGeneratorPlugin.h"

#include <cstdlib>
#include <cstring>

namespace {

// Copied into every instance; slots 4-7 are filled when the callbacks interface is queried.
QLGeneratorInterfaceStruct const interfaceTemplate = {
    nullptr,
    QuickLookGeneratorQueryInterface,
    QuickLookGeneratorPluginAddRef,
    QuickLookGeneratorPluginRelease,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
};

static_assert(sizeof(QLGeneratorInterfaceStruct) == 8 * sizeof(void*), "the interface table has eight slots");

} // namespace

QuickLookGeneratorPluginType* AllocQuickLookGeneratorPluginType(CFUUIDRef factoryID)
{
    auto* instance = static_cast<QuickLookGeneratorPluginType*>(std::calloc(1, sizeof(QuickLookGeneratorPluginType)));
    if (!instance)
        return nullptr;
    instance->conduitInterface = static_cast<QLGeneratorInterfaceStruct*>(std::malloc(sizeof(QLGeneratorInterfaceStruct)));
    if (!instance->conduitInterface) {
        std::free(instance);
        return nullptr;
    }
    std::memcpy(instance->conduitInterface, &interfaceTemplate, sizeof(QLGeneratorInterfaceStruct));
    instance->factoryID = static_cast<CFUUIDRef>(CFRetain(factoryID));
    CFPlugInAddInstanceForFactory(factoryID);
    instance->refCount = 1;
    return instance;
}

void DeallocQuickLookGeneratorPluginType(QuickLookGeneratorPluginType* instance)
{
    CFUUIDRef factoryID = instance->factoryID;
    std::free(instance->conduitInterface);
    std::free(instance);
    if (factoryID) {
        CFPlugInRemoveInstanceForFactory(factoryID);
        CFRelease(factoryID);
    }
}

void* QuickLookGeneratorPluginFactory(CFAllocatorRef, CFUUIDRef typeID)
{
    if (!typeID || !CFEqual(typeID, kQLGeneratorTypeID))
        return nullptr;
    GSCFTypeRef<CFUUIDRef> factoryID(CFUUIDCreateFromString(kCFAllocatorDefault, CFSTR(QM_QUICKLOOK_FACTORY_UUID)));
    if (!factoryID)
        return nullptr;
    return AllocQuickLookGeneratorPluginType(factoryID.get());
}

HRESULT QuickLookGeneratorQueryInterface(void* thisInstance, REFIID iid, LPVOID* ppv)
{
    auto* instance = static_cast<QuickLookGeneratorPluginType*>(thisInstance);
    GSCFTypeRef<CFUUIDRef> interfaceID(CFUUIDCreateFromUUIDBytes(kCFAllocatorDefault, iid));
    if (interfaceID && CFEqual(interfaceID.get(), kQLGeneratorCallbacksInterfaceID)) {
        QLGeneratorInterfaceStruct* table = instance->conduitInterface;
        table->GenerateThumbnailForURL = GenerateThumbnailForURL;
        table->CancelThumbnailGeneration = CancelThumbnailGeneration;
        table->GeneratePreviewForURL = GeneratePreviewForURL;
        table->CancelPreviewGeneration = CancelPreviewGeneration;
        table->AddRef(thisInstance);
        *ppv = thisInstance;
        return S_OK;
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
}

ULONG QuickLookGeneratorPluginAddRef(void* thisInstance)
{
    auto* instance = static_cast<QuickLookGeneratorPluginType*>(thisInstance);
    return ++instance->refCount;
}

ULONG QuickLookGeneratorPluginRelease(void* thisInstance)
{
    auto* instance = static_cast<QuickLookGeneratorPluginType*>(thisInstance);
    if (instance->refCount == 1) {
        DeallocQuickLookGeneratorPluginType(instance);
        return 0;
    }
    return --instance->refCount;
}
