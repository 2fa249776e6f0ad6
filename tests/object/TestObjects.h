// Serialisable classes for tests of the object encoding, and memory-file helpers.
//
// QMPoint's content:  version 0x0100; record 1: int32 x; end tag.
// QMNode's content:   version 0x0100; record 1: the child as a full object (writeObject),
//                     or record 2: the child as a reference (writeObjectReference); end tag.
#pragma once

#include "gs/file/GSFile.h"
#include "gs/file/GSTagRead.h"
#include "gs/file/GSTagWrite.h"
#include "gs/object/GSObject.h"
#include "gs/object/GSRuntimeClass.h"
#include "tests/support/Hex.h"

#include <new>
#include <string>
#include <vector>

namespace qmtest {

class QMPoint : public GSObject {
public:
    QMPoint() { ++live; }
    explicit QMPoint(int value) : x(value) { ++live; }
    ~QMPoint() override { --live; }

    GSRuntimeClass const& getRuntimeClass() const override { return gsClassQMPoint; }
    short write(GSFile* f) const override
    {
        GSTagWrite w(f);
        if (w.writeVersion(0x0100) || w.writeStart(1) || f->writeLong(x) || w.writeEnd())
            return 1;
        return w.writeEndTag();
    }
    short read(GSFile* f) override
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
            if (t == 1) {
                if (f->readLong(&x))
                    return 1;
            } else if (r.skip()) {
                return 1;
            }
        }
    }
    static GSObject* _createFunction() { return new (std::nothrow) QMPoint; }

    int x = 0;
    static inline int live = 0;
    static inline GSRuntimeClass gsClassQMPoint{GSString("QMPoint"), &GSObject::gsClassGSObject, &QMPoint::_createFunction};
};

// A point that always fails to read after consuming part of its content.
class QMBroken : public QMPoint {
public:
    GSRuntimeClass const& getRuntimeClass() const override { return gsClassQMBroken; }
    short read(GSFile* f) override
    {
        GSTagRead r(f);
        short v;
        r.readVersion(0x0100, &v);
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
        GSTagWrite w(f);
        if (w.writeVersion(0x0100) || w.writeStart(byReference ? 2 : 1))
            return 1;
        if (byReference ? f->writeObjectReference(child) : f->writeObject(child))
            return 1;
        if (w.writeEnd())
            return 1;
        return w.writeEndTag();
    }
    short read(GSFile* f) override
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
            if (t == 1 || t == 2) {
                GSObject* c = nullptr;
                if (short st = t == 1 ? f->readObject(&c) : f->readObjectReference(&c))
                    return st;
                assignObject(&child, c);
                byReference = t == 2;
            } else if (r.skip()) {
                return 1;
            }
        }
    }
    static GSObject* _createFunction() { return new (std::nothrow) QMNode; }

    GSObject* child = nullptr;
    bool byReference = false;
    static inline GSRuntimeClass gsClassQMNode{GSString("QMNode"), &GSObject::gsClassGSObject, &QMNode::_createFunction};
};

// A memory file open for writing and reading.
inline void openForWriting(GSFile& f)
{
    f.setAccessMode("wb+");
    f.open();
}

inline std::vector<unsigned char> fileBytes(GSFile const& f)
{
    auto* memory = static_cast<GSFileWorkerMemory*>(f.getFileWorker());
    GSDynaArray<unsigned char> const& a = memory->getArray();
    return std::vector<unsigned char>(a.getPointer(), a.getPointer() + a.getCount());
}

inline std::string fileHex(GSFile const& f)
{
    return toHex(fileBytes(f));
}

inline GSDynaArray<unsigned char> toArray(std::vector<unsigned char> const& bytes)
{
    GSDynaArray<unsigned char> a(static_cast<long>(bytes.size()) + 1, -100);
    a.append(bytes.data(), static_cast<long>(bytes.size()));
    return a;
}

inline GSDynaArray<unsigned char> hexArray(std::string const& hex)
{
    return toArray(fromHex(hex));
}

// The hex of an ASCII text, for building golden strings readably.
inline std::string asciiHex(std::string const& text)
{
    return toHex(std::vector<unsigned char>(text.begin(), text.end()));
}

} // namespace qmtest
