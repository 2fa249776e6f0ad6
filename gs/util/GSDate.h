// GSDate: a calendar date and time of day kept as broken-down fields (day, month, year, hour,
// minute, second, millisecond), not as a count of seconds. Dates are not validated when they are
// made or read: checkForError reports the first bad field.
//
// Calendar: the Gregorian rules throughout (a leap year is divisible by 4, and not by 100 unless
// by 400), for every year of the 32-bit range, year 0 and negative years included (year 0 is
// 1 BC and a leap year). A year pushed beyond the 32-bit range by arithmetic wraps around.
//
// Day numbers: days() = 365 * year + (year - 1) / 4 - (year - 1) / 100 + (year - 1) / 400 +
// getDayOfYear(), the divisions rounding down (toward minus infinity, so that negative years count
// alike; for years from 1 on this is C's division). Consecutive days have consecutive numbers;
// 1 January 2000 is 730484, 1 January of year 1 is 365 and 1 January of year 0 is -1.
//
// File block (a tagged record sequence, GSTagWrite / GSTagRead, in the file's framing):
//   version   257
//   record 0  day (1 byte), month (1 byte), year (int32)
//   record 1  hour (1 byte), minute (1 byte), second (1 byte)
//   record 2  millisecond (int16), only when it is not 0
//   end tag
// Classic framing, 31 March 2024 12:05:09: 01 01 | 00 00 00 00 00 00 00 06 1F 03 00 00 07 E8 |
// 00 00 00 01 00 00 00 03 0C 05 09 | FF FF FF FF.
//
// Text forms:
//   colon form    "31:3:2024:12:5:9" (writeToString) or "31:3:2024" (writeDateToString): plain
//                 decimal numbers, no padding, the year with "-" when negative.
//   named formats texts 90000 (long date), 90001 (short date) and 90002 (time) of the numeric
//                 string table (GSString::setNumericStringTable), see getFormatString.
//   formats       two vocabularies, chosen by the format itself: a format that holds a "%" is in
//                 the percent style, any other in the date-formatter style.
//
// Percent style (a "%" and one letter; everything else is literal text):
//   %Y year, at least 4 digits ("-" first when negative)   %y the last two digits of the year
//   %m month, 2 digits   %d day, 2 digits   %H hour 00-23   %I hour 01-12   %p AM or PM
//   %M minute, 2 digits  %S second, 2 digits   %s millisecond, 3 digits
//   %B month name   %b abbreviated month name   %A weekday name   %a abbreviated weekday name
//   %% a "%"; a "%" before any other byte, or at the end, stands for itself.
// Date-formatter style (runs of one letter; the run's length n is the width, at most 32):
//   y  year, at least n digits ("-" first when negative); yy the last two digits
//   M  month: n = 1 or 2 digits at least n, 3 the abbreviated name, 4 or more the name
//   d  day   H  hour 0-23   h  hour 1-12   m  minute   s  second: at least n digits each
//   S  the first n digits of the second's fraction (S tenths, SS hundredths, SSS milliseconds)
//   E  weekday: n = 1-3 the abbreviated name, 4 or more the name
//   a  AM or PM
//   '...' literal text ('' inside or outside stands for one quote); every other byte, other
//         letters included, stands for itself.
// "yyyy-MM-dd HH:mm:ss.SSS" and "%Y-%m-%d %H:%M:%S.%s" give the same text.
//
// Names (months, weekdays, AM/PM) come from the numeric string table: n + 0..11 month names
// (January first), n + 12..23 abbreviated month names, n + 24..30 weekday names (Sunday first),
// n + 31..37 abbreviated weekday names, n + 38 "AM", n + 39 "PM", with n = kFirstNameID (90010)
// unless a caller gives another. A name that the table lacks (or gives as an empty text) is the
// English one ("January", "Jan", "Sunday", "Sun", "AM", "PM"). A month outside 1..12 is written as
// its number instead of a name. Names are converted to the encoding of the text they go into or
// are compared with; the rest of a format is taken as bytes.
//
// Reading with a format (readFromStringWithFormat, readFromFormattedString); the text must match
// the whole format:
//   - white space (space, tab, line feed, carriage return, vertical tab, form feed) before and
//     after the text is skipped; a white-space byte of the format matches any run of white space
//     in the text, none included; other literal bytes must stand there as they are.
//   - a number field reads decimal digits (a full-year field also an optional "-" first). When the
//     next item of the format is another number field, it reads exactly its width in digits (n
//     letters; %Y 4, %s 3, the other percent fields 2), so that "yyyyMMdd" reads "20240331";
//     otherwise at least one and at most the larger of its width and its field's limit (9 for a
//     full year, 3 for %s, 2 for the others). A fraction field (S) always reads exactly n digits.
//     A value that does not fit its field (above 255, a year beyond 32 bits) fails.
//   - a two-digit year (yy, %y) of 69-99 is 1969-1999, of 00-68 2000-2068.
//   - a name field accepts the longest full or abbreviated name (of its kind) that the text starts
//     with, caselessly; a weekday is read and otherwise ignored.
//   - a 12-hour field (h, %I) gives hour = value modulo 12, plus 12 when the text has the PM name.
//   - the fields that the format names are set; the others keep their values. On failure (1)
//     nothing changes. Values are not validated (checkForError does that).
#pragma once

