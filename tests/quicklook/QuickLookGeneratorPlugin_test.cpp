// The plug-in glue against the platform double: factory, interface table, reference count.
#include "DoubleTest.h"
#include "QuickLookDouble.h"
#include "generator/quicklook/QuickLookGeneratorPlugin.h"

#include <gtest/gtest.h>

namespace {

class PluginTest : public DoubleTest {
protected:
    static int registrations()
    {
        auto const& r = qmdouble::factoryRegistrations();
        auto it = r.find(QM_QUICKLOOK_FACTORY_UUID);
        return it == r.end() ? 0 : it->second;
    }
    static QuickLookGeneratorPluginType* makeInstance(CFUUIDRef typeID = kQLGeneratorTypeID)
    {
        return static_cast<QuickLookGeneratorPluginType*>(QuickLookGeneratorPluginFactory(kCFAllocatorDefault, typeID));
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

GSCFTypeRef<CFUUIDRef> uuidOf(char const* text)
{
    return GSCFTypeRef<CFUUIDRef>(CFUUIDCreateFromString(kCFAllocatorDefault, QMDoubleMakeConstantString(text)));
}

// Other type and interface IDs: the callbacks interface, IUnknown, the factory, one differing in
// the last digit from the generator type and from the callbacks interface.
char const* const kOtherIDs[] = {"865AF5E0-6D30-4345-951B-D37105754F2D", "00000000-0000-0000-C000-000000000046",
                                 QM_QUICKLOOK_FACTORY_UUID, "5E2D9680-5022-40FA-B806-43349622E5B8",
                                 "865AF5E0-6D30-4345-951B-D37105754F2C"};

TEST_F(PluginTest, TheFactoryAnswersOnlyTheGeneratorType)
{
    for (char const* other : kOtherIDs) {
        GSCFTypeRef<CFUUIDRef> typeID = uuidOf(other);
        EXPECT_EQ(makeInstance(typeID.get()), nullptr) << other;
    }
    EXPECT_EQ(makeInstance(nullptr), nullptr);
    EXPECT_EQ(registrations(), 0);
}

TEST_F(PluginTest, AnInstanceLivesFromTheFactoryToItsLastRelease)
{
    // The type ID is compared by value, not by identity.
    GSCFTypeRef<CFUUIDRef> typeID = uuidOf("5E2D9680-5022-40FA-B806-43349622E5B9");
    long before = qmdouble::liveReferences();
    QuickLookGeneratorPluginType* instance = makeInstance(typeID.get());
    ASSERT_NE(instance, nullptr);
    EXPECT_EQ(instance->refCount, 1u);
    EXPECT_EQ(qmdouble::uuidString(instance->factoryID), QM_QUICKLOOK_FACTORY_UUID);
    EXPECT_EQ(registrations(), 1);
    // The factory gave its own reference to the new UUID back; the instance holds one.
    EXPECT_EQ(qmdouble::liveReferences(), before + 1);
    QLGeneratorInterfaceStruct const* table = instance->conduitInterface;
    expectTable(table, false);

    // Any other interface is refused and changes nothing.
    for (char const* other : {kOtherIDs[1], kOtherIDs[2], kOtherIDs[4], "5E2D9680-5022-40FA-B806-43349622E5B9"}) {
        GSCFTypeRef<CFUUIDRef> id = uuidOf(other);
        void* out = instance;
        EXPECT_EQ(table->QueryInterface(instance, CFUUIDGetUUIDBytes(id.get()), &out), E_NOINTERFACE) << other;
        EXPECT_EQ(out, nullptr) << other;
        EXPECT_EQ(instance->refCount, 1u) << other;
        expectTable(table, false);
    }

    // The callbacks interface fills the table and adds a reference; the temporary interface UUID
    // is given back.
    void* out = nullptr;
    EXPECT_EQ(table->QueryInterface(instance, CFUUIDGetUUIDBytes(uuidOf(kOtherIDs[0]).get()), &out), S_OK);
    EXPECT_EQ(out, instance);
    EXPECT_EQ(instance->refCount, 2u);
    expectTable(table, true);
    EXPECT_EQ(qmdouble::liveReferences(), before + 1);

    // Each instance has its own copy of the table: a second one is still unfilled.
    QuickLookGeneratorPluginType* second = makeInstance();
    ASSERT_NE(second, nullptr);
    EXPECT_NE(second->conduitInterface, table);
    expectTable(second->conduitInterface, false);
    EXPECT_EQ(registrations(), 2);
    EXPECT_EQ(second->conduitInterface->Release(second), 0u);
    EXPECT_EQ(registrations(), 1);

    EXPECT_EQ(table->AddRef(instance), 3u);
    EXPECT_EQ(instance->refCount, 3u);
    EXPECT_EQ(table->Release(instance), 2u);
    EXPECT_EQ(table->Release(instance), 1u);
    EXPECT_EQ(registrations(), 1);
    EXPECT_EQ(table->Release(instance), 0u);
    EXPECT_EQ(registrations(), 0);
    EXPECT_EQ(qmdouble::liveReferences(), before) << "the factory ID did not go with the instance";
}

TEST_F(PluginTest, TheReferenceHolderReleasesTheOldValueWhenReplacedAndOnDestruction)
{
    long before = qmdouble::liveReferences();
    {
        GSCFTypeRef<CFUUIDRef> holder = uuidOf(QM_QUICKLOOK_FACTORY_UUID);
        EXPECT_EQ(qmdouble::liveReferences(), before + 1);
        // Replaced by a new reference to the same object: the holder owned one and owns one.
        holder.set(static_cast<CFUUIDRef>(CFRetain(holder.get())));
        EXPECT_EQ(qmdouble::liveReferences(), before + 1);
        holder = uuidOf("5E2D9680-5022-40FA-B806-43349622E5B9");
        EXPECT_EQ(qmdouble::liveReferences(), before + 1);
        EXPECT_EQ(qmdouble::uuidString(holder.get()), "5E2D9680-5022-40FA-B806-43349622E5B9");

        GSCFTypeRef<CFUUIDRef> moved(std::move(holder));
        EXPECT_FALSE(holder);
        EXPECT_TRUE(moved);
        holder.set(nullptr); // null is never released
        EXPECT_EQ(qmdouble::liveReferences(), before + 1);
    }
    EXPECT_EQ(qmdouble::liveReferences(), before);
}

} // namespace
