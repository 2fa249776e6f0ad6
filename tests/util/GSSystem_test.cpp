#include "gs/util/GSSystem.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <sched.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

TEST(GSSystemProcessors, CountFollowsTheAffinityAndCanBeOverridden)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    ASSERT_EQ(sched_getaffinity(0, sizeof set, &set), 0);
    GSSetProcessorCount(-1);
    EXPECT_EQ(GSGetProcessorCount(), CPU_COUNT(&set));
    GSSetProcessorCount(0); // 0 is a valid cached count, not "ask again"
    EXPECT_EQ(GSGetProcessorCount(), 0);
    GSSetProcessorCount(-1);
    EXPECT_EQ(GSGetProcessorCount(), CPU_COUNT(&set));
}

TEST(GSSystemProcessors, AProcessPinnedToOneProcessorSeesOne)
{
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(static_cast<int>(sched_getcpu()), &one);
        if (sched_setaffinity(0, sizeof one, &one) != 0)
            _exit(2);
        GSSetProcessorCount(-1);
        _exit(GSGetProcessorCount() == 1 ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(GSSystemVersion, BuiltFromTheRunningSystemsRelease)
{
    EXPECT_EQ(GSBuildOSVersion(10, 15, 7), 0x0A0F07);
    utsname name{};
    ASSERT_EQ(uname(&name), 0);
    int major = 0, minor = 0;
    ASSERT_EQ(std::sscanf(name.release, "%d.%d", &major, &minor), 2);
    int v = GSGetOSVersion();
    EXPECT_EQ(v >> 16, major);
    EXPECT_EQ(v >> 8 & 0xFF, minor > 255 ? 255 : minor);
    EXPECT_EQ(GSGetOSVersion(), v);
}
