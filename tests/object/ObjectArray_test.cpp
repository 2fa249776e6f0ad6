#include "gs/object/ObjectArray.h"

#include "TestObjects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

using namespace qmtest;

namespace {

// A full QMPoint{7} without a table: marker, class name, content.
std::string const kPoint7 = "00 FF 9B 00 00 00 08 51 4D 50 6F 69 6E 74 00 "
                            "01 00 00 00 00 01 00 00 00 04 00 00 00 07 FF FF FF FF";

std::vector<int>& destroyed()
{
    static std::vector<int> order;
    return order;
}

// Records its destruction; not creatable, so copyObject gives null.
class Tracked : public GSObject {
public:
    explicit Tracked(int i = 0) : id(i) {}
    ~Tracked() override { destroyed().push_back(id); }
    GSRuntimeClass const& getRuntimeClass() const override { return gsClassTracked; }
    int id;
    static inline GSRuntimeClass gsClassTracked{GSString("ArrayTestTracked"), &GSObject::gsClassGSObject, nullptr};
};

void fill(ObjectArray& a, std::vector<GSObject*> const& objects)
{
    for (GSObject* o : objects)
        ASSERT_EQ(a.add(o), 0);
}

} // namespace

TEST(ObjectArrayFile, WritesTheCountThenEachObjectAndANullDoesNotReadBack)
{
    ObjectArray a;
    fill(a, {new QMPoint(7), nullptr});
    WriteFile w;
    ASSERT_EQ(a.write(&w.f), 0);
    EXPECT_EQ(fileHex(w.f), "00 00 00 02 " + kPoint7 + " 01");

    // The read empties the array first, then fails at the null element keeping the first.
    ReadFile r(w.f);
    ObjectArray back;
    fill(back, {new QMPoint(1)});
    EXPECT_EQ(back.read(&r.f), 1);
    ASSERT_EQ(back.getCount(), 1);
    EXPECT_EQ(xOf(back.getElementAt(0)), 7);
    EXPECT_EQ(back.getElementAt(0)->getRefCount(), 1);
}

TEST(ObjectArrayFile, ReadRetainsEachObjectAndReleasesThemWithTheArray)
{
    int const liveBefore = QMPoint::live;
    {
        ReadFile r("00 00 00 02 " + kPoint7 + " " + kPoint7);
        ObjectArray a;
        ASSERT_EQ(a.read(&r.f), 0);
        ASSERT_EQ(a.getCount(), 2);
        EXPECT_EQ(QMPoint::live, liveBefore + 2);
        EXPECT_NE(a.getElementAt(0), a.getElementAt(1));
        EXPECT_EQ(a.getElementAt(1)->getRefCount(), 1);
    }
    EXPECT_EQ(QMPoint::live, liveBefore);
}

TEST(ObjectArrayFile, CountsTheFileCannotHoldFailBeforeAllocating)
{
    for (char const* hex : {"00 00 00 03 01 01", "7F FF FF FF 01", "FF FF FF FF"}) {
        ReadFile r(hex);
        ObjectArray a;
        AllocationFailures failures;
        EXPECT_EQ(a.read(&r.f), 1) << hex;
        EXPECT_EQ(AllocationFailures::refusals(), 0) << hex;
    }
}

TEST(ObjectArrayFile, ACountOfZeroReadsAsAnEmptyArrayAndNoFileIsAnError)
{
    ReadFile r("00 00 00 00");
    ObjectArray a;
    fill(a, {new QMPoint(1)});
    EXPECT_EQ(a.read(&r.f), 0);
    EXPECT_EQ(a.getCount(), 0);
    EXPECT_EQ(a.read(nullptr), 1);
    EXPECT_EQ(a.write(nullptr), 1);
}

TEST(ObjectArrayCopy, CopiesEveryElementKeepingNullsAndStopsAtAFailedCopy)
{
    ObjectArray a(0, 12);
    fill(a, {new QMPoint(4), nullptr, new QMPoint(5)});
    ObjectArray target;
    fill(target, {new QMPoint(9)});
    EXPECT_EQ(a.copyTo(&a), 1);
    EXPECT_EQ(a.copyTo(nullptr), 1);
    ASSERT_EQ(a.copyTo(&target), 0);
    ASSERT_EQ(target.getCount(), 3);
    EXPECT_EQ(target.getGrowth(), 12);
    EXPECT_NE(target.getElementAt(0), a.getElementAt(0));
    EXPECT_EQ(xOf(target.getElementAt(0)), 4);
    EXPECT_EQ(target.getElementAt(1), nullptr);
    EXPECT_EQ(xOf(target.getElementAt(2)), 5);
    EXPECT_EQ(target.getElementAt(2)->getRefCount(), 1);

    ASSERT_EQ(a.replaceAt(1, new Tracked), 0);
    EXPECT_EQ(a.copyTo(&target), 1);
    ASSERT_EQ(target.getCount(), 1); // the copies made so far
    EXPECT_EQ(xOf(target.getElementAt(0)), 4);
}

// Emptying and destruction release the elements from the last to the first.
TEST(ObjectArrayOwnership, TheLastHolderReleasesLastToFirst)
{
    destroyed().clear();
    {
        ObjectArray a(2, -100);
        fill(a, {new Tracked(1), new Tracked(2), nullptr, new Tracked(3)});
        ObjectArray b(a);
        a.empty();
        EXPECT_TRUE(destroyed().empty());
    }
    EXPECT_EQ(destroyed(), (std::vector<int>{3, 2, 1}));
}

