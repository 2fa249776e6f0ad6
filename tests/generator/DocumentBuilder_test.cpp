// The builder is the independent writer the reader tests rely on. The committed examples pin the
// bytes of what they hold (Examples.MatchTheDocumentBuilder); the edges of the compact number
// encoding, which no example holds all of, are pinned here.
#include "tests/support/DocumentBuilder.h"

#include "tests/support/Hex.h"

#include <gtest/gtest.h>

using namespace qmtest;

namespace {

TEST(DocumentBuilder, WritesCompactNumbers)
{
    struct Case {
        int64_t value;
        char const* hex;
    };
    for (Case c : {Case{0, "00"}, Case{64, "80 01"}, Case{-1, "40"}, Case{-65, "C0 01"}, Case{63, "3F"},
                   Case{8192, "80 80 01"}}) {
        ByteWriter number;
        number.compact(c.value);
        EXPECT_EQ(toHex(number.bytes()), c.hex) << c.value;
    }
}

} // namespace
