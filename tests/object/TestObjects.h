// Helpers for tests of the object layer: serialisable classes, memory files, allocation failures.
//
// QMPoint's content:  version 0x0100; record 1: int32 x; end tag.
// QMNode's content:   version 0x0100; record 1: the child as a full object (writeObject),
//                     or record 2: the child as a reference (writeObjectReference); end tag.
// QMBroken:           a QMPoint whose read consumes the version, then fails with status 7.
#pragma once

#include "gs/file/GSFile.h"
#include "gs/file/GSTagRead.h"
#include "gs/file/GSTagWrite.h"
#include "gs/object/GSArrayMemory.h"
#include "gs/object/GSObject.h"
#include "gs/object/GSRuntimeClass.h"
#include "tests/support/Hex.h"

#include <gtest/gtest.h>

#include <new>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace qmtest {

// A version-0x0100 block with the single record `tag`, whose data `data()` writes.
template <class Data>
short writeRecord(GSFile* f, int tag, Data data)
{
    GSTagWrite w(f);
    if (w.writeVersion(0x0100) || w.writeStart(tag) || data() || w.writeEnd())
        return 1;
    return w.writeEndTag();
}

// Reads a version-0x0100 block; `record(tag)` reads a record's data, or returns -1 to skip it.
template <class Record>
short readRecords(GSFile* f, Record record)
{
    GSTagRead r(f);
    short v;
    if (short st = r.readVersion(0x0100, &v))
        return st;
    for (;;) {
        int t = r.read();
        if (t == GSTagRead::kEndTag)
            return 0;
        if (t == GSTagRead::kReadFailure)
            return 1;
        short st = record(t);
        if (st < 0 ? r.skip() != 0 : st != 0)
            return st < 0 ? 1 : st;
    }
}

class QMPoint : public GSObject {
public:
    QMPoint() { ++live; }
    explicit QMPoint(int value) : x(value) { ++live; }
    ~QMPoint() override { --live; }
    GSRuntimeClass const& getRuntimeClass() const override { return gsClassQMPoint; }
    short write(GSFile* f) const override { return writeRecord(f, 1, [&] { return f->writeLong(x); }); }
    short read(GSFile* f) override
    {
        return readRecords(f, [&](int t) { return t == 1 ? f->readLong(&x) : short(-1); });
    }
    static GSObject* _createFunction() { return new (std::nothrow) QMPoint; }

    int x = 0;
    static inline int live = 0;
    static inline GSRuntimeClass gsClassQMPoint{GSString("QMPoint"), &GSObject::gsClassGSObject, &QMPoint::_createFunction};
};

class QMBroken : public QMPoint {
public:
    GSRuntimeClass const& getRuntimeClass() const override { return gsClassQMBroken; }
    short read(GSFile* f) override
    {
        (void)GSTagRead(f).readVersion(0x0100, nullptr); // reads a little, then fails anyway
        return 7;
    }
    static GSObject* _createFunction() { return new (std::nothrow) QMBroken; }
    static inline GSRuntimeClass gsClassQMBroken{GSString("QMBroken"), &QMPoint::gsClassQMPoint, &QMBroken::_createFunction};
};

class QMNode : public GSObject {
public:
    QMNode() = default;
    QMNode(GSObject* c, bool asReference) : byReference(asReference) { assignObject(&child, c); }
    ~QMNode() override { assignObject(&child, nullptr); }
    GSRuntimeClass const& getRuntimeClass() const override { return gsClassQMNode; }
    short write(GSFile* f) const override
    {
        return writeRecord(f, byReference ? 2 : 1,
                           [&] { return byReference ? f->writeObjectReference(child) : f->writeObject(child); });
    }
    short read(GSFile* f) override
    {
        return readRecords(f, [&](int t) -> short {
            if (t != 1 && t != 2)
                return -1;
            GSObject* c = nullptr;
            if (short st = t == 1 ? f->readObject(&c) : f->readObjectReference(&c))
                return st;
            assignObject(&child, c);
            byReference = t == 2;
            return 0;
        });
    }
    static GSObject* _createFunction() { return new (std::nothrow) QMNode; }

