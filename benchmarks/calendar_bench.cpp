// Calendar time against std::chrono and strftime().
#include "zarlib/time/calendar.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <ctime>
#include <random>
#include <vector>

namespace {

constexpr int day_1970 = 719560;

/// Random days in the years 1943 to 2051.
const std::vector<int> &days() {
  static const std::vector<int> all = [] {
    std::mt19937 random(1);
    std::vector<int> result(4096);
    for (int &day : result) day = day_1970 - 10000 + static_cast<int>(random() % 40000);
    return result;
  }();
  return all;
}

struct date {
  int year, month, day;
};

date ours_date(int day) {
  const chTime time(day, 0);
  return {time.GetYear(), time.GetMonth(), time.GetDay()};
}

int ours_day(const date &d) { return chTime(d.year, d.month, d.day, 0, 0, 0, 0).day; }

date chrono_date(int day) {
  const std::chrono::year_month_day d = std::chrono::sys_days(std::chrono::days(day - day_1970));
  return {static_cast<int>(d.year()), static_cast<int>(static_cast<unsigned>(d.month())),
          static_cast<int>(static_cast<unsigned>(d.day()))};
}

int chrono_day(const date &d) {
  const auto date = std::chrono::year(d.year) / d.month / d.day;
  return static_cast<int>(std::chrono::sys_days(date).time_since_epoch().count()) + day_1970;
}

template <date (*to_date)(int)>
void BM_to_date(benchmark::State &state) {
  for (auto _ : state)
    for (const int day : days()) {
      date d = to_date(day);
      benchmark::DoNotOptimize(d.year);
      benchmark::DoNotOptimize(d.month);
      benchmark::DoNotOptimize(d.day);
    }
}

template <int (*to_day)(const date &)>
void BM_to_day(benchmark::State &state) {
  std::vector<date> dates;
  for (const int day : days()) dates.push_back(chrono_date(day));
  for (auto _ : state)
    for (const date &d : dates) benchmark::DoNotOptimize(to_day(d));
}

template <date (*to_date)(int), int (*to_day)(const date &)>
void BM_round_trip(benchmark::State &state) {
  for (auto _ : state)
    for (const int day : days()) {
      date d = to_date(day);
      benchmark::DoNotOptimize(d.year);
      benchmark::DoNotOptimize(d.month);
      benchmark::DoNotOptimize(d.day);
      benchmark::DoNotOptimize(to_day(d));
    }
}

const char *const formats[] = {"%Y-%m-%d %H:%M:%S", "%H:%M:%S", "%A, %d %B %Y"};

void BM_format_ours(benchmark::State &state) {
  const chTime time(2024, 3, 7, 9, 5, 2, 0);
  for (auto _ : state) benchmark::DoNotOptimize(time.Format(formats[state.range(0)]));
}

void BM_format_strftime(benchmark::State &state) {
  const std::time_t moment = 1709802302;
  const std::tm parts = *std::gmtime(&moment);
  for (auto _ : state) {
    char text[128];
    benchmark::DoNotOptimize(std::string(text, std::strftime(text, sizeof text, formats[state.range(0)], &parts)));
  }
}

} // namespace

// 4096 conversions per iteration.
BENCHMARK(BM_to_date<ours_date>)->Name("BM_DayToDate/ours");
BENCHMARK(BM_to_date<chrono_date>)->Name("BM_DayToDate/std::chrono");
BENCHMARK(BM_to_day<ours_day>)->Name("BM_DateToDay/ours");
BENCHMARK(BM_to_day<chrono_day>)->Name("BM_DateToDay/std::chrono");
BENCHMARK(BM_round_trip<ours_date, ours_day>)->Name("BM_DayToDateAndBack/ours");
BENCHMARK(BM_round_trip<chrono_date, chrono_day>)->Name("BM_DayToDateAndBack/std::chrono");
// The argument selects the format: date and time, time, and names, which the library delegates to strftime().
BENCHMARK(BM_format_ours)->Name("BM_Format/ours")->DenseRange(0, 2);
BENCHMARK(BM_format_strftime)->Name("BM_Format/strftime")->DenseRange(0, 2);
BENCHMARK_MAIN();
