// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Every call that the library makes, failing once and failing from then on, one at a time. What has
// to come of it stands in outcomes.txt: after each operation the kinds of calls that it makes, in
// brackets those of them that fail, then the result, the state of the files and what is logged
// (level, function, text) or printed (behind ">").
#include <cerrno>

#include "support/adapter.h"
#include "support/files.h"
#include "support/golden.h"
#include "trial.h"

namespace capi::test {
namespace {

constexpr const char* kOutcomes = "tests/faults/outcomes.txt";

// Emulated, a trial takes a fifth of a second: there every fourth kind of call fails, the first
// time that an operation makes it, and from then on. Elsewhere each fails each time.
#ifdef CAPI_EMULATED
constexpr bool kEachTime = false;
#else
constexpr bool kEachTime = true;
#endif

constexpr FaultKind kKinds[] = {
    {"malloc", Call::Malloc, ENOMEM},
    {"fopen", Call::Fopen, EMFILE},
    {"open", Call::Open, EMFILE},
    {"open without room", Call::Open, ENOSPC},
    {"open without permission", Call::Open, EACCES},
    {"fread", Call::Fread, EIO},
    {"fwrite", Call::Fwrite, ENOSPC},
    {"short fwrite", Call::Fwrite, ENOSPC, true},
    {"fflush", Call::Fflush, ENOSPC},
    {"fclose", Call::Fclose, EIO},
    {"fseek", Call::Fseek, EIO},
    {"stat", Call::Stat, EIO},
    {"fstat", Call::Fstat, EIO},
    {"fchmod", Call::Fchmod, EIO},
    {"fchown", Call::Fchown, EDQUOT},
    {"fsync", Call::Fsync, EIO},
    {"ftruncate", Call::Ftruncate, EIO},
    {"rename", Call::Rename, ENOSPC},
    {"rename of a busy file", Call::Rename, EBUSY},
    {"unlink", Call::Unlink, EBUSY},
    {"close", Call::Close, EIO},
    {"mkdir", Call::Mkdir, ENOSPC},
    {"interrupted flock", Call::Flock, EINTR},
    {"flock", Call::Flock, ENOLCK},
    {"localtime_r", Call::LocaltimeR, EOVERFLOW},
    {"ftok", Call::Ftok, ENOENT},
    {"semget", Call::Semget, ENOENT},
    {"interrupted semop", Call::Semop, EINTR},
    {"busy semop", Call::Semop, EAGAIN},
    {"semop on a removed set", Call::Semop, EIDRM},
    {"semctl", Call::Semctl, EIDRM},
    {"shmget", Call::Shmget, ENOSPC},
    {"shmat", Call::Shmat, ENOMEM},
    {"shmdt", Call::Shmdt, EINVAL},
    {"popen", Call::Popen, EMFILE},
    {"system", Call::System, EAGAIN},
    {"socket", Call::Socket, EMFILE},
    {"interrupted sendto", Call::Sendto, EINTR},
    {"busy sendto", Call::Sendto, EAGAIN},
    {"sendto", Call::Sendto, ENOBUFS},
    {"interrupted recvfrom", Call::Recvfrom, EINTR},
    {"busy recvfrom", Call::Recvfrom, EAGAIN},
    {"recvfrom", Call::Recvfrom, ECONNREFUSED},
    {"pipe", Call::Pipe, EMFILE},
    {"interrupted read", Call::Read, EINTR},
    {"busy read", Call::Read, EAGAIN},
    {"read", Call::Read, EIO},
    {"interrupted write", Call::Write, EINTR},
    {"busy write", Call::Write, EAGAIN},
    {"write", Call::Write, EPIPE},
    {"write without room", Call::Write, ENOSPC},
    {"short write", Call::Write, EPIPE, true},
    {"pthread_create", Call::ThreadCreate, EAGAIN},
};

// A lock and a file lock are waited for without limit, and files are written against all
// interruptions: what lasts there must end some time.
int lasting(const FaultKind& kind) {
  constexpr int kMany = 20;
  const bool is_waited_for = kind.call == Call::Semop || kind.call == Call::Flock ||
                             (kind.call == Call::Write && kind.error == EINTR);
  return is_waited_for && (kind.error == EINTR || kind.error == EAGAIN) ? kMany : kForEver;
}

class SingleFaults : public Adapter {
 protected:
  // All outcomes of an operation. Those that a fault does not change are left out where the fault
  // is one of a lock: what is not locked goes on.
  void try_operation(const Operation& operation) {
    const Outcome good = run_without_fault(operation, make_adapter_);
    blame(operation.name, good);
    const std::string head = "\n" + operation.name + "\n  -> " + good.told + "\n";
    outcomes_ += head;
    if (!kEachTime) begin_section(head);
    for (const FaultKind& kind : kKinds) {
      const auto calls = good.calls.find(kind.call);
      const int count = calls != good.calls.end() ? calls->second : 0;
      if (count > 0 && is_in_turn()) try_kind(operation, kind, count, good);
    }
  }

