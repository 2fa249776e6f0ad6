// GSString: the text type of every interface of the library: a run of 8-bit code units, always
// zero-terminated, plus a one-byte encoding tag that says how to read them.
//
// Encoding tags (kept in every string and written to files):
//   0 Windows code page   1 Mac code page (the native one)   2 code page without tables (bytes are
//   taken and given unconverted)   3 PostScript code page (read through its own table, written
//   through the Windows one)   100 UTF-8 (the default)   101 UTF-16 units in the machine's byte
//   order, accepted only as the source of convertEncoding.
// Every tag up to 99 is a single-byte code page; above 99 the text is UTF-8.
//
// Storage, one of three modes:
//   inline  up to 46 characters (47 bytes with the terminator) live inside the object: no allocation.
//   shared  a reference-counted block (capacity, bytes in use, data) that copies share; a change
//           to a shared block first makes a private one (copy on write), so a block that another
//           string holds never changes. An empty string is shared mode without a block.
//   fixed   a pointer to outside, zero-terminated text that the string does not own (it must
//           outlive the string); its length is counted once, when first asked for. Any change
//           first makes an owned copy.
// A request for fewer than 48 bytes is met inline unless the string already has a block; a block
// is never smaller than 48 bytes. An allocation failure empties the string and returns 1.
//
// Binary file form (count = data bytes including the terminating zero; an empty string has count 0):
//   compact mode   tag (1 byte), count (compact signed 64-bit), the count bytes
//   classic        empty: int16 0. Otherwise int16 ~tag, count (int32), the count bytes.
//                  A positive int16 n is the older form: n is the count, the tag is 0 (Windows).
// A code-page string read from a file is converted to the Mac code page (tag 1).
//
// Indices are byte indices into the code units. Comparisons return negative, zero or positive.
// Caseless comparison maps characters with towupper() of the process locale: the library never
// calls setlocale, so a program that wants caseless comparison beyond ASCII sets its locale first.
#pragma once

#include "gs/object/GSFixArray.h"
#include "gs/object/GSObject.h"
#include "gs/util/GSRange.h"

class GSFile;
class GSFileSpec;
template <class T>
class GSDynaArray;

// The shared block of a GSString: a GSObject for its atomic reference count.
class GSStringBuffer final : public GSObject {
public:
    // A block of `capacity` bytes holding an empty text, retained once for its creator; null when
    // the allocation fails.
    static GSStringBuffer* create(long capacity) noexcept;
    ~GSStringBuffer() override;

    long capacity = 0;
    long used = 0; // bytes in use, counting the terminating zero
    char* data = nullptr;
};

// A Pascal string of up to 255 UTF-16 units, laid out as the platform's HFS name record.
struct GSHFSUniStr255 {
    unsigned short length;
    unsigned short unicode[255];
};

class GSString {
public:
    enum : unsigned char {
        kWindows = 0, kMac = 1, kNoTables = 2, kPostScript = 3, kUTF8 = 100, kUTF16 = 101
    };
    enum StorageMode : unsigned char { kShared = 0, kFixed = 1, kInline = 2 };
    static constexpr long kInlineBytes = 47; // bytes inside the object, the terminator included

    // --- Construction -------------------------------------------------------------------------
    GSString() noexcept {}
    // A zero-terminated UTF-8 text (null: empty).
    GSString(char const* text);
    // `length` bytes of `text` in `encoding` (see init).
    GSString(char const* text, long length, int encoding);
    // UTF-16 units (a negative count runs to the first zero unit), stored as UTF-8. A high
    // surrogate with a low one makes one character; a lone low surrogate, a high one at the end, or
    // a high one followed by anything else gives U+0020, and in the last case the following unit is
    // swallowed with it.
    GSString(unsigned short const* units, long count);
    // UTF-32 units (a negative count runs to the first zero), stored as UTF-8 unchecked.
    GSString(unsigned int const* units, long count);
    // A fixed string over outside text that must outlive it and every copy of it.
    static GSString fixed(char const* text, int encoding = kUTF8) noexcept;
    // The localised text of a numeric string ID: load(unsigned int). These look texts up; they do
    // not format numbers (explicit, so that no integer becomes a string by accident).
    explicit GSString(int id);
    explicit GSString(unsigned int id);
    explicit GSString(long id);
    // The localised text of a key: load(GSString const&). `status`, when given, receives load's
    // status.
    GSString(GSString const& key, int* status);

    GSString(GSString const& other) noexcept;
    GSString(GSString&& other) noexcept;
    GSString& operator=(GSString const& other) noexcept;
    GSString& operator=(GSString&& other) noexcept;
    ~GSString();

    // Replaces the contents. A negative encoding stores tag 1; -2 asks for detection: tag 100 when
    // the bytes are valid UTF-8, else 1. A null text or length 0 gives an empty string; a negative
    // length takes the text up to its zero terminator. 1 when storage cannot be had.
    [[nodiscard]] short init(char const* text, long length, int encoding);
    [[nodiscard]] short initFromCString(char const* text, int encoding);

