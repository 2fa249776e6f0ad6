#include "gs/util/GSLog.h"

#include <gtest/gtest.h>

TEST(GSLog, PrintsNothingAnywhere)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    GSLog("Couldn't create file: %s\n", "/tmp/x");
    GSLog("Error exchanging files: %s, %s\n", "a", "b");
    std::fflush(stdout);
    std::fflush(stderr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}
