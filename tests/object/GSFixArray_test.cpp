#include "gs/object/GSFixArray.h"

#include "TestObjects.h"
#include "gs/text/GSString.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace {

template <class T, long N>
std::vector<T> contents(GSFixArray<T, N> const& a)
{
    return std::vector<T>(a.begin(), a.end());
}

template <long N>
void fill(GSFixArray<long, N>& a, long n)
{
    for (long i = 0; i < n; ++i)
        ASSERT_EQ(a.add(i), 0);
}

} // namespace

TEST(GSFixArrayGrowth, InlineUpToNThenTwiceTheCountPlusTwoOnTheHeap)
{
    GSFixArray<int, 8> small(3), large(20);
    EXPECT_TRUE(small.isInline());
    EXPECT_EQ(large.getCapacity(), 20);
    EXPECT_FALSE(large.isInline());
    EXPECT_EQ(small.init(-1), 1);
    EXPECT_EQ(small.getCapacity(), 0);
    EXPECT_EQ(large.init(0), 0);
    EXPECT_TRUE(large.isInline());

    GSFixArray<long, 64> a; // the registry's shape
    ASSERT_EQ(a.add(0), 0);
    EXPECT_EQ(a.getCapacity(), 64); // 2 * (0 + 1), raised to 64
    fill(a, 63);
    EXPECT_TRUE(a.isInline());
    ASSERT_EQ(a.add(64), 0);
    EXPECT_EQ(a.getCapacity(), 130); // 2 * (64 + 1)
    EXPECT_FALSE(a.isInline());
    EXPECT_EQ(a[64], 64);
    EXPECT_EQ(a[63], 62);
    GSFixArray<long, 16> b(2);
    fill(b, 3);
    EXPECT_EQ(b.getCapacity(), 16); // 2 * (2 + 1) = 6, raised to 16, still inline
    GSFixArray<long, 4> c(4);
    fill(c, 5);
    EXPECT_EQ(c.getCapacity(), 10);
    EXPECT_EQ(contents(c), (std::vector<long>{0, 1, 2, 3, 4}));
}

TEST(GSFixArrayInsert, NegativeIndexAppendsAndAnIndexPastTheCountFails)
{
    GSFixArray<int, 4> a;
    int v[3] = {1, 2, 3};
    ASSERT_EQ(a.insertAt(-1, v, 2), 0);
    ASSERT_EQ(a.insertAt(1, v + 2, 1), 0);
    EXPECT_EQ(contents(a), (std::vector<int>{1, 3, 2}));
    EXPECT_EQ(a.insertAt(4, v, 1), 1);
    EXPECT_EQ(a.insertAt(0, v, -1), 1);
    a.removeAt(0, 2);
    EXPECT_EQ(contents(a), (std::vector<int>{2}));
}

// Own elements as the source while the array moves to the heap, or to a larger heap block: the
// old storage must outlive the copy.
TEST(GSFixArrayInsert, OwnElementsSurviveTheMoveToTheHeap)
{
    GSFixArray<GSRuntimeClass*, 64> a;
    std::vector<GSRuntimeClass*> expected;
    for (long i = 0; i < 64; ++i) // distinct pointer values; they are never followed
        expected.push_back(reinterpret_cast<GSRuntimeClass*>(static_cast<std::uintptr_t>(0x1000 + 16 * i)));
    for (auto* p : expected)
        ASSERT_EQ(a.add(p), 0);
    ASSERT_EQ(a.insertAt(0, &a[63], 1), 0);
    expected.insert(expected.begin(), expected[63]);
    ASSERT_FALSE(a.isInline());
    for (long i = 0, n = a.getCapacity() - a.getCount(); i < n; ++i) {
        ASSERT_EQ(a.add(a[i]), 0);
        expected.push_back(expected[static_cast<size_t>(i)]);
    }
    ASSERT_EQ(a.insertAt(10, &a[5], 30), 0);
    expected.insert(expected.begin() + 10, expected.begin() + 5, expected.begin() + 35);
    EXPECT_EQ(contents(a), expected);

    GSFixArray<GSString, 4> s(4);
    std::vector<std::string> texts;
    for (int i = 0; i < 6; ++i) {
        texts.push_back("string number " + std::to_string(i) + " long enough to live on the heap");
        ASSERT_EQ(s.add(GSString(texts.back().c_str())), 0);
    }
    ASSERT_EQ(s.insertAt(1, &s[4], 2), 0);
    texts.insert(texts.begin() + 1, {texts[4], texts[5]});
    std::vector<std::string> got;
    for (GSString const& t : s)
        got.push_back(t.c_str());
    EXPECT_EQ(got, texts);
}

TEST(GSFixArrayAllocation, FailedMoveToTheHeapKeepsTheElementsInline)
{
    GSFixArray<long, 4> a;
    fill(a, 4);
    GSFixArrayPointer<unsigned short, 256> p;
    ASSERT_EQ(p.create(300), 0);
    EXPECT_EQ(p->getCapacity(), 300);
    ArrayAllocationFailures failures;
    EXPECT_EQ(a.add(4), 1);
    EXPECT_TRUE(a.isInline());
    EXPECT_EQ(contents(a), (std::vector<long>{0, 1, 2, 3}));
    EXPECT_EQ(a.init(100), 1);
    EXPECT_EQ(a.getCapacity(), 0);
    EXPECT_EQ(p.create(300), 1);
    EXPECT_FALSE(p);
}

TEST(GSRuntimeClassRegistry, HoldsMoreThanItsInlineSlots)
{
    long before = GSRuntimeClass::getRegisteredCount();
    static std::vector<std::unique_ptr<GSRuntimeClass>> classes;
    auto name = [](int i) { return "RegistryTestClass" + std::to_string(100 + i); };
    for (int i = 0; i < 70; ++i)
        classes.push_back(std::make_unique<GSRuntimeClass>(GSString(name(i).c_str()), nullptr, nullptr));
    EXPECT_EQ(GSRuntimeClass::getRegisteredCount(), before + 70);
    for (int i = 0; i < 70; ++i)
        EXPECT_EQ(GSRuntimeClass::getRuntimeClassForName(GSString(name(i).c_str())), classes[i].get()) << name(i);
    EXPECT_EQ(GSRuntimeClass::getRuntimeClassForName(GSString("GSObject")), &GSObject::gsClassGSObject);
}