    // --- Storage -------------------------------------------------------------------------------
    char const* c_str() const noexcept;
    long getLength() const noexcept;
    bool isEmpty() const noexcept { return getLength() == 0; }
    // 47 for an inline string, length + 1 for a fixed one, the block's capacity for a shared one,
    // 0 for an empty one.
    long getSize() const noexcept;
    StorageMode getStorageMode() const noexcept { return static_cast<StorageMode>(mode); }
    int getEncoding() const noexcept { return encoding; }
    // Sets the tag without touching the bytes.
    void setEncoding(int e) noexcept { encoding = static_cast<unsigned char>(e); }
    static int getNativeEncoding() noexcept { return kMac; }
    static int getPreferredEncoding() noexcept { return kUTF8; }

    // Growth step for a request of n bytes: n + 16 below 16, else 2n.
    static long calcNewSize(long n) noexcept { return n < 16 ? n + 16 : 2 * n; }
    // Reserves room for n characters: nothing below 48, else an owned block of 2n + 2 bytes.
    [[nodiscard]] short setSize(long n);
    // Makes the storage this string's own with room for at least minSize bytes (terminator
    // included), allocating newSize bytes when a block is needed, keeping the contents when `keep`
    // is set. 1 (and an empty string) when the allocation fails.
    [[nodiscard]] short createOwnData(long minSize, long newSize, short keep);
    // Turns a fixed string into an owned copy.
    [[nodiscard]] short createNonFixData();
    // Empties the string: back to shared mode without a block. The tag stays.
    void releaseData() noexcept;

    // --- Appending (the base that conversion and reading build on) -----------------------------
    [[nodiscard]] short add(char const* bytes, long n);
    [[nodiscard]] short add(char c)
    {
        // One byte into inline room: the path that builds short names, kept free of calls.
        if (mode == kInline && area.in.used < kInlineBytes) {
            area.in.data[area.in.used - 1] = c;
            area.in.data[area.in.used++] = 0;
            return 0;
        }
        return add(&c, 1);
    }
    [[nodiscard]] short add(GSString const& other) { return add(other.c_str(), other.getLength()); }
    GSString& operator+=(GSString const& other);
    // Appends one code point as UTF-8 (up to six bytes, values up to 0x7FFFFFFF).
    [[nodiscard]] short addUnicodeChar(unsigned int c);
    // The text from `start`, `length` bytes, clamped to the string; same tag.
    GSString getSubstring(long start, long length) const;

    // --- Search --------------------------------------------------------------------------------
    // Results are byte indices, -1 for "not found"; a negative start counts as 0. A search for a
    // byte `c` compares bytes (in UTF-8 text only an ASCII `c` is a whole character). A text to
    // find is taken as bytes in this string's encoding, as add() takes it; an empty one is never
    // found. Caseless searches read both strings by character (each through its own tag) and
    // compare the characters mapped by toUpperUnicode.
    long findChar(char c, long start = 0) const noexcept;
    // Code pages: bytes compared through the tag's table to Unicode (tag 2: ASCII letters only);
    // UTF-8: ASCII letters only (a single byte of UTF-8 can be no other letter).
    long findCharCaseless(char c, long start = 0) const noexcept;
    // The first `c` inside `range`, which is clamped to the text.
    long findCharInRange(char c, GSRange const& range) const noexcept;
    // The first character at or after `start` that is one of the characters of `chars`, both read
    // by character (a start inside a UTF-8 character moves to the next one).
    long findCharFromString(GSString const& chars, long start = 0) const noexcept;
    long findString(GSString const& what, long start = 0) const noexcept;
    // *end (when given) receives the index behind the match, whose byte length may differ from
    // that of `what`.
    long findStringCaseless(GSString const& what, long start = 0, long* end = nullptr) const noexcept;
    // `word` as a whole word: neither the character before nor the one after it is a word character
    // (one that is neither white space nor a word delimiter, see isWordDelimiter). The text before
    // and after counts, not only the part from `start`. *end as for findStringCaseless.
    long findWord(GSString const& word, long start = 0, short caseless = 0, long* end = nullptr) const noexcept;
    // The first white-space character (isWhiteSpace) at or after `start`.
    long findWhiteSpace(long start = 0) const noexcept;
    // `sequence` as one whole item of this text read as a list separated by `delimiter` ("b" in
    // "a;b;c" but not in "a;bc"): it starts at 0 or behind a delimiter and ends at the end or
    // before one.
    long findSequenceWithDelimiter(GSString const& sequence, char delimiter, long start = 0) const noexcept;
    // The number of bytes equal to `c`.
    long countChar(char c) const noexcept;
    // True when the text holds a line feed, a carriage return or (UTF-8) U+2029.
    bool containsParagraphEnd() const noexcept;

