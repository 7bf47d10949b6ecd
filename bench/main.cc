// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capi_bench [--brief] [--only TEXT] [--json FILE] [--plot FILE.svg] [--growth FILE.svg]
//
// Measures every row whose name contains TEXT and prints the table. With --brief each contestant
// runs once, which shows that it works and nothing else. Without --only, and with "at once", many
// readers and watchers follow; --growth draws the readers.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <optional>

#include "bench.h"
#include "device.h"
#include "growth.h"
#include "report.h"

namespace bench {
namespace {

constexpr int kRepetitions = 15;
constexpr double kSeconds = 0.02;  // of a repetition

struct Options {
  bool brief = false;
  std::string only;
  std::string json;
  std::string plot;
  std::string growth;
};

std::optional<Options> parse(int argc, char** argv) {
  Options options;
  const std::map<std::string, std::string*> texts{{"--only", &options.only},
                                                  {"--json", &options.json},
                                                  {"--plot", &options.plot},
                                                  {"--growth", &options.growth}};
  for (int i = 1; i < argc; ++i) {
    const auto text = texts.find(argv[i]);
    if (strcmp(argv[i], "--brief") == 0) {
      options.brief = true;
    } else if (text != texts.end() && i + 1 < argc) {
      *text->second = argv[++i];
    } else {
      return std::nullopt;
    }
  }
  return options;
}

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

// Collects the figures of one row at a time, and hands all of them on to the JSON file.
class Collector : public benchmark::BenchmarkReporter {
 public:
  explicit Collector(const std::string& json_path) {
    if (json_path.empty()) return;
    file_.open(json_path);
    require(file_.good(), "the JSON file can be written");
    json_.SetOutputStream(&file_);
  }

  void start(const Row& row) {
    row_ = &row;
    times_.assign(row.contestants.size(), {});
  }

  bool ReportContext(const Context& context) override {
    if (file_.is_open() && !begun_) json_.ReportContext(context);
    begun_ = true;
    return true;
  }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      require(!run.error_occurred, run.error_message.c_str());
      if (run.run_type == Run::RT_Iteration) take(run);
    }
    if (file_.is_open()) json_.ReportRuns(runs);
  }

  Result result() const {
    Result result{row_->operation, row_->goal, {}};
    for (size_t i = 0; i < times_.size(); ++i) {
      result.figures.push_back({row_->contestants[i].who, median(times_[i])});
    }
    return result;
  }

  void finish() {
    if (file_.is_open() && begun_) json_.Finalize();
  }

 private:
  void take(const Run& run) {
    const double seconds =
        row_->clock == Clock::Wall ? run.real_accumulated_time : run.cpu_accumulated_time;
    const auto index = static_cast<size_t>(run.family_index);
    const double operations =
        static_cast<double>(run.iterations) * row_->contestants[index].operations;
    times_[index].push_back(seconds * 1e9 / operations);
  }

  const Row* row_ = nullptr;
  std::vector<std::vector<double>> times_;
  std::ofstream file_;
  benchmark::JSONReporter json_;
  bool begun_ = false;
};

// The contestants of a row take turns, so that a slow phase of the machine hits all of them.
Result measure(const Row& row, bool brief, Collector& collector) {
  benchmark::ClearRegisteredBenchmarks();
  for (const Contestant& contestant : row.contestants) {
    const std::string name = row.operation + ": " + contestant.who;
    auto* registered = benchmark::RegisterBenchmark(name.c_str(), contestant.run);
    if (row.clock == Clock::Wall) registered->UseRealTime();
    if (brief) {
      registered->Iterations(1);
    } else {
      registered->Repetitions(kRepetitions)->MinTime(kSeconds);
    }
  }
  collector.start(row);
  benchmark::RunSpecifiedBenchmarks(&collector, nullptr, "all");
  return collector.result();
}

Rows all_rows() {
  Rows all;
  for (Rows (*make)() : {lock_rows, live_rows, config_rows, record_rows, status_rows, file_rows,
                         call_log_rows, sms_rows, carrier_rows, signal_rows, attach_rows}) {
    for (Row& row : make()) all.push_back(std::move(row));
  }
  return all;
}

int run(const Options& options) {
  start_device();
  Collector collector(options.json);
  Results results;
  for (const Row& row : all_rows()) {
    if (row.operation.find(options.only) == std::string::npos) continue;
    results.push_back(measure(row, options.brief, collector));
    fprintf(stderr, ".");
  }
  fprintf(stderr, "\n");
  collector.finish();
  print_table(results);
  print_peers();
  if (std::string_view("at once").find(options.only) == 0) {
    measure_readers(options.brief, options.growth);
    measure_watchers(options.brief);
  }
  if (!options.plot.empty()) write_plot(options.plot, results);
  return 0;
}

}  // namespace

void require(bool holds, const char* what) {
  if (holds) return;
  fprintf(stderr, "capi_bench: this failed: %s\n", what);
  exit(1);
}

}  // namespace bench

int main(int argc, char** argv) {
  const auto options = bench::parse(argc, argv);
  if (!options) {
    fprintf(stderr,
            "usage: capi_bench [--brief] [--only TEXT] [--json FILE] [--plot FILE.svg] "
            "[--growth FILE.svg]\n");
    return 2;
  }
  if (getenv("CAPI_PRIVATE_VIEW") == nullptr) {
    fprintf(stderr, "This runs in a private view of the machine: script/bench\n");
    return 1;
  }
  char program[] = "capi_bench";
  char interleave[] = "--benchmark_enable_random_interleaving=true";
  char* arguments[] = {program, interleave, nullptr};
  int count = 2;
  benchmark::Initialize(&count, arguments);
  return bench::run(*options);
}
