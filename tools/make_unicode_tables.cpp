// make_unicode_tables: writes gs/text/GSUnicodeData.cpp, the library's character tables, from the
// files of the Unicode Character Database (kept outside the repository, in ../shared/ucd-7.0.0).
//
//   make_unicode_tables UCD_DIR OUT_FILE                 writes the tables
//   make_unicode_tables --check UCD_DIR COMMITTED_FILE   exits 1 when the committed file differs
//
// How the data is read (these rules decide every value in the tables; the layout is described in
// gs/text/GSUnicodeData.h):
// - General category: UnicodeData.txt field 2, `<..., First>`/`<..., Last>` pairs being ranges; code
//   points it does not list are Cn. DerivedGeneralCategory.txt must give the same for every code point.
// - Script: Scripts.txt. Code points it does not list (script Unknown: unassigned, surrogates, private
//   use) get Common. Codes come from the fixed list kScripts below; a script missing there is an error.
// - Grapheme-cluster break: GraphemeBreakProperty.txt; code points it does not list are Other.
// - Other case: from the simple case foldings of CaseFolding.txt (status C and S; F and T are
//   multi-character or Turkic-only). A character that folds to another gets the offset to its folding.
//   A character that others fold to (it never folds itself) gets the offset to the first of them in
//   the file, which is in ascending code point order. So a -> A, s -> S (not U+017F), U+017F -> s (its
//   folding, not its uppercase S), U+00DF -> U+1E9E (which folds to U+00DF with status S, although
//   UnicodeData gives U+00DF no simple uppercase).
// - Caseless sets: a folding target with all characters that fold to it, kept when that makes three
//   or more (two are served by the other-case offset). Members ascending; the sets ordered by their
//   highest member, i.e. a set is written when a walk up the code points has met all its members:
//   S s U+017F first, then U+01C4-U+01C6, then U+01C7-U+01C9. The table starts with kSetEnd and each
//   set is followed by kSetEnd; for 7.0.0 that is 19 sets, 59 members, 79 values. (A count of 80 would
//   need a 60th member; no reading of the C and S foldings that keeps these rules gives one.)
// - Records: record 0 is the record of an unassigned code point (Common, Cn, Other, no set, no other
//   case), so that lookups beyond U+10FFFF can return it without a search; the others are numbered in
//   order of first appearance walking up from U+0000. Blocks of 128 code points are numbered in order
//   of first appearance from U+0000 too.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace {

constexpr unsigned kCodeSpace = 0x110000;
constexpr unsigned kBlockSize = 128;
constexpr unsigned kSetEnd = 0xFFFFFFFF;

// Script codes never change once given: the scripts of Unicode 4.1 alphabetically, then those of each
// later version, alphabetically within the version. A new version of the data appends its scripts.
constexpr char const* kScripts[] = {
    // 4.1 and earlier
    "Arabic", "Armenian", "Bengali", "Bopomofo", "Braille", "Buginese", "Buhid", "Canadian_Aboriginal",
    "Cherokee", "Common", "Coptic", "Cypriot", "Cyrillic", "Deseret", "Devanagari", "Ethiopic",
    "Georgian", "Glagolitic", "Gothic", "Greek", "Gujarati", "Gurmukhi", "Han", "Hangul", "Hanunoo",
    "Hebrew", "Hiragana", "Inherited", "Kannada", "Katakana", "Kharoshthi", "Khmer", "Lao", "Latin",
    "Limbu", "Linear_B", "Malayalam", "Mongolian", "Myanmar", "New_Tai_Lue", "Ogham", "Old_Italic",
    "Old_Persian", "Oriya", "Osmanya", "Runic", "Shavian", "Sinhala", "Syloti_Nagri", "Syriac",
    "Tagalog", "Tagbanwa", "Tai_Le", "Tamil", "Telugu", "Thaana", "Thai", "Tibetan", "Tifinagh",
    "Ugaritic", "Yi",
    // 5.0
    "Balinese", "Cuneiform", "Nko", "Phags_Pa", "Phoenician",
    // 5.1
    "Carian", "Cham", "Kayah_Li", "Lepcha", "Lycian", "Lydian", "Ol_Chiki", "Rejang", "Saurashtra",
    "Sundanese", "Vai",
    // 5.2
    "Avestan", "Bamum", "Egyptian_Hieroglyphs", "Imperial_Aramaic", "Inscriptional_Pahlavi",
    "Inscriptional_Parthian", "Javanese", "Kaithi", "Lisu", "Meetei_Mayek", "Old_South_Arabian",
    "Old_Turkic", "Samaritan", "Tai_Tham", "Tai_Viet",
    // 6.0
    "Batak", "Brahmi", "Mandaic",
    // 6.1
    "Chakma", "Meroitic_Cursive", "Meroitic_Hieroglyphs", "Miao", "Sharada", "Sora_Sompeng", "Takri",
    // 7.0
    "Bassa_Vah", "Caucasian_Albanian", "Duployan", "Elbasan", "Grantha", "Khojki", "Khudawadi",
    "Linear_A", "Mahajani", "Manichaean", "Mende_Kikakui", "Modi", "Mro", "Nabataean",
    "Old_North_Arabian", "Old_Permic", "Pahawh_Hmong", "Palmyrene", "Pau_Cin_Hau", "Psalter_Pahlavi",
    "Siddham", "Tirhuta", "Warang_Citi",
};

