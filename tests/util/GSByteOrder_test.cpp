#include "gs/util/GSByteOrder.h"

#include "tests/support/Hex.h"

#include <gtest/gtest.h>

#include <vector>

using qmtest::fromHex;
using qmtest::toHex;

TEST(GSByteOrderGet, BigEndianValuesAtAnUnalignedPointer)
{
    auto bytes = fromHex("00 FF FE 80 01 02 03 04 05 06 07");
    unsigned char const* p = bytes.data() + 1; // odd address on purpose
    EXPECT_EQ(GetBigUShort(p), 0xFFFE);
    EXPECT_EQ(GetBigShort(p), -2);
    EXPECT_EQ(GetBigULong(p), 0xFFFE8001u);
    EXPECT_EQ(GetBigLong(p), static_cast<int>(0xFFFE8001u));
    EXPECT_EQ(GetBigLongLong(p), static_cast<long>(0xFFFE800102030405UL));
    EXPECT_EQ(GetBigLongLong(bytes.data() + 3), static_cast<long>(0x8001020304050607UL)); // negative
}

TEST(GSByteOrderRead, StoresAndAdvancesInBothOrders)
{
    auto bytes = fromHex("FF FE 12 34 56 78 80 00 00 01 01 80 FF FF FF 7F 9A");
    unsigned char const* p = bytes.data();
    short s = 0;
    unsigned short us = 0;
    int l = 0;
    unsigned int ul = 0;
    unsigned char c = 0;
    p = ReadBigShort(p, &s);
    EXPECT_EQ(s, -2);
    p = ReadBigULong(p, &ul);
    EXPECT_EQ(ul, 0x12345678u);
    p = ReadBigLong(p, &l);
    EXPECT_EQ(l, static_cast<int>(0x80000001u));
    p = ReadLittleShort(p, &s);
    EXPECT_EQ(s, static_cast<short>(0x8001));
    p = ReadLittleLong(p, &l);
    EXPECT_EQ(l, 0x7FFFFFFF);
    p = ReadUChar(p, &c);
    EXPECT_EQ(c, 0x9A);
    EXPECT_EQ(p, bytes.data() + bytes.size());

    p = ReadBigUShort(bytes.data(), &us);
    EXPECT_EQ(us, 0xFFFE);
    p = ReadLittleUShort(p, &us);
    EXPECT_EQ(us, 0x3412);
    p = ReadLittleULong(p, &ul);
    EXPECT_EQ(ul, 0x00807856u);
    EXPECT_EQ(p, bytes.data() + 8);
}

TEST(GSByteOrderSet, WritesTheGoldenBytes)
{
    std::vector<unsigned char> b(13, 0xEE);
    SetBigShort(b.data() + 1, -2);
    SetBigLong(b.data() + 3, 0x01020304);
    SetLittleShort(b.data() + 7, 0x0A0B);
    SetLittleLong(b.data() + 9, -0x7FFFFFFF);
    EXPECT_EQ(toHex(b), "EE FF FE 01 02 03 04 0B 0A 01 00 00 80");
}

TEST(GSByteOrderSwap, ReversesEachElementOnlyWhenTheOrdersDiffer)
{
    unsigned short us[3] = {0x0102, 0xA0B0, 0x00FF};
    short ss[2] = {0x0102, -2};
    unsigned int ul[2] = {0x01020304u, 0xFF000000u};
    int sl[1] = {1};
    unsigned long ull[2] = {0x0102030405060708UL, 1UL};

    GSSwapUSHORTArray(us, 2, GSByteOrderBig, GSByteOrderLittle);
    EXPECT_EQ(us[0], 0x0201);
    EXPECT_EQ(us[1], 0xB0A0);
    EXPECT_EQ(us[2], 0x00FF); // beyond the count
    GSSwapSHORTArray(ss, 2, 7, 9);
    EXPECT_EQ(ss[0], 0x0201);
    EXPECT_EQ(ss[1], static_cast<short>(0xFEFF));
    GSSwapULONGArray(ul, 2, GSByteOrderLittle, GSByteOrderBig);
    EXPECT_EQ(ul[0], 0x04030201u);
    EXPECT_EQ(ul[1], 0x000000FFu);
    GSSwapLONGArray(sl, 1, 0, 1);
    EXPECT_EQ(sl[0], 0x01000000);
    GSSwapULONGLONGArray(ull, 2, 0, 1);
    EXPECT_EQ(ull[0], 0x0807060504030201UL);
    EXPECT_EQ(ull[1], 0x0100000000000000UL);

    // Equal codes: nothing happens, whatever the codes are.
    GSSwapULONGLONGArray(ull, 2, 5, 5);
    GSSwapUSHORTArray(us, 3, GSByteOrderBig, GSByteOrderBig);
    EXPECT_EQ(ull[0], 0x0807060504030201UL);
    EXPECT_EQ(us[0], 0x0201);
}
