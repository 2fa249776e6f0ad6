#include "gs/util/GSRandom.h"

#include <gtest/gtest.h>

#include <cstdlib>

TEST(GSRandom, SequenceFromASeed)
{
    GSRandomSetSeed(0);
    EXPECT_EQ(GSRandom32(), 6172);
    EXPECT_EQ(GSRandom32(), 1777208127);
    GSRandomSetSeed(-1);
    EXPECT_EQ(GSRandom32(), 1595732198);
    for (int i = 0; i < 1000; ++i)
        ASSERT_GE(GSRandom32(), 0);
}

TEST(GSRandom, AFreshProcessStartsFromTheDocumentedState)
{
    // The "threadsafe" style runs this test again in a newly started copy of this program, where
    // no earlier test has moved the process-wide state.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::exit(GSRandom32() == 1936058727 ? 0 : 1), testing::ExitedWithCode(0), "");
}
