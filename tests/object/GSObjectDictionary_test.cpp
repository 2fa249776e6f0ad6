#include "gs/object/GSObjectDictionary.h"

#include "generator/GSThumbnailLimits.h"
#include "gs/object/GSLongDictionaryKey.h"
#include "gs/object/GSLongObject.h"
#include "gs/object/GSObjectDictionaryObject.h"
#include "gs/object/GSStringDictionaryKey.h"
#include "gs/object/GSStringObject.h"
#include "tests/object/DictionaryTestSupport.h"
#include "tests/support/DictionaryBlocks.h"

#include <algorithm>
#include <cctype>
#include <random>
#include <utility>

using namespace qmtest;

namespace {

// The entries as (key text, long value), in order.
using Model = std::vector<std::pair<std::string, int>>;

bool sameKey(std::string const& a, std::string const& b, bool caseless)
{
    return caseless ? std::equal(a.begin(), a.end(), b.begin(), b.end(),
                                 [](char x, char y) { return std::toupper(x) == std::toupper(y); })
                    : a == b;
}

// The model's lookup: the last entry whose key matches.
long modelIndex(Model const& m, std::string const& key, bool caseless)
{
    for (long i = static_cast<long>(m.size()) - 1; i >= 0; --i)
        if (sameKey(m[static_cast<size_t>(i)].first, key, caseless))
            return i;
    return -1;
}

Model entriesOf(GSObjectDictionary const& d)
{
    Model m;
    for (long i = 0; i < d.getCount(); ++i) {
        GSObject const* v = nullptr;
        EXPECT_EQ(d.getKeyValue(i, nullptr, &v), 0);
        m.emplace_back(d.getStringKey(i).c_str(), static_cast<GSLongObject const*>(v)->value);
    }
    return m;
}

// Files of the three kinds a dictionary lives in: classic without a table, classic in a table of
// 32-bit positions, compact in a table of 64-bit positions.
enum class Kind { kPlain, kShortTable, kCompact };

std::vector<unsigned char> written(GSObjectDictionary const& d, Kind kind)
{
    WriteFile w;
    w.f.addFlags(GSFile::kStandardFloats | GSFile::kStandardDoubles);
    bool const table = kind != Kind::kPlain;
    if (table) {
        EXPECT_EQ(w.f.startObjectMergingWrite(kind == Kind::kCompact), 0);
    }
    EXPECT_EQ(d.write(&w.f), 0);
    if (table) {
        EXPECT_EQ(w.f.stopObjectMergingWrite(), 0);
    }
    return fileBytes(w.f);
}

short readBack(std::vector<unsigned char> const& bytes, Kind kind, GSObjectDictionary* d, int maxDepth = 64)
{
    ReadFile r(bytes);
    r.f.addFlags(GSFile::kStandardFloats | GSFile::kStandardDoubles);
    r.f.setMaxObjectDepth(maxDepth);
    if (kind != Kind::kPlain && r.f.startObjectMergingRead() != 0)
        return 9;
    short const status = d->read(&r.f);
    if (kind != Kind::kPlain) {
        EXPECT_EQ(r.f.stopObjectMergingRead(), 0);
    }
    return status;
}

// `levels` dictionaries each held in the one before as the value of "n".
GSObjectDictionary nested(int levels)
{
    GSObjectDictionary d;
    for (int i = 0; i < levels; ++i) {
        GSObjectDictionary outer;
        EXPECT_EQ(outer.addDictionaryValue(GSString("n"), d), 0);
        d = outer;
    }
    return d;
}

// A random dictionary: string keys (some non-ASCII) and number keys; values of every class, some
// of them shared between entries, nested dictionaries up to `depth` levels.
GSObjectDictionary randomDictionary(std::mt19937& rng, int depth)
{
    GSObjectDictionary d;
    for (unsigned n = rng() % 7; n > 0; --n) {
        GSString const key(("k" + std::to_string(rng() % 9) + (rng() % 3 ? "" : "\xC3\xA9")).c_str());
        int const x = static_cast<int>(rng());
        short st = 0;
        switch (rng() % 13) {
        case 0: st = d.addLongValue(key, x); break;
        case 1: st = d.addULongValue(key, static_cast<unsigned>(x)); break;
        case 2: st = d.addPointerValue(key, reinterpret_cast<void*>(static_cast<long>(x) << 3)); break;
        case 3: st = d.addFloatValue(key, static_cast<float>(x) / 7.0f); break;
        case 4: st = d.addDoubleValue(key, x / 3.0); break;
        case 5: st = d.addStringValue(key, GSString(std::to_string(x).c_str())); break;
        case 6: st = d.addFileSpecValue(key, rng() % 2 ? GSFileSpec(GSString("/tmp/k")) : GSFileSpec()); break;
        case 7: st = d.addBufferValue(key, arrayOf<unsigned char>({1, static_cast<unsigned char>(x)})); break;
        case 8: st = d.addFloatArrayValue(key, arrayOf<float>({0.5f, static_cast<float>(x)})); break;
        case 9: st = d.addLongArrayValue(key, arrayOf<int>({x, -x})); break;
        case 10: st = depth > 0 ? d.addDictionaryValue(key, randomDictionary(rng, depth - 1)) : 0; break;
        case 11: {
            GSObject const* first = nullptr;
            st = d.getKeyValue(0, nullptr, &first) == 0 ? d.addObjectValue(key, first) : 0;
            break;
        }
        default: {
            auto* k = new GSLongDictionaryKey(x % 5);
            k->retain();
            st = d.insertEntry(k, new GSLongObject(x));
            k->release();
        }
        }
        EXPECT_EQ(st, 0);
    }
    return d;
}

} // namespace