#include "gs/text/GSString.h"

class GSFile;
class GSNumericStringTable;
struct tm;

// The platform's system-time record: each field 16 bits, the day of the week 0 = Sunday.
struct _SYSTEMTIME {
    unsigned short wYear;
    unsigned short wMonth;
    unsigned short wDayOfWeek;
    unsigned short wDay;
    unsigned short wHour;
    unsigned short wMinute;
    unsigned short wSecond;
    unsigned short wMilliseconds;
};

class GSDate {
public:
    static constexpr short kVersion = 257;
    // getFormatString's flags and the numeric string-table texts they select.
    enum : int { kLongDate = 1, kShortDate = 2, kTime = 4 };
    enum : int { kLongDateFormatID = 90000, kShortDateFormatID = 90001, kTimeFormatID = 90002 };
    // The first ID of the names (see the top of this file).
    static constexpr int kFirstNameID = 90010;

    // --- Construction and conversion ---------------------------------------------------------
    // Every field 0: the invalid date.
    constexpr GSDate() = default;
    // The current time: time(nullptr) broken down as GMT when useGMT is non-zero, else as local
    // time; millisecond 0.
    explicit GSDate(int useGMT);
    static GSDate getActualDate(int useGMT);
    // A calendar time value in seconds broken down in the same way (init); the invalid date when
    // the value cannot be broken down.
    GSDate(long seconds, int useGMT);
    // year = 1900 + tm_year, month = tm_mon + 1, day, hour, minute and second from the tm fields
    // (the platform's thread-safe gmtime/localtime where it has them), millisecond 0. 1 (and the
    // invalid date) when the value cannot be broken down or its year does not fit.
    [[nodiscard]] short init(long seconds, int useGMT);
    // The fields as given, cut to their types; no validation.
    GSDate(int day, int month, int year, int hour = 0, int minute = 0, int second = 0, int millisecond = 0);
    // From and to the system-time record. The record's day of the week is not read; getSystemTime
    // fills it with getDayOfWeek() and keeps the low 16 bits of the year.
    explicit GSDate(_SYSTEMTIME const& time);
    _SYSTEMTIME getSystemTime() const;
    // The colon form (readFromString); the invalid date when the text is not one.
    explicit GSDate(GSString const& text);
    GSDate(GSDate const&) = default;
    GSDate& operator=(GSDate const&) = default;

    // The tm fields of the date: tm_year = year - 1900 (wrapping for years below the 32-bit
    // range's lowest + 1900), tm_mon = month - 1, tm_mday, tm_hour, tm_min, tm_sec, tm_wday =
    // getDayOfWeek(), tm_yday = getDayOfYear(), tm_isdst = -1 (mktime decides).
    void fillStructTm(tm* out) const;
    // The calendar time value of the date taken as local time (mktime of fillStructTm); -1 when
    // mktime cannot represent it (or for the second before 1 January 1970 00:00 GMT).
    long getSeconds() const;
    // The seconds to add to local time to reach GMT now (negative east of Greenwich): the current
    // time broken down as GMT and as local time, both converted back by mktime, then
    // floor(difftime(gmt, local) + 0.49). The GMT breakdown is converted with the local one's
    // daylight-saving flag, so that both are read by the same rule and daylight-saving time is
    // part of the offset.
    static int getDiffSecondsToGMTime();
    // addSeconds(getDiffSecondsToGMTime()) / addSeconds(-getDiffSecondsToGMTime()): the offset of
    // now, not of the date.
    void convertToGMTime();
    void convertFromGMTime();

