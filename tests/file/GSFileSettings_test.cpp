// Saves configured through settings dictionaries: the keys that a file spec's options and a file's own
// dictionary carry, and what the file does with them.
#include "gs/file/GSFile.h"
#include "gs/file/GSFileKeys.h"
#include "gs/file/GSFileWorker.h"
#include "gs/object/GSArrayMemory.h"
#include "gs/object/GSObjectDictionary.h"

#include "tests/filespec/MessageLog.h"
#include "tests/support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

using namespace qmtest;

namespace {

std::string str(GSString const& s) { return s.c_str(); }

GSDynaArray<unsigned char> bytesOf(std::string const& text)
{
    GSDynaArray<unsigned char> a;
    if (a.append(reinterpret_cast<unsigned char const*>(text.data()), static_cast<long>(text.size())) != 0)
        ADD_FAILURE() << "no memory";
    return a;
}

std::string readAll(GSFile* file)
{
    std::string text(static_cast<size_t>(file->getLength()), '\0');
    if (!text.empty() && file->read(text.data(), static_cast<long>(text.size())) != 0)
        ADD_FAILURE() << "short read";
    return text;
}

// A memory worker that remembers the size of every write it is asked for.
class RecordingWorker : public GSFileWorkerMemory {
public:
    RecordingWorker() : GSFileWorkerMemory(-100, 0) {}
    long _write(void const* buffer, long length) override
    {
        sizes.push_back(length);
        return GSFileWorkerMemory::_write(buffer, length);
    }
    std::vector<long> sizes;
};

constexpr int kNoKey = -1;

} // namespace

// The safe-save guarantees, with the safety mode given only by the target spec's options: the file
// starts from another mode, so a mode not taken from the file spec shows.
TEST(GSFileSettings, ASaveFollowsTheSafetyModeOfTheTargetSpec)
{
    struct Case {
        int key;        // GSFileSafetyModeKey in the file spec, or kNoKey
        int startMode;  // the file's mode before the file spec is given
        int mode;       // the mode in force
        bool throughTemporary;
        bool backup;
    } const cases[] = {
        {1, 0, 1, true, false},
        {3, 0, 3, true, true},
        {2, 0, 3, true, true}, // keeping a backup implies the temporary file
        {0, 3, 0, false, false},
        {kNoKey, 0, 0, false, false}, // without the key the file keeps its mode
        {kNoKey, 1, 1, true, false},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE("key " + std::to_string(c.key) + ", from mode " + std::to_string(c.startMode));
        ScratchFolder dir;
        MessageLog log;
        std::string const target = dir.write("doc.qmd", "old");
        GSFileSpec spec = specFor(target);
        if (c.key != kNoKey) {
            ASSERT_EQ(spec.setDictionaryLong(GSFileSafetyModeKey, c.key), 0);
        }

        GSFile file;
        file.setSafetyMode(c.startMode);
        ASSERT_EQ(file.init(spec, 0), 0);
        EXPECT_EQ(file.getSafetyMode(), c.mode);
        ASSERT_EQ(file.setAccessMode("wb"), 0);
        ASSERT_EQ(file.open(), 0);
        EXPECT_EQ(file.getWorkingFileSpec() != specFor(target), c.throughTemporary);
        ASSERT_EQ(file.write("new", 3), 0);
        ASSERT_EQ(file.flush(), 0);
        EXPECT_EQ(readText(target), c.throughTemporary ? "old" : "new"); // untouched until close
        ASSERT_EQ(file.close(), 0);
        EXPECT_EQ(readText(target), "new");
        EXPECT_EQ(dir.listing(), c.backup ? "doc.qmd doc.qmdbak" : "doc.qmd");
        if (c.backup) {
            EXPECT_EQ(readText(dir / "doc.qmdbak"), "old");
        }

        // An abandoned save of the same configuration leaves the target and the folder as they were.
        GSFile aborted(spec, 0);
        ASSERT_EQ(aborted.setAccessMode("wb"), 0);
        ASSERT_EQ(aborted.open(), 0);
        ASSERT_EQ(aborted.write("lost", 4), 0);
        (void)aborted.close(1);
        if (c.throughTemporary) {
            EXPECT_EQ(readText(target), "new");
            EXPECT_EQ(dir.listing(), c.backup ? "doc.qmd doc.qmdbak" : "doc.qmd");
        }
        EXPECT_TRUE(log.messages.empty());
    }
}

