// The one generator of sample and seed documents, all written with the test support library.
//
// Committed files: the sample documents of examples/ and the seed corpora of the thumbnail,
// object-table, string, text, date and dictionary fuzz targets (fuzz/corpus/thumbnail/,
// fuzz/corpus/objecttable/, fuzz/corpus/string/, fuzz/corpus/text/, fuzz/corpus/date/,
// fuzz/corpus/dictionary/); in a build with the
// thumbnailer also those of the decode fuzz target (fuzz/corpus/decode/), whose pictures TurboJPEG
// and libspng encode. The other pictures come from tests/data/pictures/ (drawn by
// tools/make_pictures.py).
//
//   make_examples ROOT                 writes the committed files under the repository root ROOT
//   make_examples --check ROOT         exits 1 when a committed file differs from what would be written
//   make_examples desktop [...] DIR    documents with real pictures for the desktop tests, the decode
//                                      fuzz seeds and the benchmarks (tools/DesktopSamples.h); only
//                                      in a build with the thumbnailer
#include "tests/support/DictionaryBlocks.h"
#include "tests/support/DocumentBuilder.h"
#include "tests/support/Hex.h"
#include "tests/support/ObjectDocuments.h"
#ifdef QM_DESKTOP_SAMPLES
#include "tools/DesktopSamples.h"
#endif

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

using namespace qmtest;
namespace fs = std::filesystem;

namespace {

Bytes load(fs::path const& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "make_examples: cannot read %s\n", path.c_str());
        std::exit(1);
    }
    return Bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

