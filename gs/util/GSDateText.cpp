// GSDate's text forms: the colon form, the C time string, the named formats and the two format
// vocabularies (the rules are at the top of GSDate.h).
#include "gs/util/GSDate.h"

#include "gs/text/GSStringTable.h"

#include <climits>

namespace {

char const* const kEnglishNames[40] = {
    "January", "February", "March", "April", "May", "June", "July", "August", "September", "October",
    "November", "December", "Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov",
    "Dec", "Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday", "Sun", "Mon",
    "Tue", "Wed", "Thu", "Fri", "Sat", "AM", "PM"};

// Offsets of the names from the first name ID.
enum : int { kMonthNames = 0, kMonthAbbreviations = 12, kDayNames = 24, kDayAbbreviations = 31, kAMName = 38 };

// The texts of the named formats when the numeric string table has none.
char const* const kDefaultFormats[3] = {"EEEE, d MMMM yyyy", "yyyy-MM-dd", "HH:mm:ss"};

// A run of pattern letters longer than this counts as this long.
constexpr int kMaxWidth = 32;

bool isWhite(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

long skipWhite(char const* text, long length, long i)
{
    while (i < length && isWhite(text[i]))
        ++i;
    return i;
}

// Where names come from: a given table, or the installed one (GSString(id)); the English name when
// the table has no text.
class NameSource {
public:
    NameSource(GSNumericStringTable const* from, int first)
        : table(from), firstID(first != 0 ? first : GSDate::kFirstNameID)
    {
    }

    GSString get(int offset, int encoding) const
    {
        int const id = firstID + offset;
        GSString name = table ? table->getValue(id) : GSString(id);
        if (name.isEmpty())
            name = GSString::fixed(kEnglishNames[offset]);
        if (encoding <= GSString::kUTF8 && name.getEncoding() != encoding)
            (void)name.convertEncoding(encoding);
        return name;
    }

private:
    GSNumericStringTable const* table;
    int firstID;
};

// One item of a format: a literal byte, a number, a fraction of the second, or a name.
enum class Kind { kLiteral, kNumber, kFraction, kMonthName, kMonthAbbreviation, kDayName, kDayAbbreviation, kAMPM };
enum class Field { kNone, kYear, kYear2, kMonth, kDay, kHour, kHour12, kMinute, kSecond, kMillisecond };

struct Item {
    Kind kind = Kind::kLiteral;
    Field field = Field::kNone;
    int width = 0;
    char literal = 0;
};

// Walks a format item by item in the vocabulary the format is written in.
class FormatWalker {
public:
    explicit FormatWalker(GSString const& format)
        : text(format.c_str()), length(format.getLength()), percent(format.findChar('%') >= 0)
    {
    }

    bool next(Item* item) { return percent ? nextPercent(item) : nextFormatter(item); }

    // True when the item after the current one is a number or a fraction.
    bool numberFollows() const
    {
        FormatWalker ahead = *this;
        Item item;
        return ahead.next(&item) && item.kind != Kind::kLiteral && item.field != Field::kNone;
    }

private:
    static Item literal(char c)
    {
        Item item;
        item.literal = c;
        return item;
    }
    static Item number(Field field, int width)
    {
        Item item;
        item.kind = Kind::kNumber;
        item.field = field;
        item.width = width;
        return item;
    }
    static Item name(Kind kind)
    {
        Item item;
        item.kind = kind;
        return item;
    }

    bool nextPercent(Item* item)
    {
        if (index >= length)
            return false;
        char const c = text[index];
        char const letter = index + 1 < length ? text[index + 1] : 0;
        index += 2;
        switch (c == '%' ? letter : 0) {
        case 'Y': *item = number(Field::kYear, 4); return true;
        case 'y': *item = number(Field::kYear2, 2); return true;
        case 'm': *item = number(Field::kMonth, 2); return true;
        case 'd': *item = number(Field::kDay, 2); return true;
        case 'H': *item = number(Field::kHour, 2); return true;
        case 'I': *item = number(Field::kHour12, 2); return true;
        case 'M': *item = number(Field::kMinute, 2); return true;
        case 'S': *item = number(Field::kSecond, 2); return true;
        case 's': *item = number(Field::kMillisecond, 3); return true;
        case 'p': *item = name(Kind::kAMPM); return true;
        case 'B': *item = name(Kind::kMonthName); return true;
        case 'b': *item = name(Kind::kMonthAbbreviation); return true;
        case 'A': *item = name(Kind::kDayName); return true;
        case 'a': *item = name(Kind::kDayAbbreviation); return true;
        case '%': *item = literal('%'); return true;
        default:
            // A plain byte, or a "%" that stands for itself: the byte after it is an item of its own.
            --index;
            *item = literal(c);
            return true;
        }
    }

    bool nextFormatter(Item* item)
    {
        for (;;) {
            if (index >= length)
                return false;
            char const c = text[index];
            if (c == '\'') {
                if (index + 1 < length && text[index + 1] == '\'') {
                    index += 2;
                    *item = literal('\'');
                    return true;
                }
                quoted = !quoted;
                ++index;
                continue;
            }
            if (quoted || !isPatternLetter(c)) {
                ++index;
                *item = literal(c);
                return true;
            }
            long run = 1;
            while (index + run < length && text[index + run] == c)
                ++run;
            index += run;
            *item = letters(c, run < kMaxWidth ? static_cast<int>(run) : kMaxWidth);
            return true;
        }
    }

    static bool isPatternLetter(char c)
    {
        switch (c) {
        case 'y': case 'M': case 'd': case 'H': case 'h': case 'm': case 's': case 'S': case 'E': case 'a':
            return true;
        default:
            return false;
        }
    }

    static Item letters(char c, int n)
    {
        switch (c) {
        case 'y': return number(n == 2 ? Field::kYear2 : Field::kYear, n);
        case 'M': return n <= 2 ? number(Field::kMonth, n) : name(n == 3 ? Kind::kMonthAbbreviation : Kind::kMonthName);
        case 'd': return number(Field::kDay, n);
        case 'H': return number(Field::kHour, n);
        case 'h': return number(Field::kHour12, n);
        case 'm': return number(Field::kMinute, n);
        case 's': return number(Field::kSecond, n);
        case 'E': return name(n <= 3 ? Kind::kDayAbbreviation : Kind::kDayName);
        case 'a': return name(Kind::kAMPM);
        default: {
            Item item = number(Field::kMillisecond, n);
            item.kind = Kind::kFraction;
            return item;
        }
        }
    }

    char const* text;
    long length;
    bool percent;
    long index = 0;
    bool quoted = false;
};

// Appends a number field: a two-digit year as the last two digits of |value|, a fraction as the
// first `width` digits of value / 1000, anything else with at least `width` digits.
short addNumber(Kind kind, Field field, int width, int value, GSString* out)
{
    if (kind == Kind::kFraction) {
        if (width <= 3) {
            int const divisor = width == 1 ? 100 : width == 2 ? 10 : 1;
            return out->addLong(value / divisor, -width);
        }
        if (short st = out->addLong(value, -3))
            return st;
        for (int i = 3; i < width; ++i) {
            if (short st = out->add('0'))
                return st;
        }
        return 0;
    }
    if (field == Field::kYear2) {
        long const magnitude = value < 0 ? -static_cast<long>(value) : value;
        return out->addLong(static_cast<int>(magnitude % 100), -2);
    }
    return out->addLong(value, -width);
}

int fieldValue(GSDate const& date, Field field)
{
    switch (field) {
    case Field::kYear:
    case Field::kYear2: return date.year;
    case Field::kMonth: return date.month;
    case Field::kDay: return date.day;
    case Field::kHour: return date.hour;
    case Field::kHour12: return date.getHour12(nullptr);
    case Field::kMinute: return date.minute;
    case Field::kSecond: return date.second;
    case Field::kMillisecond:
    case Field::kNone: break; // no number field has kNone
    }
    return date.millisecond;
}

short writeFormatted(GSDate const& date, GSString const& format, NameSource const& names, GSString* out)
{
    FormatWalker walker(format);
    int const encoding = out->getEncoding();
    Item item;
    while (walker.next(&item)) {
        short st = 0;
        switch (item.kind) {
        case Kind::kLiteral: st = out->add(item.literal); break;
        case Kind::kNumber:
        case Kind::kFraction: st = addNumber(item.kind, item.field, item.width, fieldValue(date, item.field), out); break;
        case Kind::kMonthName:
        case Kind::kMonthAbbreviation:
            if (date.month < 1 || date.month > 12)
                st = out->addLong(date.month);
            else
                st = out->add(names.get((item.kind == Kind::kMonthName ? kMonthNames : kMonthAbbreviations) +
                                            date.month - 1, encoding));
            break;
        case Kind::kDayName:
        case Kind::kDayAbbreviation:
            st = out->add(names.get((item.kind == Kind::kDayName ? kDayNames : kDayAbbreviations) +
                                        date.getDayOfWeek(), encoding));
            break;
        case Kind::kAMPM: st = out->add(names.get(kAMName + (date.hour >= 12 ? 1 : 0), encoding)); break;
        }
        if (st)
            return st;
    }
    return 0;
}

// Reads digits at *pos: exactly `exact` of them when it is non-zero, else 1 to `most`. The value
// must stay within INT_MAX. False, with *pos unchanged, when they are not there.
bool readDigits(char const* text, long length, long* pos, int exact, int most, long* value)
{
    int const limit = exact ? exact : most;
    long i = *pos;
    long v = 0;
    while (i < length && i - *pos < limit && isDigit(text[i])) {
        v = v * 10 + (text[i] - '0');
        if (v > INT_MAX)
            return false;
        ++i;
    }
    if (i == *pos || (exact && i - *pos != exact))
        return false;
    *pos = i;
    *value = v;
    return true;
}

// The longest of the names [first, first + count) and [second, second + count) that the text at
// *pos starts with, caselessly: its index within its group, or -1. *pos moves behind it.
int matchName(GSString const& text, long* pos, NameSource const& names, int first, int second, int count)
{
    int found = -1;
    long best = 0;
    for (int group : {first, second}) {
        for (int i = 0; i < count; ++i) {
            GSString const name = names.get(group + i, text.getEncoding());
            long const n = name.getLength();
            if (n > best && text.getSubstring(*pos, n).compareValueCaseless(name) == 0) {
                best = n;
                found = i;
            }
        }
    }
    *pos += best;
    return found;
}

// The date `text` gives in `format`, starting from `date`; false when the text does not match.
bool readFormatted(GSString const& text, GSString const& format, NameSource const& names, GSDate* date)
{
    char const* const t = text.c_str();
    long const length = text.getLength();
    FormatWalker walker(format);
    long pos = skipWhite(t, length, 0);
    long hour12 = -1;
    bool pm = false;
    Item item;
    while (walker.next(&item)) {
        switch (item.kind) {
        case Kind::kLiteral:
            if (isWhite(item.literal))
                pos = skipWhite(t, length, pos);
            else if (pos < length && t[pos] == item.literal)
                ++pos;
            else
                return false;
            break;
        case Kind::kFraction: {
            // The first three digits are milliseconds; the others only have to be there.
            long const start = pos;
            long value;
            if (!readDigits(t, length, &pos, item.width < 3 ? item.width : 3, 0, &value))
                return false;
            for (int i = 3; i < item.width; ++i) {
                if (pos >= length || !isDigit(t[pos]))
                    return false;
                ++pos;
            }
            for (long i = pos - start; i < 3; ++i)
                value *= 10;
            date->millisecond = static_cast<unsigned short>(value);
            break;
        }
        case Kind::kNumber: {
            bool const negative = item.field == Field::kYear && pos < length && t[pos] == '-';
            if (negative)
                ++pos;
            int const limit = item.field == Field::kYear ? 9 : item.field == Field::kMillisecond ? 3 : 2;
            long value;
            if (!readDigits(t, length, &pos, walker.numberFollows() ? item.width : 0,
                            item.width > limit ? item.width : limit, &value))
                return false;
            if (item.field == Field::kYear) {
                date->year = static_cast<int>(negative ? -value : value);
                break;
            }
            if (item.field == Field::kYear2) {
                date->year = static_cast<int>(value < 69 ? 2000 + value : 1900 + value);
                break;
            }
            // Milliseconds (%s) have 3 digits at most; the others must fit their byte.
            if (item.field != Field::kMillisecond && value > 255)
                return false;
            switch (item.field) {
            case Field::kMonth: date->month = static_cast<unsigned char>(value); break;
            case Field::kDay: date->day = static_cast<unsigned char>(value); break;
            case Field::kHour: date->hour = static_cast<unsigned char>(value); break;
            case Field::kHour12: hour12 = value; break;
            case Field::kMinute: date->minute = static_cast<unsigned char>(value); break;
            case Field::kSecond: date->second = static_cast<unsigned char>(value); break;
            default: date->millisecond = static_cast<unsigned short>(value); break;
            }
            break;
        }
        case Kind::kMonthName:
        case Kind::kMonthAbbreviation: {
            int const m = matchName(text, &pos, names, kMonthNames, kMonthAbbreviations, 12);
            if (m < 0)
                return false;
            date->month = static_cast<unsigned char>(m + 1);
            break;
        }
        case Kind::kDayName:
        case Kind::kDayAbbreviation:
            if (matchName(text, &pos, names, kDayNames, kDayAbbreviations, 7) < 0)
                return false;
            break;
        case Kind::kAMPM: {
            int const which = matchName(text, &pos, names, kAMName, kAMName, 2);
            if (which < 0)
                return false;
            pm = which == 1;
            break;
        }
        }
    }
    if (skipWhite(t, length, pos) != length)
        return false;
    if (hour12 >= 0)
        date->hour = static_cast<unsigned char>(hour12 % 12 + (pm ? 12 : 0));
    return true;
}

} // namespace

// --- Colon forms ---------------------------------------------------------------------------------

short GSDate::writeDateToString(GSString* out) const
{
    return out->addLong(day) || out->add(':') || out->addLong(month) || out->add(':') || out->addLong(year) ? 1 : 0;
}

short GSDate::writeToString(GSString* out) const
{
    if (short st = writeDateToString(out))
        return st;
    return out->add(':') || out->addLong(hour) || out->add(':') || out->addLong(minute) || out->add(':') ||
                   out->addLong(second)
               ? 1
               : 0;
}

int GSDate::readLongFromString(GSString const& text, long* index)
{
    char const* const t = text.c_str();
    long const length = text.getLength();
    long const start = *index;
    if (start < 0 || start >= length)
        return 0;
    bool const negative = t[start] == '-';
    long const first = negative ? start + 1 : start;
    long i = first;
    long value = 0;
    // Ten digits at most (2147483648 needs them), so that the value cannot overflow.
    while (i < length && i - first < 10 && isDigit(t[i]))
        value = value * 10 + (t[i++] - '0');
    if (i == first || (i < length && isDigit(t[i])) || value > (negative ? 2147483648L : INT_MAX))
        return 0;
    *index = i;
    return static_cast<int>(negative ? -value : value);
}

short GSDate::readFromString(GSString const& text)
{
    char const* const t = text.c_str();
    long const length = text.getLength();
    long pos = skipWhite(t, length, 0);
    int values[6] = {};
    int count = 0;
    for (;;) {
        long const before = pos;
        values[count] = readLongFromString(text, &pos);
        if (pos == before)
            return 1;
        if (++count == 6 || pos >= length || t[pos] != ':')
            break;
        ++pos;
    }
    if ((count != 3 && count != 6) || skipWhite(t, length, pos) != length)
        return 1;
    for (int i = 0; i < count; ++i) {
        if (i != 2 && (values[i] < 0 || values[i] > 255))
            return 1;
    }
    *this = GSDate(values[0], values[1], values[2], values[3], values[4], values[5], 0);
    return 0;
}

GSString GSDate::getCTimeString() const
{
    static char const* const kDays[7] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static char const* const kMonths[12] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                            "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    GSString s;
    (void)s.add(kDays[getDayOfWeek()], 3);
    (void)s.add(' ');
    (void)s.add(month >= 1 && month <= 12 ? kMonths[month - 1] : "???", 3);
    (void)s.add(' ');
    (void)s.addLong(day, 2);
    (void)s.add(' ');
    (void)s.addLong(hour, -2);
    (void)s.add(':');
    (void)s.addLong(minute, -2);
    (void)s.add(':');
    (void)s.addLong(second, -2);
    (void)s.add(' ');
    (void)s.addLong(year);
    return s;
}

// --- Formats -------------------------------------------------------------------------------------

GSString GSDate::getFormatString(int flags) const
{
    auto text = [](int id) {
        GSString s(id);
        return s.isEmpty() ? GSString(kDefaultFormats[id - kLongDateFormatID]) : s;
    };
    GSString format;
    if (flags & kLongDate)
        format += text(kLongDateFormatID);
    else if (flags & kShortDate)
        format += text(kShortDateFormatID);
    if (flags & kTime) {
        if (flags & (kLongDate | kShortDate))
            format += GSString(", ");
        format += text(kTimeFormatID);
    }
    return format;
}

short GSDate::writeToFormattedString(GSString* out, int flags) const
{
    return writeToStringWithFormat(getFormatString(flags), out);
}

short GSDate::readFromFormattedString(GSString const& text, int flags)
{
    return readFromStringWithFormat(text, getFormatString(flags));
}

short GSDate::writeToStringWithFormat(GSString const& format, GSString* out) const
{
    return writeFormatted(*this, format, NameSource(nullptr, 0), out);
}

short GSDate::writeToStringWithFormatAndStringTable(GSString const& format, int firstNameID,
                                                    GSNumericStringTable const& table, GSString* out) const
{
    return writeFormatted(*this, format, NameSource(&table, firstNameID), out);
}

short GSDate::readFromStringWithFormat(GSString const& text, GSString const& format)
{
    GSDate date = *this;
    if (!readFormatted(text, format, NameSource(nullptr, 0), &date))
        return 1;
    *this = date;
    return 0;
}

short GSDate::addLongWithFormat(GSString const& format, int start, int count, int value, GSString* out)
{
    if (start < 0 || count < 1 || start + static_cast<long>(count) > format.getLength())
        return out->addLong(value);
    char const letter = format.c_str()[start];
    Kind const kind = letter == 'S' ? Kind::kFraction : Kind::kNumber;
    Field const field = letter == 'y' && count == 2 ? Field::kYear2 : Field::kNone;
    return addNumber(kind, field, count < kMaxWidth ? count : kMaxWidth, value, out);
}
