#include "gs/file/GSFile.h"
#include "tests/file/FileTestSupport.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstring>
#include <functional>
#include <string>

using qmtest::Backend;
using qmtest::fromHex;

namespace {

class GSFileRead : public qmtest::FileOverBackend {};

INSTANTIATE_TEST_SUITE_P(Backends, GSFileRead, testing::Values(Backend::Memory, Backend::Stdio),
                         qmtest::backendName);

struct CompactCase {
    char const* hex;
    long value;
};

CompactCase const compactCases[] = {
    {"00", 0},
    {"3F", 63},
    {"80 01", 64},
    {"BF 01", 127},
    {"BF 7F", 8191},
    {"80 80 01", 8192},
    {"40", -1},
    {"7F", -64},
    {"C0 01", -65},
    {"FF FF FF FF FF FF FF FF FF 01", LONG_MIN},
    {"BF FF FF FF FF FF FF FF FF 01", LONG_MAX},
};

TEST_P(GSFileRead, CompactLongLongDecodesEveryExample)
{
    for (auto const& c : compactCases) {
        SCOPED_TRACE(c.hex);
        auto bytes = fromHex(c.hex);
        auto file = makeFile(bytes);
        long v = 12345;
        EXPECT_EQ(file->readCompactLongLong(&v), 0);
        EXPECT_EQ(v, c.value);
        EXPECT_EQ(file->tell(), static_cast<long>(bytes.size()));
    }
}

TEST_P(GSFileRead, CompactValueCutInTheMiddleStoresThePartialValue)
{
    long v = 7;
    EXPECT_EQ(makeFile("BF FF")->readCompactLongLong(&v), 1);
    EXPECT_EQ(v, 8191);  // 63 | 127 << 6, waiting for a third byte
    EXPECT_EQ(makeFile("FF 81")->readCompactLongLong(&v), 1);
    EXPECT_EQ(v, ~127L);  // negative, 63 | 1 << 6 so far
    v = 7;
    EXPECT_EQ(makeFile("")->readCompactLongLong(&v), 1);
    EXPECT_EQ(v, 7);
}

TEST_P(GSFileRead, CompactRunLongerThanTenBytesFailsAfterTen)
{
    auto file = makeFile("FF FF FF FF FF FF FF FF FF FF FF FF 00");
    long v = 0;
    EXPECT_EQ(file->readCompactLongLong(&v), 1);
    EXPECT_EQ(file->tell(), 10);
}

TEST_P(GSFileRead, CompactIntKeepsTheLow32Bits)
{
    int v = 0;
    EXPECT_EQ(makeFile("85 80 80 80 20")->readCompactInt(&v), 0);  // 2^32 + 5
    EXPECT_EQ(v, 5);
    v = 9;
    EXPECT_EQ(makeFile("")->readCompactInt(&v), 1);
    EXPECT_EQ(v, 9);
}

TEST_P(GSFileRead, FixedWidthIntegers)
{
    short s = 0;
    int i = 0;
    long l = 0;
    char c = 0;
    EXPECT_EQ(makeFile("FF FE")->readShort(&s), 0);
    EXPECT_EQ(s, -2);
    EXPECT_EQ(makeFile("FE FF")->readLittleShort(&s), 0);
    EXPECT_EQ(s, -2);
    EXPECT_EQ(makeFile("12 34 56 78")->readLong(&i), 0);
    EXPECT_EQ(i, 0x12345678);
    EXPECT_EQ(makeFile("78 56 34 12")->readLittleLong(&i), 0);
    EXPECT_EQ(i, 0x12345678);
    EXPECT_EQ(makeFile("00 00 00 01 00 00 00 02")->readLongLong(&l), 0);
    EXPECT_EQ(l, 4294967298L);
    EXPECT_EQ(makeFile("FF FF FF FF FF FF FF FE")->readLongLong(&l), 0);
    EXPECT_EQ(l, -2);
    EXPECT_EQ(makeFile("02 00 00 00 01 00 00 00")->readLittleLongLong(&l), 0);
    EXPECT_EQ(l, 4294967298L);
    EXPECT_EQ(makeFile("FF FE")->readIntAsShort(&i), 0);
    EXPECT_EQ(i, -2);
    EXPECT_EQ(makeFile("FF FE")->readIntAsUShort(&i), 0);
    EXPECT_EQ(i, 65534);
    EXPECT_EQ(makeFile("C8")->readBool(&s), 0);
    EXPECT_EQ(s, 200);
    EXPECT_EQ(makeFile("C8")->readChar(&c), 0);
    EXPECT_EQ(static_cast<unsigned char>(c), 200);
    void* p = nullptr;
    EXPECT_EQ(makeFile("00 00 00 00 00 00 10 00")->readPointer(&p), 0);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p), 0x1000u);
}

