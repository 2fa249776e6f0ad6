#include "gs/object/GSFixArray.h"

#include "TestObjects.h"
#include "gs/text/GSString.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

// Random insertions (from outside and from the array itself), removals and re-initialisations of
// a GSFixArray<T, 4> and a std::vector, with allocations failing at random. A failed operation
// leaves the array as it was (a failed init leaves it empty); the capacity follows the header's
// rule, 2 * (capacity + n) and at least N, inline up to N.
template <class T>
void checkAgainstModel(unsigned seed)
{
    constexpr long N = 4;
    std::mt19937 rng(seed);
    auto pick = [&](long n) { return static_cast<long>(rng() % static_cast<unsigned long>(n)); };
    GSFixArray<T, N> array;
    std::vector<T> model;
    long capacity = 0;
    AllocationFailures failures(0, seed);
    for (int step = 0; step < 4000 && !testing::Test::HasFailure(); ++step) {
        failures.failOneIn(pick(2) ? 3 : 0);
        long const count = array.getCount(), refusedBefore = AllocationFailures::refusals();
        long const op = pick(10), index = pick(count + 3) - 1, n = pick(std::max(count, 7L) + 1) - 1;
        std::vector<T> values = model;
        long newCapacity = capacity;
        short status = 0, wanted = 0;
        if (op < 6) { // insertAt (below 0: the end) and add, from outside or from the array itself
            std::vector<T> outside;
            for (long i = 0; i < n; ++i)
                outside.push_back(qmtest::elementValue<T>(rng()));
            long const from = count && pick(2) ? pick(count) : -1;
            long const k = from < 0 ? n : std::min(n, count - from);
            T const* source = from < 0 ? outside.data() : array.getPointer() + from;
            long const at = index < 0 ? count : index;
            wanted = at > count || k < 0;
            if (!wanted && k > 0) {
                values.insert(values.begin() + at, source, source + k);
                if (count + k > capacity)
                    newCapacity = std::max(2 * (capacity + k), N);
            }
            status = k == 1 && index < 0 ? array.add(*source) : array.insertAt(index, source, k);
        } else if (op < 8) {
            if (index >= 0 && index < count && n > 0)
                values.erase(values.begin() + index, values.begin() + std::min(count, index + n));
            array.removeAt(index, n);
        } else if (op == 8) {
            values.clear();
            array.clear();
        } else { // init: a failure leaves the array empty, without room
            values.clear();
            newCapacity = std::max(index, 0L);
            wanted = index < 0;
            status = array.init(index);
        }
        bool const refused = AllocationFailures::refusals() > refusedBefore;
        std::string const what = "step " + std::to_string(step) + " operation " + std::to_string(op);
        EXPECT_EQ(status, refused ? 1 : wanted) << what;
        if (op == 9 || (!refused && !wanted)) {
            model = refused || wanted ? std::vector<T>() : values;
            capacity = refused || wanted ? 0 : newCapacity;
        }
        ASSERT_TRUE(std::vector<T>(array.begin(), array.end()) == model) << what;
        ASSERT_EQ(array.getCount(), static_cast<long>(model.size())) << what;
        ASSERT_EQ(array.getCapacity(), capacity) << what;
        ASSERT_EQ(array.isInline(), capacity <= N) << what;
    }
}

} // namespace

TEST(GSFixArrayModel, RandomOperationsWithFailingAllocationsMatchTheModel)
{
    checkAgainstModel<long>(1);
    checkAgainstModel<GSString>(2);
}

TEST(GSFixArrayPointer, CreatesAnArrayWithRoomOrStaysNull)
{
    GSFixArrayPointer<unsigned short, 256> p;
    ASSERT_EQ(p.create(300), 0);
    EXPECT_EQ(p->getCapacity(), 300);
    AllocationFailures failures;
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
