#include "gs/platform/GSPlatformURL.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// The references a test holds, released when it ends.
struct Held {
    std::vector<GSPlatformURL*> urls;
    GSPlatformURL* operator()(GSPlatformURL* u)
    {
        if (u)
            urls.push_back(u);
        return u;
    }
    ~Held()
    {
        for (GSPlatformURL* u : urls)
            GSPlatformRelease(u);
    }
};

GSPlatformURL* url(char const* path, bool isDirectory = false)
{
    GSPlatformURL* u = GSPlatformURL::create(path, isDirectory);
    EXPECT_NE(u, nullptr);
    return u;
}

} // namespace

TEST(GSPlatformURLPaths, AbsolutePathsAndComponents)
{
    Held held;
    GSPlatformURL* base = held(url("/usr/share/", true));
    GSPlatformURL* file = held(base->createByAppendingPathComponent("doc/readme.txt", false));
    ASSERT_NE(file, nullptr);
    GSPlatformURL* parent = held(file->createByDeletingLastPathComponent());
    ASSERT_NE(parent, nullptr);
    GSPlatformURL* root = held(url("/"));
    GSPlatformURL* rootParent = held(root->createByDeletingLastPathComponent());
    GSPlatformURL* relative = held(url("some/file"));
    EXPECT_EQ(base->getPath(), "/usr/share");
    EXPECT_EQ(base->getLastPathComponent(), "share");
    EXPECT_EQ(file->getPath(), "/usr/share/doc/readme.txt");
    EXPECT_FALSE(file->isDirectory());
    EXPECT_EQ(parent->getPath(), "/usr/share/doc");
    EXPECT_TRUE(parent->isDirectory());
    EXPECT_EQ(rootParent->getPath(), "/");
    EXPECT_EQ(root->getLastPathComponent(), "/");
    EXPECT_EQ(relative->getPath()[0], '/');
    EXPECT_EQ(GSPlatformURL::create("", false), nullptr);
}

// The functions GSIdPointer calls: counts move by one, null is ignored, equality is the URL's.
TEST(GSPlatformObjectFunctions, RetainReleaseAndEqualityOfURLs)
{
    Held held;
    GSPlatformURL* a = held(url("/tmp/x/../a"));
    GSPlatformURL* same = held(url("/tmp//a/"));
    GSPlatformURL* folder = held(url("/tmp/a", true));
    GSPlatformRetain(a);
    EXPECT_EQ(a->getRetainCount(), 2);
    GSPlatformRelease(a);
    EXPECT_EQ(a->getRetainCount(), 1);
    GSPlatformRetain(nullptr);
    GSPlatformRelease(nullptr);
    EXPECT_TRUE(GSPlatformIsEqual(a, same));
    EXPECT_FALSE(GSPlatformIsEqual(a, folder));
}