    GSObject* child = nullptr;
    bool byReference = false;
    static inline GSRuntimeClass gsClassQMNode{GSString("QMNode"), &GSObject::gsClassGSObject, &QMNode::_createFunction};
};

inline int xOf(GSObject const* o) { return static_cast<QMPoint const*>(o)->x; }

inline std::vector<unsigned char> fileBytes(GSFile const& f)
{
    GSDynaArray<unsigned char> const& a = static_cast<GSFileWorkerMemory*>(f.getFileWorker())->getArray();
    return std::vector<unsigned char>(a.getPointer(), a.getPointer() + a.getCount());
}

inline std::string fileHex(GSFile const& f) { return toHex(fileBytes(f)); }

inline GSDynaArray<unsigned char> toArray(std::vector<unsigned char> const& bytes)
{
    GSDynaArray<unsigned char> a(static_cast<long>(bytes.size()) + 1, -100);
    EXPECT_EQ(a.append(bytes.data(), static_cast<long>(bytes.size())), 0);
    return a;
}

template <class T>
GSDynaArray<T> arrayOf(std::vector<T> const& values, long capacity = 0, long growth = -100)
{
    GSDynaArray<T> a(capacity, growth);
    EXPECT_EQ(a.append(values.data(), static_cast<long>(values.size())), 0);
    return a;
}

template <class T>
std::vector<T> contents(GSDynaArray<T> const& a)
{
    return std::vector<T>(a.getPointer(), a.getPointer() + a.getCount());
}

// Element values for the arrays' model tests: numbers, and strings too long for std::string's
// inline buffer, so that a lost or doubled element shows.
template <class T>
T elementValue(unsigned k)
{
    if constexpr (std::is_arithmetic_v<T>)
        return static_cast<T>(k % 100);
    else
        return T(("element " + std::to_string(k % 100) + ", a text that lives on the heap").c_str());
}

// An empty memory file open for writing, and an open memory file over given bytes.
struct WriteFile {
    WriteFile() : f(-100, 64)
    {
        EXPECT_EQ(f.setAccessMode("wb+"), 0);
        EXPECT_EQ(f.open(), 0);
    }
    GSFile f;
};

struct ReadFile {
    explicit ReadFile(std::vector<unsigned char> const& bytes) : f(toArray(bytes)) { EXPECT_EQ(f.open(), 0); }
    explicit ReadFile(std::string const& hex) : ReadFile(fromHex(hex)) {}
    explicit ReadFile(GSFile const& written) : ReadFile(fileBytes(written)) {}
    GSFile f;
};

} // namespace qmtest

// Makes array allocations fail while an object of this class lives: each one with probability
// 1/oneIn (1: every one; 0: none), drawn from a generator with the given seed so that a run can be
// repeated. The refused allocations are counted, so that a test knows whether an operation met one.
class AllocationFailures {
public:
    explicit AllocationFailures(unsigned rate = 1, unsigned seed = 1)
    {
        generator.seed(seed);
        failOneIn(rate);
        refused = 0;
        previous = GSSetArrayAllocationHook(&decide);
    }
    ~AllocationFailures() { GSSetArrayAllocationHook(previous); }
    AllocationFailures(AllocationFailures const&) = delete;
    AllocationFailures& operator=(AllocationFailures const&) = delete;
    void failOneIn(unsigned n) { oneIn = n; }
    static long refusals() { return refused; }

private:
    static bool decide(size_t)
    {
        if (oneIn == 0 || generator() % oneIn != 0)
            return true;
        ++refused;
        return false;
    }
    static inline std::mt19937 generator;
    static inline unsigned oneIn = 0;
    static inline long refused = 0;
    GSArrayAllocationHook previous;
};
