#include "gs/object/GSIdPointer.h"

#include "gs/platform/GSPlatformURL.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

// A fresh URL with retain count 1, owned by the test until handed over.
GSPlatformURL* url(char const* path, bool isDirectory = false)
{
    GSPlatformURL* u = GSPlatformURL::create(GSString(path), isDirectory);
    EXPECT_NE(u, nullptr);
    return u;
}

} // namespace

TEST(GSIdPointerOwnership, AssignmentAdoptsAndAttachRetains)
{
    GSPlatformURL* a = url("/tmp/a");
    a->retain(); // the test's own reference, to watch the count
    {
        GSIdPointer p;
        p = a; // adopts the creator's reference
        EXPECT_EQ(a->getRetainCount(), 2);
        p = a; // the same object: nothing
        EXPECT_EQ(a->getRetainCount(), 2);
        GSIdPointer q;
        q.attach(a);
        EXPECT_EQ(a->getRetainCount(), 3);
        q.attach(a);
        EXPECT_EQ(a->getRetainCount(), 3);
        GSIdPointer r(q);
        EXPECT_EQ(a->getRetainCount(), 4);
        r = q;
        EXPECT_EQ(a->getRetainCount(), 4);
        q.retain();
        EXPECT_EQ(a->getRetainCount(), 5);
        a->release();
        GSIdPointer moved(std::move(r));
        EXPECT_TRUE(r.isNull());
        EXPECT_EQ(a->getRetainCount(), 4);
    }
    EXPECT_EQ(a->getRetainCount(), 1);
    a->release();
}

TEST(GSIdPointerOwnership, ReplacingReleasesTheOldObject)
{
    GSPlatformURL* a = url("/tmp/a");
    GSPlatformURL* b = url("/tmp/b");
    a->retain();
    b->retain();
    GSIdPointer p;
    p = a;
    p.attach(b);
    EXPECT_EQ(a->getRetainCount(), 1);
    EXPECT_EQ(b->getRetainCount(), 3);
    GSIdPointer q;
    q = b;  // adopts the creator's reference of b
    p = q;  // the same object: nothing changes
    EXPECT_EQ(b->getRetainCount(), 3);
    GSIdPointer empty;
    p = empty;
    EXPECT_EQ(b->getRetainCount(), 2);
    q = std::move(p);
    EXPECT_EQ(b->getRetainCount(), 1);
    a->release();
    b->release();
}

TEST(GSIdPointerEquality, ComparesURLsByPathAndKind)
{
    GSIdPointer a, b, folder, other, none;
    a = url("/tmp/x/../a");
    b = url("/tmp//a/");
    folder = url("/tmp/a", true);
    other = url("/tmp/b");
    EXPECT_TRUE(a.isEqual(b));
    EXPECT_FALSE(a.isEqual(folder));
    EXPECT_FALSE(a.isEqual(other));
    EXPECT_FALSE(a.isEqual(none));
    EXPECT_FALSE(none.isEqual(none));
}

TEST(GSPlatformURLPaths, AbsolutePathsAndComponents)
{
    GSPlatformURL* base = url("/usr/share/", true);
    EXPECT_STREQ(base->getPath().c_str(), "/usr/share");
    EXPECT_STREQ(base->getLastPathComponent().c_str(), "share");
    GSPlatformURL* file = base->createByAppendingPathComponent(GSString("doc/readme.txt"), false);
    ASSERT_NE(file, nullptr);
    EXPECT_STREQ(file->getPath().c_str(), "/usr/share/doc/readme.txt");
    EXPECT_FALSE(file->isDirectory());
    GSPlatformURL* parent = file->createByDeletingLastPathComponent();
    ASSERT_NE(parent, nullptr);
    EXPECT_STREQ(parent->getPath().c_str(), "/usr/share/doc");
    EXPECT_TRUE(parent->isDirectory());
    GSPlatformURL* root = url("/");
    GSPlatformURL* rootParent = root->createByDeletingLastPathComponent();
    EXPECT_STREQ(rootParent->getPath().c_str(), "/");
    EXPECT_STREQ(root->getLastPathComponent().c_str(), "/");
    GSPlatformURL* relative = url("some/file");
    EXPECT_EQ(relative->getPath().c_str()[0], '/');
    EXPECT_EQ(GSPlatformURL::create(GSString(""), false), nullptr);
    for (GSPlatformObject* o : {static_cast<GSPlatformObject*>(base), static_cast<GSPlatformObject*>(file),
                                static_cast<GSPlatformObject*>(parent), static_cast<GSPlatformObject*>(root),
                                static_cast<GSPlatformObject*>(rootParent), static_cast<GSPlatformObject*>(relative)})
        o->release();
}