TEST(GSFileSettings, TheFormatVersionComesFromTheSpecWhenItHasOne)
{
    struct Case {
        int key;
        int before;   // set on the file first
        int expected; // getFileFormatVersion(5)
    } const cases[] = {{7, 0, 7}, {kNoKey, 0, 5}, {kNoKey, 9, 9}, {0, 9, 5}};
    for (auto const& c : cases) {
        GSFileSpec spec(GSString("/tmp/doc.qmd"));
        if (c.key != kNoKey) {
            ASSERT_EQ(spec.setDictionaryLong(GSFileFormatVersionKey, c.key), 0);
        }
        GSFile file;
        file.setFileFormatVersion(c.before);
        ASSERT_EQ(file.setFileSpec(spec), 0);
        EXPECT_EQ(file.getFileFormatVersion(5), c.expected) << c.key << " " << c.before;
    }
}

TEST(GSFileSettings, ASpecWithDataIsReadFromMemoryAndNamedByItsDataName)
{
    ScratchFolder dir;
    std::string const path = dir.write("doc.qmd", "on disk");
    GSFileSpec spec = specFor(path);
    ASSERT_EQ(spec.setDictionaryBuffer(GSFileDataKey, bytesOf("in memory")), 0);
    EXPECT_TRUE(spec.isMemoryFileSpec(1));

    GSFile file(spec, 0);
    ASSERT_EQ(file.open(), 0);
    EXPECT_EQ(readAll(&file), "in memory");
    EXPECT_EQ(str(file.getDisplayName()), "doc.qmd"); // no data name: the file spec's file name
    EXPECT_EQ(str(file.getExtender()), ".qmd");
    EXPECT_EQ(str(file.getAccessMode()), "rb");
    EXPECT_EQ(file.getState(), 1);
    ASSERT_EQ(file.close(), 0);
    EXPECT_EQ(file.getState(), 0);

    ASSERT_EQ(spec.setDictionaryString(GSFileDataNameKey, GSString("Scan 7")), 0);
    ASSERT_EQ(file.init(spec, 0), 0);
    EXPECT_EQ(str(file.getDisplayName()), "Scan 7");

    // The same file given a file spec without data (or with an empty buffer) reads the disk again.
    for (bool emptyBuffer : {false, true}) {
        GSFileSpec plain = specFor(path);
        if (emptyBuffer) {
            ASSERT_EQ(plain.setDictionaryBuffer(GSFileDataKey, GSDynaArray<unsigned char>()), 0);
        }
        ASSERT_EQ(file.init(plain, 0), 0);
        ASSERT_EQ(file.open(), 0);
        EXPECT_EQ(readAll(&file), "on disk") << emptyBuffer;
        ASSERT_EQ(file.close(), 0);
    }
}

TEST(GSFileTmpFile, NamedAndUnnamedFilesReadBackAndVanishAtClose)
{
    for (short named : {short(1), short(0)}) {
        GSFile* file = GSFile::tmpFile(named);
        ASSERT_NE(file, nullptr) << named;
        EXPECT_EQ(file->getFlags(), 7u);
        EXPECT_EQ(file->getState(), 1);
        std::string const path = named ? str(file->getFileSpec().getPathname(1)) : std::string();
        EXPECT_EQ(!path.empty(), named != 0);
        if (named) {
            EXPECT_TRUE(std::filesystem::exists(path)) << path;
        }
        ASSERT_EQ(file->write("scratch", 7), 0);
        ASSERT_EQ(file->seek(0, 0), 0);
        EXPECT_EQ(readAll(file), "scratch");
        EXPECT_EQ(file->close(), 0); // removes the file and destroys the object
        if (named) {
            EXPECT_FALSE(std::filesystem::exists(path)) << path;
        }
    }
}

