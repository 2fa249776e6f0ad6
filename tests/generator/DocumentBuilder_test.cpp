// The builder is the independent writer the reader tests rely on: its bytes are pinned here.
#include "tests/support/DocumentBuilder.h"

#include "tests/support/Hex.h"
#include "tests/support/ObjectDocuments.h"

#include <gtest/gtest.h>

using namespace qmtest;

namespace {

TEST(DocumentBuilder, WritesAClassicDocument)
{
    DocumentBuilder b;
    b.documentID().version(0x0200).standardFloats().record(12, {0xAA});
    b.thumbnail(ThumbnailRecord().description(1, 64, 48).inlinePicture(kPictureJPEG, {0xFF, 0xD8}));
    b.endTag();
    EXPECT_EQ(toHex(b.bytes()),
              "51 75 69 6C 6C 6D 6F 6F 72 20 44 6F 63 75 6D 65 6E 74 00 " // "Quillmoor Document" 0
              "02 00 "                                                    // version 2.0
              "00 00 00 0E 00 00 00 00 "                                  // record 14, no data
              "00 00 00 0C 00 00 00 01 AA "                               // record 12, one byte
              "00 00 00 0D 00 00 00 2C "                                  // record 13, 44 bytes
              "01 00 "                                                    //   version 1.0
              "00 00 00 00 00 00 00 0E 00 01 00 00 00 40 00 00 00 30 00 00 00 00 " // 0: 1, 64 x 48
              "00 00 00 06 00 00 00 08 00 02 00 00 00 02 FF D8 "          //   6: JPEG, 2 bytes
              "FF FF FF FF "                                              //   end tag
              "FF FF FF FF");                                             // end tag

    DocumentBuilder selection;
    selection.selectionID().versionTwoShort(2, 1);
    EXPECT_EQ(toHex(selection.bytes()), "51 75 69 6C 6C 6D 6F 6F 72 20 53 65 6C 65 63 74 69 6F 6E 00 00 02 00 01");
}

TEST(DocumentBuilder, WritesCompactFramingAndNumbers)
{
    ByteWriter out;
    RecordWriter w(out, Framing::kCompact);
    w.version(0x0302).header(5, 16).header(5, 256).record(13, [](RecordWriter& inner) {
        inner.version(0x0100).arrayCount(300).endTag();
    });
    w.endTag();
    EXPECT_EQ(toHex(out.bytes()), "32 05 10 85 00 00 00 00 00 00 01 00 0D 04 10 AC 04 7F 7F");

    struct Case {
        int64_t value;
        char const* hex;
    };
    for (Case c : {Case{0, "00"}, Case{64, "80 01"}, Case{-1, "40"}, Case{-65, "C0 01"}, Case{63, "3F"},
                   Case{8192, "80 80 01"}}) {
        ByteWriter number;
        number.compact(c.value);
        EXPECT_EQ(toHex(number.bytes()), c.hex) << c.value;
    }
}

TEST(DocumentBuilder, WritesStringsAndObjectTables)
{
    ByteWriter classic, compact, empty;
    writeString(classic, Framing::kClassic, "GSMemPicData");
    writeString(compact, Framing::kCompact, "GSMemPicData");
    writeString(empty, Framing::kClassic, "");
    std::string name = "47 53 4D 65 6D 50 69 63 44 61 74 61 00";
    EXPECT_EQ(toHex(classic.bytes()), "FF 9B 00 00 00 0D " + name);
    EXPECT_EQ(toHex(compact.bytes()), "64 0D " + name);
    EXPECT_EQ(toHex(empty.bytes()), "00 00");

    for (bool wide : {false, true}) {
        ByteWriter out;
        ObjectTableWriter table(wide);
        out.u8(0xAA);
        table.writeHeader(out);
        table.add(static_cast<int64_t>(out.size()));
        out.u8(1);
        table.add(-1);
        table.writeDirectory(out);
        EXPECT_EQ(toHex(out.bytes()), wide ? "AA 02 00 00 00 00 00 00 00 00 01 01 00 00 00 02 0B 40"
                                           : "AA 01 00 00 00 00 01 01 00 00 00 02 00 00 00 07 FF FF FF FF");
    }
}

} // namespace