  void finish() {
    printf("%d single faults tried\n", faults_);
    EXPECT_EQ(mistakes_, "");
    if (kEachTime) expect_golden(outcomes_, kOutcomes);
  }

 private:
  bool is_in_turn() { return kEachTime || turn_++ % 4 == 0; }

  // What the golden file has of an operation, if it begins as it should.
  void begin_section(const std::string& head) {
    const std::string golden = read_file(source_file(kOutcomes));
    const size_t begin = golden.find(head);
    section_ = begin == std::string::npos ? "" : golden.substr(begin);
    section_ = section_.substr(0, section_.find("\n\n", 1)) + "\n";
    if (begin == std::string::npos) mistakes_ += "no outcomes of" + head;
  }

  // Of the first time the golden file has this, or nothing where nothing is different.
  void compare_first(const FaultKind& kind, const std::string& told, const Outcome& good) {
    const std::string title = std::string("\n  ") + kind.name + " [1";
    const size_t begin = std::min(section_.find(title + "]"), section_.find(title + "-"));
    if (begin == std::string::npos && is_lock_call(kind.call) && told == good.told) return;
    const std::string actual = "\n  -> " + told + "\n";
    const size_t line = section_.find('\n', std::min(begin, section_.size() - 2) + 1);
    if (section_.compare(line, actual.size(), actual) == 0) return;
    mistakes_ += "other outcomes than documented" + section_.substr(0, section_.find('\n', 1)) +
                 ", " + kind.name + actual;
  }

  std::string told_of(const Operation& operation, const FaultKind& kind, int nth,
                      const Outcome& good) {
    const std::string once = try_fault(operation, kind, nth, 1, good);
    const std::string on = try_fault(operation, kind, nth, lasting(kind), good);
    return once == on ? once : once + "\n  and if it lasts\n  -> " + on;
  }

  void try_kind(const Operation& operation, const FaultKind& kind, int count, const Outcome& good) {
    if (!kEachTime) return compare_first(kind, told_of(operation, kind, 1, good), good);
    std::string last;
    std::string range;
    for (int nth = 1; nth <= count; ++nth) {
      const std::string told = told_of(operation, kind, nth, good);
      if (told != last) flush(kind, range, last, good);
      range = told != last ? std::to_string(nth)
                           : range.substr(0, range.find('-')) + "-" + std::to_string(nth);
      last = told;
    }
    flush(kind, range, last, good);
  }

  void flush(const FaultKind& kind, const std::string& range, const std::string& told,
             const Outcome& good) {
    if (range.empty() || (is_lock_call(kind.call) && told == good.told)) return;
    outcomes_ += std::string("  ") + kind.name + " [" + range + "]\n  -> " + told + "\n";
  }

  // Told at the end: a failed check would be handed down to the trials that follow.
  void blame(const std::string& trial, const Outcome& outcome) {
    if (!outcome.mistakes.empty()) mistakes_ += trial + ": " + outcome.mistakes;
  }

  std::string try_fault(const Operation& operation, const FaultKind& kind, int nth, int times,
                        const Outcome& good) {
    ++faults_;
    const Fault fault{kind.call, nth, times, kind.error, kind.half};
    const Outcome outcome = run_with_fault(operation, make_adapter_, fault, good);
    blame(operation.name + ", " + kind.name + " " + std::to_string(nth) +
              (times > 1 ? " and on" : ""),
          outcome);
    return outcome.told;
  }

  const std::function<void()> make_adapter_ = [this] { SetUp(); };
  std::string outcomes_;
  std::string section_;
  std::string mistakes_;
  int faults_ = 0;
  int turn_ = 0;
};

TEST_F(SingleFaults, AreHandledAsDocumented) {
  for (const auto& family :
       {start_operations, configuration_operations, device_operations, call_log_operations,
        message_operations, signal_operations, foundation_operations}) {
    for (const Operation& operation : family()) try_operation(operation);
  }
  finish();
}

}  // namespace
}  // namespace capi::test
