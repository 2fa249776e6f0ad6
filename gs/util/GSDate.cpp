// GSDate: construction, calendar time, calendar arithmetic, feasts and the file block. The text
// forms are in GSDateText.cpp.
#include "gs/util/GSDate.h"

#include "gs/file/GSFile.h"
#include "gs/file/GSTagRead.h"
#include "gs/file/GSTagWrite.h"
#include "gs/platform/GSPlatformSystem.h"

#include <climits>
#include <cmath>
#include <ctime>

GSDate const GSDate::invalid;

namespace {

constexpr long kSecondsPerDay = 86400;
// The days of the months before each month, in a common year.
constexpr int kDaysBefore[12] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
constexpr int kMonthLength[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
// The record tags of the file block.
enum : int { kDateTag = 0, kTimeTag = 1, kMillisecondTag = 2 };

// Division and remainder rounding toward minus infinity (b > 0), so that the calendar runs on
// through year 0 into negative years without a seam.
long floorDiv(long a, long b) { return a / b - (a % b < 0 ? 1 : 0); }
long floorMod(long a, long b) { return a - floorDiv(a, b) * b; }

// The year field of a year computed in 64 bits: modulo 2^32, as the field wraps.
int wrapYear(long year) { return static_cast<int>(static_cast<unsigned int>(year)); }

// The day number of 1 January of `year`.
long firstDayOfYear(long year)
{
    long const y = year - 1;
    return 365 * year + floorDiv(y, 4) - floorDiv(y, 100) + floorDiv(y, 400);
}

} // namespace

// --- Construction and conversion -----------------------------------------------------------------

GSDate::GSDate(int useGMT) { (void)init(static_cast<long>(std::time(nullptr)), useGMT); }

GSDate GSDate::getActualDate(int useGMT) { return GSDate(useGMT); }

GSDate::GSDate(long seconds, int useGMT) { (void)init(seconds, useGMT); }

short GSDate::init(long seconds, int useGMT)
{
    tm broken{};
    if (!GSPlatformBreakDownTime(seconds, useGMT, &broken) || broken.tm_year > INT_MAX - 1900) {
        invalidate();
        return 1;
    }
    day = static_cast<unsigned char>(broken.tm_mday);
    month = static_cast<unsigned char>(broken.tm_mon + 1);
    year = 1900 + broken.tm_year;
    hour = static_cast<unsigned char>(broken.tm_hour);
    minute = static_cast<unsigned char>(broken.tm_min);
    second = static_cast<unsigned char>(broken.tm_sec);
    millisecond = 0;
    return 0;
}

GSDate::GSDate(int d, int m, int y, int h, int mi, int s, int ms)
    : day(static_cast<unsigned char>(d)), month(static_cast<unsigned char>(m)), year(y),
      hour(static_cast<unsigned char>(h)), minute(static_cast<unsigned char>(mi)),
      second(static_cast<unsigned char>(s)), millisecond(static_cast<unsigned short>(ms))
{
}

GSDate::GSDate(_SYSTEMTIME const& time)
    : GSDate(time.wDay, time.wMonth, time.wYear, time.wHour, time.wMinute, time.wSecond, time.wMilliseconds)
{
}

_SYSTEMTIME GSDate::getSystemTime() const
{
    _SYSTEMTIME time;
    time.wYear = static_cast<unsigned short>(year);
    time.wMonth = month;
    time.wDayOfWeek = static_cast<unsigned short>(getDayOfWeek());
    time.wDay = day;
    time.wHour = hour;
    time.wMinute = minute;
    time.wSecond = second;
    time.wMilliseconds = millisecond;
    return time;
}

GSDate::GSDate(GSString const& text) { (void)readFromString(text); }

void GSDate::fillStructTm(tm* out) const
{
    *out = tm{};
    out->tm_year = wrapYear(static_cast<long>(year) - 1900);
    out->tm_mon = month - 1;
    out->tm_mday = day;
    out->tm_hour = hour;
    out->tm_min = minute;
    out->tm_sec = second;
    out->tm_wday = getDayOfWeek();
    out->tm_yday = getDayOfYear();
    out->tm_isdst = -1;
}

long GSDate::getSeconds() const
{
    tm broken;
    fillStructTm(&broken);
    return static_cast<long>(std::mktime(&broken));
}

int GSDate::getDiffSecondsToGMTime()
{
    long const now = static_cast<long>(std::time(nullptr));
    tm gmt{};
    tm local{};
    if (!GSPlatformBreakDownTime(now, 1, &gmt) || !GSPlatformBreakDownTime(now, 0, &local))
        return 0;
    // gmtime says "no daylight-saving time"; mktime would read the GMT fields as standard time and
    // leave the daylight-saving hour out of the offset.
    gmt.tm_isdst = local.tm_isdst;
    double const diff = std::difftime(std::mktime(&gmt), std::mktime(&local));
    return static_cast<int>(std::floor(diff + 0.49));
}

void GSDate::convertToGMTime() { addSeconds(getDiffSecondsToGMTime()); }

void GSDate::convertFromGMTime() { addSeconds(-static_cast<long>(getDiffSecondsToGMTime())); }

short GSDate::checkForError() const
{
    if (day < 1)
        return 1;
    if (month < 1 || month > 12)
        return 2;
    if (day > lengthOfMonth())
        return 1;
    if (hour > 23)
        return 3;
    if (minute > 59)
        return 4;
    if (second > 59)
        return 5;
    return 0;
}

// --- Queries -------------------------------------------------------------------------------------

bool GSDate::isLeapYear(int y) { return y % 4 == 0 && (y % 100 != 0 || y % 400 == 0); }

int GSDate::getDaysForYear(int y) { return isLeapYear(y) ? 366 : 365; }

int GSDate::lengthOfMonth() const
{
    if (month < 1 || month > 12)
        return 0;
    return month == 2 && isLeapYear(year) ? 29 : kMonthLength[month - 1];
}

int GSDate::getDayOfYear() const
{
    int const m = month < 1 ? 1 : month > 12 ? 12 : month;
    return kDaysBefore[m - 1] + (m > 2 && isLeapYear(year) ? 1 : 0) + day - 1;
}

long GSDate::days() const { return firstDayOfYear(year) + getDayOfYear(); }

int GSDate::getDayOfWeek() const { return static_cast<int>(floorMod(days() - 730247, 7)); }

int GSDate::getDayOfWeekMonday() const { return (getDayOfWeek() + 6) % 7; }

int GSDate::getWeekOfYear() const
{
    int const m = GSDate(1, 1, year).getDayOfWeekMonday();
    int const k = getDayOfYear() + m;
    if (m < 4) {
        int const week = k / 7 + 1;
        if (week == 53 && GSDate(31, 12, year).getDayOfWeekMonday() < 4)
            return 1;
        return week;
    }
    if (k < 7)
        return GSDate(31, 12, wrapYear(static_cast<long>(year) - 1)).getWeekOfYear();
    return k / 7;
}

int GSDate::getHour12(short* isPM) const
{
    if (isPM)
        *isPM = hour >= 12 ? 1 : 0;
    int const h = hour % 12;
    return h == 0 ? 12 : h;
}

// --- Arithmetic and comparison -------------------------------------------------------------------

void GSDate::setDayNumber(long n)
{
    // Counted from 1 March of year 0, so that the leap day ends each 4-, 100- and 400-year cycle
    // (the civil-from-days method): era = 400-year cycle, doe = day of the era, yoe = year of the
    // era, doy = day of that March-based year, mp = its month from March.
    long const z = n - 59;
    long const era = floorDiv(z, 146097);
    long const doe = z - era * 146097;
    long const yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    long const doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    long const mp = (5 * doy + 2) / 153;
    day = static_cast<unsigned char>(doy - (153 * mp + 2) / 5 + 1);
    month = static_cast<unsigned char>(mp < 10 ? mp + 3 : mp - 9);
    year = wrapYear(era * 400 + yoe + (month <= 2 ? 1 : 0));
}

void GSDate::moveDays(long n) { setDayNumber(days() + n); }

void GSDate::addDays(int n) { moveDays(n); }

void GSDate::addSeconds(long s)
{
    long const q = s / kSecondsPerDay;
    if (q != 0) {
        moveDays(q);
        s -= q * kSecondsPerDay;
    }
    if (s == 0)
        return;
    int t = secondOfDay() + static_cast<int>(s);
    if (t >= kSecondsPerDay) {
        moveDays(1);
        t -= kSecondsPerDay;
    } else if (t < 0) {
        moveDays(-1);
        t += kSecondsPerDay;
    }
    int const h = t / 3600;
    int const m = (t - h * 3600) / 60;
    hour = static_cast<unsigned char>(h);
    minute = static_cast<unsigned char>(m);
    second = static_cast<unsigned char>(t - h * 3600 - m * 60);
}

void GSDate::addMonths(int n)
{
    long const total = static_cast<long>(month) - 1 + n;
    year = wrapYear(year + floorDiv(total, 12));
    month = static_cast<unsigned char>(floorMod(total, 12) + 1);
}

void GSDate::addYears(int n) { year = wrapYear(static_cast<long>(year) + n); }

long GSDate::operator-(GSDate const& other) const
{
    return (days() - other.days()) * kSecondsPerDay + secondOfDay() - other.secondOfDay();
}

int GSDate::compare(GSDate const& other) const
{
    long const mine[7] = {year, month, day, hour, minute, second, millisecond};
    long const theirs[7] = {other.year, other.month, other.day, other.hour, other.minute, other.second,
                            other.millisecond};
    for (int i = 0; i < 7; ++i) {
        if (mine[i] != theirs[i])
            return mine[i] < theirs[i] ? -1 : 1;
    }
    return 0;
}

// --- Movable feasts ------------------------------------------------------------------------------

long GSDate::getDayOfEastern(int forYear)
{
    // Gauss: a = golden number - 1, k = century, p and q the lunar and solar corrections; Easter is
    // d + e days after 22 March.
    long const y = forYear;
    long const a = floorMod(y, 19);
    long const b = floorMod(y, 4);
    long const c = floorMod(y, 7);
    long const k = floorDiv(y, 100);
    long const p = floorDiv(13 + 8 * k, 25);
    long const q = floorDiv(k, 4);
    long const m = floorMod(15 - p + k - q, 30);
    long const n = floorMod(4 + k - q, 7);
    long const d = floorMod(19 * a + m, 30);
    long const e = floorMod(2 * b + 4 * c + 6 * d + n, 7);
    long afterMarch21 = 1 + d + e;
    // 26 April (36 days after 21 March) becomes 19 April; 25 April, 18 April under the condition.
    if (afterMarch21 == 36 || (afterMarch21 == 35 && d == 28 && a >= 11))
        afterMarch21 -= 7;
    return firstDayOfYear(y) + (isLeapYear(forYear) ? 80 : 79) + afterMarch21;
}

GSDate GSDate::fromDayNumber(long n)
{
    GSDate date;
    date.setDayNumber(n);
    return date;
}

GSDate GSDate::feast(int forYear, int offset) { return fromDayNumber(getDayOfEastern(forYear) + offset); }

GSDate GSDate::getEastern(int y) { return feast(y, 0); }
GSDate GSDate::getRosenmontag(int y) { return feast(y, -48); }
GSDate GSDate::getAschermittwoch(int y) { return feast(y, -46); }
GSDate GSDate::getKarfreitag(int y) { return feast(y, -2); }
GSDate GSDate::getHimmelfahrt(int y) { return feast(y, 39); }
GSDate GSDate::getPfingsten(int y) { return feast(y, 49); }
GSDate GSDate::getFronleichnam(int y) { return feast(y, 60); }

// --- Files ---------------------------------------------------------------------------------------

short GSDate::write(GSFile* file) const
{
    if (!file)
        return 1;
    GSTagWrite tags(file);
    if (tags.writeVersion(kVersion) || tags.writeStart(kDateTag) || file->writeChar(static_cast<char>(day)) ||
        file->writeChar(static_cast<char>(month)) || file->writeLong(year) || tags.writeEnd())
        return 1;
    if (tags.writeStart(kTimeTag) || file->writeChar(static_cast<char>(hour)) ||
        file->writeChar(static_cast<char>(minute)) || file->writeChar(static_cast<char>(second)) || tags.writeEnd())
        return 1;
    if (millisecond != 0 && (tags.writeStart(kMillisecondTag) ||
                             file->writeShort(static_cast<short>(millisecond)) || tags.writeEnd()))
        return 1;
    return tags.writeEndTag() ? 1 : 0;
}

short GSDate::read(GSFile* file)
{
    if (!file)
        return 1;
    millisecond = 0;
    GSTagRead tags(file);
    if (tags.readVersion(kVersion, nullptr))
        return 1;
    for (;;) {
        int const tag = tags.read();
        if (tag == GSTagRead::kEndTag)
            return 0;
        // Also a header that cannot be read or whose record does not fit.
        if (tag == GSTagRead::kReadFailure)
            return 1;
        // Each record must hold its fields: a shorter one would read into the next header.
        char b[3];
        if (tag == kDateTag) {
            int y;
            if (tags.getSize() < 6 || file->readChar(&b[0]) || file->readChar(&b[1]) || file->readLong(&y))
                return 1;
            day = static_cast<unsigned char>(b[0]);
            month = static_cast<unsigned char>(b[1]);
            year = y;
        } else if (tag == kTimeTag) {
            if (tags.getSize() < 3 || file->readChar(&b[0]) || file->readChar(&b[1]) || file->readChar(&b[2]))
                return 1;
            hour = static_cast<unsigned char>(b[0]);
            minute = static_cast<unsigned char>(b[1]);
            second = static_cast<unsigned char>(b[2]);
        } else if (tag == kMillisecondTag) {
            short ms;
            if (tags.getSize() < 2 || file->readShort(&ms))
                return 1;
            millisecond = static_cast<unsigned short>(ms);
        }
        if (tags.skip())
            return 1;
    }
}