    // --- Editing -------------------------------------------------------------------------------
    // Edits follow the storage rules above: a block that other strings share is copied before the
    // change, and an allocation failure empties the string and returns 1. An edit that changes
    // nothing leaves the storage as it is (still shared). Texts passed in are taken as bytes in this
    // string's encoding, as add() takes them, and may be this string itself or a part of it.
    // Indices are clamped to the text. In UTF-8 text an edit never splits a character: an index
    // inside a character, or in front of an accent (U+0300-U+036F), moves to the start of that
    // character with its accents, and the end of a removed range moves behind it. Edits that build
    // a new text (replace-all, case mapping, list replacement) do it in one pass.

    // Inserts `text` at `index` (moved to a character start in UTF-8 text).
    [[nodiscard]] short insert(long index, GSString const& text);
    // The worker of insert: `count` bytes at `index` as it stands (clamped, not moved).
    [[nodiscard]] short _insert(long index, char const* bytes, long count);
    // Removes `length` bytes from `start` (a negative length: to the end), widened to whole
    // characters in UTF-8 text.
    [[nodiscard]] short remove(long start, long length);
    // Every byte `from` becomes `to`. In UTF-8 text both must be ASCII; otherwise nothing changes
    // and the result is 1.
    [[nodiscard]] short replaceChar(char from, char to);
    // Replaces characters by a list of pairs "character;replacement;" (`separator` in place of
    // ";"), the last separator optional: "*; ;?;_;" turns every "*" into a blank and every "?"
    // into "_". A replacement may be any text, empty included (the character is removed). Each
    // character of the text is replaced once, by the first pair that names it. A pair whose first
    // item is not exactly one character (one byte in a code page, one UTF-8 character otherwise)
    // makes the list invalid: nothing changes and the result is 1.
    [[nodiscard]] short replaceChar(GSString const& list, char separator);
    // The inverse of replaceChar with the same list: every replacement text becomes its character.
    // The text is read once from the start; at each place the first pair (in list order) whose
    // non-empty replacement stands there is taken. replaceChar undone by replaceReverseChar gives
    // the text back when the replacements are distinct, none is a prefix of another, and none
    // occurred in the text before.
    [[nodiscard]] short replaceReverseChar(GSString const& list, char separator);
    // Every occurrence of `what`, left to right and not overlapping, becomes `with`. An empty
    // `what` changes nothing.
    [[nodiscard]] short replaceStringInString(GSString const& what, GSString const& with);
    // The first whole-word `word` (findWord) at or after `start` becomes `with`; *found (when
    // given) receives its index, or -1 when there is none (the result is still 0).
    [[nodiscard]] short replaceWord(GSString const& word, GSString const& with, long start = 0,
                                    short caseless = 0, long* found = nullptr);
    // Every whole-word `word`, left to right, becomes `with`; whole words by the original text.
    [[nodiscard]] short replaceAllWords(GSString const& word, GSString const& with, short caseless = 0);
    // Removes white space (isWhiteSpace) at both ends.
    [[nodiscard]] short trim();
    // Removes the runs of byte `c` at both ends / at the start / at the end. In UTF-8 text only an
    // ASCII `c` is removed; another byte changes nothing.
    [[nodiscard]] short trimChar(char c);
    [[nodiscard]] short removeLeadingChar(char c);
    [[nodiscard]] short removeTrailingChar(char c);
    [[nodiscard]] short removeLeadingWhiteSpace();
    [[nodiscard]] short removeTrailingWhiteSpace();
    // Appends `text` between two double quotes, as it is (no escaping).
    [[nodiscard]] short addWithQuotes(GSString const& text);
    // Appends `text` unless the string already ends with it ("/" onto a folder path).
    [[nodiscard]] short addIfNeeded(GSString const& text);
    // Turns the backslash escapes \a \b \t \n \v \f \r into bytes 7-13 and \\ \" \' into the
    // character after the backslash. A backslash before anything else, or at the end, stays as it
    // is with the character after it.
    [[nodiscard]] short convertEscapeChars();

    // Case mapping: UTF-8 characters through toUpperUnicode / toLowerUnicode (so by the process
    // locale; a character may change its byte length), bytes that are not valid UTF-8 unchanged.
    // Code-page bytes are read through the tag's table and mapped; a byte changes only when the
    // code page has a byte for the mapped character (tag 2, without tables: ASCII letters only).
    enum CaseMode : short {
        kCaseKeep = 0,  // unchanged
        kCaseUpper = 1,
        kCaseLower = 2,
        kCaseWords = 3  // upper case for a word character (findWord's sense) after a character
                        // that is none, lower case for all others
    };
    [[nodiscard]] short toUpper();
    [[nodiscard]] short toLower();
    // Copies; an allocation failure gives an empty string.
    GSString getUpperString() const;
    GSString getStringWithCase(CaseMode caseMode) const;
    GSString getTrimmedString() const;

