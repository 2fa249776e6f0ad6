// A test over the platform double: starts from a clean double and, at the end, requires that the
// double saw no misuse and that every reference the test made was given back.
#pragma once

#include "QuickLookDouble.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

class DoubleTest : public testing::Test {
protected:
    void SetUp() override
    {
        qmdouble::reset();
        baseline = qmdouble::liveReferences();
    }
    void TearDown() override
    {
        EXPECT_EQ(qmdouble::errors(), std::vector<std::string>{});
        EXPECT_EQ(qmdouble::liveReferences(), baseline) << "a reference was not given back";
    }

    long baseline = 0;
};
