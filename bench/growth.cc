// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "growth.h"

#include <poll.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <map>

#include "capi.h"
#include "crowd.h"

namespace bench {
namespace {

constexpr int kReaders[] = {1, 2, 4, 8};
constexpr int kMostReaders = 8;
constexpr double kGoal = 50;  // of live reads to those under the lock, all readers and a writer

// ---- Readers -----------------------------------------------------------------------------------

void read_locked() {
  capi_voice_basic basic;
  capi_get_voice_basic(&basic);
}

void read_live() {
  capi_voice_basic basic;
  capi_live_get_voice_basic(&basic);
}

void write_once() {
  static constexpr capi_voice_basic kBasic{};
  capi_set_voice_basic(&kBasic);
}

struct Way {
  const char* name;
  void (*read)();
  bool has_writer;
  const char* colour;
};
constexpr Way kWays[] = {{"live", read_live, false, "#4c8c4a"},
                         {"live, beside a writer", read_live, true, "#9ac799"},
                         {"under the lock", read_locked, false, "#d9822b"},
                         {"under the lock, beside a writer", read_locked, true, "#f0c08a"}};

double now() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

void rest(double seconds) {
  const auto nanoseconds = static_cast<long>(seconds * 1e9);
  const timespec time{nanoseconds / 1000000000, nanoseconds % 1000000000};
  nanosleep(&time, nullptr);
}

using Counts = std::array<std::atomic<uint64_t>, kMostReaders>;

uint64_t sum(const Counts& counts) {
  uint64_t all = 0;
  for (const auto& count : counts) all += count;
  return all;
}

// Reads a second of all readers together.
double reads_a_second(const Way& way, int readers, double seconds) {
  const Shared<Counts> counts;
  Crowd crowd;
  for (int i = 0; i < readers; ++i) {
    crowd.start([&count = (*counts)[i], read = way.read] {
      read();
      count.fetch_add(1, std::memory_order_relaxed);
    });
  }
  if (way.has_writer) crowd.start(write_once);
  for (int i = 0; i < readers; ++i) {
    while ((*counts)[i] == 0) rest(0.0001);
  }
  const uint64_t before = sum(*counts);
  const double start = now();
  rest(seconds);
  return static_cast<double>(sum(*counts) - before) / (now() - start);
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

using Figures = std::map<const Way*, std::vector<double>>;

void print_readers(const Figures& figures) {
  printf("\n%-34s", "reads of 916 bytes, millions a second");
  for (const int readers : kReaders) printf("%10d", readers);
  printf("  readers\n");
  for (const Way& way : kWays) {
    printf("%-37s", way.name);
    for (const double figure : figures.at(&way)) printf("%10.2f", figure / 1e6);
    printf("\n");
  }
  const double ratio = figures.at(&kWays[1]).back() / figures.at(&kWays[3]).back();
  printf("8 readers beside a writer: live %.0f times as many%s (goal %.0f)\n", ratio,
         ratio < kGoal ? "*" : "", kGoal);
}

// Both axes are logarithms.
void draw_readers(const std::string& path, const Figures& figures) {
  constexpr int kLeft = 60;
  constexpr int kBottom = 300;
  const auto x = [](size_t i) { return kLeft + 20 + static_cast<int>(i) * 120; };
  const auto y = [](double figure) { return kBottom - 60 * (std::log10(figure) - 4); };
  std::ofstream out(path);
  out << "<svg xmlns='http://www.w3.org/2000/svg' width='760' height='340' font-size='12' "
         "font-family='sans-serif'>\n<rect width='100%' height='100%' fill='white'/>\n";
  for (int power = 4; power <= 8; ++power) {
    const double height = y(std::pow(10, power));
    out << "<text x='8' y='" << height + 4 << "'>10^" << power << "/s</text><line x1='" << kLeft
        << "' x2='500' y1='" << height << "' y2='" << height << "' stroke='#ddd'/>\n";
  }
  for (size_t i = 0; i < std::size(kReaders); ++i) {
    out << "<text x='" << x(i) << "' y='" << kBottom + 20 << "'>" << kReaders[i]
        << (i == 0 ? " reader" : " readers") << "</text>\n";
  }
  for (const Way& way : kWays) {
    const std::vector<double>& line = figures.at(&way);
    out << "<polyline fill='none' stroke-width='2' stroke='" << way.colour << "' points='";
    for (size_t i = 0; i < line.size(); ++i) out << x(i) << ',' << y(line[i]) << ' ';
    out << "'/>\n<text x='" << x(line.size() - 1) + 50 << "' y='" << y(line.back()) + 4 << "'>"
        << way.name << "</text>\n";
  }
  out << "</svg>\n";
  out.close();
  require(out.good(), "the picture can be written");
}

// ---- Watchers ----------------------------------------------------------------------------------

constexpr int kChanges = 2000;
constexpr int kMostWatchers = 8;

struct Wakes {
  std::atomic<double> told;
  std::atomic<int> ready;
  std::atomic<int> awake;  // watchers that have seen the change
  double late[kMostWatchers][kChanges];
};

void watch_for_ever(Wakes& wakes, int watcher) {
  capi_watch watch;
  require(capi_watch_open(&watch, CAPI_TOPIC_CONFIG) == 0, "a watch opens");
  ++wakes.ready;
  int change = 0;
  for (pollfd wait{watch.fd, POLLIN, 0}; poll(&wait, 1, -1) == 1;) {
    const double at = now();
    if (capi_watch_changed(&watch) <= 0) continue;
    if (change < kChanges) wakes.late[watcher][change++] = at - wakes.told;
    ++wakes.awake;
  }
}

double percentile(std::vector<double>& values, double part) {
  const auto at =
      values.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), at, values.end());
  return *at;
}

void print_watchers(int watchers, int changes) {
  const Shared<Wakes> wakes;
  Crowd crowd;
  for (int i = 0; i < watchers; ++i) crowd.start([&, i] { watch_for_ever(*wakes, i); });
  while (wakes->ready < watchers) rest(0.001);
  for (int change = 0; change < changes; ++change) {
    wakes->awake = 0;
    rest(0.0003);  // until all wait again
    wakes->told = now();
    write_once();
    while (wakes->awake < watchers) rest(0.00005);
  }
  std::vector<double> late;
  for (int i = 0; i < watchers; ++i) {
    late.insert(late.end(), wakes->late[i], wakes->late[i] + changes);
  }
  printf("%-37s%10d%10.1f%10.1f\n", "wake-up after a change, us", watchers,
         percentile(late, 0.5) * 1e6, percentile(late, 0.99) * 1e6);
}

}  // namespace

void measure_readers(bool brief, const std::string& plot) {
  const double seconds = brief ? 0.001 : 0.2;
  const int repetitions = brief ? 1 : 5;
  std::map<const Way*, std::map<int, std::vector<double>>> runs;
  for (int i = 0; i < repetitions; ++i) {
    for (const int readers : kReaders) {
      for (const Way& way : kWays) {
        runs[&way][readers].push_back(reads_a_second(way, readers, seconds));
      }
    }
  }
  Figures figures;
  for (const Way& way : kWays) {
    for (const int readers : kReaders) figures[&way].push_back(median(runs[&way][readers]));
  }
  print_readers(figures);
  if (!plot.empty()) draw_readers(plot, figures);
}

void measure_watchers(bool brief) {
  printf("\n%-37s%10s%10s%10s\n", "", "watchers", "p50", "p99");
  for (const int watchers : {1, kMostWatchers}) print_watchers(watchers, brief ? 3 : kChanges);
}

}  // namespace bench