    // The name for the next copy of the item this string names, as "Image (2)" after "Image" and
    // "Image (3)" after "Image (2)" (copy word " (", suffix ")"), or "Image copy", "Image copy 2",
    // "Image copy 3" (copy word " copy", no suffix, spaceBeforeNumber set).
    // 1. With `append` set an existing copy name is recognised: the name ends with `suffix`, before
    //    it stands a run of digits 0-9 (possibly none); with spaceBeforeNumber set and digits
    //    present, one U+0020 (or, in UTF-8, U+200B) before them belongs to the number when it is
    //    there (it is not required); the text before that ends with `copyWord`. All compared as
    //    bytes; an empty copy word or suffix always matches. Then the name is cut before the copy
    //    word and n is the digits' value (getBasicLongValue, which keeps the leading digits of an
    //    over-long number; 0 without digits); otherwise the whole name stays and n is -1.
    // 2. The tail: copyWord; then for n >= 0 a space when spaceBeforeNumber is set and n + 1 (2 for
    //    n = 0); for n < 0 the number 2 only when spaceBeforeNumber is not set; then `suffix`.
    // 3. With `append` set the tail is appended; without it it goes in front of the whole name.
    GSString getNextCopyName(GSString const& copyWord, GSString const& suffix, short append,
                             short spaceBeforeNumber) const;

    // --- Encodings and conversion --------------------------------------------------------------
    // The 256-entry table to Unicode for tags 0, 1 and 3; null otherwise.
    static unsigned short const* getToUnicodeTableForEncoding(int tag) noexcept;
    // The sorted (Unicode, byte) pair table from Unicode: Windows for tags 0 and 3, Mac for 1;
    // null otherwise. *count receives the number of pairs.
    static unsigned short const* getFromUnicodeTableForEncoding(int tag, int* count) noexcept;
    // The code-page text of one character: a one-byte text, "fi"/"fl" for the ligatures, or null
    // when it is not representable. Latin-1 characters missing from the pairs are their own byte.
    static char const* getCharForUnicode(unsigned short const* pairs, int count, unsigned int c) noexcept;
    // The precomposed letter of an ASCII base letter and a combining mark, or 0.
    static unsigned int getCombinationWithDiacriticalMark(unsigned int base, unsigned int mark) noexcept;
    // True for the 15 marks that the combining table knows.
    static bool isCombiningDiacriticalMark(unsigned int c) noexcept;
    // Appends the code-page bytes of one UTF-16 unit; a combining mark folds into the last byte.
    // 1 (nothing appended) when the unit is not representable.
    [[nodiscard]] short addCharForUnicode(unsigned short const* pairs, int count, unsigned int u);
    // Converts the text to `target` (0, 1, 2, 3 or 100; 101 only as a source). 1 when a character
    // could not be represented (it is left out) or the text could not be read.
    [[nodiscard]] short convertEncoding(int target);
    // Replaces the contents with `count` UTF-16 units of `units` in `range` (clamped), swapped from
    // `byteOrder` (GSByteOrder values) and converted to `encoding`.
    [[nodiscard]] short convertRange(unsigned short const* units, long count, short byteOrder, short encoding,
                       GSRange const& range);
    // The character at byte `index` (read through the tag's table, or as lenient UTF-8); `next`
    // receives the index after it. 0 at or past the end.
    unsigned int getUnicodeChar(long index, long* next) const noexcept;
    // Writes c as one or two UTF-16 units into out[0..1]; returns the count (0 when c is a
    // surrogate code point or above U+10FFFF).
    static int convertUniChar32To16(unsigned int c, unsigned short* out) noexcept;
    // Fills up to `maximum` UTF-16 units; returns how many it wrote.
    long fillUniChars(unsigned short* out, long maximum) const;
    // UTF-16 units of the whole text / of a byte range, with the byte index of each unit.
    [[nodiscard]] short fillUniCharArray(GSFixArrayPointer<unsigned short, 256>* units,
                           GSFixArrayPointer<int, 256>* indices) const;
    [[nodiscard]] short fillUniCharArrayWithRange(GSFixArrayPointer<unsigned short, 256>* units,
                                    GSFixArrayPointer<int, 256>* indices, GSRange const& range) const;
    // The byte range covered by units [unitRange) of an array made by fillUniCharArray.
    GSRange getUTF8RangeForUniCharArray(GSFixArrayPointer<int, 256> const& indices,
                                        GSRange const& unitRange) const;
    // Pascal strings: length byte then up to 255 Mac code-page bytes / UTF-16 units.
    [[nodiscard]] short fillStr255(unsigned char* pascal) const;
    [[nodiscard]] short fillHFSUniStr255(GSHFSUniStr255* name) const;
    [[nodiscard]] short fromPStr(unsigned char const* pascal);
    [[nodiscard]] short fromHFSUniStr255(GSHFSUniStr255 const& name);

