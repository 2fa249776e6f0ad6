#include "gs/util/GSRandom.h"

#include <gtest/gtest.h>

#include <cstdlib>

TEST(GSRandom, SequenceFromASeed)
{
    GSRandomSetSeed(0);
    EXPECT_EQ(GSRandom32(), 6172); // 12345 >> 1
    // 12345 * 1103515245 + 12345 modulo 2^32, shifted right by 1.
    EXPECT_EQ(GSRandom32(), static_cast<int>((12345u * 1103515245u + 12345u) >> 1));
    GSRandomSetSeed(-1);
    EXPECT_EQ(GSRandom32(), static_cast<int>((0xFFFFFFFFu * 1103515245u + 12345u) >> 1));
    for (int i = 0; i < 1000; ++i)
        ASSERT_GE(GSRandom32(), 0);
}

TEST(GSRandom, AFreshProcessStartsFromTheDocumentedState)
{
    // The "threadsafe" style runs the statement in a newly started copy of this program, where no
    // earlier test has moved the process-wide state.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::exit(GSRandom32() == static_cast<int>((4385737u * 1103515245u + 12345u) >> 1) ? 0 : 1),
                testing::ExitedWithCode(0), "");
}