// Random adds, removals and caseless switches, some of them meeting failed allocations, against a
// model: adding an existing key replaces its value in place, new keys go last, lookups take the
// last match, a removal closes the gap, and a failure changes nothing. Copies made while memory
// fails hold a prefix of the entries.
TEST(GSObjectDictionaryEntries, FollowTheModelThroughFailures)
{
    std::mt19937 rng(5);
    long refused = 0;
    for (int round = 0; round < 40; ++round) {
        GSObjectDictionary d;
        Model model;
        bool caseless = false;
        AllocationFailures failures(round % 2 ? 5 : 0, static_cast<unsigned>(round));
        for (int step = 0; step < 120; ++step) {
            std::string key = std::string(1, static_cast<char>("kK"[rng() % 2])) + std::to_string(rng() % 12);
            unsigned const what = rng() % 10;
            if (what < 6) {
                int const v = static_cast<int>(rng() % 1000);
                if (d.addLongValue(GSString(key.c_str()), v) == 0) {
                    long const i = modelIndex(model, key, caseless);
                    if (i >= 0)
                        model[static_cast<size_t>(i)].second = v;
                    else
                        model.emplace_back(key, v);
                }
            } else if (what < 9) {
                long const i = modelIndex(model, key, caseless);
                ASSERT_EQ(d.removeStringKey(GSString(key.c_str())), i);
                if (i >= 0)
                    model.erase(model.begin() + i);
            } else if (rng() % 4 == 0) {
                caseless = !caseless;
                d.setCaselessStringKeys(caseless);
            } else {
                GSObjectDictionary copy(d);
                Model c = entriesOf(copy);
                ASSERT_LE(c.size(), model.size());
                ASSERT_TRUE(std::equal(c.begin(), c.end(), model.begin()));
                EXPECT_EQ(copy.getCaselessStringKeys(), d.getCaselessStringKeys());
                // Keys and values stay in step: an entry added to the copy pairs up.
                if (copy.addLongValue(GSString("new"), 7) == 0)
                    c.emplace_back("new", 7);
                ASSERT_EQ(entriesOf(copy), c);
            }
            ASSERT_EQ(entriesOf(d), model) << "round " << round << " step " << step;
            long const i = modelIndex(model, key, caseless);
            EXPECT_EQ(d.getLongValue(GSString(key.c_str()), -1), i >= 0 ? model[static_cast<size_t>(i)].second : -1);
        }
        refused += AllocationFailures::refusals();
    }
    EXPECT_GT(refused, 20); // the failures did meet insertions and copies
}

TEST(GSObjectDictionaryEntries, ReplacingKeepsTheFirstKeyObjectAndReleasesTheOldValue)
{
    GSObjectDictionary d;
    auto* first = new GSStringDictionaryKey(GSString("a"));
    auto* old = new QMPoint(1);
    int const live = QMPoint::live;
    old->retain();
    ASSERT_EQ(d.insertEntry(first, old), 0);
    ASSERT_EQ(d.addLongValue(GSString("b"), 2), 0);
    GSStringDictionaryKey second(GSString("a"));
    ASSERT_EQ(d.insertEntry(&second, new QMPoint(3)), 0);
    EXPECT_EQ(old->getRefCount(), 1); // the dictionary let go of it
    old->release();
    EXPECT_EQ(QMPoint::live, live);
    GSObjectDictionaryKey const* key = nullptr;
    GSObject const* value = nullptr;
    ASSERT_EQ(d.getKeyValue(0, &key, &value), 0);
    EXPECT_EQ(key, first);
    EXPECT_EQ(xOf(value), 3);
    EXPECT_EQ(second.getRefCount(), 0);
    // Nothing stores a null key or value; an index outside the entries gives nulls.
    EXPECT_EQ(d.insertEntry(nullptr, value), 1);
    EXPECT_EQ(d.insertEntry(&second, nullptr), 1);
    EXPECT_EQ(d.getKeyValue(2, &key, &value), 1);
    EXPECT_EQ(key, nullptr);
    EXPECT_EQ(value, nullptr);
    EXPECT_EQ(d.getCount(), 2);
}