    // True when the whole text reads as strict UTF-8 (a string without storage is not).
    bool isValidUTF8() const noexcept;
    static bool isMemoryUTF8(unsigned char const* bytes, long length) noexcept;

    // --- Comparison ----------------------------------------------------------------------------
    int compareValue(GSString const& other) const;
    int compareValueSimple(GSString const& other) const;
    int compareValueCount(GSString const& other, long n) const;
    int compareValueRanges(GSString const& other, GSRange const& rangeA, GSRange const& rangeB) const;
    int compareValueCaseless(GSString const& other) const { return compareValueCountCaseless(other, -1); }
    int compareValueCountCaseless(GSString const& other, long n) const;
    int compareValueCaselessSimple(GSString const& other) const;
    int compareStringCaseless(GSString const& other) const;
    int compareValueStartingCaseless(GSString const& start) const;
    bool isEqualCount(GSString const& other, long n) const { return compareValueCount(other, n) == 0; }
    bool isEqualCountCaseless(GSString const& other, long n) const
    {
        return compareValueCountCaseless(other, n) == 0;
    }
    // Natural order: caseless, with embedded numbers compared by value (rules in
    // GSStringCompare.cpp). Texts before numbers count only as far as both reach ("ab1" equals
    // "abc1"), except in path mode for numbers in the last path component, where the shorter text
    // comes first and spaces before a number are left out. That exception makes path mode the one
    // to sort with: without it the order is not transitive (ab5 < abc9 < abd1 < ab5).
    int compareValueWithNumberCaseless(GSString const& other, short pathMode) const;
    // 0 when `text` matches `pattern`, in which the byte `anyChar` stands for one character and
    // `anyRun` for any run of characters (file search uses 2 and 1); caseless when `caseless` is set.
    static int compareValueWildcard(GSString const& text, GSString const& pattern, char anyChar,
                                    char anyRun, short caseless);
    // Byte-exact equality of the texts (the tags are not compared).
    bool operator==(GSString const& other) const noexcept;
    bool operator!=(GSString const& other) const noexcept { return !(*this == other); }

    // --- Numbers -------------------------------------------------------------------------------
    // Formatting appends to the string and returns 1 only when storage cannot be had. Decimal
    // points are always ".", whatever the process locale.
    //
    // The decimal digits of |value|, at least one. |width| is a minimum count of digits, the sign
    // not counted: a positive width pads on the left with spaces and puts "-" between the spaces
    // and the digits ("  -42"), a negative width puts "-" first and pads with zeros ("-00042"),
    // width 0 pads nothing.
    [[nodiscard]] short addLong(int value, int width = 0);
    [[nodiscard]] short addLongLong(long value, int width = 0);
    // The number of decimal digits of |value|, at least 1; the sign is not counted.
    static int getDigitCountForLong(long value) noexcept;
    // Exactly `digits` hexadecimal digits, most significant first, of the low 4 x digits bits
    // (digits beyond the value's width are "0"); "A"-"F" when `upper` is non-zero, else "a"-"f".
    // Fewer than 1 digit appends nothing.
    [[nodiscard]] short addHex(unsigned int value, int digits, short upper);
    [[nodiscard]] short addHex64(unsigned long value, int digits, short upper);
    // The address as addHex64 gives it; by default all its digits, in lower case.
    [[nodiscard]] short addHexPointer(void const* pointer, int digits = 2 * sizeof(void*), short upper = 0);
    // A number in one of four forms:
    //   width >= 1, decimals < 1   floor(value + 0.49000000953674316) (0.49 as a float, widened:
    //                              2.5 gives 2, 2.51 gives 3) through addLongLong with `width`;
    //                              a result outside the 64-bit range (or NaN) as "%.0f" prints it
    //   width >= 1, decimals >= 1  as printf's "%W.Df" with W = width + decimals + 1, D = decimals
    //                              (width 5, decimals 2: "%8.2f", so "    3.14")
    //   width < 1, decimals >= 1   "%.Df"
    //   width < 1, decimals < 1    "%f" (six decimals)
    // The printf forms give what printf gives in the "C" locale into a 256-byte buffer: at most
    // 255 characters.
    [[nodiscard]] short addDouble(double value, int width, int decimals);
    // addDouble of the value widened to double.
    [[nodiscard]] short addFloat(float value, int width, int decimals);
    // The shortest text of up to `decimals` decimals: "-" for a negative value, then its magnitude
    // plus 0.49 x 10^-decimals, integer part first. The fraction is multiplied by 10 at most
    // `decimals` times, stopping as soon as what is left of it is at most 10^-decimals; when the
    // digits so taken (k of them) are not all zero, "." and those digits follow with trailing
    // zeros removed, and *shift (when given) receives -k; otherwise *shift receives 0. 1.05 with 3
    // decimals gives "1.05" (shift -3), 2.0 gives "2" (shift 0), 1.09955 gives "1.1" (shift -1).
    // `decimals` is taken between 0 and 18 (the digits are gathered in 64 bits). A magnitude of
    // 2^63 or more (or NaN) is appended as "%.0f" prints it, with shift 0.
    [[nodiscard]] short addCompactDouble(double value, int decimals, int* shift = nullptr);
    [[nodiscard]] short addCompactFloat(float value, int decimals, int* shift = nullptr);
    // Appends `format` with "%1" to "%9" replaced by the 1st to 9th of the further arguments, which
    // are `GSString const*` (null: empty), and "%0" by the 10th. Only as many arguments are taken
    // as the highest placeholder needs; the others are never touched. There is no escape for "%":
    // a "%" not followed by a digit stays as it is, so "%%" gives "%%" and "100%" stays "100%".
    // The text is built in one encoding: UTF-8 when the format or any argument taken is UTF-8, else
    // this string's tag; the format, the arguments and this string are converted to it (characters
    // that it cannot represent are left out). Always 0.
    [[nodiscard]] short addStringWithNumberedFormat(GSString const* format, ...);