TEST_P(GSFileRead, ArrayCountOutsideCompactModeIsASignedLong)
{
    long v = 0;
    EXPECT_EQ(makeFile("FF FF FF FE")->readArrayCount(&v), 0);
    EXPECT_EQ(v, -2);
}

TEST_P(GSFileRead, StandardFloatsAndDoubles)
{
    float f = 0;
    double d = 0;
    EXPECT_EQ(makeFile("40 00 00 00")->readStandardFloat(&f), 0);
    EXPECT_EQ(f, 2.0f);
    EXPECT_EQ(makeFile("00 00 00 40")->readLittleStandardFloat(&f), 0);
    EXPECT_EQ(f, 2.0f);
    EXPECT_EQ(makeFile("C0 00 00 00 00 00 00 00")->readStandardDouble(&d), 0);
    EXPECT_EQ(d, -2.0);
    EXPECT_EQ(makeFile("00 00 00 00 00 00 00 C0")->readLittleStandardDouble(&d), 0);
    EXPECT_EQ(d, -2.0);
}

TEST_P(GSFileRead, FloatMantissaExponentPairWithItsClamps)
{
    float f = 1;
    EXPECT_EQ(makeFile("40 00 00 00 00 01")->readFloat(&f), 0);
    EXPECT_EQ(f, 2.0f);
    EXPECT_EQ(makeFile("C0 00 00 00 00 26")->readFloat(&f), 0);  // exponent 38, negative mantissa
    EXPECT_EQ(f, FLT_MAX);
    EXPECT_EQ(makeFile("40 00 00 00 FF DB")->readFloat(&f), 0);  // exponent -37
    EXPECT_EQ(f, 0.0f);
    EXPECT_EQ(makeFile("40 00 00 00 FF DC")->readFloat(&f), 0);  // exponent -36 is still a value
    EXPECT_EQ(f, std::ldexp(1.0f, -36));
    EXPECT_EQ(makeFile("E0 00 00 00 00 25")->readFloat(&f), 0);  // -0.5 * 2^37
    EXPECT_EQ(f, -std::ldexp(1.0f, 36));
}

TEST_P(GSFileRead, FloatFormatFollowsTheFlags)
{
    auto file = makeFile("40 00 00 00 40 00 00 00 00 00 00 00");
    file->addFlags(GSFile::kStandardFloats | GSFile::kStandardDoubles);
    float f = 0;
    double d = 0;
    EXPECT_EQ(file->readFloat(&f), 0);
    EXPECT_EQ(f, 2.0f);
    EXPECT_EQ(file->readDouble(&d), 0);
    EXPECT_EQ(d, 2.0);
}

TEST_P(GSFileRead, DoubleMantissaExponentPairHasNoClamps)
{
    double d = 0;
    EXPECT_EQ(makeFile("E0 00 00 00 00 65")->readDouble(&d), 0);  // -0.5 * 2^101
    EXPECT_EQ(d, -std::ldexp(1.0, 100));
    EXPECT_EQ(makeFile("40 00 00 00 FF 9C")->readDouble(&d), 0);  // exponent -100
    EXPECT_EQ(d, std::ldexp(1.0, -100));
}

