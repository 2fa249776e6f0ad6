#include "gs/object/GSDynaArray.h"

#include "TestObjects.h"
#include "gs/text/GSString.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

TEST(GSGrowCapacityRule, GivesBasePlusStepOrMinusOneWhenItOverflows)
{
    struct Case {
        long base, growth, capacity;
    } const cases[] = {{8, -100, 16},   {0, -100, 8},   {50, -1, 58}, {99, -1, 107},
                       {100, -1, 101},  {200, -50, 300}, {7, -33, 9},  {10, 5, 15},
                       {10, 0, 10},     {LONG_MAX / 2, -300, -1}, {LONG_MAX, 1, -1}, {5, LONG_MIN, -1}};
    for (Case const& c : cases)
        EXPECT_EQ(GSGrowCapacity(c.base, c.growth), c.capacity) << "base " << c.base << " growth " << c.growth;
}

// Every allocation and reallocation asks the hook; a refused reallocation keeps the block.
TEST(GSArrayAllocationHook, IsAskedBeforeEveryAllocationAndReallocation)
{
    void* block = GSArrayAllocate(1);
    ASSERT_NE(block, nullptr);
    {
        AllocationFailures failures;
        EXPECT_EQ(GSArrayAllocate(8), nullptr);
        EXPECT_EQ(GSArrayReallocate(block, 16), nullptr);
        EXPECT_EQ(AllocationFailures::refusals(), 2);
    }
    EXPECT_EQ(GSArrayReallocate(block, 0), nullptr); // no block of 0 bytes
    block = GSArrayReallocate(block, 1);
    EXPECT_NE(block, nullptr);
    GSArrayFree(block);
}

TEST(GSDynaArrayAllocation, UnrepresentableSizesFailBeforeAllocating)
{
    GSDynaArray<int> a(0, -100), fixed(0, LONG_MAX);
    AllocationFailures failures;
    EXPECT_EQ(a.setCount(LONG_MAX), 1);
    EXPECT_EQ(a.reserve(LONG_MAX / 2), 1);
    EXPECT_EQ(fixed.add(1), 1);
    EXPECT_EQ(AllocationFailures::refusals(), 0);
}