    // The four value getters read from the start of the text, after leading white space (the
    // bytes isWhiteSpace accepts), up to the first character that does not fit; a text without a
    // number gives 0. None depends on the process locale.
    //
    // An optional "-", then an optional "+" ("-+5" is -5, "+-5" is 0), then digits
    // (getBasicLongValue): digits are added only while the value is below 214748364, so an
    // over-long number keeps its leading digits ("2147483648" gives 214748364) and never
    // overflows.
    int getLongValue() const noexcept;
    // The same for 64 bits: digits are added while the value is below 922337203685477580.
    long getLongLongValue() const noexcept;
    // A decimal number: one optional sign, digits with at most one decimal point ("." or ",", see
    // isDecimalPoint) and at least one digit (".5" and "5." count), then an optional exponent
    // ("e" or "E", an optional sign, digits). The value is the nearest double (float), as strtod
    // gives it in the "C" locale; beyond the range it is an infinity of the sign, below it 0.
    // Hexadecimal numbers, "inf" and "nan" are not read.
    double getDoubleValue() const noexcept;
    float getFloatValue() const noexcept;
    // The value of at most `digits` hexadecimal digits (either case) from byte `index`, stopping
    // at the first other character or the end; 0 when the index is outside the text. Beyond 8 (16)
    // digits the value keeps the last 8 (16) digits read.
    unsigned int getHexValue(long index, int digits) const noexcept;
    unsigned long getHex64Value(long index, int digits) const noexcept;
    // True when the whole text, but for white space before and after, is a number as getLongValue
    // / getDoubleValue read it (an integer is a float number too). An empty text is no number.
    bool isNumber() const noexcept;
    bool isFloatNumber() const noexcept;

    // Number suffixes of names ("Image_3", "Scan12"). The suffix is the run of digits 0-9 at the
    // end of the text together with the `divider` byte right before it; a divider of 0 means the
    // digits alone. findNumberSuffix gives the index where the suffix starts, or -1 when the text
    // does not end in digits or (with a divider) the digits do not follow the divider.
    long findNumberSuffix(char divider) const noexcept;
    // The value of the suffix's digits as getBasicLongValue reads them, or -1 when there is none.
    int getNumberSuffix(char divider) const noexcept;
    // Replaces the suffix with the divider and n, or appends them when there is none. The number
    // keeps at least as many digits as the suffix had, padded with zeros ("frame_009" set to 10
    // gives "frame_010"). A negative n removes the suffix.
    [[nodiscard]] short setNumberSuffix(int n, char divider);

    // Binary payloads as text: two lower-case hexadecimal digits per byte.
    // True for a text of even length made only of 0-9, A-F and a-f (an empty text counts).
    bool isBinaryData() const noexcept;
    // Replaces the contents with the digits of the bytes; the tag becomes 100 (UTF-8).
    [[nodiscard]] short initFromBinaryData(GSDynaArray<unsigned char> const& data);
    // Appends one byte per pair of digits to *data. 1, with *data unchanged, when the text is not
    // binary data (isBinaryData) or room cannot be made.
    [[nodiscard]] short decodeBinaryData(GSDynaArray<unsigned char>* data) const;