// Random operations on three ObjectArrays and std::vector models, with allocations failing at
// random. Every object's count must be the test's own reference plus its appearances in the
// arrays. A failed insertion retains nothing and adds a null slot at the end (see GSArray.h), which
// cannot always be replaced, as it may lie past the storage.
TEST(ObjectArrayModel, RandomOperationsWithFailingAllocationsKeepTheCountsBalanced)
{
    constexpr int kArrays = 3;
    std::mt19937 rng(1);
    auto pick = [&](long n) { return static_cast<long>(rng() % static_cast<unsigned long>(n)); };
    std::vector<GSObject*> objects{nullptr};
    for (int i = 0; i < 8; ++i) {
        objects.push_back(i % 2 ? new GSObject : new Tracked(i));
        objects.back()->retain();
    }
    std::vector<std::unique_ptr<ObjectArray>> arrays;
    for (int i = 0; i < kArrays; ++i)
        arrays.push_back(std::make_unique<ObjectArray>(i, -100));
    std::vector<std::vector<GSObject*>> models(kArrays);
    auto contents = [&](int i) {
        std::vector<GSObject*> got;
        for (long j = 0; j < arrays[i]->getCount(); ++j)
            got.push_back(arrays[i]->getElementAt(j));
        return got;
    };
    bool failedInsertion[kArrays] = {};
    AllocationFailures failures(0);
    for (int step = 0; step < 4000 && !testing::Test::HasFailure(); ++step) {
        failures.failOneIn(pick(2) ? 4 : 0);
        int const a = static_cast<int>(pick(kArrays)), b = static_cast<int>(pick(kArrays));
        ObjectArray& array = *arrays[a];
        std::vector<GSObject*>& model = models[a];
        long const count = array.getCount(), op = pick(9), index = pick(count + 3) - 1;
        long const refusedBefore = AllocationFailures::refusals();
        GSObject* const object = objects[pick(9)];
        auto found = std::find(model.begin(), model.end(), object);
        long const first = found == model.end() ? -1 : found - model.begin();
        std::string const what = "step " + std::to_string(step) + " operation " + std::to_string(op);
        if (op < 2) { // add and insertAt: past the count nothing
            short status = op ? array.insertAt(index, object) : array.add(object);
            bool const refused = AllocationFailures::refusals() > refusedBefore;
            EXPECT_EQ(status, refused ? 1 : 0) << what;
            if (refused)
                model.push_back(nullptr), failedInsertion[a] = true;
            else if (index <= count || !op)
                model.insert(model.begin() + (index < 0 || !op ? count : index), object);
        } else if (op == 2) {
            EXPECT_EQ(array.removeAt(index), 0) << what;
            if (index >= 0 && index < count)
                model.erase(model.begin() + index);
        } else if (op == 3) {
            EXPECT_EQ(array.remove(object), first) << what;
            if (first >= 0)
                model.erase(found);
        } else if (op == 4) {
            short status = array.replaceAt(index, object);
            if (index < 0 || index >= count)
                EXPECT_EQ(status, 1) << what;
            else if (status == 0)
                model[index] = object;
            else
                EXPECT_TRUE(failedInsertion[a] && !model[index]) << what;
        } else if (op == 5) { // clear, empty, removeNULLObjects
            long const kind = pick(3);
            kind == 0 ? array.clear() : kind == 1 ? array.empty() : array.removeNULLObjects();
            model.erase(std::remove_if(model.begin(), model.end(), [&](GSObject* o) { return kind < 2 || !o; }), model.end());
        } else if (op == 6) { // copies: one that runs out of memory keeps a prefix and a failed null slot
            if (pick(2))
                array = *arrays[b];
            else
                arrays[a] = std::make_unique<ObjectArray>(*arrays[b]);
            std::vector<GSObject*> const got = contents(a);
            bool const refused = AllocationFailures::refusals() > refusedBefore;
            bool const prefix = !got.empty() && got.size() <= models[b].size() && !got.back() &&
                                std::equal(got.begin(), got.end() - 1, models[b].begin());
            EXPECT_TRUE(got == models[b] || (refused && prefix)) << what;
            failedInsertion[a] = got != models[b] || (a == b && failedInsertion[a]);
            model = got;
        } else { // findRuntimeClass: the exact class, from start on
            GSRuntimeClass const& c = pick(2) ? Tracked::gsClassTracked : GSObject::gsClassGSObject;
            long expected = -1;
            for (long i = std::max(index, 0L); i < count && expected < 0; ++i)
                if (model[i] && &model[i]->getRuntimeClass() == &c)
                    expected = i;
            EXPECT_EQ(array.findRuntimeClass(c, index), expected) << what;
        }
        if (arrays[a]->getCount() == 0)
            failedInsertion[a] = false;
        for (int i = 0; i < kArrays; ++i)
            ASSERT_EQ(contents(i), models[i]) << what << ", array " << i;
        for (GSObject* o : objects)
            if (o) {
                long held = 1;
                for (auto const& m : models)
                    held += std::count(m.begin(), m.end(), o);
                ASSERT_EQ(o->getRefCount(), held) << what;
            }
    }
    arrays.clear();
    for (GSObject* o : objects)
        if (o)
            o->release();
}