TEST(GSFileCopy, CopiesInChunksOfAtMost8192Bytes)
{
    struct Case {
        long n;
        std::vector<long> chunks;
    } const cases[] = {{20000, {8192, 8192, 3616}}, {8192, {8192}}, {8193, {8192, 1}}, {1, {1}}, {0, {}}};
    std::string source(20000, '\0');
    for (size_t i = 0; i < source.size(); ++i)
        source[i] = static_cast<char>(i * 13 + 1);
    for (auto const& c : cases) {
        GSFile from(bytesOf(source));
        auto* recorder = new RecordingWorker();
        GSFile to;
        ASSERT_EQ(to.init(recorder, 1), 0);
        EXPECT_EQ(from.copySize(c.n, &to), 0);
        EXPECT_EQ(recorder->sizes, c.chunks) << c.n;
        EXPECT_EQ(to.tell(), c.n);
        ASSERT_EQ(to.seek(0, 0), 0);
        EXPECT_EQ(readAll(&to), source.substr(0, static_cast<size_t>(c.n)));
    }
}

TEST(GSFileDictionary, EntriesAreTypedCopiedAndRemoved)
{
    GSFile file;
    EXPECT_EQ(file.getDictionary(), nullptr);
    EXPECT_EQ(file.getDictionaryLong(GSFileCopyKey, 4), 4);
    int marker = 0;
    EXPECT_EQ(file.getDictionaryPointer(GSString("p"), &marker), &marker);

    ASSERT_EQ(file.setDictionaryLong(GSFileCopyKey, 1), 0);
    ASSERT_EQ(file.setDictionaryString(GSFileDataIDKey, GSString("id")), 0);
    ASSERT_EQ(file.setDictionaryPointer(GSString("p"), &marker), 0);
    ASSERT_EQ(file.setDictionaryBuffer(GSFileDataKey, bytesOf("xy")), 0);
    EXPECT_EQ(file.getDictionaryLong(GSFileCopyKey, 4), 1);
    EXPECT_EQ(file.getDictionaryLong(GSFileDataIDKey, 4), 4); // a string is not a long
    EXPECT_EQ(str(file.getDictionaryString(GSFileDataIDKey)), "id");
    EXPECT_EQ(file.getDictionaryPointer(GSString("p")), &marker);
    EXPECT_EQ(file.getDictionaryBuffer(GSFileDataKey).getCount(), 2);
    file.removeDictionary(GSFileCopyKey);
    EXPECT_EQ(file.getDictionaryLong(GSFileCopyKey, 4), 4);

    // setDictionary takes a copy: later changes of the source do not reach the file.
    GSObjectDictionary source(GSFileSaveAsTemplateKey, 1);
    ASSERT_EQ(file.setDictionary(source), 0);
    ASSERT_EQ(source.addLongValue(GSFileSaveAsTemplateKey, 2), 0);
    EXPECT_EQ(file.getDictionaryLong(GSFileSaveAsTemplateKey, 0), 1);
    EXPECT_EQ(file.getDictionary()->getCount(), 1); // the earlier entries were replaced
    ASSERT_EQ(file.setDictionary(*file.getDictionary()), 0);
    EXPECT_EQ(file.getDictionaryLong(GSFileSaveAsTemplateKey, 0), 1);
    ASSERT_EQ(file.setDictionary(GSObjectDictionary()), 0);
    EXPECT_EQ(file.getDictionary(), nullptr);
    ASSERT_NE(file.getOrCreateDictionary(), nullptr);
    EXPECT_EQ(file.getOrCreateDictionary(), file.getDictionary());
}

// The file lets go of the dictionary it replaces or removes, and keeps it when no copy can be made.
TEST(GSFileDictionary, ReplacedDictionariesAreReleasedAndAFailedCopyChangesNothing)
{
    GSFile file;
    GSObjectDictionary const source(GSFileCopyKey, 2);
    for (bool removing : {false, true}) {
        GSObjectDictionary* held = file.getOrCreateDictionary();
        held->retain();
        ASSERT_EQ(file.setDictionary(removing ? GSObjectDictionary() : source), 0);
        EXPECT_EQ(held->getRefCount(), 1) << removing;
        held->release();
    }
    ASSERT_EQ(file.setDictionaryLong(GSFileCopyKey, 1), 0);
    GSArrayAllocationHook const previous = GSSetArrayAllocationHook([](size_t) { return false; });
    short const status = file.setDictionary(source);
    GSSetArrayAllocationHook(previous);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(file.getDictionaryLong(GSFileCopyKey, 0), 1);
}