    // --- Characters and indices ----------------------------------------------------------------
    static bool isSpace(unsigned int c) noexcept;
    static bool isTabulator(unsigned int c) noexcept;
    static bool isReturn(unsigned int c) noexcept;
    static bool isWhiteSpace(unsigned int c) noexcept;
    static bool isParagraphEnd(unsigned int c) noexcept;
    static bool isVisualParagraphEnd(unsigned int c) noexcept;
    static bool isDigit(unsigned int c) noexcept;
    static bool isDecimalPoint(unsigned int c) noexcept;
    static bool isUniCharWordLetter(unsigned int c) noexcept;
    static bool isUniCharWordDelimiter(unsigned int c) noexcept;
    static unsigned int toUpperUnicode(unsigned int c) noexcept;
    static unsigned int toLowerUnicode(unsigned int c) noexcept;
    // The kind of a character by the locale's classes (see GSCharKind in the implementation).
    static int getCharKind(unsigned int c) noexcept;
    // The class of the character at a byte index (UTF-8 read at the index, code pages by byte).
    bool isWhiteSpace(long index) const noexcept;
    bool isWordDelimiter(long index) const noexcept;
    // UTF-8 index helpers (code-page strings use the index as it is).
    long getValidStartIndexForIndex(long index) const noexcept;
    long getValidEndIndexForIndex(long index) const noexcept;
    long nextValidIndex(long index) const noexcept;
    long previousValidIndex(long index) const noexcept;
    long getCharCountForIndex(long index) const noexcept;
    // The word, delimiter run or single white-space character around a byte index.
    GSRange getWordRangeForIndex(long index) const;
    // The index of the last `c`, searching back from `start` (negative: the end); -1 if none.
    long findCharRev(char c, long start = -1) const noexcept;
    // Parses a signed integer at `start` (see the number rules in the implementation).
    int getBasicLongValue(long start, long* end, long* usedEnd) const noexcept;

    // --- Localised texts -----------------------------------------------------------------------
    // The empty string: what lookups that find nothing refer to.
    static GSString const null;
    // Install a copy of `table` as the process's current string table / numeric string table
    // (until the next call). Installing and looking up are safe from any thread; a string table
    // once installed is kept for the life of the process, so that the references that
    // getUnlocalizedString gives stay valid. 1 (nothing changes) when memory lacks.
    // (The table classes are in GSStringTable.h.)
    [[nodiscard]] static short setStringTable(class GSStringTable const& table);
    [[nodiscard]] static short setNumericStringTable(class GSNumericStringTable const& table);
    // This string becomes the numeric table's text for `id`. ID 0 gives an empty string and 0;
    // an ID without a non-empty text gives an empty string and 1.
    [[nodiscard]] short load(unsigned int id);
    // This string becomes the string table's value for `key` (its getValue), or `key` itself when
    // the table has no non-empty value (status 1). An empty key gives an empty string and 0.
    [[nodiscard]] short load(GSString const& key);
    // The ID of the last entry of the numeric table (searched from the last to the first) whose
    // text equals `text` (compareValue); 0 when none does.
    static int getStringID(GSString const& text);
    // The key of the last entry of the string table (searched from the last to the first) whose
    // value equals `text` (compareValue), or `text` itself when none does.
    static GSString const& getUnlocalizedString(GSString const& text);
    // The numeric table's text for `id`, as GSString(id).
    static GSString getLocalizedString(int id);

    // --- Files ---------------------------------------------------------------------------------
    // The binary file form above. read() checks the count against the bytes left in the file before
    // taking them; a failed read returns its status and leaves the string empty. Data whose last
    // byte is not zero reads as an empty string with status 0.
    [[nodiscard]] short read(GSFile* file);
    [[nodiscard]] short write(GSFile* file) const;
    // A fixed field of n bytes; the text ends at the last zero byte among them (n when none).
    [[nodiscard]] short readStringWithLength(GSFile* file, int n);
    // A fixed field of n UTF-16 units in `byteOrder`; the text ends at the last zero unit.
    [[nodiscard]] short readUnicodeStringWithLength(GSFile* file, int n, short byteOrder);
    // A Pascal string: one length byte n, then n Mac code-page bytes. *length (when given)
    // receives the bytes taken, n + 1.
    [[nodiscard]] short readPascalStringAndLength(GSFile* file, long* length = nullptr);
    // A 16-bit unit count, then that many UTF-16 units, all in `byteOrder`; stored as UTF-8.
    // *length (when given) receives the bytes taken.
    [[nodiscard]] short readUnicodeStringAndLength(GSFile* file, short byteOrder, long* length = nullptr);
    // UTF-16 units in `byteOrder` up to and including a zero unit; stored as UTF-8. A file that ends
    // before the zero unit gives the read's status and an empty string.
    [[nodiscard]] short read0TerminatedUnicodeString(GSFile* file, short byteOrder);

    // The rest of the file (to the end of the enclosing record) as text: a UTF-8 byte-order mark is
    // skipped and makes the text UTF-8; otherwise it is UTF-8 when its bytes are valid UTF-8, else
    // the Mac code page.
    [[nodiscard]] short loadFromFile(GSFile* file);
    [[nodiscard]] short loadFromFileSpec(GSFileSpec const& spec);
    // Writes the bytes as they are (no byte-order mark, no conversion) through a safe save.
    [[nodiscard]] short saveToFileSpec(GSFileSpec const& spec) const;

