// The plug-in glue against the platform double: factory, interface table, reference count.
#include "DoubleTest.h"
#include "QuickLookDouble.h"
#include "generator/quicklook/QuickLookGeneratorPlugin.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

class PluginTest : public DoubleTest {
protected:
    static long count(std::string const& function)
    {
        auto const& calls = qmdouble::calls();
        return std::count(calls.begin(), calls.end(), function);
    }
    static int registrations()
    {
        auto const& r = qmdouble::factoryRegistrations();
        auto it = r.find(QM_QUICKLOOK_FACTORY_UUID);
        return it == r.end() ? 0 : it->second;
    }
    static QuickLookGeneratorPluginType* makeInstance()
    {
        return static_cast<QuickLookGeneratorPluginType*>(
            QuickLookGeneratorPluginFactory(kCFAllocatorDefault, kQLGeneratorTypeID));
    }
};

// The interface table: IUnknown's slots always, the callbacks once the interface was queried.
void expectTable(QLGeneratorInterfaceStruct const* table, bool filled)
{
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->_reserved, nullptr);
    EXPECT_EQ(table->QueryInterface, &QuickLookGeneratorQueryInterface);
    EXPECT_EQ(table->AddRef, &QuickLookGeneratorPluginAddRef);
    EXPECT_EQ(table->Release, &QuickLookGeneratorPluginRelease);
    EXPECT_EQ(table->GenerateThumbnailForURL, filled ? &GenerateThumbnailForURL : nullptr);
    EXPECT_EQ(table->CancelThumbnailGeneration, filled ? &CancelThumbnailGeneration : nullptr);
    EXPECT_EQ(table->GeneratePreviewForURL, filled ? &GeneratePreviewForURL : nullptr);
    EXPECT_EQ(table->CancelPreviewGeneration, filled ? &CancelPreviewGeneration : nullptr);
}

CFUUIDBytes bytesOf(char const* text)
{
    GSCFTypeRef<CFUUIDRef> uuid(CFUUIDCreateFromString(kCFAllocatorDefault, QMDoubleMakeConstantString(text)));
    return CFUUIDGetUUIDBytes(uuid.get());
}

using PluginFactory = PluginTest;

TEST_F(PluginFactory, AnswersOnlyTheGeneratorType)
{
    for (char const* other : {"865AF5E0-6D30-4345-951B-D37105754F2D", "00000000-0000-0000-C000-000000000046",
                              QM_QUICKLOOK_FACTORY_UUID, "5E2D9680-5022-40FA-B806-43349622E5B8"}) {
        GSCFTypeRef<CFUUIDRef> typeID(CFUUIDCreateFromString(kCFAllocatorDefault, QMDoubleMakeConstantString(other)));
        qmdouble::reset();
        EXPECT_EQ(QuickLookGeneratorPluginFactory(kCFAllocatorDefault, typeID.get()), nullptr) << other;
        EXPECT_EQ(count("CFUUIDCreateFromString"), 0) << "made a factory ID for " << other;
        EXPECT_EQ(registrations(), 0);
    }
    EXPECT_EQ(QuickLookGeneratorPluginFactory(kCFAllocatorDefault, nullptr), nullptr);
}

TEST_F(PluginFactory, MakesARegisteredInstanceWithCountOne)
{
    // The type ID is compared by value, not by identity.
    GSCFTypeRef<CFUUIDRef> typeID(
        CFUUIDCreateFromString(kCFAllocatorDefault, CFSTR("5E2D9680-5022-40FA-B806-43349622E5B9")));
    long before = qmdouble::liveReferences();
    auto* instance =
        static_cast<QuickLookGeneratorPluginType*>(QuickLookGeneratorPluginFactory(kCFAllocatorDefault, typeID.get()));
    ASSERT_NE(instance, nullptr);
    EXPECT_EQ(instance->refCount, 1u);
    EXPECT_EQ(qmdouble::uuidString(instance->factoryID), QM_QUICKLOOK_FACTORY_UUID);
    EXPECT_EQ(registrations(), 1);
    // The factory gave its own reference to the new UUID back; the instance holds one.
    EXPECT_EQ(qmdouble::liveReferences(), before + 1);

    expectTable(instance->conduitInterface, false);
    EXPECT_EQ(instance->conduitInterface->Release(instance), 0u);
    EXPECT_EQ(registrations(), 0);
}

using PluginQuery = PluginTest;

TEST_F(PluginQuery, CallbacksInterfaceFillsTheTableAndAddsAReference)
{
    QuickLookGeneratorPluginType* instance = makeInstance();
    ASSERT_NE(instance, nullptr);
    QLGeneratorInterfaceStruct const* table = instance->conduitInterface;
    long before = qmdouble::liveReferences();

    void* out = nullptr;
    HRESULT result = table->QueryInterface(instance, bytesOf("865AF5E0-6D30-4345-951B-D37105754F2D"), &out);
    EXPECT_EQ(result, S_OK);
    EXPECT_EQ(out, instance);
    EXPECT_EQ(instance->refCount, 2u);
    expectTable(table, true);
    EXPECT_EQ(qmdouble::liveReferences(), before) << "the temporary interface UUID was kept";

    // Each instance has its own copy of the table: a second one is still unfilled.
    QuickLookGeneratorPluginType* second = makeInstance();
    ASSERT_NE(second, nullptr);
    EXPECT_NE(second->conduitInterface, instance->conduitInterface);
    expectTable(second->conduitInterface, false);
    EXPECT_EQ(registrations(), 2);

    EXPECT_EQ(second->conduitInterface->Release(second), 0u);
    EXPECT_EQ(table->Release(instance), 1u);
    EXPECT_EQ(table->Release(instance), 0u);
    EXPECT_EQ(registrations(), 0);
}