TEST(GSFileSpecOptions, CopiesOwnTheirOptions)
{
    GSFileSpec a(GSString("/tmp/a.qmd"));
    ASSERT_EQ(a.setDictionaryLong(GSFileSafetyModeKey, 3), 0);
    GSFileSpec b(a);
    GSFileSpec c(GSString("/tmp/c.qmd"));
    c = a;
    ASSERT_EQ(a.setDictionaryLong(GSFileSafetyModeKey, 1), 0);
    GSFileSpec moved(std::move(b));
    c = std::move(moved);
    EXPECT_EQ(c.getDictionaryLong(GSFileSafetyModeKey, 0), 3);
    GSObjectDictionary replacement(GSFileCopyKey, 1);
    ASSERT_EQ(c.setDictionary(&replacement), 0);
    EXPECT_EQ(c.getDictionaryLong(GSFileSafetyModeKey, 0), 0);
    EXPECT_EQ(c.getDictionaryBuffer(GSFileCopyKey, bytesOf("d")).getCount(), 1); // not a buffer
    ASSERT_EQ(c.setDictionary(nullptr), 0);
    EXPECT_EQ(c.getDictionaryLong(GSFileCopyKey, 0), 0);
}

TEST(GSFileSpecOptions, MemorySpecsByDataIdentityAndSaveToMemory)
{
    struct Case {
        bool data;
        char const* id;
        int saveToMemory; // or kNoKey
        bool mode0, mode1, mode2;
    } const cases[] = {
        {false, "", kNoKey, false, false, false},
        {true, "", kNoKey, false, true, true},
        {true, "", 1, true, true, true},
        {false, "", 1, true, false, true},
        {false, "doc", kNoKey, true, false, true},
        {false, "doc", 0, false, false, false},
        {true, "doc", kNoKey, true, true, true},
        {true, "doc", 0, false, true, true},
    };
    for (auto const& c : cases) {
        GSFileSpec spec(GSString("/tmp/m.qmd"));
        ASSERT_EQ(spec.setDictionaryLong(GSFileCopyKey, 0), 0); // options present in every row
        if (c.data) {
            ASSERT_EQ(spec.setDictionaryBuffer(GSFileDataKey, bytesOf("q")), 0);
        }
        if (*c.id) {
            ASSERT_EQ(spec.setDictionaryString(GSFileDataIDKey, GSString(c.id)), 0);
        }
        if (c.saveToMemory != kNoKey) {
            ASSERT_EQ(spec.setDictionaryLong(GSFileSaveToMemoryKey, c.saveToMemory), 0);
        }
        SCOPED_TRACE(std::to_string(c.data) + " '" + c.id + "' " + std::to_string(c.saveToMemory));
        EXPECT_EQ(spec.isMemoryFileSpec(0), c.mode0);
        EXPECT_EQ(spec.isMemoryFileSpec(1), c.mode1);
        EXPECT_EQ(spec.isMemoryFileSpec(2), c.mode2);
        EXPECT_EQ(spec.shouldSaveToBuffer(), c.mode0);
    }
    EXPECT_FALSE(GSFileSpec(GSString("/tmp/m.qmd")).isMemoryFileSpec(2));
}

TEST(GSFileSettings, BaseSpecsAreKeptOnlyForRealFiles)
{
    GSFileSpec const base(GSString("/tmp/base.qmd"));
    GSFileSpec memory(GSString("/tmp/memory.qmd"));
    ASSERT_EQ(memory.setDictionaryBuffer(GSFileDataKey, bytesOf("m")), 0);

    GSFileSpec spec(GSString("/tmp/spec.qmd"));
    EXPECT_EQ(spec.getBaseFileSpec(), spec);
    ASSERT_EQ(spec.setBaseFileSpec(base), 0);
    EXPECT_EQ(spec.getBaseFileSpec(), base);
    GSFile file(spec, 0);
    EXPECT_EQ(file.getBaseFileSpec(), file.getFileSpec());
    ASSERT_EQ(file.setBaseFileSpec(base), 0);
    EXPECT_EQ(file.getBaseFileSpec(), base);

    for (GSFileSpec const& refused : {memory, GSFileSpec()}) {
        ASSERT_EQ(spec.setBaseFileSpec(base), 0);
        ASSERT_EQ(spec.setBaseFileSpec(refused), 0);
        EXPECT_EQ(spec.getBaseFileSpec(), spec);
        ASSERT_EQ(file.setBaseFileSpec(base), 0);
        ASSERT_EQ(file.setBaseFileSpec(refused), 0);
        EXPECT_EQ(file.getBaseFileSpec(), file.getFileSpec());
    }
}