TEST(GSObjectDictionaryEntries, NumberKeysStandApartFromTextKeys)
{
    GSLongDictionaryKey otherFive(5);
    GSObjectDictionary d;
    ASSERT_EQ(d.addStringValue(GSString("5"), GSString("text")), 0);
    ASSERT_EQ(d.insertEntry(new GSLongDictionaryKey(5), new GSLongObject(50)), 0);
    EXPECT_EQ(d.getIndexForKey(&otherFive), 1);
    EXPECT_EQ(d.getIndexForKey(nullptr), -1);
    EXPECT_EQ(static_cast<GSLongObject*>(d.getValue(&otherFive))->value, 50);
    EXPECT_TRUE(d.getStringKey(1).isEmpty());
    EXPECT_EQ(d.getStringValue(GSString("5"), GSString()), GSString("text"));
    d.setCaselessStringKeys(1); // caseless matching is for text keys only
    EXPECT_EQ(d.getIndexForKey(&otherFive), 1);
    EXPECT_EQ(d.removeKey(otherFive), 1);
    EXPECT_EQ(d.removeKey(otherFive), -1);
    EXPECT_EQ(d.removeKey(GSStringDictionaryKey(GSString("5"))), 0);
    EXPECT_EQ(d.getCount(), 0);
}

TEST(GSObjectDictionaryEntries, CopiesAndAddsShareTheValueObjects)
{
    GSObjectDictionary a(GSString("x"), 1), b(GSString("y"), GSString("why"));
    ASSERT_EQ(b.addLongValue(GSString("x"), 2), 0);
    a.setCaselessStringKeys(1);
    GSObjectDictionary c;
    c = a;
    EXPECT_EQ(c.getObjectValue(GSString("X"), nullptr), a.getObjectValue(GSString("x"), nullptr));
    ASSERT_EQ(c.add(b), 0);
    // "x" replaced in place by b's value object, "y" appended.
    EXPECT_EQ(c.getStringKey(1), GSString("y"));
    EXPECT_EQ(c.getObjectValue(GSString("x"), nullptr), b.getObjectValue(GSString("x"), nullptr));
    ASSERT_EQ(c.add(c), 0);
    c = c;
    EXPECT_EQ(c.getCount(), 2);
    c.empty();
    EXPECT_EQ(c.getCount(), 0);
    EXPECT_EQ(a.getLongValue(GSString("x"), 0), 1);
}

// --- File block ----------------------------------------------------------------------------------

// {"a": GSLongObject 1} in the classic framing: version; record 1: count 1, the key object (marker,
// class name, its block); record 2 (at byte 65): count 1, the value object; end tag.
std::string const kOneEntry =
    "01 00 00 00 00 01 00 00 00 37 00 00 00 01 00 FF 9B 00 00 00 16 47 53 53 74 72 69 6E 67 44 69 63 74 69 "
    "6F 6E 61 72 79 4B 65 79 00 01 00 00 00 00 01 00 00 00 08 FF 9B 00 00 00 02 61 00 FF FF FF FF 00 00 00 "
    "02 00 00 00 2A 00 00 00 01 00 FF 9B 00 00 00 0D 47 53 4C 6F 6E 67 4F 62 6A 65 63 74 00 01 00 00 00 00 "
    "01 00 00 00 04 00 00 00 01 FF FF FF FF FF FF FF FF";

TEST(GSObjectDictionaryFile, GoldenBytesInBothFramings)
{
    GSObjectDictionary const d(GSString("a"), 1);
    EXPECT_EQ(contentHex(d, false), kOneEntry);
    // Compact, in a table of 64-bit positions: the records holding objects take the 9-byte header
    // (the objects' positions are real file positions), the objects' own records the 2-byte one.
    EXPECT_EQ(toHex(written(d, Kind::kCompact)),
              "02 00 00 00 00 00 00 00 00 4F 10 81 00 00 00 00 00 00 00 22 01 00 64 16 47 53 53 74 72 69 6E 67 44 69 "
              "63 74 69 6F 6E 61 72 79 4B 65 79 00 10 01 04 64 02 61 00 7F 82 00 00 00 00 00 00 00 19 01 00 64 0D 47 "
              "53 4C 6F 6E 67 4F 62 6A 65 63 74 00 10 01 04 00 00 00 01 7F 7F 00 00 00 02 15 80 01");
}

