#include "gs/object/GSArray.h"

#include "TestObjects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace {

// IntArray and PointerArray behind one interface of the values 1..20; 0 is what the slot that a
// failed insertion adds reads as (0, or null).
struct Ints {
    using Array = IntArray;
    static int of(long v) { return static_cast<int>(v); }
    static long valueOf(int v) { return v; }
    static short init(IntArray& a, long size, long growth) { return a.GSArray::init(sizeof(int), size, growth); }
};

struct Pointers {
    using Array = PointerArray;
    static inline int cells[21];
    static void* of(long v) { return v ? &cells[v] : nullptr; }
    static long valueOf(void* p) { return p ? static_cast<int*>(p) - cells : 0; }
    static short init(PointerArray& a, long size, long growth) { return a.init(size, growth); }
};

struct Model {
    std::vector<long> values;
    long capacity = 0, growth = -100;
};

// Random operations on two arrays and their models, with allocations failing at random. The
// header's rules: a full array grows by the growth rule from its capacity (from the count after a
// failure) and always makes room for one more; an allocation failure sets the capacity to 0 and
// returns 1, and a failed insertion still adds a slot at the end that reads as 0.
template <class Kind>
void checkAgainstModel(unsigned seed)
{
    using Array = typename Kind::Array;
    std::mt19937 rng(seed);
    auto pick = [&](long n) { return static_cast<long>(rng() % static_cast<unsigned long>(n)); };
    Array arrays[2] = {Array(0, -100), Array(3, 5)};
    Model models[2] = {{}, {{}, 3, 5}};
    AllocationFailures failures(0, seed);
    for (int step = 0; step < 4000 && !testing::Test::HasFailure(); ++step) {
        failures.failOneIn(pick(2) ? 4 : 0);
        int const a = static_cast<int>(pick(2));
        long const op = pick(10), v = pick(20) + 1, index = pick(arrays[a].getCount() + 4) - 2;
        Array& array = arrays[a];
        Model& model = models[a];
        Model done = model, failed = model; // after success, and after a refused allocation
        long const count = array.getCount(), refusedBefore = AllocationFailures::refusals();
        short status = 0, wanted = 0;
        std::string const what = "step " + std::to_string(step) + " operation " + std::to_string(op);
        auto grow = [&] {
            long grown = GSGrowCapacity(std::max(model.capacity, count), model.growth);
            done.capacity = grown >= 0 && grown <= count ? count + 1 : grown;
            failed.capacity = 0;
        };
        auto insert = [&](long at, long value) {
            if (count >= model.capacity)
                grow();
            done.values.insert(done.values.begin() + at, value);
            failed.values.push_back(0);
        };
        auto const found = std::find(model.values.begin(), model.values.end(), v);
        long const first = found == model.values.end() ? -1 : found - model.values.begin();
        if (op < 3) { // add, insertAt (below 0: the end; past the count: nothing), addIfAbsent
            bool const onlyIfAbsent = op == 2 && std::is_same_v<Kind, Pointers>;
            long const at = op == 0 || onlyIfAbsent ? -1 : index;
            if (at <= count && !(onlyIfAbsent && first >= 0))
                insert(at < 0 ? count : at, v);
            if constexpr (std::is_same_v<Kind, Pointers>)
                status = onlyIfAbsent ? array.addIfAbsent(Kind::of(v)) : op ? array.insertAt(at, Kind::of(v)) : array.add(Kind::of(v));
            else
                status = op ? array.insertAt(at, Kind::of(v)) : array.add(Kind::of(v));
        } else if (op == 3) { // an element of the array's own storage, inserted while it may move
            long const from = pick(count + 1), at = pick(count + 1);
            void const* element = array.getElementPointer(from);
            if (!element)
                continue;
            insert(at, model.values[from]);
            status = array.GSArray::insertAt(at, element);
        } else if (op == 4) {
            EXPECT_EQ(array.removeAt(index), 0) << what;
            if (index >= 0 && index < count)
                done.values.erase(done.values.begin() + index);
        } else if (op == 5) { // find and remove the first equal element
            EXPECT_EQ(array.find(Kind::of(v)), first) << what;
            EXPECT_EQ(array.remove(Kind::of(v)), first) << what;
            if (first >= 0)
                done.values.erase(done.values.begin() + first);
        } else if (op == 6) { // setSize and enlarge keep the count
            long const n = index + 1;
            if (n == count) {
                grow();
            } else {
                done.capacity = std::max(n, 0L);
                failed.capacity = 0;
                wanted = n < 0;
            }
            status = n == count ? array.enlarge() : array.setSize(n);
        } else if (op == 7) { // init starts over, empty frees everything
            long const growth = pick(3) ? -100 : pick(4);
            done = {{}, std::max(index, 0L), growth};
            failed = {{}, 0, growth};
            wanted = index < 0;
            if (pick(4) == 0) {
                array.empty();
                done = {{}, 0, model.growth};
                wanted = 0;
            } else {
                status = Kind::init(array, index, growth);
            }
        } else { // copyContent into the other array: sized count + growth / 2, never below the count
            EXPECT_EQ(array.copyContent(&array), 0);
            status = array.copyContent(&arrays[1 - a]);
            // A refused allocation of the full size is made up for by room for the count alone.
            bool const refused = AllocationFailures::refusals() > refusedBefore;
            EXPECT_TRUE(status == 0 || refused) << what;
            models[1 - a] = status ? Model{{}, 0, model.growth}
                                   : Model{model.values, refused ? count : std::max(count + model.growth / 2, count), model.growth};
            wanted = status;
        }
        bool const refused = AllocationFailures::refusals() > refusedBefore;
        EXPECT_EQ(status, refused && op < 8 ? 1 : wanted) << what;
        model = refused && op < 8 ? failed : done;
        for (int i = 0; i < 2; ++i) {
            std::vector<long> got;
            for (long j = -1; j <= arrays[i].getCount(); ++j)
                got.push_back(Kind::valueOf(arrays[i].getElementAt(j)));
            std::vector<long> expected = models[i].values;
            expected.insert(expected.begin(), 0), expected.push_back(0); // nothing outside 0..count-1
            ASSERT_EQ(got, expected) << what << ", array " << i;
            ASSERT_EQ(arrays[i].getCapacity(), models[i].capacity) << what << ", array " << i;
            ASSERT_EQ(arrays[i].getGrowth(), models[i].growth) << what << ", array " << i;
        }
    }
}

} // namespace

TEST(GSArrayModel, RandomOperationsWithFailingAllocationsMatchTheModel)
{
    checkAgainstModel<Ints>(1);
    checkAgainstModel<Pointers>(2);
    GSArray oneByte(1, 1, 0); // the smallest storage there is
    EXPECT_EQ(oneByte.getCapacity(), 1);
}
