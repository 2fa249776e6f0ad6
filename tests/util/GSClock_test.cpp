#include "gs/util/GSClock.h"

#include <gtest/gtest.h>

TEST(GSClockTimebase, DenominatorsAbove1024AreReducedTo1024)
{
    struct Case {
        unsigned int n, d, reducedN, reducedD;
    } const cases[] = {{125, 3, 125, 3},        // a typical ARM timebase: left alone
                       {1, 1024, 1, 1024},      // the limit itself stays
                       {2050, 1025, 2048, 1024}, // one above the limit: reduced
                       {3, 2048, 2, 1024},       // 1.5 rounds to 2
                       {1000000, 3000000, 341, 1024}}; // 341.33 -> 341
    for (Case c : cases) {
        GSReduceClockTimebase(&c.n, &c.d);
        EXPECT_EQ(c.n, c.reducedN) << c.reducedD;
        EXPECT_EQ(c.d, c.reducedD) << c.reducedN;
    }
}

TEST(GSClockReading, NeverGoesBackAndCoversASleep)
{
    unsigned long a = GSGetTimeNanoSeconds();
    long start = GSGetTime();
    GSSleep(30);
    EXPECT_GE(GSGetTimeNanoSeconds(), a + 30000000UL);
    EXPECT_GE(GSGetElapsedTime(start), 29); // millisecond truncation of both readings
    EXPECT_LE(static_cast<unsigned long>(GSGetTime()), GSGetTimeNanoSeconds() / 1000000UL);
    GSSleep(0); // non-positive sleeps return at once (a hang would time the test out)
    GSSleep(-5000);
}