// Document content stand-ins: records a thumbnail reader skips by size.
Bytes content(size_t size, unsigned seed)
{
    Bytes bytes(size);
    for (size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<unsigned char>((i * 31 + seed * 17) >> 2);
    return bytes;
}

Bytes document(int version, int type, Bytes const& picture, int width, int height, bool selection = false)
{
    DocumentBuilder b;
    if (selection)
        b.selectionID();
    else
        b.documentID();
    b.version(version).standardFloats().standardDoubles();
    b.record(30, content(400, 1)).record(12, content(64, 2));
    b.thumbnail(ThumbnailRecord().description(0, width, height).inlinePicture(type, picture));
    b.record(31, content(2000, 3)).endTag();
    return b.bytes();
}

std::map<std::string, Bytes> examples(fs::path const& root)
{
    Bytes jpeg = load(root / "tests/data/pictures/landscape.jpg");
    Bytes png = load(root / "tests/data/pictures/drawing.png");
    std::map<std::string, Bytes> files;
    files["examples/landscape.qmd"] = document(0x0200, kPictureJPEG, jpeg, 256, 192);
    files["examples/drawing.qmd"] = document(0x0201, kPicturePNG, png, 96, 64);
    files["examples/selection.qmd"] = document(0x0200, kPicturePNG, png, 96, 64, true);
    DocumentBuilder plain;
    plain.documentID().version(0x0200).standardFloats().record(30, content(300, 4)).endTag();
    files["examples/no-thumbnail.qmd"] = plain.bytes();
    // Cut in the middle of its picture, as an interrupted copy leaves it.
    Bytes whole = files["examples/landscape.qmd"];
    files["examples/damaged.qmd"] = cut(whole, whole.size() / 2);
    // Version 3.2: an object table of the newer kind right after the version, compact records, the
    // thumbnail as a serialised picture description.
    ObjectDocument compact;
    compact.picture = jpeg;
    compact.width = 256;
    compact.height = 192;
    files["examples/compact-objects.qmd"] = compact.build();
    // Version 2.0 with records 14, 15 and 11; the thumbnail refers to a description stored earlier.
    ObjectDocument referenced;
    referenced.version = 0x0200;
    referenced.shape = ObjectShape::kByReference;
    referenced.pictureType = kPicturePNG;
    referenced.picture = png;
    referenced.width = 96;
    referenced.height = 64;
    files["examples/object-reference.qmd"] = referenced.build();
    return files;
}

std::map<std::string, Bytes> corpus()
{
    std::string const dir = "fuzz/corpus/thumbnail/";
    std::map<std::string, Bytes> files;
    auto add = [&](std::string const& name, Bytes const& bytes) { files[dir + name] = bytes; };
    add("jpeg", simpleDocument(kPictureJPEG, fakeJPEG(24)));
    add("png-type5", simpleDocument(kPicturePNGAlternative, fakePNG(24)));
    add("type4", simpleDocument(4, fakeJPEG(8)));
    {
        DocumentBuilder b;
        b.selectionID().version(0x0200).thumbnail(ThumbnailRecord().inlinePicture(kPictureJPEG, fakeJPEG(8))).endTag();
        add("selection", b.bytes());
    }
    {
        DocumentBuilder b;
        b.documentID().versionTwoShort(2, 3).record(12, {1, 2, 3}).record(40, {});
        b.thumbnail(ThumbnailRecord().versionTwoShort(1, 0).record(9, {7, 7}).description(1, 5, 6).inlinePicture(
            kPicturePNG, fakePNG(16)));
        b.endTag();
        add("two-short-versions", b.bytes());
    }
    {
        DocumentBuilder b;
        b.documentID().version(0x0200).thumbnail(ThumbnailRecord().version(0x0200).inlinePicture(kPictureJPEG, fakeJPEG(8))).endTag();
        add("thumbnail-too-new", b.bytes());
    }
    {
        DocumentBuilder b;
        b.documentID().version(0x0400).record(13, {}).endTag();
        add("document-too-new", b.bytes());
    }
    {
        DocumentBuilder b;
        b.documentID().version(0x0200).thumbnail(ThumbnailRecord().description(0, 1, 1).inlinePicture(kPictureJPEG, {})).endTag();
        add("zero-count", b.bytes());
    }
    {
        DocumentBuilder b;
        b.documentID().version(0x0200).thumbnail(ThumbnailRecord().inlinePicture(kPictureJPEG, fakeJPEG(8), 0x7FFFFFFF)).endTag();
        add("huge-count", b.bytes());
    }
    {
        DocumentBuilder b;
        b.documentID().version(0x0200).header(20, -8).header(21, 1 << 30).endTag();
        add("bad-sizes", b.bytes());
    }
    {
        DocumentBuilder second;
        second.thumbnail(ThumbnailRecord().inlinePicture(kPicturePNG, fakePNG(10)));
        DocumentBuilder b;
        b.documentID().version(0x0200).thumbnail(ThumbnailRecord().inlinePicture(kPictureJPEG, fakeJPEG(10)).custom(
            [&](RecordWriter& w) { w.out().raw(second.bytes()); }));
        b.endTag();
        add("second-thumbnail", b.bytes());
    }
    add("cut", cut(simpleDocument(kPictureJPEG, fakeJPEG(40)), 80));
    auto object = [](int version, bool longPositions, ObjectShape shape, bool secondTable = false) {
        ObjectDocument d;
        d.version = version;
        d.longPositions = longPositions;
        d.shape = shape;
        d.picture = fakeJPEG(24);
        d.secondTable = secondTable;
        return d.build();
    };
    add("objects-compact", object(0x0302, true, ObjectShape::kFull));
    add("objects-classic-table", object(0x0302, false, ObjectShape::kSystemPicData));
    add("objects-record11", object(0x0200, true, ObjectShape::kFull));
    add("objects-by-reference", object(0x0200, false, ObjectShape::kByReference));
    add("objects-not-listed", object(0x0302, true, ObjectShape::kNotListed));
    add("objects-unknown-class", object(0x0302, true, ObjectShape::kUnknownClass));
    add("objects-second-table", object(0x0200, true, ObjectShape::kFull, true));
    for (auto const& [name, bytes] : objectTableSeeds())
        files["fuzz/corpus/objecttable/" + name] = bytes;
    {
        DocumentBuilder b;
        b.documentID().raw({0xFF, 0xFF, 0x00, 0x0D, 0x00, 0x00});
        add("garbage-after-id", b.bytes());
    }
    // String fields: a reader byte (0 classic, 1 compact, 2 byte fields, 3 UTF-16 fields), a field
    // byte (width, and bit 7 for little-endian units), then the strings.
    std::pair<char const*, char const*> const strings[] = {
        {"classic", "00 00 FF 9B 00 00 00 03 C3 A9 00 00 00 00 03 41 42 00 FF FF 00 00 00 03 E9 80 00"},
        {"classic-not-terminated", "00 00 FF 9C 00 00 00 02 41 42"},
        {"compact", "01 00 64 04 61 62 63 00 00 03 8E 14 00 64 00"},
        {"natural-names", "00 00 FF 9B 00 00 00 0E 66 69 6C 65 30 30 37 2F 61 31 30 2E 6A 00"},
        {"words", "00 00 FF 9B 00 00 00 0C 61 62 2C E2 80 8B 20 2C CC 81 63 00"},
        {"byte-fields", "02 05 61 62 00 63 00 E9 00 00 41 42"},
        {"utf16-fields", "03 84 41 00 3D D8 00 DE 00 D8 41 00"},
        // Found by the fuzzer: UTF-16 units whose UTF-8 text is longer than the field.
        {"utf16-expands", "23 07 A7 84 DE 7D 7D 7D 7D 7D 7D 7D 7D AB 20 00 02"},
    };
    for (auto const& [name, hex] : strings)
        files[std::string("fuzz/corpus/string/") + name] = fromHex(hex);
    // Text files and string tables: an option byte (bit 0 code-page text, bit 1 the compact framing,
    // bit 2 unsorted tables), then the bytes.
    std::pair<char const*, std::string> const texts[] = {
        {"key-values", std::string(1, '\0') + "// settings\n\"a\" = \"b\";\n\"c\\x09\" = \"\\n\\\"\";\n\"e\" = \"f\"\n  \"g\" ;\n"},
        {"byte-order-mark", std::string(1, '\0') + "\xEF\xBB\xBF\"k\xC3\xA9\" = \"v\";\n"},
        {"code-page", "\x05\"\xE9\" = \"\x8A\";\n\"StringEncoding\" = \"UTF8\";\n\"\xC3\xA9\" = \"x\";\n"
                      "\"StringEncoding\" = \"\";\n\"z\" = \"\x80\";\n"},
        {"quoted-pieces", "\x01\"ab\"\n  \"c\\td\" \"\\a\\b\\f\\v\\r\\'\"\n/ note\n\"e\""},
    };
    for (auto const& [name, text] : texts)
        files[std::string("fuzz/corpus/text/") + name] = Bytes(text.begin(), text.end());
    std::pair<char const*, char const*> const tables[] = {
        {"table-classic", "04 01 00 00 00 00 00 00 00 00 1F 00 00 00 02 FF 9B 00 00 00 02 61 00 FF 9B 00 00 00 03 78 79 00 "
                          "FF 9B 00 00 00 02 62 00 00 00 FF FF FF FF"},
        {"table-compact", "06 10 00 10 02 64 02 61 00 64 03 78 79 00 64 02 62 00 64 00 7F"},
        {"table-other-records", "04 01 00 00 00 00 05 00 00 00 02 AA BB 00 00 00 00 00 00 00 0E 00 00 00 01 FF 9B 00 00 00 02 "
                                "61 00 00 00 00 00 00 07 00 00 00 00 FF FF FF FF"},
    };
    for (auto const& [name, hex] : tables)
        files[std::string("fuzz/corpus/text/") + name] = fromHex(hex);
    // Dates: a reader byte (0 the classic block, 1 the compact block, 2 the colon form, 3 a format,
    // a zero byte, then the text), then the bytes.
    std::pair<char const*, char const*> const dateBlocks[] = {
        {"block-classic", "00 01 01 00 00 00 00 00 00 00 06 1F 03 00 00 07 E8 00 00 00 01 00 00 00 03 0C 05 09 "
                          "00 00 00 02 00 00 00 02 01 F4 FF FF FF FF"},
        {"block-compact", "01 11 00 06 01 01 FF FF FF FE 01 03 00 00 00 02 02 FF FF 7F"},
        // Found by the fuzzer: fields out of their ranges (day and month 255) still go through the calendar.
        {"block-compact-odd-fields", "01 11 00 06 FF FF FF FF FF FF FF"},
        {"block-other-records", "00 01 01 00 00 00 07 00 00 00 02 AA BB 00 00 00 00 00 00 00 08 1F 03 00 00 07 E8 EE EE "
                                "FF FF FF FF"},
    };
    for (auto const& [name, hex] : dateBlocks)
        files[std::string("fuzz/corpus/date/") + name] = fromHex(hex);
    std::pair<char const*, std::string> const dateTexts[] = {
        {"colon", "\x02" "31:3:2024:12:5:9"},
        {"colon-date", "\x02 1:2:-44"},
        {"format-percent", std::string("\x03%Y-%m-%d %H:%M:%S.%s") + '\0' + "2024-03-05 14:07:09.045"},
        {"format-names", std::string("\x03" "EEEE, d MMMM yyyy h:mm a") + '\0' + "tuesday, 5 June 2024 2:07 pm"},
        {"format-adjacent", std::string("\x03yyyyMMddHHmmssSSS") + '\0' + "20240305140709045"},
        {"format-quoted", std::string("\x03'at' HH 'o''clock' yy") + '\0' + "at 14 o'clock 69"},
        {"format-short-names", std::string("\x03%a %d %b %y %I%p") + '\0' + "Thu 5 Jun 69 12AM"},
    };
    for (auto const& [name, text] : dateTexts)
        files[std::string("fuzz/corpus/date/") + name] = Bytes(text.begin(), text.end());
    for (auto const& [name, bytes] : dictionarySeeds())
        files["fuzz/corpus/dictionary/" + name] = bytes;
    return files;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc >= 2 && std::string(argv[1]) == "desktop") {
#ifdef QM_DESKTOP_SAMPLES
        return writeDesktopSamples(argc - 2, argv + 2);
#else
        std::fprintf(stderr, "make_examples: desktop samples need a build with the thumbnailer\n");
        return 2;
#endif
    }
    bool check = argc == 3 && std::string(argv[1]) == "--check";
    if (argc != 2 && !check) {
        std::fprintf(stderr, "usage: make_examples [--check] ROOT | make_examples desktop [--corpus | --hostile | --bench] DIR\n");
        return 2;
    }
    fs::path root = argv[argc - 1];
    std::map<std::string, Bytes> files = examples(root);
    files.merge(corpus());
#ifdef QM_DESKTOP_SAMPLES
    for (auto& [name, bytes] : decodeSeeds())
        files["fuzz/corpus/decode/" + name] = std::move(bytes);
#endif
    int differences = 0;
    for (auto const& [name, bytes] : files) {
        fs::path path = root / name;
        if (check) {
            std::error_code ec;
            if (!fs::exists(path, ec) || load(path) != bytes) {
                std::fprintf(stderr, "make_examples: %s differs from what the builder writes\n", name.c_str());
                ++differences;
            }
            continue;
        }
        fs::create_directories(path.parent_path());
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<char const*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        if (!out) {
            std::fprintf(stderr, "make_examples: cannot write %s\n", path.c_str());
            return 1;
        }
        std::printf("%s (%zu bytes)\n", name.c_str(), bytes.size());
    }
    return differences ? 1 : 0;
}