    // Copies GSDate::invalid into the date.
    void invalidate() { *this = invalid; }
    // The first failing test: day < 1 gives 1; month outside 1..12, 2; day beyond the month's
    // length, 1; hour > 23, 3; minute > 59, 4; second > 59, 5. Else 0. The millisecond is not
    // checked.
    [[nodiscard]] short checkForError() const;

    // --- Queries ------------------------------------------------------------------------------
    // 0 = Sunday ... 6 = Saturday: (days() - 730247) modulo 7, non-negative.
    int getDayOfWeek() const;
    // 0 = Monday ... 6 = Sunday.
    int getDayOfWeekMonday() const;
    // Weeks start on Monday. With m = getDayOfWeekMonday() of 1 January and k = getDayOfYear() + m:
    // when m < 4 (1 January is Monday to Thursday) the week is k / 7 + 1, except that a 53 becomes
    // 1 when 31 December is Monday to Thursday; otherwise a k below 7 gives the week of 31 December
    // of the year before, and any other k gives k / 7. Unlike ISO 8601 this gives week 1 (not 53)
    // to the last days of a year whose 31 December is a Thursday, and week 1 to the first days of
    // the year after it. 1..53 for a date that checkForError accepts (days beyond a month's end
    // count on past 53).
    int getWeekOfYear() const;
    // 0 for 1 January: the lengths of the months before the date's, plus day - 1. A month outside
    // 1..12 counts as the nearer of 1 and 12 (so day 0 and days beyond the month's end carry into
    // the neighbouring days, as in addDays).
    int getDayOfYear() const;
    // 1..12; *isPM (when given) receives 1 from hour 12 on, else 0.
    int getHour12(short* isPM) const;
    // The month's length (February 29 in a leap year); 0 for a month outside 1..12.
    int lengthOfMonth() const;
    static int getDaysForYear(int year);
    static bool isLeapYear(int year);
    // The day number (see the top of this file).
    long days() const;
    // "Sun Mar 31 12:05:09 2024": C's asctime form without its line feed (the day padded with a
    // space to two places, the time with zeros); "???" for a month outside 1..12.
    GSString getCTimeString() const;

    // --- Arithmetic and comparison ------------------------------------------------------------
    // The time of day moves by s seconds (the millisecond stays): whole days first with addDays,
    // then the rest on the time of day with one correction of a day (a valid time needs no more).
    void addSeconds(long s);
    // The date moves by n days; the time of day stays. Day and month come out valid whatever they
    // were (getDayOfYear's reading). O(1).
    void addDays(int n);
    // The month moves by n, whole years carried into the year; the day stays as it is (31 January
    // plus one month is 31 February, which checkForError reports).
    void addMonths(int n);
    // The year moves by n; nothing else changes (29 February stays 29 February).
    void addYears(int n);
    // The seconds from `other` to this date, by the fields (time zones play no part); the
    // milliseconds are not counted. other.addSeconds(this - other) gives this date's fields but
    // the millisecond, when both are valid.
    long operator-(GSDate const& other) const;
    // By year, month, day, hour, minute, second, millisecond: -1 when this date is earlier, 1 when
    // later, 0 when every field is equal.
    int compare(GSDate const& other) const;
    bool operator<(GSDate const& other) const { return compare(other) < 0; }
    bool operator<=(GSDate const& other) const { return compare(other) <= 0; }
    bool operator==(GSDate const& other) const { return compare(other) == 0; }