TEST_F(PluginQuery, AnyOtherInterfaceIsRefused)
{
    QuickLookGeneratorPluginType* instance = makeInstance();
    ASSERT_NE(instance, nullptr);
    QLGeneratorInterfaceStruct const* table = instance->conduitInterface;
    long before = qmdouble::liveReferences();
    for (char const* other : {"00000000-0000-0000-C000-000000000046", "5E2D9680-5022-40FA-B806-43349622E5B9",
                              "865AF5E0-6D30-4345-951B-D37105754F2C", QM_QUICKLOOK_FACTORY_UUID}) {
        void* out = instance;
        HRESULT result = table->QueryInterface(instance, bytesOf(other), &out);
        EXPECT_EQ(result, static_cast<HRESULT>(0x80000004u)) << other;
        EXPECT_EQ(out, nullptr) << other;
        EXPECT_EQ(instance->refCount, 1u) << other;
        EXPECT_EQ(table->GenerateThumbnailForURL, nullptr) << other;
        EXPECT_EQ(qmdouble::liveReferences(), before) << other;
    }
    EXPECT_EQ(table->Release(instance), 0u);
}

using PluginReferenceCount = PluginTest;

TEST_F(PluginReferenceCount, MovesWithAddRefAndReleaseAndTheLastReleaseFrees)
{
    QuickLookGeneratorPluginType* instance = makeInstance();
    ASSERT_NE(instance, nullptr);
    QLGeneratorInterfaceStruct const* table = instance->conduitInterface;
    long objects = qmdouble::liveObjects();
    EXPECT_EQ(table->AddRef(instance), 2u);
    EXPECT_EQ(table->AddRef(instance), 3u);
    EXPECT_EQ(instance->refCount, 3u);
    EXPECT_EQ(table->Release(instance), 2u);
    EXPECT_EQ(table->Release(instance), 1u);
    EXPECT_EQ(registrations(), 1);
    EXPECT_EQ(count("CFPlugInRemoveInstanceForFactory"), 0);

    EXPECT_EQ(table->Release(instance), 0u);
    EXPECT_EQ(count("CFPlugInRemoveInstanceForFactory"), 1);
    EXPECT_EQ(registrations(), 0);
    // The factory ID went with the instance (the memory itself is checked by the leak checker).
    EXPECT_EQ(qmdouble::liveObjects(), objects - 1);
}

TEST_F(PluginReferenceCount, AllocRetainsAndRegistersDeallocUndoesIt)
{
    GSCFTypeRef<CFUUIDRef> factoryID(CFUUIDCreateFromString(kCFAllocatorDefault, CFSTR(QM_QUICKLOOK_FACTORY_UUID)));
    long before = qmdouble::liveReferences();
    QuickLookGeneratorPluginType* instance = AllocQuickLookGeneratorPluginType(factoryID.get());
    ASSERT_NE(instance, nullptr);
    EXPECT_EQ(instance->factoryID, factoryID.get());
    EXPECT_EQ(qmdouble::liveReferences(), before + 1);
    EXPECT_EQ(registrations(), 1);
    DeallocQuickLookGeneratorPluginType(instance);
    EXPECT_EQ(qmdouble::liveReferences(), before);
    EXPECT_EQ(registrations(), 0);

    // An instance without a factory ID is freed without unregistering anything.
    instance = AllocQuickLookGeneratorPluginType(factoryID.get());
    ASSERT_NE(instance, nullptr);
    CFPlugInRemoveInstanceForFactory(instance->factoryID);
    CFRelease(instance->factoryID);
    instance->factoryID = nullptr;
    qmdouble::reset();
    DeallocQuickLookGeneratorPluginType(instance);
    EXPECT_EQ(qmdouble::calls(), std::vector<std::string>{});
}

TEST(CFTypeRefHolder, ReleasesTheOldValueWhenReplacedAndOnDestruction)
{
    qmdouble::reset();
    long before = qmdouble::liveReferences();
    {
        GSCFTypeRef<CFUUIDRef> holder(CFUUIDCreateFromString(kCFAllocatorDefault, CFSTR(QM_QUICKLOOK_FACTORY_UUID)));
        CFUUIDRef first = holder.get();
        EXPECT_EQ(qmdouble::liveReferences(), before + 1);
        // Replaced by a new reference to the same object: the holder owned one and owns one.
        holder.set(static_cast<CFUUIDRef>(CFRetain(first)));
        EXPECT_EQ(qmdouble::liveReferences(), before + 1);
        holder.set(CFUUIDCreateFromString(kCFAllocatorDefault, CFSTR("5E2D9680-5022-40FA-B806-43349622E5B9")));
        EXPECT_EQ(qmdouble::liveReferences(), before + 1);
        EXPECT_EQ(qmdouble::uuidString(holder.get()), "5E2D9680-5022-40FA-B806-43349622E5B9");

        GSCFTypeRef<CFUUIDRef> moved(std::move(holder));
        EXPECT_FALSE(holder);
        EXPECT_TRUE(moved);
        holder.set(nullptr); // null is never released
        EXPECT_EQ(qmdouble::liveReferences(), before + 1);
    }
    EXPECT_EQ(qmdouble::liveReferences(), before);
    EXPECT_EQ(qmdouble::errors(), std::vector<std::string>{});
}

} // namespace
