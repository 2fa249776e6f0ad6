// GSDate's calendar arithmetic against the C++20 calendar: addDays against std::chrono's
// year_month_day -> sys_days + n -> year_month_day, and getWeekOfYear against an ISO 8601 week
// computed with std::chrono (the week of the day's Thursday). Both sides start from broken-down
// dates and end with one, over the same 4096 fixed-seed dates (1900-2100) and steps
// (+-100,000 days); items per second are calls.
#include "gs/util/GSDate.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <random>
#include <vector>

using namespace std::chrono;

namespace {

constexpr std::size_t kCount = 4096;

struct Inputs {
    std::vector<GSDate> dates;
    std::vector<year_month_day> ymds;
    std::vector<int> steps;
};

Inputs const& inputs()
{
    static Inputs const in = [] {
        Inputs made;
        std::mt19937 random(1);
        std::uniform_int_distribution<int> day(sys_days{year{1900} / 1 / 1}.time_since_epoch().count(),
                                               sys_days{year{2100} / 12 / 31}.time_since_epoch().count());
        std::uniform_int_distribution<int> step(-100000, 100000);
        for (std::size_t i = 0; i < kCount; ++i) {
            year_month_day const v{sys_days{days{day(random)}}};
            made.ymds.push_back(v);
            made.dates.emplace_back(int(unsigned(v.day())), int(unsigned(v.month())), int(v.year()));
            made.steps.push_back(step(random));
        }
        return made;
    }();
    return in;
}

template <class Op>
void perInput(benchmark::State& state, Op op)
{
    for (auto _ : state) {
        for (std::size_t i = 0; i < kCount; ++i)
            benchmark::DoNotOptimize(op(i));
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(kCount));
}

void BM_GSDateAddDays(benchmark::State& state)
{
    Inputs const& in = inputs();
    perInput(state, [&](std::size_t i) {
        GSDate d = in.dates[i];
        d.addDays(in.steps[i]);
        return d;
    });
}

void BM_ChronoAddDays(benchmark::State& state)
{
    Inputs const& in = inputs();
    perInput(state, [&](std::size_t i) { return year_month_day{sys_days{in.ymds[i]} + days{in.steps[i]}}; });
}

void BM_GSDateWeekOfYear(benchmark::State& state)
{
    Inputs const& in = inputs();
    perInput(state, [&](std::size_t i) { return in.dates[i].getWeekOfYear(); });
}

void BM_ChronoISOWeek(benchmark::State& state)
{
    Inputs const& in = inputs();
    perInput(state, [&](std::size_t i) {
        sys_days const d{in.ymds[i]};
        sys_days const thursday = d + days{4 - int(weekday{d}.iso_encoding())};
        return (thursday - sys_days{year_month_day{thursday}.year() / 1 / 1}).count() / 7 + 1;
    });
}

} // namespace

BENCHMARK(BM_GSDateAddDays);
BENCHMARK(BM_ChronoAddDays);
BENCHMARK(BM_GSDateWeekOfYear);
BENCHMARK(BM_ChronoISOWeek);
BENCHMARK_MAIN();