TEST_P(GSFileRead, VariableWidthUnsigned)
{
    unsigned v = 99;
    auto file = makeFile("01 02 03");
    EXPECT_EQ(file->readULongVariable(&v, 0), 0);
    EXPECT_EQ(v, 0u);
    EXPECT_EQ(file->tell(), 0);
    EXPECT_EQ(file->readULongVariable(&v, 3), 0);
    EXPECT_EQ(v, 66051u);
    EXPECT_EQ(makeFile("01 02 03 04 05")->readULongVariable(&v, 5), 0);
    EXPECT_EQ(v, 0x02030405u);  // the first byte is pushed out
    EXPECT_EQ(makeFile("FF FE")->readULongVariable(&v, 2), 0);
    EXPECT_EQ(v, 0xFFFEu);
    v = 99;
    EXPECT_EQ(makeFile("01")->readULongVariable(&v, -1), 0);
    EXPECT_EQ(v, 0u);

    unsigned long u = 0;
    EXPECT_EQ(makeFile("01 02 03 04 05 06 07 08")->readULongLongVariable(&u, 8), 0);
    EXPECT_EQ(u, 0x0102030405060708ul);
    long s = 0;
    EXPECT_EQ(makeFile("FF FF FF FF FF")->readFileSizeVariable(&s, 5), 0);
    EXPECT_EQ(s, 0xFFFFFFFFFFL);
    EXPECT_EQ(makeFile("01 02")->readIntXVariable(&s, 3), 1);
    EXPECT_EQ(s, 0x0102);  // what came is stored
}

// Each reader one byte short: status 1, output untouched.
TEST_P(GSFileRead, ShortReadOfEveryWidthFails)
{
    struct Reader {
        char const* name;
        int width;
        std::function<short(GSFile&)> read;
    };
    short s = 77;
    int i = 77;
    long l = 77;
    float f = 77;
    double d = 77;
    char c = 77;
    Reader const readers[] = {
        {"readChar", 1, [&](GSFile& file) { return file.readChar(&c); }},
        {"readBool", 1, [&](GSFile& file) { return file.readBool(&s); }},
        {"readShort", 2, [&](GSFile& file) { return file.readShort(&s); }},
        {"readLittleShort", 2, [&](GSFile& file) { return file.readLittleShort(&s); }},
        {"readIntAsShort", 2, [&](GSFile& file) { return file.readIntAsShort(&i); }},
        {"readLong", 4, [&](GSFile& file) { return file.readLong(&i); }},
        {"readLittleLong", 4, [&](GSFile& file) { return file.readLittleLong(&i); }},
        {"readLongLong", 8, [&](GSFile& file) { return file.readLongLong(&l); }},
        {"readLittleLongLong", 8, [&](GSFile& file) { return file.readLittleLongLong(&l); }},
        {"readStandardFloat", 4, [&](GSFile& file) { return file.readStandardFloat(&f); }},
        {"readStandardDouble", 8, [&](GSFile& file) { return file.readStandardDouble(&d); }},
        {"readFloat", 6, [&](GSFile& file) { return file.readFloat(&f); }},
        {"readDouble", 6, [&](GSFile& file) { return file.readDouble(&d); }},
        {"readArrayCount", 4, [&](GSFile& file) { return file.readArrayCount(&l); }},
    };
    for (auto const& r : readers) {
        SCOPED_TRACE(r.name);
        auto file = makeFile(std::vector<unsigned char>(static_cast<size_t>(r.width - 1), 0x11));
        EXPECT_EQ(r.read(*file), 1);
    }
    EXPECT_EQ(s, 77);
    EXPECT_EQ(i, 77);
    EXPECT_EQ(l, 77);
    EXPECT_EQ(f, 77);
    EXPECT_EQ(d, 77);
    EXPECT_EQ(c, 77);
}

TEST_P(GSFileRead, RawReads)
{
    auto file = makeFile("01 02 03 04 05 06 07");
    unsigned char buffer[8] = {};
    EXPECT_EQ(file->read(buffer, 3), 0);
    EXPECT_EQ(qmtest::toHex(buffer, 3), "01 02 03");
    EXPECT_EQ(file->read(buffer, 0), 0);
    EXPECT_EQ(file->read(buffer, -1), 1);
    EXPECT_EQ(file->read(buffer, 5), 1);  // only four remain
    EXPECT_EQ(makeFile("01 02 03 04 05 06 07")->read(buffer, 2, 4), 3);
}