namespace {

// What the header promises about one array: elements, growth value, capacity, and its block
// (0: none; arrays with the same number share their storage).
template <class T>
struct DynaModel {
    std::vector<T> values;
    long growth = -100, capacity = 0;
    int block = 0;
};

// Random operations on four GSDynaArrays that share blocks by copying, and on their models, with
// allocations failing at random. After every operation each array must equal its model: a failed
// operation leaves the array as it was (setCount keeps what fits), copies share their block until
// one of them changes, and capacities follow the growth rule.
template <class T>
void checkAgainstModel(unsigned seed)
{
    constexpr int kArrays = 4;
    std::mt19937 rng(seed);
    auto pick = [&](long n) { return static_cast<long>(rng() % static_cast<unsigned long>(n)); };
    std::vector<std::unique_ptr<GSDynaArray<T>>> arrays;
    std::vector<DynaModel<T>> models;
    for (long growth : {-100L, -50L, 0L, 3L}) {
        arrays.push_back(std::make_unique<GSDynaArray<T>>(0, growth));
        models.push_back({{}, growth});
    }
    auto shared = [&](int a) {
        int block = models[a].block;
        return block && std::count_if(models.begin(), models.end(), [&](auto& m) { return m.block == block; }) > 1;
    };
    // Room for n elements in private storage: the growth rule (or exactly `exact`) when n does
    // not fit, and a block of its own when the storage was shared.
    int nextBlock = 1;
    auto makeRoom = [&](DynaModel<T>& m, bool isShared, long n, long exact = -1) {
        if (n > m.capacity)
            m.capacity = exact < 0 ? GSGrowCapacity(n, m.growth) : exact;
        if ((n > 0 && !m.block) || isShared)
            m.block = nextBlock++;
    };
    AllocationFailures failures(0, seed);
    for (int step = 0; step < 4000 && !testing::Test::HasFailure(); ++step) {
        failures.failOneIn(pick(2) ? 4 : 0);
        int const a = static_cast<int>(pick(kArrays)), op = static_cast<int>(pick(11));
        GSDynaArray<T>& array = *arrays[a];
        DynaModel<T> const model = models[a];
        DynaModel<T> done = model, failed = model; // after success, and after a refused allocation
        bool const isShared = shared(a);
        long const count = array.getCount(), refusedBefore = AllocationFailures::refusals();
        long const index = pick(count + 3) - 1, n = pick(count + 12) - 1;
        T const fresh = qmtest::elementValue<T>(rng());
        T const& element = count && pick(2) ? array[pick(count)] : fresh; // may lie in the array
        short status = 0, wanted = 0;
        bool reportsStatus = true;
        std::string const what = "step " + std::to_string(step) + " operation " + std::to_string(op);
        switch (op) {
        case 0:
            makeRoom(done, isShared, count + 1);
            done.values.push_back(element);
            status = array.add(element);
            break;
        case 1: { // insertAt and append, from outside, from this array's storage or another's
            std::vector<T> outside;
            for (int i = 0; i < 5; ++i)
                outside.push_back(qmtest::elementValue<T>(rng()));
            GSDynaArray<T> const& other = *arrays[pick(kArrays)];
            long const from = other.getCount() ? pick(other.getCount()) : -1;
            long const k = std::min(pick(6), from < 0 ? 5 : other.getCount() - from);
            T const* source = from >= 0 && pick(3) ? other.getPointer() + from : outside.data();
            long const at = pick(4) ? index : count;
            if (at < 0 || at > count) {
                EXPECT_THROW((void)array.insertAt(at, source, k), bad_index) << what;
                break;
            }
            if (k > 0) {
                makeRoom(done, isShared, count + k);
                done.values.insert(done.values.begin() + at, source, source + k);
            }
            status = at == count && pick(2) ? array.append(source, k) : array.insertAt(at, source, k);
            break;
        }
        case 2: // setAt; 1 for an index out of range
            if (index < 0 || index >= count) {
                wanted = 1;
            } else {
                makeRoom(done, isShared, count);
                done.values[index] = element;
            }
            status = array.setAt(index, element);
            break;
        case 3: { // removeAt: nothing for an index out of range
            long const k = pick(count + 2) - 1;
            reportsStatus = false;
            if (index >= 0 && index < count && k > 0) {
                makeRoom(done, isShared, count);
                done.values.erase(done.values.begin() + index, done.values.begin() + std::min(count, index + k));
            }
            array.removeAt(index, k);
            break;
        }
        case 4: { // setCount: a failure keeps the elements that fit in private storage
            long const size = pick(40) ? pick(40) - 1 : 200;
            wanted = size < 0;
            if (size >= 0) {
                makeRoom(done, isShared, size);
                done.values.resize(size);
                if (!isShared)
                    failed.values.resize(std::min(size, model.capacity));
            }
            status = array.setCount(size);
            break;
        }
        case 5: // reserve: exactly n; 0 drops the storage
            wanted = n < 0;
            if (n == 0)
                done = {{}, model.growth};
            else if (n > 0)
                makeRoom(done, isShared, n, n);
            status = array.reserve(n);
            break;
        case 6: { // makeRoom, also for a caller that holds one more reference to the block
            GSArrayData<T>* extra = pick(2) ? array.getData() : nullptr;
            wanted = n < 0;
            if (n >= 0)
                makeRoom(done, isShared, n);
            if (extra)
                extra->retain();
            status = array.makeRoom(n, extra != nullptr);
            if (extra) {
                if (!isShared && n <= model.capacity) { // still counted as private: no copy
                    EXPECT_EQ(array.getData(), extra) << what;
                }
                extra->release();
            }
            break;
        }
        case 7: { // clear keeps private storage and drops shared storage; empty drops it
            bool const empties = pick(2);
            done = empties || isShared ? DynaModel<T>{{}, model.growth} : DynaModel<T>{{}, model.growth, model.capacity, model.block};
            empties ? array.empty() : array.clear();
            break;
        }
        case 8: { // copies and moves share or take the other array's block and growth value
            int const b = static_cast<int>(pick(kArrays));
            long const kind = a == b ? pick(2) : pick(4);
            done = models[b];
            if (kind == 0)
                array = *arrays[b];
            else if (kind == 1)
                arrays[a] = std::make_unique<GSDynaArray<T>>(*arrays[b]);
            else if (kind == 2)
                array = std::move(*arrays[b]);
            else
                arrays[a] = std::make_unique<GSDynaArray<T>>(std::move(*arrays[b]));
            if (kind >= 2) // the source is left without storage
                models[b] = {{}, models[b].growth};
            break;
        }
        case 9: // sort, in ascending order by default
            if constexpr (std::is_arithmetic_v<T>) {
                if (count >= 2) {
                    makeRoom(done, isShared, count);
                    std::sort(done.values.begin(), done.values.end());
                }
                status = array.sort();
            }
            break;
        default: { // writing through the writable pointer, then find
            reportsStatus = false;
            makeRoom(done, isShared, count);
            if (count > 0)
                done.values[count - 1] = fresh;
            T* elements = array.getWritablePointer();
            EXPECT_EQ(!elements, !model.block || AllocationFailures::refusals() > refusedBefore) << what;
            if (elements && count > 0)
                elements[count - 1] = fresh;
            auto found = std::find(done.values.begin(), done.values.end(), fresh);
            if (elements) {
                EXPECT_EQ(array.find(fresh), found == done.values.end() ? -1 : found - done.values.begin()) << what;
            }
            break;
        }
        }
        bool const refused = AllocationFailures::refusals() > refusedBefore;
        if (reportsStatus) {
            EXPECT_EQ(status, refused ? 1 : wanted) << what;
        }
        models[a] = refused ? failed : wanted ? model : done;
        for (int i = 0; i < kArrays; ++i) {
            GSDynaArray<T> const& x = *arrays[i];
            DynaModel<T> const& m = models[i];
            ASSERT_TRUE(std::vector<T>(x.getPointer(), x.getPointer() + x.getCount()) == m.values) << what << ", " << i;
            ASSERT_EQ(x.getCapacity(), m.capacity) << what << ", array " << i;
            ASSERT_EQ(x.getGrowth(), m.growth) << what << ", array " << i;
            ASSERT_EQ(x.isShared(), shared(i)) << what << ", array " << i;
            for (int k = 0; k < kArrays; ++k)
                ASSERT_EQ(x.getData() == arrays[k]->getData(), m.block == models[k].block) << what << ", " << i << k;
        }
    }
}

} // namespace

TEST(GSDynaArrayModel, RandomOperationsWithFailingAllocationsMatchTheModel)
{
    checkAgainstModel<unsigned char>(1);
    checkAgainstModel<GSString>(2);
}