// Random dictionaries written in each kind of file read back with the same keys in the same order,
// values of the same classes (shared ones still shared where a table keeps them), and write the
// same bytes again.
TEST(GSObjectDictionaryFile, RandomDictionariesReadBackTheSame)
{
    std::mt19937 rng(11);
    for (int round = 0; round < 150; ++round) {
        GSObjectDictionary const d = randomDictionary(rng, 2);
        for (Kind kind : {Kind::kPlain, Kind::kShortTable, Kind::kCompact}) {
            std::vector<unsigned char> const bytes = written(d, kind);
            GSObjectDictionary back;
            ASSERT_EQ(readBack(bytes, kind, &back), 0) << toHex(bytes);
            ASSERT_EQ(back.getCount(), d.getCount());
            GSObject const *v0 = nullptr, *vb0 = nullptr;
            (void)d.getKeyValue(0, nullptr, &v0);
            (void)back.getKeyValue(0, nullptr, &vb0);
            for (long i = 0; i < d.getCount(); ++i) {
                GSObjectDictionaryKey const *k, *kb;
                GSObject const *v, *vb;
                ASSERT_EQ(d.getKeyValue(i, &k, &v) | back.getKeyValue(i, &kb, &vb), 0);
                EXPECT_TRUE(*k == *kb);
                EXPECT_EQ(&v->getRuntimeClass(), &vb->getRuntimeClass());
                if (kind != Kind::kPlain) {
                    EXPECT_EQ(v == v0, vb == vb0); // an object held twice is still one
                }
            }
            EXPECT_EQ(written(back, kind), bytes);
        }
    }
}

// Damaged and hostile blocks fail with a status and leave the dictionary empty.
TEST(GSObjectDictionaryFile, BadBlocksFailAndLeaveTheDictionaryEmpty)
{
    auto block = [](std::vector<DictionaryEntry> const& entries) {
        ByteWriter out;
        writeDictionary(out, Framing::kClassic, nullptr, entries);
        return toHex(out.bytes());
    };
    std::string const good = block({{stringKey("a"), longValue(1)}, {longKey(2), stringValue("b")}});
    struct Case {
        char const* name;
        std::string hex;
    } const cases[] = {
        {"key of a value class", block({{longValue(1), longValue(2)}})},
        {"value of an unknown class", block({{stringKey("a"), rawItem("NoSuchValue", {1})}})},
        {"value whose record is short", block({{stringKey("a"), rawItem("GSLongObject", {0, 0})}})},
        {"null key", "01 00 00 00 00 01 00 00 00 05 00 00 00 01 01 00 00 00 02 00 00 00 04 00 00 00 00 FF FF FF FF"},
        {"keys without values", kOneEntry.substr(0, 65 * 3) + "FF FF FF FF"},
        {"count beyond the record", "01 00 00 00 00 01 00 00 00 04 7F FF FF FF FF FF FF FF"},
        {"record beyond the file", "01 00 00 00 00 01 00 00 01 00 00 00 00 00"},
        {"too new", "02 00 FF FF FF FF"},
        {"tag 0x80000000", "01 00 80 00 00 00 00 00 00 00 FF FF FF FF"},
        {"cut", good.substr(0, good.size() / 2)},
    };
    for (Case const& c : cases) {
        GSObjectDictionary d(GSString("kept?"), 1);
        AllocationFailures none(0);
        EXPECT_NE(readContent(&d, c.hex, false), 0) << c.name;
        EXPECT_EQ(d.getCount(), 0) << c.name;
        EXPECT_EQ(AllocationFailures::refusals(), 0);
    }
    GSObjectDictionary d;
    ASSERT_EQ(readContent(&d, good, false), 0);
    EXPECT_EQ(d.getCount(), 2);
    // Records it does not know are stepped over.
    ASSERT_EQ(readContent(&d, "01 00 00 00 00 09 00 00 00 01 AA FF FF FF FF", false), 0);
    EXPECT_EQ(d.getCount(), 0);
}

// Each dictionary inside another is an object one level deeper: the file's depth bound, which front
// ends take from the limits, holds however the levels are framed.
TEST(GSObjectDictionaryFile, NestingIsBoundedByTheObjectDepth)
{
    int const limit = GSThumbnailLimits().maxObjectDepth;
    for (Kind kind : {Kind::kPlain, Kind::kCompact}) {
        GSObjectDictionary back;
        EXPECT_EQ(readBack(written(nested(limit), kind), kind, &back, limit), 0);
        EXPECT_EQ(back.getCount(), 1);
        EXPECT_NE(readBack(written(nested(limit + 1), kind), kind, &back, limit), 0);
        EXPECT_EQ(back.getCount(), 0);
        EXPECT_EQ(readBack(written(nested(5), kind), kind, &back, 5), 0);
        EXPECT_NE(readBack(written(nested(6), kind), kind, &back, 5), 0);
    }
}