constexpr char const* kCategories[] = {
    "Cc", "Cf", "Cn", "Co", "Cs", "Ll", "Lm", "Lo", "Lt", "Lu", "Mc", "Me", "Mn", "Nd", "Nl",
    "No", "Pc", "Pd", "Pe", "Pf", "Pi", "Po", "Ps", "Sc", "Sk", "Sm", "So", "Zl", "Zp", "Zs",
};

constexpr char const* kBreaks[] = {
    "CR", "LF", "Control", "Extend", "Prepend", "SpacingMark", "L", "V", "T", "LV", "LVT",
    "Regional_Indicator", "Other",
};

template <size_t N>
int indexOf(char const* const (&names)[N], std::string const& name)
{
    for (size_t i = 0; i < N; ++i) {
        if (name == names[i]) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

constexpr unsigned char kCommon = 9;
constexpr unsigned char kCn = 2;
constexpr unsigned char kOther = 12;

struct Record {
    unsigned char script = kCommon;
    unsigned char category = kCn;
    unsigned char graphemeBreak = kOther;
    unsigned char caselessSet = 0;
    int otherCase = 0;

    auto key() const { return std::tie(script, category, graphemeBreak, caselessSet, otherCase); }
    bool operator<(Record const& o) const { return key() < o.key(); }
};

[[noreturn]] void fail(std::string const& message)
{
    std::fprintf(stderr, "make_unicode_tables: %s\n", message.c_str());
    std::exit(2);
}

std::string trim(std::string_view s)
{
    size_t b = s.find_first_not_of(" \t\r");
    if (b == std::string_view::npos) {
        return {};
    }
    size_t e = s.find_last_not_of(" \t\r");
    return std::string(s.substr(b, e - b + 1));
}

std::vector<std::string> split(std::string const& s, char separator)
{
    std::vector<std::string> fields;
    size_t start = 0;
    for (;;) {
        size_t end = s.find(separator, start);
        fields.push_back(trim(std::string_view(s).substr(start, end == std::string::npos ? end : end - start)));
        if (end == std::string::npos) {
            return fields;
        }
        start = end + 1;
    }
}

struct DataFile {
    std::string path;
    std::vector<std::string> lines;
};

DataFile readFile(std::string const& dir, std::string const& name)
{
    DataFile f{dir + "/" + name, {}};
    std::ifstream in(f.path);
    if (!in) {
        fail("cannot read " + f.path);
    }
    for (std::string line; std::getline(in, line);) {
        f.lines.push_back(line);
    }
    return f;
}

unsigned parseCodePoint(DataFile const& f, size_t line, std::string const& text)
{
    char* end = nullptr;
    unsigned long v = std::strtoul(text.c_str(), &end, 16);
    if (text.empty() || *end != '\0' || v >= kCodeSpace) {
        fail(f.path + ":" + std::to_string(line + 1) + ": bad code point '" + text + "'");
    }
    return static_cast<unsigned>(v);
}

// Lines of the form "XXXX[..YYYY] ; value [; value...] # comment", comments and blank lines skipped.
struct RangeLine {
    size_t line;  // 0-based
    unsigned first;
    unsigned last;
    std::vector<std::string> values;
};

std::vector<RangeLine> readRanges(DataFile const& f)
{
    std::vector<RangeLine> out;
    for (size_t i = 0; i < f.lines.size(); ++i) {
        std::string text = trim(f.lines[i].substr(0, f.lines[i].find('#')));
        if (text.empty()) {
            continue;
        }
        std::vector<std::string> fields = split(text, ';');
        if (fields.size() < 2) {
            fail(f.path + ":" + std::to_string(i + 1) + ": expected 'code points ; value'");
        }
        size_t dots = fields[0].find("..");
        RangeLine r;
        r.line = i;
        r.first = parseCodePoint(f, i, fields[0].substr(0, dots));
        r.last = dots == std::string::npos ? r.first : parseCodePoint(f, i, fields[0].substr(dots + 2));
        if (r.last < r.first) {
            fail(f.path + ":" + std::to_string(i + 1) + ": range runs backwards");
        }
        r.values.assign(fields.begin() + 1, fields.end());
        out.push_back(r);
    }
    return out;
}

// "# Scripts-7.0.0.txt" gives "7.0.0".
std::string versionOf(DataFile const& f, std::string const& stem)
{
    std::string prefix = "# " + stem + "-";
    if (f.lines.empty() || f.lines[0].rfind(prefix, 0) != 0 || f.lines[0].size() <= prefix.size() + 4) {
        fail(f.path + ": first line does not name the version ('" + prefix + "X.Y.Z.txt')");
    }
    std::string rest = trim(f.lines[0].substr(prefix.size()));
    return rest.substr(0, rest.size() - 4);
}

struct Tables {
    std::string version;
    std::vector<unsigned char> stage1;
    std::vector<unsigned short> stage2;
    std::vector<Record> records;
    std::vector<unsigned> caselessSets;
};

Tables build(std::string const& dir)
{
    DataFile unicodeData = readFile(dir, "UnicodeData.txt");
    DataFile derivedCategory = readFile(dir, "DerivedGeneralCategory.txt");
    DataFile scriptsFile = readFile(dir, "Scripts.txt");
    DataFile breaksFile = readFile(dir, "GraphemeBreakProperty.txt");
    DataFile foldingFile = readFile(dir, "CaseFolding.txt");

    Tables t;
    t.version = versionOf(scriptsFile, "Scripts");
    for (auto [file, stem] : {std::pair{&derivedCategory, "DerivedGeneralCategory"},
                              std::pair{&breaksFile, "GraphemeBreakProperty"}, std::pair{&foldingFile, "CaseFolding"}}) {
        if (versionOf(*file, stem) != t.version) {
            fail(file->path + " is not of version " + t.version + " like Scripts.txt");
        }
    }

    std::vector<Record> cp(kCodeSpace);

    // General category.
    unsigned rangeFirst = kCodeSpace;
    for (size_t i = 0; i < unicodeData.lines.size(); ++i) {
        if (trim(unicodeData.lines[i]).empty()) {
            continue;
        }
        std::vector<std::string> f = split(unicodeData.lines[i], ';');
        if (f.size() != 15) {
            fail(unicodeData.path + ":" + std::to_string(i + 1) + ": expected 15 fields");
        }
        unsigned c = parseCodePoint(unicodeData, i, f[0]);
        int category = indexOf(kCategories, f[2]);
        if (category < 0) {
            fail(unicodeData.path + ":" + std::to_string(i + 1) + ": unknown general category " + f[2]);
        }
        bool isLast = f[1].ends_with(", Last>");
        if (f[1].ends_with(", First>")) {
            rangeFirst = c;
            continue;
        }
        if (isLast && rangeFirst > c) {
            fail(unicodeData.path + ":" + std::to_string(i + 1) + ": range end without its start");
        }
        for (unsigned x = isLast ? rangeFirst : c; x <= c; ++x) {
            cp[x].category = static_cast<unsigned char>(category);
        }
        rangeFirst = kCodeSpace;
    }
    std::vector<unsigned char> derived(kCodeSpace, kCn);
    for (RangeLine const& r : readRanges(derivedCategory)) {
        int category = indexOf(kCategories, r.values[0]);
        if (category < 0) {
            fail(derivedCategory.path + ": unknown general category " + r.values[0]);
        }
        for (unsigned c = r.first; c <= r.last; ++c) {
            derived[c] = static_cast<unsigned char>(category);
        }
    }
    for (unsigned c = 0; c < kCodeSpace; ++c) {
        if (derived[c] != cp[c].category) {
            char at[16];
            std::snprintf(at, sizeof at, "U+%04X", c);
            fail(std::string("UnicodeData.txt and DerivedGeneralCategory.txt disagree on ") + at);
        }
    }

    for (RangeLine const& r : readRanges(scriptsFile)) {
        int script = indexOf(kScripts, r.values[0]);
        if (script < 0) {
            fail(scriptsFile.path + ": script " + r.values[0] + " has no code; append it to kScripts");
        }
        for (unsigned c = r.first; c <= r.last; ++c) {
            cp[c].script = static_cast<unsigned char>(script);
        }
    }

    for (RangeLine const& r : readRanges(breaksFile)) {
        int value = indexOf(kBreaks, r.values[0]);
        if (value < 0) {
            fail(breaksFile.path + ": unknown grapheme-cluster-break value " + r.values[0]);
        }
        for (unsigned c = r.first; c <= r.last; ++c) {
            cp[c].graphemeBreak = static_cast<unsigned char>(value);
        }
    }

    // Other case and caseless sets, from the simple foldings.
    std::vector<std::pair<unsigned, unsigned>> folds;  // (character, folding), in file order
    for (RangeLine const& r : readRanges(foldingFile)) {
        if (r.values.size() < 2 || r.first != r.last) {
            fail(foldingFile.path + ": expected 'code; status; mapping;'");
        }
        if (r.values[0] == "C" || r.values[0] == "S") {
            folds.emplace_back(r.first, parseCodePoint(foldingFile, r.line, r.values[1]));
        }
    }
    std::map<unsigned, std::vector<unsigned>> foldedTo;  // folding target -> the target and its sources
    for (auto [c, target] : folds) {
        cp[c].otherCase = static_cast<int>(target) - static_cast<int>(c);
        std::vector<unsigned>& members = foldedTo[target];
        if (members.empty()) {
            members.push_back(target);
        }
        members.push_back(c);
    }
    for (auto [c, target] : folds) {
        if (cp[target].otherCase == 0) {
            cp[target].otherCase = static_cast<int>(c) - static_cast<int>(target);
        }
    }
    std::vector<std::vector<unsigned>> sets;
    for (auto& [target, members] : foldedTo) {
        if (members.size() >= 3) {
            std::sort(members.begin(), members.end());
            sets.push_back(members);
        }
    }
    std::stable_sort(sets.begin(), sets.end(), [](auto const& a, auto const& b) { return a.back() < b.back(); });
    t.caselessSets.push_back(kSetEnd);
    for (std::vector<unsigned> const& members : sets) {
        if (t.caselessSets.size() > 255) {
            fail("caseless sets do not fit an 8-bit index");
        }
        auto first = static_cast<unsigned char>(t.caselessSets.size());
        for (unsigned c : members) {
            cp[c].caselessSet = first;
            t.caselessSets.push_back(c);
        }
        t.caselessSets.push_back(kSetEnd);
    }

    // Deduplication: records, then blocks of record numbers.
    std::map<Record, unsigned short> recordNumbers;
    auto recordNumber = [&](Record const& r) {
        auto [it, added] = recordNumbers.emplace(r, static_cast<unsigned short>(t.records.size()));
        if (added) {
            if (t.records.size() > 0xFFFF) {
                fail("more records than a 16-bit number can hold");
            }
            t.records.push_back(r);
        }
        return it->second;
    };
    recordNumber(Record{});
    std::map<std::vector<unsigned short>, unsigned char> blockNumbers;
    for (unsigned b = 0; b < kCodeSpace / kBlockSize; ++b) {
        std::vector<unsigned short> block(kBlockSize);
        for (unsigned i = 0; i < kBlockSize; ++i) {
            block[i] = recordNumber(cp[b * kBlockSize + i]);
        }
        auto it = blockNumbers.find(block);
        if (it == blockNumbers.end()) {
            if (blockNumbers.size() > 255) {
                fail("more blocks than an 8-bit number can hold");
            }
            it = blockNumbers.emplace(block, static_cast<unsigned char>(blockNumbers.size())).first;
            t.stage2.insert(t.stage2.end(), block.begin(), block.end());
        }
        t.stage1.push_back(it->second);
    }
    return t;
}

// "Canadian_Aboriginal" -> "CanadianAboriginal", as the names are spelled in GSUnicodeData.h.
std::string identifier(std::string_view name)
{
    std::string out;
    for (char ch : name) {
        if (ch != '_') {
            out += ch;
        }
    }
    return out;
}

template <typename T>
void writeValues(std::ostringstream& out, std::vector<T> const& values, size_t perLine, bool hex)
{
    for (size_t i = 0; i < values.size(); ++i) {
        char text[16];
        std::snprintf(text, sizeof text, hex ? "0x%04X," : "%u,", static_cast<unsigned>(values[i]));
        out << (i % perLine == 0 ? "    " : " ") << text;
        if (i % perLine == perLine - 1 || i + 1 == values.size()) {
            out << "\n";
        }
    }
}

std::string render(Tables const& t)
{
    std::ostringstream out;
    out << "// Generated by tools/make_unicode_tables.cpp from the Unicode Character Database " << t.version
        << ". Do not edit by hand:\n"
        << "// run `make_unicode_tables ../shared/ucd-" << t.version << " gs/text/GSUnicodeData.cpp`.\n"
        << "// Layout and field meanings: gs/text/GSUnicodeData.h.\n"
        << "#include \"gs/text/GSUnicodeData.h\"\n\n";

    // The header's enumerations are written by hand; these catch any drift from the generator's lists.
    for (size_t i = 0; i < std::size(kCategories); ++i) {
        out << "static_assert(kUCD" << kCategories[i] << " == " << i << ");\n";
    }
    for (size_t i = 0; i < std::size(kBreaks); ++i) {
        out << "static_assert(kUCDBreak" << identifier(kBreaks[i]) << " == " << i << ");\n";
    }
    for (size_t i = 0; i < std::size(kScripts); ++i) {
        out << "static_assert(kUCDScript" << identifier(kScripts[i]) << " == " << i << ");\n";
    }
    out << "static_assert(kUCDScriptCount == " << std::size(kScripts) << ");\n\n";

    out << "const char* const gs_unicode_version = \"" << t.version << "\";\n\n";
    out << "const unsigned char gs_ucd_stage1[" << t.stage1.size() << "] = {\n";
    writeValues(out, t.stage1, 16, false);
    out << "};\n\n";
    out << "const unsigned short gs_ucd_stage2[" << t.stage2.size() / kBlockSize << " * " << kBlockSize << "] = {\n";
    for (size_t b = 0; b < t.stage2.size() / kBlockSize; ++b) {
        out << "    // block " << b << "\n";
        writeValues(out, std::vector<unsigned short>(t.stage2.begin() + static_cast<long>(b * kBlockSize),
                                                     t.stage2.begin() + static_cast<long>((b + 1) * kBlockSize)),
                    16, false);
    }
    out << "};\n\n";
    out << "// {script, category, graphemeBreak, caselessSet, otherCase}\n";
    out << "const GSUCDRecord gs_ucd_records[" << t.records.size() << "] = {\n";
    for (size_t i = 0; i < t.records.size(); ++i) {
        Record const& r = t.records[i];
        out << "    {" << unsigned(r.script) << ", " << unsigned(r.category) << ", " << unsigned(r.graphemeBreak)
            << ", " << unsigned(r.caselessSet) << ", " << r.otherCase << "},  // " << i << "\n";
    }
    out << "};\n\n";
    out << "const unsigned int gs_ucd_caseless_sets[" << t.caselessSets.size() << "] = {\n";
    writeValues(out, t.caselessSets, 8, true);
    out << "};\n";
    return out.str();
}

// The first line where the texts differ (1-based).
size_t firstDifference(std::string const& a, std::string const& b)
{
    size_t line = 1;
    for (size_t i = 0; i < a.size() && i < b.size() && a[i] == b[i]; ++i) {
        line += a[i] == '\n';
    }
    return line;
}

}  // namespace

int main(int argc, char** argv)
{
    bool check = argc == 4 && std::string_view(argv[1]) == "--check";
    if (argc != 3 && !check) {
        std::fprintf(stderr, "usage: make_unicode_tables UCD_DIR OUT_FILE\n"
                             "       make_unicode_tables --check UCD_DIR COMMITTED_FILE\n");
        return 2;
    }
    std::string dir = argv[check ? 2 : 1];
    std::string file = argv[check ? 3 : 2];
    std::string text = render(build(dir));

    if (check) {
        std::ifstream in(file, std::ios::binary);
        if (!in) {
            std::fprintf(stderr, "make_unicode_tables: cannot read %s\n", file.c_str());
            return 1;
        }
        std::string committed((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        if (committed != text) {
            std::fprintf(stderr,
                         "make_unicode_tables: %s differs from what the generator writes from %s (first at line "
                         "%zu); regenerate it with: make_unicode_tables %s %s\n",
                         file.c_str(), dir.c_str(), firstDifference(committed, text), dir.c_str(), file.c_str());
            return 1;
        }
        return 0;
    }
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out << text;
    out.close();
    if (!out) {
        std::fprintf(stderr, "make_unicode_tables: cannot write %s\n", file.c_str());
        return 1;
    }
    return 0;
}
