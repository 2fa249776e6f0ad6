#include "gs/util/GSClock.h"

#include <gtest/gtest.h>

TEST(GSClockTimebase, LargeDenominatorsAreReducedTo1024)
{
    unsigned int n = 125, d = 3; // a typical ARM timebase: left alone
    GSReduceClockTimebase(&n, &d);
    EXPECT_EQ(n, 125u);
    EXPECT_EQ(d, 3u);
    n = 1, d = 1024; // the limit itself stays
    GSReduceClockTimebase(&n, &d);
    EXPECT_EQ(d, 1024u);
    n = 3, d = 2048; // 1.5 rounds to 2
    GSReduceClockTimebase(&n, &d);
    EXPECT_EQ(n, 2u);
    EXPECT_EQ(d, 1024u);
    n = 1000000, d = 3000000; // 341.33 -> 341
    GSReduceClockTimebase(&n, &d);
    EXPECT_EQ(n, 341u);
    EXPECT_EQ(d, 1024u);
}

TEST(GSClockReading, NeverGoesBackAndCoversASleep)
{
    unsigned long a = GSGetTimeNanoSeconds();
    long start = GSGetTime();
    GSSleep(30);
    unsigned long b = GSGetTimeNanoSeconds();
    EXPECT_GE(b, a + 30000000UL);
    EXPECT_GE(GSGetElapsedTime(start), 29); // millisecond truncation of both readings
    EXPECT_LE(static_cast<unsigned long>(GSGetTime()), GSGetTimeNanoSeconds() / 1000000UL);
    GSSleep(0); // non-positive sleeps return at once
    GSSleep(-5000);
    EXPECT_LT(GSGetTimeNanoSeconds() - b, 1000000000UL);
}