    // --- Quoted text and key/value lines ---------------------------------------------------------
    // The quoted text form, for text files that people read and edit:
    //     "first piece \"quoted\" and a tab\t"
    //     "second piece"
    // writeString writes the bytes between double quotes with a backslash before " ' and \ and the
    // bytes 7-13 written as the letters a b t n v f r. Text longer than `chunk` bytes (1-8191; any
    // other value means 8192) is split into pieces, one per line. Code-page text is written in the
    // Windows code page; UTF-8 as it is.
    [[nodiscard]] short writeString(GSFile* file, int chunk = 8192) const;
    // Reads the quoted text form into this string (emptied first):
    //   before the text   blanks (tab, line feed, carriage return, space) are skipped, a line
    //                     starting with "/" is a comment; anything but the opening delimiter fails (1);
    //   inside            a raw tab, line feed or carriage return fails (1); a backslash takes the
    //                     next character through getEscapeChar;
    //   after the text    the opening delimiter starts a further piece of the same string; blanks and
    //                     comment lines are skipped; any other byte ends the string and is left for
    //                     the caller. The end of the file ends the string with 0.
    // The escape letters read back as their bytes, except that "t", like "v", reads as byte 11, as
    // older files expect: a tab does not round-trip through this form (key/value lines carry it).
    // When this string's tag is a code page, the bytes are taken as Windows text and kept in the
    // Mac code page, or in UTF-8 when a character does not fit there. A failed read leaves the
    // string empty.
    [[nodiscard]] short readString(GSFile* file) { return readStringWithDelimiter(file, '"', '"'); }
    [[nodiscard]] short readStringWithDelimiter(GSFile* file, int open, int close);
    // The backslash to write before byte c, or 0; the byte or letter to write for c; the byte that
    // an escape letter stands for.
    static char getFirstCChar(unsigned char c) noexcept;
    static char getSecondCChar(unsigned char c) noexcept;
    static int getEscapeChar(int c) noexcept;

    // Key/value lines, the text form of string tables:
    //     "key" = "value";
    // Each side is the quoted text form above (pieces may continue on the next lines; comment lines
    // start with "/"; blanks between the parts are free), with one escape more: "\x" and two
    // hexadecimal digits stand for that byte. writeKeyValue writes the bytes 0-6, 9, 14-31 and 127
    // that way, so that every byte of a UTF-8 string comes back as it was. Code-page text is written
    // in the Windows code page and read back by readString's code-page rule; a code-page character
    // that the Windows code page lacks is refused with 1, not dropped (convert such text to UTF-8
    // first: string tables keep their texts in UTF-8). The ";" ends the pair
    // (without it the next line's quoted key would join the value); only the end of the file may
    // stand in for it. This string receives the key; the tags of this string and of *value before
    // the call decide how code-page text is taken, as in readString. At the end of the file the key
    // and the value are empty and the status is 0; a line that does not follow the syntax gives 1.
    [[nodiscard]] short readKeyValue(GSFile* file, GSString* value);
    [[nodiscard]] short writeKeyValue(GSFile* file, GSString const& value) const;

private:
    friend class GSStringUniCharEnumerator;
    friend class GSStringCombiningUniCharEnumerator;

    char* ownData() noexcept; // the writable bytes, after createOwnData
    void setUsed(long used) noexcept; // bytes in use with the terminator; writes the terminator
    short appendUTF16(unsigned short const* units, long count);
    // The quoted text form; `hexEscapes` adds the \xHH escape of key/value lines. writeQuoted
    // writes the bytes as they are: getQuotedFormText gives the text to write.
    short getQuotedFormText(GSString* out, bool strict) const;
    short writeQuoted(GSFile* file, int chunk, bool hexEscapes) const;
    short readQuoted(GSFile* file, int open, int close, bool hexEscapes);
    short failRead(short status); // empties the string, returns the status
    short takeReadCodePage(); // the code-page rule of the quoted reader
    // Writes converted text straight into this string's storage, growing it by steps.
    class Appender;

    GSStringBuffer* buffer = nullptr;
    union Area {
        struct {
            unsigned char used;
            char data[kInlineBytes];
        } in;
        struct {
            char const* text;
            long length; // -1 until first counted
        } fix;
    };
    mutable Area area{};
    unsigned char mode = kShared;
    unsigned char encoding = kUTF8;
};

// Sort callbacks on two GSString pointers: the whole-string caseless order and its reverse.
int GSStringCompareAscendingCaseless(void const* a, void const* b);
int GSStringCompareDescendingCaseless(void const* a, void const* b);

// One hexadecimal digit: true when c is 0-9, A-F or a-f, with its value (0-15) in *value when
// given. GSGetNibbleHexChar gives the digit of the low four bits of `nibble`, "A"-"F" when
// `upper` is non-zero.
bool GSIsHexNibble(unsigned int c, int* value = nullptr) noexcept;
char GSGetNibbleHexChar(unsigned int nibble, short upper) noexcept;

// The bytes of `b` appended to a copy of `a`, as += does; the tag is a's. An allocation failure
// gives an empty string.
GSString operator+(GSString const& a, GSString const& b);
