// Fuzz target for the object layer: the object-table header and directory
// (GSFile::startObjectMergingRead), then objects read one after another with readObject,
// readObjectReference and _skipObject, over arbitrary bytes in memory.
//
// The last byte picks options: bit 0 reads through an object table (else the raw encoding only),
// bits 1-2 choose how each object is read (full, reference, skip, alternating).
//
// Classes registered here give objects content to read: FuzzPoint (an int record), FuzzNode (up to
// eight children, full or by reference, whose failures it ignores, so that a file can ask for the
// same object many times) and FuzzText (a string record); the picture descriptions GSMemPicData and
// GSSystemPicData come from the generator. Invariant: whatever was read comes back unchanged
// through a write and a second read (picture descriptions have no write form and are left out).
#include "generator/GSMemPicData.h"
#include "gs/file/GSFile.h"
#include "gs/file/GSTagRead.h"
#include "gs/file/GSTagWrite.h"
#include "gs/object/GSExceptions.h"
#include "gs/object/GSObject.h"
#include "gs/object/GSRuntimeClass.h"

#include <cstdint>
#include <cstdlib>
#include <new>
#include <vector>

namespace {

// Reads a tagged block, calling `field` for each record; 0 at the end tag.
template <class Field>
short readBlock(GSFile* f, Field field)
{
    GSTagRead r(f);
    short v;
    if (short st = r.readVersion(0x0100, &v))
        return st;
    for (int records = 0; records < 1000; ++records) {
        int t = r.read();
        if (t == GSTagRead::kEndTag)
            return 0;
        if (t == GSTagRead::kReadFailure)
            return 1;
        if (short st = field(t, r))
            return st;
    }
    return 1;
}

class FuzzPoint : public GSObject {
public:
    GSRuntimeClass const& getRuntimeClass() const override { return gsClassFuzzPoint; }
    short write(GSFile* f) const override
    {
        GSTagWrite w(f);
        if (w.writeVersion(0x0100) || w.writeStart(1) || f->writeLong(x) || w.writeEnd())
            return 1;
        return w.writeEndTag();
    }
    short read(GSFile* f) override
    {
        return readBlock(f, [&](int t, GSTagRead& r) -> short {
            if (t == 1)
                return f->readLong(&x);
            (void)r.skip(); // a record that cannot be skipped is read on from its data
            return 0;
        });
    }
    static GSObject* _createFunction() { return new (std::nothrow) FuzzPoint; }
    int x = 0;
    static inline GSRuntimeClass gsClassFuzzPoint{GSString("FuzzPoint"), &GSObject::gsClassGSObject, &_createFunction};
};

class FuzzText : public GSObject {
public:
    GSRuntimeClass const& getRuntimeClass() const override { return gsClassFuzzText; }
    short write(GSFile* f) const override
    {
        GSTagWrite w(f);
        if (w.writeVersion(0x0100) || w.writeStart(1) || text.write(f) || w.writeEnd())
            return 1;
        return w.writeEndTag();
    }
    short read(GSFile* f) override
    {
        return readBlock(f, [&](int t, GSTagRead& r) -> short {
            if (t == 1)
                return text.read(f);
            (void)r.skip(); // a record that cannot be skipped is read on from its data
            return 0;
        });
    }
    static GSObject* _createFunction() { return new (std::nothrow) FuzzText; }
    GSString text;
    static inline GSRuntimeClass gsClassFuzzText{GSString("FuzzText"), &GSObject::gsClassGSObject, &_createFunction};
};

class FuzzNode : public GSObject {
public:
    ~FuzzNode() override
    {
        for (auto* c : children)
            assignObject(&c, nullptr);
    }
    GSRuntimeClass const& getRuntimeClass() const override { return gsClassFuzzNode; }
    short write(GSFile* f) const override
    {
        GSTagWrite w(f);
        if (w.writeVersion(0x0100))
            return 1;
        for (int i = 0; i < count; ++i) {
            if (w.writeStart(byReference[i] ? 2 : 1))
                return 1;
            if (byReference[i] ? f->writeObjectReference(children[i]) : f->writeObject(children[i]))
                return 1;
            if (w.writeEnd())
                return 1;
        }
        return w.writeEndTag();
    }
    short read(GSFile* f) override
    {
        return readBlock(f, [&](int t, GSTagRead& r) -> short {
            if ((t == 1 || t == 2) && count < kMaxChildren) {
                GSObject* c = nullptr;
                // Failures of children are ignored on purpose: the table must stay bounded even
                // when a reader does not stop at the first failure.
                (void)(t == 1 ? f->readObject(&c) : f->readObjectReference(&c));
                children[count] = nullptr;
                assignObject(&children[count], c);
                byReference[count] = t == 2;
                ++count;
                return 0;
            }
            (void)r.skip(); // a record that cannot be skipped is read on from its data
            return 0;
        });
    }
    static GSObject* _createFunction() { return new (std::nothrow) FuzzNode; }
    static constexpr int kMaxChildren = 8;
    GSObject* children[kMaxChildren] = {};
    bool byReference[kMaxChildren] = {};
    int count = 0;
    static inline GSRuntimeClass gsClassFuzzNode{GSString("FuzzNode"), &GSObject::gsClassGSObject, &_createFunction};
};

// The same class and the same content, recursively (children compared up to a small depth).
bool sameObject(GSObject const* a, GSObject const* b, int depth = 0)
{
    if (!a || !b)
        return a == b;
    if (&a->getRuntimeClass() != &b->getRuntimeClass())
        return false;
    if (depth > 8)
        return true;
    if (a->isKindOfRuntimeClass(FuzzPoint::gsClassFuzzPoint))
        return static_cast<FuzzPoint const*>(a)->x == static_cast<FuzzPoint const*>(b)->x;
    if (a->isKindOfRuntimeClass(FuzzText::gsClassFuzzText))
        return static_cast<FuzzText const*>(a)->text == static_cast<FuzzText const*>(b)->text;
    if (a->isKindOfRuntimeClass(FuzzNode::gsClassFuzzNode)) {
        auto const* na = static_cast<FuzzNode const*>(a);
        auto const* nb = static_cast<FuzzNode const*>(b);
        if (na->count != nb->count)
            return false;
        for (int i = 0; i < na->count; ++i)
            if (!sameObject(na->children[i], nb->children[i], depth + 1))
                return false;
    }
    return true;
}

// Every object reachable from `o`, each once.
void collect(GSObject* o, std::vector<GSObject*>& seen)
{
    if (!o)
        return;
    for (GSObject* s : seen)
        if (s == o)
            return;
    seen.push_back(o);
    if (o->isKindOfRuntimeClass(FuzzNode::gsClassFuzzNode)) {
        auto* n = static_cast<FuzzNode*>(o);
        for (int i = 0; i < n->count; ++i)
            collect(n->children[i], seen);
    }
}

// Writes the objects through a table of the given width and reads them back; aborts when anything
// that was read does not come back the same. Objects that are only referred to are written in
// full behind the top-level ones, so that every reference has something to point at.
void checkRoundTrip(std::vector<GSObject*> const& objects, short longPositions)
{
    std::vector<GSObject*> all;
    for (GSObject* o : objects)
        collect(o, all);
    for (GSObject* o : all)
        if (o->isMemberOfRuntimeClass(GSMemPicData::gsClassGSMemPicData))
            return;
    GSFile out(-100, 256);
    (void)out.setAccessMode("wb+"); // cannot fail: the file has its memory worker
    if (out.open() != 0 || out.startObjectMergingWrite(longPositions) != 0)
        return;
    for (GSObject* o : objects)
        if (out.writeObject(o) != 0)
            std::abort();
    for (GSObject* o : all)
        if (out.writeObject(o) != 0)
            std::abort();
    if (out.stopObjectMergingWrite() != 0 || out.seek(0, 0) != 0)
        std::abort();
    if (out.startObjectMergingRead() != 0)
        std::abort();
    for (GSObject* o : objects) {
        GSObject* back = nullptr;
        if (out.readObject(&back) != 0 || !sameObject(o, back))
            std::abort();
    }
    if (out.stopObjectMergingRead() != 0)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    if (size < 1)
        return 0;
    unsigned options = data[size - 1];
    long length = static_cast<long>(size - 1);
    // Storage of exactly the input's size (growth 0), so that any read past it is seen.
    GSDynaArray<unsigned char> bytes(length, 0);
    if (length > 0 && bytes.append(data, length) != 0)
        return 0;
    GSFile file(bytes);
    if (file.open() != 0)
        return 0;

    bool table = options & 1;
    unsigned mode = (options >> 1) & 3;
    short longPositions = 0;
    std::vector<GSObject*> kept;
    try {
        if (table) {
            if (file.startObjectMergingRead() != 0)
                return 0;
            longPositions = file.getUse64Bit();
        }
        for (int i = 0; i < 64 && !file.eof(); ++i) {
            GSObject* o = nullptr;
            unsigned how = mode == 3 ? static_cast<unsigned>(i % 3) : mode;
            long before = file.tell();
            short st = how == 0 ? file.readObject(&o) : how == 1 ? file.readObjectReference(&o) : file._skipObject();
            if (o) {
                o->retain();
                kept.push_back(o);
            }
            if (st != 0 && file.tell() == before)
                break;
        }
        if (table)
            (void)file.stopObjectMergingRead(); // hostile input: only crashes and hangs matter here
    } catch (bad_file const&) {
        // Only unbalanced merging calls throw; this target never makes one.
        std::abort();
    }
    if (table)
        checkRoundTrip(kept, longPositions);
    for (GSObject* o : kept)
        o->release();
    return 0;
}
