#include "gs/object/GSIdPointer.h"

#include "gs/platform/GSPlatformURL.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

// A fresh URL with retain count 1, owned by the test until handed over.
GSPlatformURL* url(char const* path, bool isDirectory = false)
{
    GSPlatformURL* u = GSPlatformURL::create(path, isDirectory);
    EXPECT_NE(u, nullptr);
    return u;
}

} // namespace

TEST(GSIdPointerOwnership, AssignmentAdoptsAttachAndCopiesRetainReplacementReleases)
{
    GSPlatformURL* a = url("/tmp/a");
    GSPlatformURL* b = url("/tmp/b");
    a->retain(); // the test's own references, to watch the counts
    b->retain();
    {
        GSIdPointer p;
        p = a; // adopts the creator's reference
        p = a; // the same object: nothing
        EXPECT_EQ(a->getRetainCount(), 2);
        GSIdPointer q;
        q.attach(a);
        q.attach(a);
        EXPECT_EQ(a->getRetainCount(), 3);
        GSIdPointer r(q);
        r = q;
        EXPECT_EQ(a->getRetainCount(), 4);
        GSIdPointer moved(std::move(r));
        EXPECT_TRUE(r.isNull());
        EXPECT_EQ(a->getRetainCount(), 4);
        q.retain();
        EXPECT_EQ(a->getRetainCount(), 5);
        a->release();

        p.attach(b); // replacing releases a
        EXPECT_EQ(a->getRetainCount(), 3);
        GSIdPointer s;
        s = b;
        p = s;
        EXPECT_EQ(b->getRetainCount(), 3);
        p = GSIdPointer();
        EXPECT_EQ(b->getRetainCount(), 2);
        s = std::move(p);
        EXPECT_EQ(b->getRetainCount(), 1);
    }
    EXPECT_EQ(a->getRetainCount(), 1);
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
