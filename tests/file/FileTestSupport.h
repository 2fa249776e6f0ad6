// Files for the file-layer tests: the same bytes behind either back end, so that every reader case
// runs over the memory worker and over the stdio worker on a real file.
#pragma once

#include "gs/file/GSFile.h"
#include "tests/object/TestObjects.h"
#include "tests/support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace qmtest {

enum class Backend { Memory, Stdio };

inline std::string backendName(testing::TestParamInfo<Backend> const& info)
{
    return info.param == Backend::Memory ? "Memory" : "Stdio";
}

inline GSString pathOf(TempFile const& t) { return GSString(t.path().c_str()); }

// Fixture base: makeFile gives an open file over the given bytes on the back end under test.
class FileOverBackend : public testing::TestWithParam<Backend> {
protected:
    std::unique_ptr<GSFile> makeFile(std::vector<unsigned char> const& bytes, char const* mode = "rb")
    {
        if (GetParam() == Backend::Memory) {
            auto file = std::make_unique<GSFile>(toArray(bytes));
            EXPECT_EQ(file->setAccessMode(mode), 0);
            return file;
        }
        temps.push_back(std::make_unique<TempFile>(bytes));
        auto file = std::make_unique<GSFile>(pathOf(*temps.back()));
        EXPECT_EQ(file->setAccessMode(mode), 0);
        EXPECT_EQ(file->open(), 0);
        return file;
    }
    std::unique_ptr<GSFile> makeFile(std::string const& hex, char const* mode = "rb") { return makeFile(fromHex(hex), mode); }

    // The value `read` gives over the bytes of `hex`, after checking its status; `initial` is what
    // the output holds before.
    template <class T>
    T get(short (GSFile::*read)(T*), std::string const& hex, short status = 0, T initial = T())
    {
        T value = initial;
        EXPECT_EQ(((*makeFile(hex)).*read)(&value), status) << hex;
        return value;
    }

    // `read` gives `expected` over the bytes of `hex` and consumes them; one byte short, it fails
    // and leaves its output and the position alone.
    template <class T, class U>
    void reads(short (GSFile::*read)(T*), std::string const& hex, U expected)
    {
        auto const value = static_cast<T>(expected);
        EXPECT_EQ(get(read, hex), value) << hex;
        std::vector<unsigned char> bytes = fromHex(hex);
        bytes.pop_back();
        T output = value;
        auto file = makeFile(bytes);
        EXPECT_EQ(((*file).*read)(&output), 1) << hex << " one byte short";
        EXPECT_EQ(output, value) << hex << " one byte short";
        EXPECT_EQ(file->tell(), 0) << hex << " one byte short";
    }

    // `write` of `value` gives the bytes of `hex`, which `read` reads back as above.
    template <class T, class U>
    void encodes(short (GSFile::*write)(T), short (GSFile::*read)(T*), std::string const& hex, U value)
    {
        GSFile out(-100, 0);
        EXPECT_EQ((out.*write)(static_cast<T>(value)), 0);
        EXPECT_EQ(toHex(fileBytes(out)), hex);
        reads(read, hex, value);
    }

    std::vector<std::unique_ptr<TempFile>> temps;
};

} // namespace qmtest