TEST_P(GSFileRead, PositioningIsRelativeToTheFileOffset)
{
    auto file = makeFile("00 01 02 03 04 05 06 07 08 09");
    file->setFileOffset(4);
    ASSERT_EQ(file->seek(0, 0), 0);
    char c = 0;
    EXPECT_EQ(file->readChar(&c), 0);
    EXPECT_EQ(c, 4);
    EXPECT_EQ(file->tell(), 1);
    EXPECT_EQ(file->getLength(), 6);
    EXPECT_EQ(file->tell(), 1);  // getLength restored the position
    EXPECT_EQ(file->seek(-1, 0), 1);
    EXPECT_EQ(file->tell(), 1);
    EXPECT_EQ(file->seek(2, 1), 0);
    EXPECT_EQ(file->tell(), 3);
    EXPECT_EQ(file->seek(-1, 2), 0);
    EXPECT_EQ(file->readChar(&c), 0);
    EXPECT_EQ(c, 9);
    EXPECT_EQ(file->readChar(&c), 1);
}

TEST_P(GSFileRead, DocumentIDs)
{
    std::string const id = "Quillmoor Document";
    std::vector<unsigned char> good(id.begin(), id.end());
    good.push_back(0);
    good.push_back(0x55);
    std::vector<unsigned char> bad(id.begin(), id.end());
    bad.push_back(1);

    auto file = makeFile(good);
    EXPECT_EQ(file->hasID(id.c_str(), 1), 1);
    EXPECT_EQ(file->tell(), static_cast<long>(id.size()) + 1);

    file = makeFile(bad);
    EXPECT_EQ(file->hasID(id.c_str(), 1), 0);
    EXPECT_EQ(file->tell(), 0);

    file = makeFile(bad);
    EXPECT_EQ(file->checkID(id.c_str()), 1);
    EXPECT_EQ(makeFile(good)->checkID(id.c_str()), 0);
    EXPECT_EQ(makeFile(good)->checkID("Quillmoor Selection"), 1);
}

TEST_P(GSFileRead, TokensLongerThan255BytesFailWithoutReading)
{
    std::string const token(256, 'a');
    auto file = makeFile(std::vector<unsigned char>(300, 'a'));
    EXPECT_EQ(file->isToken(token.c_str(), 0), 0);
    EXPECT_EQ(file->tell(), 0);
    EXPECT_EQ(file->isToken(token.substr(1).c_str(), 0), 1);
    EXPECT_EQ(file->tell(), 255);
}

TEST_P(GSFileRead, TokenWithWhiteSpaceSkipping)
{
    auto file = makeFile(std::vector<unsigned char>{'k', 'e', 'y', ' ', 9, 13, 10, 0, 'X'});
    EXPECT_EQ(file->isToken("key", 1), 1);
    EXPECT_EQ(file->getChar(), 'X');
    EXPECT_EQ(file->getChar(), -1);
}

TEST_P(GSFileRead, TextHelpers)
{
    auto file = makeFile(std::vector<unsigned char>{'a', 'b', 13, 'c', 10, 'd'});
    EXPECT_EQ(file->readToEndOfLine(), 0);
    EXPECT_EQ(file->tell(), 3);
    EXPECT_EQ(file->getChar(), 'c');

    file = makeFile("EF BB BF 41");
    EXPECT_EQ(file->isUTF8(), 1);
    EXPECT_EQ(file->tell(), 3);
    file = makeFile("EF BB 41");
    EXPECT_EQ(file->isUTF8(), 0);
    EXPECT_EQ(file->tell(), 0);
    file = makeFile("EF");
    EXPECT_EQ(file->isUTF8(), 0);
    EXPECT_EQ(file->tell(), 0);
}

TEST_P(GSFileRead, GetStringStopsAtLineEndZeroMaximumOrEnd)
{
    auto file = makeFile(std::vector<unsigned char>{'a', 'b', 10, 'c', 'd', 'e', 0, 'f', 0xC3, 0xA9});
    GSString s;
    EXPECT_EQ(file->getString(&s, 100), 0);
    EXPECT_EQ(s, GSString("ab\n"));
    EXPECT_EQ(file->getString(&s, 3), 0);  // maximum - 1 bytes
    EXPECT_EQ(s, GSString("cd"));
    EXPECT_EQ(file->getString(&s, 100), 0);  // the 0 byte ends it
    EXPECT_EQ(s, GSString("e"));
    s.setEncoding(GSString::kMac);
    EXPECT_EQ(file->getString(&s, 100), 1);  // the end came first
    EXPECT_EQ(s, GSString("f\xC3\xA9"));
    EXPECT_EQ(s.getEncoding(), GSString::kUTF8);
}

