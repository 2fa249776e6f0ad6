#include "gs/file/GSFile.h"
#include "tests/file/FileTestSupport.h"
#include "tests/support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <string>

using namespace qmtest;

namespace {

class GSFileRead : public FileOverBackend {};

INSTANTIATE_TEST_SUITE_P(Backends, GSFileRead, testing::Values(Backend::Memory, Backend::Stdio), backendName);

// The compact encoding: 6 value bits and a sign in the first byte, then 7 per byte, low first.
TEST_P(GSFileRead, CompactValuesInBothDirections)
{
    struct Case {
        char const* hex;
        long value;
    } const cases[] = {{"00", 0},       {"3F", 63},        {"80 01", 64}, {"BF 01", 127}, {"BF 7F", 8191},
                       {"80 80 01", 8192}, {"40", -1},       {"7F", -64},   {"C0 01", -65},
                       {"FF FF FF FF FF FF FF FF FF 01", LONG_MIN}, {"BF FF FF FF FF FF FF FF FF 01", LONG_MAX}};
    for (auto const& c : cases) {
        SCOPED_TRACE(c.hex);
        auto file = makeFile(c.hex);
        long v = 12345;
        EXPECT_EQ(file->readCompactLongLong(&v), 0);
        EXPECT_EQ(v, c.value);
        EXPECT_EQ(file->tell(), static_cast<long>(fromHex(c.hex).size()));
        GSFile out(-100, 0);
        ASSERT_EQ(out.writeCompactLongLong(c.value), 0);
        EXPECT_EQ(toHex(fileBytes(out)), c.hex);
    }
}

TEST_P(GSFileRead, CompactValuesCutShortOrTooLong)
{
    // A value cut in the middle stores what came, and gives its bytes back.
    EXPECT_EQ(get(&GSFile::readCompactLongLong, "BF FF", 1, 7L), 8191);  // 63 | 127 << 6, waiting for a third byte
    EXPECT_EQ(get(&GSFile::readCompactLongLong, "FF 81", 1, 7L), ~127L); // negative, 63 | 1 << 6 so far
    EXPECT_EQ(get(&GSFile::readCompactLongLong, "", 1, 7L), 7);
    EXPECT_EQ(get(&GSFile::readCompactInt, "", 1, 9), 9);
    EXPECT_EQ(get(&GSFile::readCompactInt, "85 80 80 80 20"), 5); // 2^32 + 5: the low 32 bits
    // A run longer than ten bytes fails after ten.
    for (char const* hex : {"BF FF", "FF FF FF FF FF FF FF FF FF FF FF FF 00"}) {
        auto file = makeFile(hex);
        long v = 0;
        EXPECT_EQ(file->readCompactLongLong(&v), 1) << hex;
        EXPECT_EQ(file->tell(), 0) << hex;
    }
    // The same for the variable-width reads and raw bytes.
    auto file = makeFile("01 02 03");
    unsigned int u = 0;
    EXPECT_EQ(file->readULongVariable(&u, 4), 1);
    EXPECT_EQ(u, 0x010203u);
    EXPECT_EQ(file->tell(), 0);
    auto one = makeFile("01"); // one byte back, as well as three
    EXPECT_EQ(one->readULongVariable(&u, 2), 1);
    EXPECT_EQ(one->tell(), 0);
    char raw[4];
    EXPECT_EQ(file->read(raw, 4), 1);
    EXPECT_EQ(file->tell(), 0);
}

// Floats and doubles are a 32-bit mantissa (a fraction) and a 16-bit exponent unless the file's
// flags ask for IEEE values; float exponents are clamped to the float range.
TEST_P(GSFileRead, FixedWidthValuesInBothDirections)
{
    encodes(&GSFile::writeShort, &GSFile::readShort, "FF FE", -2);
    encodes(&GSFile::writeLittleShort, &GSFile::readLittleShort, "FE FF", -2);
    encodes(&GSFile::writeLong, &GSFile::readLong, "12 34 56 78", 0x12345678);
    encodes(&GSFile::writeLittleLong, &GSFile::readLittleLong, "78 56 34 12", 0x12345678);
    encodes(&GSFile::writeLongLong, &GSFile::readLongLong, "00 00 00 01 00 00 00 02", 4294967298L);
    encodes(&GSFile::writeIntAsShort, &GSFile::readIntAsShort, "FF FE", -2);
    encodes(&GSFile::writeBool, &GSFile::readBool, "C8", 200);
    encodes(&GSFile::writeChar, &GSFile::readChar, "C8", 200);
    encodes(&GSFile::writePointer, &GSFile::readPointer, "00 00 00 00 00 00 10 00", reinterpret_cast<void*>(0x1000));
    encodes(&GSFile::writeArrayCount, &GSFile::readArrayCount, "FF FF FF FE", -2); // outside compact mode: int32
    encodes(&GSFile::writeStandardFloat, &GSFile::readStandardFloat, "C0 00 00 00", -2.0f);
    encodes(&GSFile::writeStandardDouble, &GSFile::readStandardDouble, "C0 00 00 00 00 00 00 00", -2.0);
    encodes(&GSFile::writeFloat, &GSFile::readFloat, "20 00 00 00 00 02", 2.0f);
    encodes(&GSFile::writeFloat, &GSFile::readFloat, "D0 00 00 00 00 00", -0.75f);
    encodes(&GSFile::writeDouble, &GSFile::readDouble, "20 00 00 00 FF 9D", std::ldexp(1.0, -100));
    reads(&GSFile::readLongLong, "FF FF FF FF FF FF FF FE", -2);
    reads(&GSFile::readLittleLongLong, "02 00 00 00 01 00 00 00", 4294967298L);
    reads(&GSFile::readIntAsUShort, "FF FE", 65534);
    reads(&GSFile::readLittleStandardFloat, "00 00 00 40", 2.0f);
    reads(&GSFile::readLittleStandardDouble, "00 00 00 00 00 00 00 C0", -2.0);
    reads(&GSFile::readFloat, "40 00 00 00 00 01", 2.0f); // not normalised
    reads(&GSFile::readFloat, "C0 00 00 00 00 26", FLT_MAX); // exponent 38: the largest float whatever the sign
    EXPECT_EQ(get(&GSFile::readFloat, "40 00 00 00 FF DB", 0, 1.0f), 0.0f); // exponent -37
    reads(&GSFile::readFloat, "40 00 00 00 FF DC", std::ldexp(1.0f, -36));
    reads(&GSFile::readFloat, "E0 00 00 00 00 25", -std::ldexp(1.0f, 36)); // -0.5 * 2^37
    reads(&GSFile::readDouble, "E0 00 00 00 00 65", -std::ldexp(1.0, 100));
    reads(&GSFile::readDouble, "40 00 00 00 FF 9C", std::ldexp(1.0, -100));

    auto file = makeFile("40 00 00 00 40 00 00 00 00 00 00 00");
    file->addFlags(GSFile::kStandardFloats | GSFile::kStandardDoubles);
    float f = 0;
    double d = 0;
    EXPECT_EQ(file->readFloat(&f), 0);
    EXPECT_EQ(f, 2.0f);
    EXPECT_EQ(file->readDouble(&d), 0);
    EXPECT_EQ(d, 2.0);
}

TEST_P(GSFileRead, RawReadsAndPositionsRelativeToTheFileOffset)
{
    unsigned char buffer[8] = {};
    auto file = makeFile("01 02 03 04 05 06 07");
    EXPECT_EQ(file->read(buffer, 3), 0);
    EXPECT_EQ(toHex(buffer, 3), "01 02 03");
    EXPECT_EQ(file->read(buffer, 0), 0);
    EXPECT_EQ(file->read(buffer, -1), 1);
    EXPECT_EQ(file->read(buffer, 5), 1); // only four remain
    EXPECT_EQ(makeFile("01 02 03 04 05 06 07")->read(buffer, 2, 4), 3);

    file = makeFile("00 01 02 03 04 05 06 07 08 09");
    file->setFileOffset(4);
    ASSERT_EQ(file->seek(0, 0), 0);
    EXPECT_EQ(file->getChar(), 4);
    EXPECT_EQ(file->getLength(), 6);
    EXPECT_EQ(file->tell(), 1); // getLength restored the position
    EXPECT_EQ(file->seek(-1, 0), 1);
    EXPECT_EQ(file->tell(), 1);
    EXPECT_EQ(file->seek(2, 1), 0);
    EXPECT_EQ(file->tell(), 3);
    EXPECT_EQ(file->seek(-1, 2), 0);
    EXPECT_EQ(file->getChar(), 9);
    EXPECT_EQ(file->getChar(), -1);
}

TEST_P(GSFileRead, DocumentIDsAndTokens)
{
    std::string const id = "Quillmoor Document";
    std::vector<unsigned char> good(id.begin(), id.end()), bad(id.begin(), id.end());
    good.insert(good.end(), {0, 0x55});
    bad.push_back(1);
    auto file = makeFile(good);
    EXPECT_EQ(file->hasID(id.c_str(), 1), 1);
    EXPECT_EQ(file->tell(), static_cast<long>(id.size()) + 1);
    file = makeFile(bad);
    EXPECT_EQ(file->hasID(id.c_str(), 1), 0);
    EXPECT_EQ(file->tell(), 0);
    file = makeFile(bad);
    EXPECT_EQ(file->hasID(id.c_str(), 0), 0);
    EXPECT_EQ(file->tell(), static_cast<long>(id.size()) + 1); // no going back without restore
    EXPECT_EQ(makeFile(bad)->checkID(id.c_str()), 1);
    EXPECT_EQ(makeFile(good)->checkID(id.c_str()), 0);
    EXPECT_EQ(makeFile(good)->checkID("Quillmoor Selection"), 1);

    // Tokens longer than 255 bytes fail without reading.
    std::string const token(256, 'a');
    file = makeFile(std::vector<unsigned char>(300, 'a'));
    EXPECT_EQ(file->isToken(token.c_str(), 0), 0);
    EXPECT_EQ(file->tell(), 0);
    EXPECT_EQ(file->isToken(token.substr(1).c_str(), 0), 1);
    EXPECT_EQ(file->tell(), 255);
    file = makeFile(std::vector<unsigned char>{'k', 'e', 'y', ' ', 9, 13, 10, 0, 'X'});
    EXPECT_EQ(file->isToken("key", 1), 1);
    EXPECT_EQ(file->getChar(), 'X');
}

TEST_P(GSFileRead, TextHelpers)
{
    auto file = makeFile(std::vector<unsigned char>{'a', 'b', 13, 'c', 10, 'd'});
    EXPECT_EQ(file->readToEndOfLine(), 0);
    EXPECT_EQ(file->tell(), 3);
    EXPECT_EQ(file->getChar(), 'c');
    for (auto [hex, isUTF8, position] : {std::tuple{"EF BB BF 41", 1, 3}, std::tuple{"EF BB 41", 0, 0}, std::tuple{"EF", 0, 0}}) {
        file = makeFile(hex);
        EXPECT_EQ(file->isUTF8(), isUTF8) << hex;
        EXPECT_EQ(file->tell(), position) << hex;
    }
    // getString stops after a line end, before a 0, at maximum - 1 bytes or at the end.
    file = makeFile(std::vector<unsigned char>{'a', 'b', 10, 'c', 'd', 'e', 0, 'f', 0xC3, 0xA9});
    GSString s;
    EXPECT_EQ(file->getString(&s, 100), 0);
    EXPECT_EQ(s, GSString("ab\n"));
    EXPECT_EQ(file->getString(&s, 3), 0);
    EXPECT_EQ(s, GSString("cd"));
    EXPECT_EQ(file->getString(&s, 100), 0);
    EXPECT_EQ(s, GSString("e"));
    s.setEncoding(GSString::kMac);
    EXPECT_EQ(file->getString(&s, 100), 1);
    EXPECT_EQ(s, GSString("f\xC3\xA9"));
    EXPECT_EQ(s.getEncoding(), GSString::kUTF8);
}

TEST(GSFileWithoutWorker, EveryOperationFails)
{
    GSFile file;
    int i = 5;
    EXPECT_EQ(file.readLong(&i), 1);
    EXPECT_EQ(i, 5);
    float f = 5;
    double d = 5;
    long l = 5;
    char raw[2];
    EXPECT_EQ(file.readFloat(&f) + file.readDouble(&d) + file.readCompactLongLong(&l) + file.read(raw, 2), 4);
    EXPECT_EQ(f + d + l, 15);
    GSString s("kept?");
    EXPECT_EQ(file.getString(&s, 10), 1);
    EXPECT_TRUE(s.isEmpty());
    EXPECT_EQ(file.tell(), -1);
    EXPECT_EQ(file.getLength(), -1);
    EXPECT_EQ(file.seek(0, 0), 1);
    EXPECT_EQ(file.eof(), 1);
    EXPECT_EQ(file.open(), 1);
    EXPECT_EQ(file.getChar(), -1);
    EXPECT_EQ(file.writeLong(1), 1);
    EXPECT_EQ(file.close(), 1);
}

TEST(GSFileFlags, CloseDropsTheFormatFlagsAndABackupImpliesATemporaryFile)
{
    GSFile file(toArray(fromHex("00")));
    EXPECT_EQ(file.getFlags() & ~0x3Cu & ~2u, 0u);
    EXPECT_EQ(file.getSafetyMode(), 1);
    file.addFlags(GSFile::kStandardFloats | GSFile::kStandardDoubles);
    EXPECT_EQ(file.open(), 0);
    EXPECT_EQ(file.close(), 0);
    EXPECT_EQ(file.getFlags() & (GSFile::kStandardFloats | GSFile::kStandardDoubles), 0u);
    EXPECT_TRUE(file.getFlags() & GSFile::kOwnsWorker);
    file.setSafetyMode(2);
    EXPECT_EQ(file.getSafetyMode(), 3);
    EXPECT_EQ(file.getFileWorker()->getSafetyMode(), 3);
    // A worker attached later takes the file's safety mode; a file spec is taken with status 0.
    EXPECT_EQ(file.init(new GSFileWorkerMemory(), 1), 0);
    EXPECT_EQ(file.getFileWorker()->getSafetyMode(), 3);
    EXPECT_EQ(file.setFileSpec(GSFileSpec(GSString("/tmp/x.qmd"))), 0);
}

TEST(GSFileWorkers, AttachingRetainsAndOwnershipDecidesDeletion)
{
    auto* worker = new GSFileWorkerMemory();
    worker->retain(); // the test's own reference
    {
        GSFile file;
        EXPECT_EQ(file.init(worker, 0), 0);
        EXPECT_EQ(file.init(worker, 0), 0); // the same worker again changes nothing
        EXPECT_EQ(worker->getRefCount(), 2);
        EXPECT_EQ(file.init(new GSFileWorkerMemory(), 1), 0); // another one lets the first go
        EXPECT_EQ(worker->getRefCount(), 1);
    }
    EXPECT_EQ(worker->getRefCount(), 1);
    {
        GSFile file;
        EXPECT_EQ(file.init(worker, 1), 0);
    }
    // An owning file releases with deletion; the test's reference keeps it alive.
    EXPECT_EQ(worker->getRefCount(), 1);
    worker->release();
    EXPECT_EQ(GSFile().init(nullptr, 1), 1);
}

TEST(GSFileOpen, InitWithIDOnStdioFiles)
{
    ScratchFolder dir;
    GSFile missing(GSString((dir.path() + "/missing").c_str()));
    EXPECT_EQ(missing.open(), 1);
    EXPECT_FALSE(missing.isOpened());
    EXPECT_EQ(missing.initWithID("Quillmoor Document", 0), 1);

    // Reading checks the ID; writing replaces the content by the ID and a zero.
    std::string const path = dir.write("doc", std::string("Qm\0\x07\x08\x09", 6));
    GSFile reader{GSString(path.c_str())}, writer{GSString(path.c_str())};
    EXPECT_EQ(reader.initWithID("Qm", 0), 0);
    EXPECT_FALSE(reader.isMemoryBased());
    EXPECT_EQ(reader.getChar(), 7);
    EXPECT_EQ(reader.close(), 0);
    EXPECT_FALSE(reader.isOpened());
    ASSERT_EQ(writer.initWithID("Qm", 1), 0);
    EXPECT_EQ(writer.writeShort(7), 0);
    EXPECT_EQ(writer.close(), 0);
    EXPECT_EQ(toHex(readFile(path)), "51 6D 00 00 07");

    auto* file = new GSFile(GSString(path.c_str()));
    ASSERT_EQ(file->initWithID("Qm", 1), 0);
    file->addFlags(GSFile::kDeleteOnClose);
    EXPECT_EQ(file->close(), 0); // also deletes `file`; ASan reports a leak otherwise
    EXPECT_FALSE(std::filesystem::exists(path));
}

} // namespace
