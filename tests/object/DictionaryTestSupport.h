// Helpers for the dictionary tests: content blocks written and read in either framing.
#pragma once

#include "tests/object/TestObjects.h"

#include <string>

namespace qmtest {

// The content block `o` writes: in the classic framing with `flags`, or in the compact one (behind
// an object table of 64-bit positions, which also sets the IEEE flags).
inline std::string contentHex(GSObject const& o, bool compact, unsigned flags = 0)
{
    WriteFile w;
    w.f.addFlags(flags);
    if (compact) {
        EXPECT_EQ(w.f.startObjectMergingWrite(1), 0);
    }
    long const start = w.f.tell();
    EXPECT_EQ(o.write(&w.f), 0);
    long const end = w.f.tell();
    if (compact) {
        EXPECT_EQ(w.f.stopObjectMergingWrite(), 0);
    }
    std::vector<unsigned char> const bytes = fileBytes(w.f);
    return toHex(bytes.data() + start, static_cast<size_t>(end - start));
}

// Reads `o` from a content block, as contentHex writes it; the compact block stands behind an
// empty table of 64-bit positions. `atEnd` tells whether the whole block was taken.
inline short readContent(GSObject* o, std::string const& hex, bool compact, unsigned flags = 0, bool* atEnd = nullptr)
{
    char const* const emptyTable = "02 00 00 00 00 00 00 00 00 00 00 00 00 00 ";
    ReadFile r(compact ? emptyTable + hex : hex);
    r.f.addFlags(flags);
    if (compact) {
        EXPECT_EQ(r.f.startObjectMergingRead(), 0);
        EXPECT_EQ(r.f.seek(14, 0), 0);
    }
    short const status = o->read(&r.f);
    if (atEnd)
        *atEnd = r.f.tell() == r.f.getLength();
    if (compact) {
        EXPECT_EQ(r.f.stopObjectMergingRead(), 0);
    }
    return status;
}

} // namespace qmtest