TEST(GSFileWithoutWorker, EveryOperationFails)
{
    GSFile file;
    int i = 5;
    EXPECT_EQ(file.readLong(&i), 1);
    EXPECT_EQ(i, 5);
    EXPECT_EQ(file.tell(), -1);
    EXPECT_EQ(file.getLength(), -1);
    EXPECT_EQ(file.seek(0, 0), 1);
    EXPECT_EQ(file.eof(), 1);
    EXPECT_EQ(file.open(), 1);
    EXPECT_EQ(file.getChar(), -1);
    EXPECT_EQ(file.writeLong(1), 1);
    EXPECT_EQ(file.close(), 1);
}

TEST(GSFileFlags, NewFileAndClose)
{
    GSFile file(qmtest::toArray(qmtest::fromHex("00")));
    EXPECT_EQ(file.getFlags() & ~0x3Cu & ~2u, 0u);
    EXPECT_EQ(file.getSafetyMode(), 1);
    file.addFlags(GSFile::kStandardFloats | GSFile::kStandardDoubles);
    file.open();
    file.close();
    EXPECT_EQ(file.getFlags() & (GSFile::kStandardFloats | GSFile::kStandardDoubles), 0u);
    EXPECT_EQ(file.getFlags() & GSFile::kOwnsWorker, static_cast<unsigned>(GSFile::kOwnsWorker));
    file.setSafetyMode(2);
    EXPECT_EQ(file.getSafetyMode(), 3);  // a backup implies writing through a temporary file
    EXPECT_EQ(file.getFileWorker()->getSafetyMode(), 3);
}

TEST(GSFileWorkers, AttachingRetainsAndOwnershipDecidesDeletion)
{
    auto* worker = new GSFileWorkerMemory();
    worker->retain();  // the test's own reference
    {
        GSFile file;
        EXPECT_EQ(file.init(worker, 0), 0);
        EXPECT_EQ(worker->getRefCount(), 2);
        EXPECT_EQ(file.init(worker, 0), 0);  // the same worker again changes nothing
        EXPECT_EQ(worker->getRefCount(), 2);
    }
    EXPECT_EQ(worker->getRefCount(), 1);
    {
        GSFile file;
        file.init(worker, 1);
    }
    // An owning file releases with deletion; the test's reference keeps it alive.
    EXPECT_EQ(worker->getRefCount(), 1);
    worker->release();
    GSFile file;
    EXPECT_EQ(file.init(nullptr, 1), 1);
}

TEST(GSFileOpen, MissingFileFailsToOpen)
{
    qmtest::TempPath path;
    GSFile file(GSString(path.string().c_str()));
    EXPECT_EQ(file.open(), 1);
    EXPECT_FALSE(file.isOpened());
    EXPECT_EQ(file.initWithID("Quillmoor Document", 0), 1);
}

TEST(GSFileOpen, InitWithIDChecksTheIDOnAStdioFile)
{
    qmtest::TempPath path;
    qmtest::writeWholeFile(path.string(), qmtest::fromHex("51 6D 00 07"));
    GSFile file(GSString(path.string().c_str()));
    EXPECT_EQ(file.initWithID("Qm", 0), 0);
    EXPECT_TRUE(file.isOpened());
    EXPECT_FALSE(file.isMemoryBased());
    char c = 0;
    EXPECT_EQ(file.readChar(&c), 0);
    EXPECT_EQ(c, 7);
    EXPECT_EQ(file.close(), 0);
    EXPECT_FALSE(file.isOpened());
}

TEST(GSFileClose, DeleteOnCloseRemovesTheFileAndTheObject)
{
    qmtest::TempPath path;
    auto* file = new GSFile(GSString(path.string().c_str()));
    ASSERT_EQ(file->initWithID("Qm", 1), 0);
    EXPECT_TRUE(std::filesystem::exists(path.string()));
    file->addFlags(GSFile::kDeleteOnClose);
    EXPECT_EQ(file->close(), 0);  // also deletes `file`; ASan reports a leak otherwise
    EXPECT_FALSE(std::filesystem::exists(path.string()));
}

} // namespace
