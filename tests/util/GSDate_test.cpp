#include "gs/util/GSDate.h"

#include "gs/text/GSStringTable.h"
#include "tests/object/TestObjects.h"

#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <random>
#include <string>
#include <vector>

using namespace qmtest;
using namespace std::chrono;

namespace {

// "d:m:y:h:m:s.ms", every field.
std::string show(GSDate const& d)
{
    GSString s;
    EXPECT_EQ(d.writeToString(&s), 0);
    return std::string(s.c_str()) + "." + std::to_string(d.millisecond);
}

GSDate fromChrono(sys_days d, int hour = 0)
{
    year_month_day const v{d};
    return GSDate(static_cast<int>(unsigned(v.day())), static_cast<int>(unsigned(v.month())), int(v.year()), hour);
}

std::string formatted(GSDate const& d, char const* format)
{
    GSString s;
    EXPECT_EQ(d.writeToStringWithFormat(GSString(format), &s), 0);
    return s.c_str();
}

// The day's ISO 8601 week: the week of its Thursday, counted in that Thursday's year.
int isoWeek(sys_days d)
{
    sys_days const thursday = d + days{4 - static_cast<int>(weekday{d}.iso_encoding())};
    return static_cast<int>((thursday - sys_days{year_month_day{thursday}.year() / 1 / 1}).count() / 7 + 1);
}

// Easter Sunday by the anonymous Gregorian algorithm (Meeus/Jones/Butcher), as month * 100 + day.
int easterMJB(int y)
{
    int const a = y % 19, b = y / 100, c = y % 100, d = b / 4, e = b % 4, f = (b + 8) / 25, g = (b - f + 1) / 3;
    int const h = (19 * a + b - d - g + 15) % 30, i = c / 4, k = c % 4, l = (32 + 2 * e + 2 * i - h - k) % 7;
    int const m = (a + 11 * h + 22 * l) / 451, n = h + l - 7 * m + 114;
    return n / 31 * 100 + n % 31 + 1;
}

// Sets TZ for the life of the object.
struct TimeZone {
    explicit TimeZone(char const* zone)
    {
        char const* old = std::getenv("TZ");
        hadOld = old != nullptr;
        if (old)
            previous = old;
        setenv("TZ", zone, 1);
        tzset();
    }
    ~TimeZone()
    {
        if (hadOld)
            setenv("TZ", previous.c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }
    std::string previous;
    bool hadOld = false;
};

std::string blockHex(GSDate const& d, short compact)
{
    WriteFile w;
    if (compact) {
        EXPECT_EQ(w.f.startObjectMergingWrite(1), 0);
    }
    long const start = w.f.tell();
    EXPECT_EQ(d.write(&w.f), 0);
    std::vector<unsigned char> const b = fileBytes(w.f);
    return toHex(std::vector<unsigned char>(b.begin() + start, b.end()));
}

short readBlock(std::string const& hex, short compact, GSDate* d)
{
    ReadFile r(compact ? "02 00 00 00 00 00 00 00 00 00 00 00 00 00 " + hex : hex);
    if (compact) {
        EXPECT_EQ(r.f.startObjectMergingRead(), 0);
        EXPECT_EQ(r.f.seek(14, 0), 0);
    }
    short const status = d->read(&r.f);
    if (compact) {
        EXPECT_EQ(r.f.stopObjectMergingRead(), 0);
    }
    return status;
}

} // namespace

TEST(GSDateCalendar, AgreesWithChrono)
{
    // Every day of the years around year 0 (leap year 0, negative years), then random days of
    // -9999..9999, each also moved by up to 3 million days in either direction.
    std::vector<sys_days> samples;
    for (sys_days d = sys_days{year{-401} / 1 / 1}; d <= sys_days{year{401} / 12 / 31}; d += days{1})
        samples.push_back(d);
    std::mt19937 gen(20240331);
    std::uniform_int_distribution<int> pick(sys_days{year{-9999} / 1 / 1}.time_since_epoch().count(),
                                            sys_days{year{9999} / 12 / 31}.time_since_epoch().count());
    for (int i = 0; i < 100000; ++i)
        samples.push_back(sys_days{days{pick(gen)}});
    std::uniform_int_distribution<int> step(-3000000, 3000000);
    for (sys_days d : samples) {
        GSDate const date = fromChrono(d, 7);
        year_month_day const v{d};
        ASSERT_EQ(date.getDayOfWeek(), static_cast<int>(weekday{d}.c_encoding())) << show(date);
        ASSERT_EQ(date.getDayOfWeekMonday(), static_cast<int>(weekday{d}.iso_encoding()) - 1);
        ASSERT_EQ(date.getDayOfYear(), (d - sys_days{v.year() / 1 / 1}).count()) << show(date);
        ASSERT_EQ(date.days(), d.time_since_epoch().count() + 719527) << show(date);
        ASSERT_EQ(date.lengthOfMonth(), static_cast<int>(unsigned((v.year() / v.month() / last).day())));
        ASSERT_EQ(date.checkForError(), 0);
        int const n = step(gen);
        GSDate moved = date;
        moved.addDays(n);
        ASSERT_EQ(show(moved), show(fromChrono(d + days{n}, 7))) << show(date) << " + " << n;
    }
    EXPECT_EQ(GSDate(1, 1, 2000).days(), 730484);
}

TEST(GSDateCalendar, WholeYearRange)
{
    // Far from chrono's years: moving by k days changes the day number by k and gives a valid date.
    std::mt19937 gen(5);
    std::uniform_int_distribution<int> years(INT_MIN + 4000000, INT_MAX - 4000000);
    std::uniform_int_distribution<long> steps(-1000000000L, 1000000000L);
    for (int i = 0; i < 20000; ++i) {
        GSDate date(1 + i % 28, 1 + i % 12, years(gen), 13, 14, 15, 16);
        long const k = steps(gen);
        GSDate moved = date;
        moved.addSeconds(k * 86400);
        ASSERT_EQ(moved.days(), date.days() + k) << show(date) << " + " << k;
        ASSERT_EQ(moved.checkForError(), 0) << show(moved);
        ASSERT_EQ(show(moved).substr(show(moved).find(":13:")), ":13:14:15.16");
    }
    // A year leaving the 32-bit range wraps, as the field does.
    GSDate last(31, 12, INT_MAX);
    last.addDays(1);
    EXPECT_EQ(show(last), "1:1:" + std::to_string(INT_MIN) + ":0:0:0.0");
    last.addYears(-1);
    EXPECT_EQ(last.year, INT_MAX);
    last.addMonths(12);
    EXPECT_EQ(last.year, INT_MIN);
}

TEST(GSDateCalendar, ValidationAndComparison)
{
    struct Case {
        GSDate date;
        short error;
    } const cases[] = {
        {GSDate(29, 2, 2000), 0}, {GSDate(29, 2, 1900), 1}, {GSDate(29, 2, -4), 0}, {GSDate(29, 2, -100), 1},
        {GSDate(31, 4, 2024), 1}, {GSDate(0, 13, 2024), 1}, {GSDate(5, 13, 2024), 2}, {GSDate(5, 0, 2024), 2},
        {GSDate(31, 12, 2024, 23, 59, 59, 65535), 0}, {GSDate(1, 1, 1, 24, 60, 60), 3}, {GSDate(1, 1, 1, 0, 60, 60), 4},
        {GSDate(1, 1, 1, 0, 0, 60), 5}, {GSDate::invalid, 1},
    };
    for (Case const& c : cases)
        EXPECT_EQ(c.date.checkForError(), c.error) << show(c.date);
    // Validity as chrono sees it, over days 0..32 and months 0..13.
    for (int y : {1900, 2000, 2023, 2024, -1, 0})
        for (int m = 0; m <= 13; ++m)
            for (int d = 0; d <= 32; ++d)
                ASSERT_EQ(GSDate(d, m, y).checkForError() == 0, year_month_day(year{y} / m / d).ok()) << d << m << y;

    // Each field decides when the fields before it are equal; the millisecond counts too.
    GSDate const base(15, 6, 2024, 12, 30, 30, 500);
    GSDate const later[] = {GSDate(1, 1, 2025), GSDate(1, 7, 2024), GSDate(16, 6, 2024), GSDate(15, 6, 2024, 13),
                            GSDate(15, 6, 2024, 12, 31), GSDate(15, 6, 2024, 12, 30, 31),
                            GSDate(15, 6, 2024, 12, 30, 30, 501)};
    for (GSDate const& l : later) {
        EXPECT_EQ(base.compare(l), -1) << show(l);
        EXPECT_EQ(l.compare(base), 1) << show(l);
        EXPECT_TRUE(base < l && base <= l && !(l < base) && !(l <= base) && !(base == l)) << show(l);
    }
    EXPECT_TRUE(base == GSDate(base) && base <= base && !(base < base) && base.compare(base) == 0);
    EXPECT_EQ(GSDate(1, 12, 2023, 23, 59, 59, 999).compare(base), -1);
}

TEST(GSDateArithmetic, MonthsYearsSeconds)
{
    struct Case {
        GSDate date;
        char what;
        long n;
        char const* result;
    } const cases[] = {
        {GSDate(31, 1, 2024, 10), 'M', 1, "31:2:2024:10:0:0.0"},   // no clamping
        {GSDate(15, 11, 2024), 'M', 3, "15:2:2025:0:0:0.0"},
        {GSDate(15, 1, 2024), 'M', -1, "15:12:2023:0:0:0.0"},
        {GSDate(15, 1, 2024), 'M', -25, "15:12:2021:0:0:0.0"},
        {GSDate(15, 12, 2024), 'M', 12, "15:12:2025:0:0:0.0"},
        {GSDate(15, 0, 2024), 'M', 0, "15:12:2023:0:0:0.0"},
        {GSDate(29, 2, 2024, 1, 2, 3, 4), 'Y', 1, "29:2:2025:1:2:3.4"},
        {GSDate(29, 2, 2024), 'Y', -2025, "29:2:-1:0:0:0.0"},
        {GSDate(1, 1, 2001), 'D', -1, "31:12:2000:0:0:0.0"},
        {GSDate(28, 2, 1900), 'D', 1, "1:3:1900:0:0:0.0"},
        {GSDate(28, 2, 2000), 'D', 1, "29:2:2000:0:0:0.0"},
        {GSDate(31, 2, 2023, 5), 'D', 0, "3:3:2023:5:0:0.0"},     // an overflowing day carries
        {GSDate(0, 1, 2024), 'D', 0, "31:12:2023:0:0:0.0"},
        {GSDate(1, 3, 2024, 0, 0, 0, 250), 'S', -1, "29:2:2024:23:59:59.250"},
        {GSDate(1, 3, 2024, 0, 0, 0), 'S', 90000, "2:3:2024:1:0:0.0"},
        {GSDate(31, 12, 2024, 23, 59, 59), 'S', 1, "1:1:2025:0:0:0.0"},
        {GSDate(1, 1, 2024, 0, 0, 1), 'S', -86401, "31:12:2023:0:0:0.0"},
        {GSDate(1, 1, 2024, 0, 0, 1), 'S', -86402, "30:12:2023:23:59:59.0"},
        {GSDate(1, 1, 2024, 12), 'S', 86400L * 366 + 3723, "1:1:2025:13:2:3.0"},
        {GSDate(1, 1, 2024, 12), 'S', 0, "1:1:2024:12:0:0.0"},
    };
    for (Case const& c : cases) {
        GSDate d = c.date;
        if (c.what == 'M')
            d.addMonths(static_cast<int>(c.n));
        else if (c.what == 'Y')
            d.addYears(static_cast<int>(c.n));
        else if (c.what == 'D')
            d.addDays(static_cast<int>(c.n));
        else
            d.addSeconds(c.n);
        EXPECT_EQ(show(d), c.result) << show(c.date) << " " << c.what << c.n;
    }
    // Against chrono: months carried into years, and seconds over up to 300 years either way; the
    // difference of two dates moves one onto the other.
    std::mt19937 gen(11);
    std::uniform_int_distribution<int> dayOf(0, 2000000), monthStep(-5000, 5000);
    std::uniform_int_distribution<long> secondStep(-10000000000L, 10000000000L);
    for (int i = 0; i < 20000; ++i) {
        sys_days const d{days{dayOf(gen) - 1000000}};
        year_month_day const v{d};
        int const n = monthStep(gen);
        GSDate m = fromChrono(d);
        m.addMonths(n);
        year_month const expected = v.year() / v.month() + months{n};
        ASSERT_EQ(m.year * 100 + m.month, int(expected.year()) * 100 + static_cast<int>(unsigned(expected.month())));
        long const s = secondStep(gen);
        GSDate t = fromChrono(d);
        t.hour = static_cast<unsigned char>(i % 24), t.minute = static_cast<unsigned char>(i % 60);
        GSDate const start = t;
        t.addSeconds(s);
        sys_seconds const when = d + hours{i % 24} + minutes{i % 60} + seconds{s};
        sys_days const day = floor<days>(when);
        hh_mm_ss const clock{when - day};
        ASSERT_EQ(show(t), show(GSDate(fromChrono(day).day, fromChrono(day).month, fromChrono(day).year,
                                       static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                                       static_cast<int>(clock.seconds().count()))));
        ASSERT_EQ(t - start, s);
        GSDate back = t;
        back.addSeconds(start - t);
        ASSERT_EQ(show(back), show(start));
    }
}

TEST(GSDateCalendar, WeekRuleAgainstISO)
{
    // The rule differs from ISO 8601 in two ways only: in a year whose 31 December is a Thursday,
    // ISO week 53 (Monday 28 December to Sunday 3 January) is week 1; in a leap year that starts
    // on a Sunday, 31 December (a Monday, ISO week 1) is week 53. Pinned for 2000-2040.
    std::vector<std::string> pinned;
    for (sys_days d = sys_days{year{1583} / 1 / 1}; d <= sys_days{year{4099} / 12 / 31}; d += days{1}) {
        GSDate const date = fromChrono(d);
        int const ours = date.getWeekOfYear(), iso = isoWeek(d);
        if (ours == iso)
            continue;
        year_month_day const v{d};
        sys_days const thursday = d + days{4 - static_cast<int>(weekday{d}.iso_encoding())};
        bool const thursdayEnd = iso == 53 && ours == 1 && weekday{thursday} == Thursday &&
                                 year_month_day{thursday} == year_month_day{year_month_day{thursday}.year() / 12 / 31};
        bool const sundayLeap = ours == 53 && iso == 1 && v.month() == December && v.day() == day{31} &&
                                v.year().is_leap() && weekday{sys_days{v.year() / 1 / 1}} == Sunday;
        ASSERT_TRUE(thursdayEnd || sundayLeap) << show(date) << " " << ours << " " << iso;
        if (v.year() >= year{2000} && v.year() <= year{2040})
            pinned.push_back(std::to_string(int(v.year())) + "-" + std::to_string(unsigned(v.month())) + "-" +
                             std::to_string(unsigned(v.day())) + ":" + std::to_string(ours));
    }
    std::string all;
    for (auto const& p : pinned)
        all += p + " ";
    EXPECT_EQ(all, "2009-12-28:1 2009-12-29:1 2009-12-30:1 2009-12-31:1 2010-1-1:1 2010-1-2:1 2010-1-3:1 "
                   "2012-12-31:53 "
                   "2015-12-28:1 2015-12-29:1 2015-12-30:1 2015-12-31:1 2016-1-1:1 2016-1-2:1 2016-1-3:1 "
                   "2020-12-28:1 2020-12-29:1 2020-12-30:1 2020-12-31:1 2021-1-1:1 2021-1-2:1 2021-1-3:1 "
                   "2026-12-28:1 2026-12-29:1 2026-12-30:1 2026-12-31:1 2027-1-1:1 2027-1-2:1 2027-1-3:1 "
                   "2037-12-28:1 2037-12-29:1 2037-12-30:1 2037-12-31:1 2038-1-1:1 2038-1-2:1 2038-1-3:1 "
                   "2040-12-31:53 ");
    EXPECT_EQ(GSDate(31, 12, 2020).getWeekOfYear(), 1);
}

TEST(GSDateFeasts, EasterAndTheMovableFeasts)
{
    for (int y = 1583; y <= 4099; ++y) {
        GSDate const easter = GSDate::getEastern(y);
        ASSERT_EQ(easter.year * 10000 + easter.month * 100 + easter.day, y * 10000 + easterMJB(y)) << y;
        ASSERT_EQ(easter.days(), GSDate::getDayOfEastern(y));
    }
    // Every year, far ones included: each feast its distance from Easter, on its weekday.
    struct Feast {
        GSDate (*get)(int);
        int offset;
    } const feasts[] = {{GSDate::getEastern, 0},       {GSDate::getRosenmontag, -48}, {GSDate::getAschermittwoch, -46},
                        {GSDate::getKarfreitag, -2},   {GSDate::getHimmelfahrt, 39},  {GSDate::getPfingsten, 49},
                        {GSDate::getFronleichnam, 60}};
    std::mt19937 gen(3);
    std::uniform_int_distribution<int> anyYear(INT_MIN + 1, INT_MAX - 1);
    for (int i = 0; i < 3000; ++i) {
        int const y = i < 1000 ? i - 500 : anyYear(gen);
        long const easter = GSDate::getDayOfEastern(y);
        for (Feast const& f : feasts) {
            GSDate const d = f.get(y);
            ASSERT_EQ(d.days(), easter + f.offset) << y;
            ASSERT_EQ(d.getDayOfWeek(), (f.offset % 7 + 7) % 7) << y;
            ASSERT_EQ(show(d).substr(show(d).size() - 8), ":0:0:0.0");
        }
        GSDate const e = GSDate::getEastern(y);
        ASSERT_TRUE(e.year == y && (e.month == 3 ? e.day >= 22 : e.month == 4 && e.day <= 25)) << show(e);
    }
    EXPECT_EQ(show(GSDate::getEastern(2024)), "31:3:2024:0:0:0.0");
    EXPECT_EQ(show(GSDate::getKarfreitag(2024)), "29:3:2024:0:0:0.0");
    EXPECT_EQ(show(GSDate::getPfingsten(2024)), "19:5:2024:0:0:0.0");
    EXPECT_EQ(show(GSDate::getRosenmontag(2024)), "12:2:2024:0:0:0.0");
    // Gauss's exceptions: 26 April 1981 and 25 April 1954 (d = 28, a = 16) move back a week; in
    // 2049 (d = 28, a = 16) too, while 25 April 1886 (d = 29) and 2038 (d = 28, a = 5) stay.
    for (auto [y, md] : {std::pair{1981, 419}, {1954, 418}, {2049, 418}, {1886, 425}, {2038, 425}})
        EXPECT_EQ(GSDate::getEastern(y).month * 100 + GSDate::getEastern(y).day, md) << y;
}
