// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What is measured: rows of one operation each, done by us and by others.
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <vector>

namespace bench {

// One who does the job of a row. Google Benchmark counts iterations, which may be several
// operations each.
struct Contestant {
  std::string who;
  std::function<void(benchmark::State&)> run;
  double operations = 1;
};

// What is waited for is no processor time: that of the others in a contest for a lock counts.
enum class Clock { Processor, Wall };

// The first contestant is ours, the second the one it is held against, the others are peers.
struct Row {
  std::string operation;
  double goal;  // the highest ratio of the first to the second; 0 for no goal
  std::vector<Contestant> contestants;
  Clock clock = Clock::Processor;
};
using Rows = std::vector<Row>;

// A contestant's run that repeats a call.
template <typename Operation>
std::function<void(benchmark::State&)> repeat(Operation operation) {
  return [operation](benchmark::State& state) {
    for (auto iteration : state) {
      operation();
      benchmark::ClobberMemory();
    }
  };
}

// The name of one who copies into the segment without the kernel's help.
inline constexpr char kCuttable[] = "cut by a kill";

// The name of one who writes over a file, so that a kill or a power cut loses what was in it.
inline constexpr char kInPlace[] = "in place";

// Ends the program: a benchmark of what does not work says nothing.
void require(bool holds, const char* what);

Rows lock_rows();
Rows live_rows();
Rows config_rows();
Rows record_rows();
Rows file_rows();
Rows call_log_rows();
Rows sms_rows();
Rows status_rows();
Rows carrier_rows();
Rows signal_rows();
Rows attach_rows();

}  // namespace bench