    // --- Movable feasts -----------------------------------------------------------------------
    // Easter Sunday of `year` by the Gregorian computus in Gauss's form (with his two exceptions:
    // 26 April becomes 19 April; 25 April becomes 18 April when d = 28 and the golden number minus
    // one is 11 or more), as a day number. Any year is computed (the computus extended).
    static long getDayOfEastern(int year);
    // The date at midnight whose day number is Easter's plus a fixed offset: Easter Sunday (0),
    // Rosenmontag (-48), Aschermittwoch (-46), Karfreitag (-2), Himmelfahrt (+39), Pfingsten
    // (+49), Fronleichnam (+60).
    static GSDate getEastern(int year);
    static GSDate getRosenmontag(int year);
    static GSDate getAschermittwoch(int year);
    static GSDate getKarfreitag(int year);
    static GSDate getHimmelfahrt(int year);
    static GSDate getPfingsten(int year);
    static GSDate getFronleichnam(int year);

    // --- Text ---------------------------------------------------------------------------------
    // The text functions append to *out; 1 only when storage cannot be had.
    // The colon forms (see the top of this file).
    [[nodiscard]] short writeToString(GSString* out) const;
    [[nodiscard]] short writeDateToString(GSString* out) const;
    // Reads a colon form: 3 numbers (the time becomes 00:00:00) or 6, separated by ":" with
    // nothing between, white space allowed only before and after the text. Each number must fit
    // its field (the year 32 bits with an optional "-", the others 0..255); the millisecond
    // becomes 0. 1, with the date unchanged, for any other text.
    [[nodiscard]] short readFromString(GSString const& text);
    // The named format of `flags`: text 90000 for kLongDate, else text 90001 for kShortDate; then
    // for kTime text 90002, after ", " when one of the others was taken. A text that the numeric
    // string table lacks is its default: "EEEE, d MMMM yyyy", "yyyy-MM-dd", "HH:mm:ss".
    GSString getFormatString(int flags) const;
    // writeToStringWithFormat / readFromStringWithFormat with getFormatString(flags).
    [[nodiscard]] short writeToFormattedString(GSString* out, int flags) const;
    [[nodiscard]] short readFromFormattedString(GSString const& text, int flags);
    // The date in `format` (see the top of this file), names from the installed numeric string
    // table.
    [[nodiscard]] short writeToStringWithFormat(GSString const& format, GSString* out) const;
    // Reads `text` in `format` (the reading rules at the top of this file), names from the
    // installed numeric string table.
    [[nodiscard]] short readFromStringWithFormat(GSString const& text, GSString const& format);
    // As writeToStringWithFormat with the names taken from `table`, starting at `firstNameID`
    // (0: kFirstNameID).
    [[nodiscard]] short writeToStringWithFormatAndStringTable(GSString const& format, int firstNameID,
                                                              GSNumericStringTable const& table,
                                                              GSString* out) const;
    // Appends `value` as the number field that the `count` bytes of `format` from byte `start`
    // describe (its first byte decides): "y" with count 2 the last two digits of |value|; "S" the
    // first `count` digits of value / 1000 as a fraction (value being milliseconds); any other at
    // least `count` digits, zero-padded after a "-" for a negative value. A range outside the
    // format appends `value` without padding.
    [[nodiscard]] static short addLongWithFormat(GSString const& format, int start, int count, int value,
                                                 GSString* out);
    // The decimal number at byte *index of `text`: an optional "-", then digits; *index moves
    // behind it. A text without a digit there, or a number beyond the 32-bit range, gives 0 and
    // leaves *index unchanged.
    static int readLongFromString(GSString const& text, long* index);

    // --- Files --------------------------------------------------------------------------------
    // The file block (see the top of this file). read accepts major version 1 (256..271), sets
    // the millisecond to 0 first, reads records 0, 1 and 2 and skips others; a record too short
    // for its fields, a failed read or a header that cannot be read (or does not fit) gives 1.
    [[nodiscard]] short read(GSFile* file);
    // 0, or 1 when anything cannot be written.
    [[nodiscard]] short write(GSFile* file) const;

    static GSDate const invalid;

    unsigned char day = 0;
    unsigned char month = 0;
    int year = 0;
    unsigned char hour = 0;
    unsigned char minute = 0;
    unsigned char second = 0;
    unsigned short millisecond = 0;

private:
    // The date at midnight with day number n (the year wraps when it leaves the 32-bit range).
    static GSDate fromDayNumber(long n);
    static GSDate feast(int year, int offset);
    void setDayNumber(long n);
    void moveDays(long n);
    int secondOfDay() const { return (hour * 60 + minute) * 60 + second; }
};
