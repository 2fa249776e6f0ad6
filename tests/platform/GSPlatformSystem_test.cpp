#include "gs/platform/GSPlatformSystem.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <sys/utsname.h>

TEST(GSPlatformOSVersion, ReleaseTexts)
{
    struct Case {
        char const* release;
        unsigned int version;
    };
    Case const cases[] = {
        {"6.1.0-18-amd64", 6u << 16 | 1u << 8 | 0},
        {"10.15.7", 10u << 16 | 15u << 8 | 7},
        {"5.15.153.1-microsoft-standard-WSL2", 5u << 16 | 15u << 8 | 153},
        {"4.19", 4u << 16 | 19u << 8},
        {"3", 3u << 16},
        {"2.6.300", 2u << 16 | 6u << 8 | 255}, // minor and patch are limited to 255
        {"2.700.1", 2u << 16 | 255u << 8 | 1},
        {"65535.0.0", 65535u << 16},
        {"65536.0.0", 0},
        {"0.9.1", 0},
        {"v6.1", 0},
        {"", 0},
    };
    for (Case const& c : cases)
        EXPECT_EQ(GSPlatformParseOSRelease(c.release), c.version) << c.release;
}

TEST(GSPlatformOSVersion, TheRunningKernel)
{
    utsname name{};
    ASSERT_EQ(uname(&name), 0);
    unsigned major = 0, minor = 0, patch = 0;
    ASSERT_GE(std::sscanf(name.release, "%u.%u.%u", &major, &minor, &patch), 2);
    EXPECT_EQ(GSNSGetOSVersion(), major << 16 | (minor > 255 ? 255 : minor) << 8 | (patch > 255 ? 255 : patch));
}
