// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "explorer.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iterator>
#include <optional>

#include "device.h"
#include "support/files.h"

namespace capi::crash {
namespace {

enum class Opener : uint8_t { User, Master };
constexpr Opener kOpeners[] = {Opener::User, Opener::Master};

constexpr unsigned kPatience = 30;  // seconds
constexpr size_t kStarts = 24;      // of the next change, spread over all states
constexpr mode_t kOldMode = 0640;
constexpr uid_t kOldOwner = 65534;

// What a process tells of itself: lines that begin with a letter.
struct Board {
  bool has_read;
  bool next_done;
  bool finished;
  size_t length;
  char text[1 << 18];

  void tell(char kind, const std::vector<std::string>& lines) {
    for (std::string line : lines) {
      std::replace(line.begin(), line.end(), '\n', ' ');
      line = kind + line + '\n';
      if (length + line.size() > sizeof text) return;
      memcpy(text + length, line.data(), line.size());
      length += line.size();
    }
  }

  std::vector<std::string> told(char kind) const {
    std::vector<std::string> result;
    const std::string_view all(text, length);
    for (size_t at = 0; at < all.size();) {
      const size_t end = all.find('\n', at);
      if (all[at] == kind) result.emplace_back(all.substr(at + 1, end - at - 1));
      at = end + 1;
    }
    return result;
  }
};

Board& board() {
  static Board* const memory = [] {
    void* const mapped =
        mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) abort();
    return static_cast<Board*>(mapped);
  }();
  return *memory;
}

// Programs of the device talk on their standard output and error; nobody listens here.
void be_quiet() {
  const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
  dup2(null, STDOUT_FILENO);
  dup2(null, STDERR_FILENO);
}

void run(const std::function<void()>& body) {
  fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    alarm(kPatience);
    be_quiet();
    body();
    _exit(0);
  }
  waitpid(child, nullptr, 0);
}

void start(const Scene& scene, Opener opener, std::vector<std::string>* log) {
  if (!scene.uses_library) return;
  if (opener == Opener::Master) {
    start_master(log);
  } else {
    start_user(log);
  }
}

std::string joined(const Parts& parts) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : ", ") + part;
  return text;
}

std::string short_id(char kind, const State& state) {
  const size_t hash = std::hash<std::string>{}(state.tree.key() + (state.promised ? '+' : '-'));
  char text[16];
  snprintf(text, sizeof text, "%c%08zx", kind, hash & 0xFFFFFFFF);
  return text;
}

// One scene: its files and what each kind of process sees in them.
class Exploration {
 public:
  Exploration(const Scene& scene, const Options& options)
      : scene_(scene), options_(options), disk_(scene.directories) {}

  Result explore() {
    set_up();
    const Trace first = record(disk_.read(contents_), scene_.operate, scene_.failures);
    Result result;
    explore(first, 1, result);
    const bool fails = options_.fails && scene_.failures.syncs == 0;
    if (fails && options_.plant == Plant::None && options_.state.empty()) {
      explore_failures(first, result);
    }
    return result;
  }

 private:
  // Processes.

  void set_up() {
    disk_.write({}, contents_);
    if (scene_.uses_library) run([] { start_master(nullptr); });
    disk_.write({}, contents_);
    run([&] {
      start(scene_, Opener::User, nullptr);
      scene_.set_up();
    });
    for (const std::string& name : disk_.names()) give_old_meta(name);
    if (scene_.uses_library) segment_.emplace();
  }

  // Another owner, where this machine has one, and in a directory that is not everybody's.
  static void give_old_meta(const std::string& name) {
    struct stat directory {};
    stat(directory_of(name).c_str(), &directory);
    const bool may_differ = (directory.st_mode & S_ISVTX) == 0;
    if (may_differ && chown(name.c_str(), kOldOwner, kOldOwner) != 0) errno = 0;
    chmod(name.c_str(), kOldMode);
  }

  Trace record(const Tree& tree, const std::function<bool()>& operation, const Failures& failures) {
    disk_.write(tree, contents_);
    if (segment_) segment_->restore();
    Trace result = trace(
        disk_, contents_,
        [&] {
          be_quiet();
          start(scene_, Opener::User, nullptr);
        },
        operation, failures);
    // What was recorded has to explain what came of it.
    const bool is_explained = after(result.record, contents_).key() == disk_.read(contents_).key();
    if (!is_explained) result.trouble += "; the files are not what the record says";
    if (!result.trouble.empty()) {
      fprintf(stderr, "%s: cannot be recorded: %s\n", scene_.name.c_str(), result.trouble.c_str());
      exit(2);
    }
    return result;
  }

  const Sight& look(const Tree& tree, Opener opener) {
    const auto [at, is_new] = sights_[static_cast<size_t>(opener)].try_emplace(tree.key());
    if (is_new) at->second = look_now(tree, opener);
    return at->second;
  }

  Sight look_now(const Tree& tree, Opener opener) {
    disk_.write(tree, contents_);
    if (segment_) segment_->restore();
    Board& told = board();
    told = {};
    run([&] {
      std::vector<std::string> log;
      start(scene_, opener, &log);
      told.tell('P', scene_.read());
      told.tell('L', log);
      told.has_read = true;
      told.next_done = scene_.next();
      told.tell('N', scene_.read());
      told.finished = true;
    });
    return {.finished = told.finished,
            .parts = told.told('P'),
            .log = told.told('L'),
            .next_done = told.next_done,
            .next_parts = told.told('N'),
            .names = disk_.names()};
  }

  // States.

  // All that is expected around one record.
  struct Case {
    const Record& record;
    Tree before;
    Tree after;
    Expectation by[std::size(kOpeners)];
  };

  Case make_case(const Trace& trace) {
    Case result{.record = trace.record,
                .before = trace.record.before,
                .after = after(trace.record, contents_),
                .by = {}};
    for (const Opener opener : kOpeners) {
      Expectation& expected = result.by[static_cast<size_t>(opener)];
      expected = {.before = look(result.before, opener),
                  .after = look(result.after, opener),
                  .gone = look({}, opener),
                  .fresh = look({}, Opener::Master).parts,
                  .durable = scene_.promise == Promise::Durable};
      for (const Sight* sight : {&expected.before, &expected.after}) {
        next_after_[{opener, joined(sight->parts)}] = joined(sight->next_parts);
      }
    }
    return result;
  }

  void explore(const Trace& trace, int depth, Result& result) {
    const Record record = planted(trace.record, options_.plant);
    Case known = make_case(trace);
    const Case with_plants{record, known.before, known.after, {known.by[0], known.by[1]}};
    if (depth == 1) {
      result.is_planted = options_.plant == Plant::None || record.actions != trace.record.actions;
      check_changes(trace, with_plants);
      expected_[0] = known.by[0];
      expected_[1] = known.by[1];
    }
    Tally& kill = depth == 1 ? result.kill : result.again;
    Tally& power = depth == 1 ? result.power : result.again;
    std::vector<State> sound;
    const Bounds bounds = depth == 1 ? options_.bounds : short_bounds();
    count('k', kill_states(record, bounds, contents_), with_plants, kill, sound);
    count('p', power_states(record, bounds, contents_), with_plants, power, sound);
    if (depth == 1 && options_.again) explore_again(sound, with_plants, result);
  }

  // An operation that changes nothing would never lose anything.
  void check_changes(const Trace& trace, const Case& known) const {
    const Sight& before = known.by[0].before;
    const Sight& after = known.by[0].after;
    const bool fails = scene_.failures.syncs > 0;
    const bool is_fine = before.finished && after.finished && before.next_done && after.next_done &&
                         (fails || (trace.succeeded && known.before.key() != known.after.key()));
    if (is_fine) return;
    fprintf(stderr, "%s: does nothing, or fails: before %s (%d), after %s (%d)\n",
            scene_.name.c_str(), joined(before.parts).c_str(), before.next_done,
            joined(after.parts).c_str(), after.next_done);
    exit(2);
  }

  void count(char kind, const std::vector<State>& states, const Case& known, Tally& tally,
             std::vector<State>& sound) {
    for (const State& state : states) {
      const std::string id = start_ + short_id(kind, state);
      if (!is_wanted(id)) continue;
      ++tally.states;
      if (count(id, state, known, tally)) sound.push_back(state);
    }
  }

  // To find a state of the next change, all of the first are needed.
  bool is_wanted(const std::string& id) const {
    const std::string& only = options_.state;
    return only.empty() || only == id || (start_.empty() && only.starts_with('s'));
  }

  // Returns whether nothing is wrong with a state.
  bool count(const std::string& id, const State& state, const Case& known, Tally& tally) {
    const Outcome outcome = judge(state, known);
    const std::vector<std::string> left = left_over(state);
    tally.lost += outcome >= Outcome::Lost ? 1 : 0;
    tally.silently += outcome == Outcome::LostSilently ? 1 : 0;
    tally.wrong += outcome == Outcome::Wrong ? 1 : 0;
    tally.undone += outcome == Outcome::Undone ? 1 : 0;
    tally.earlier += outcome == Outcome::Earlier ? 1 : 0;
    tally.left_over += left.empty() ? 0 : 1;
    const bool sound = outcome <= Outcome::Earlier && left.empty();
    if (id == options_.state || (!sound && shown_ < options_.shown)) {
      ++shown_;
      show(id, state, known, outcome, left);
    }
    return sound;
  }

  Outcome judge(const State& state, const Case& known) {
    const bool may_change = scene_.mode_rule == ModeRule::MayChange;
    Outcome worst = Outcome::Kept;
    if (!has_right_meta(state.tree, known.before, known.after, may_change)) {
      worst = Outcome::Wrong;
    }
    for (const Opener opener : kOpeners) {
      const Sight& sight = look(state.tree, opener);
      const Expectation& expected = known.by[static_cast<size_t>(opener)];
      Outcome outcome = crash::judge(sight, expected, state.promised);
      if (outcome <= Outcome::Earlier && !goes_on(sight, opener)) outcome = Outcome::Wrong;
      worst = std::max(worst, outcome);
    }
    return worst;
  }

  // Whether the next change comes out as it does without a crash.
  bool goes_on(const Sight& sight, Opener opener) const {
    const auto usual = next_after_.find({opener, joined(sight.parts)});
    return sight.next_done &&
           (usual == next_after_.end() || usual->second == joined(sight.next_parts));
  }

  std::vector<std::string> left_over(const State& state) {
    std::vector<std::string> result;
    for (const Opener opener : kOpeners) {
      std::vector<std::string> left = crash::left_over(
          look(state.tree, opener), expected_[static_cast<size_t>(opener)], scene_.by_products);
      if (!left.empty()) result = std::move(left);
    }
    return result;
  }

  void show(const std::string& id, const State& state, const Case& known, Outcome outcome,
            const std::vector<std::string>& left) {
    constexpr const char* kOutcomes[] = {"kept", "kept, the earlier one", "undone",
                                         "lost", "lost silently",         "wrong"};
    printf("%s %s (%s%s): %s\n", id.c_str(), scene_.name.c_str(), state.how.c_str(),
           state.promised ? ", success was reported" : "", kOutcomes[static_cast<size_t>(outcome)]);
    for (const auto& [name, inode] : state.tree.names) {
      const Node& node = state.tree.nodes.at(inode);
      printf("    %s: file %u, mode %04o, owner %u, %s\n", name.c_str(), inode, node.meta.mode,
             node.meta.uid, summary("bytes", contents_[node.content]).c_str());
    }
    for (const Opener opener : kOpeners) show(look(state.tree, opener), opener, known);
    for (const std::string& name : left) printf("    left over: %s\n", name.c_str());
    for (size_t i = 0; i < known.record.actions.size(); ++i) {
      printf("    %3zu %s\n", i, describe(known.record.actions[i], contents_).c_str());
    }
  }

  static void show(const Sight& sight, Opener opener, const Case& known) {
    const Expectation& expected = known.by[static_cast<size_t>(opener)];
    printf("  %s: sees %s (before: %s; after: %s), then %s\n",
           opener == Opener::User ? "next user" : "next master", joined(sight.parts).c_str(),
           joined(expected.before.parts).c_str(), joined(expected.after.parts).c_str(),
           sight.next_done ? joined(sight.next_parts).c_str() : "cannot write");
    for (const std::string& line : sight.log) printf("    log: %s\n", line.c_str());
  }

  // Crashes of the next change in what a crash has left, where that differs from before and after.
  void explore_again(const std::vector<State>& sound, const Case& known, Result& result) {
    std::map<std::string, const State*> starts;
    for (const State& state : sound) starts.emplace(state.tree.key(), &state);
    starts.erase(known.before.key());
    starts.erase(known.after.key());
    const size_t step = (starts.size() + kStarts - 1) / kStarts;
    size_t at = 0;
    for (const auto& [key, state] : starts) {
      if (at++ % step != 0) continue;
      start_ = short_id('s', *state) + '.';
      if (!options_.state.empty() && !options_.state.starts_with(start_)) continue;
      Trace next = record(state->tree, scene_.next, {});
      forget_signals(next.record);
      explore(next, 2, result);
    }
    start_.clear();
  }

  // The next change may be several calls, of which a signal promises one.
  static void forget_signals(Record& record) {
    auto& actions = record.actions;
    const bool promises = !actions.empty() && actions.back().act == Act::Promise;
    std::erase_if(actions, [](const Action& action) { return action.act == Act::Promise; });
    if (promises) actions.push_back({.act = Act::Promise});
  }

  // Each call of the operation fails once: the old content or the new one is there. Some of the
  // library's calls report success whatever happens; that is their contract.
  void explore_failures(const Trace& first, Result& result) {
    const Case known = make_case(first);
    constexpr int kErrors[] = {EIO, ENOSPC, EDQUOT, EINTR, EMFILE, EBUSY, EACCES};
    for (const int error : kErrors) {
      for (int call = 1;; ++call) {
        const Failures failure{.action = call, .error = error};
        const Trace failed = record(known.before, scene_.operate, failure);
        if (!failed.met_failure) break;
        ++result.calls_failed;
        const State state{.tree = after(failed.record, contents_),
                          .promised = failed.succeeded && !scene_.uses_library,
                          .how = "call " + std::to_string(call) + ": " + strerror(error)};
        Tally tally;
        Case with_failure{failed.record, known.before, known.after, {known.by[0], known.by[1]}};
        if (!count(short_id('f', state), state, with_failure, tally)) ++result.failures_lost;
      }
    }
  }

  const Scene& scene_;
  const Options& options_;
  const Disk disk_;
  Contents contents_;
  std::optional<Segment> segment_;
  std::map<std::string, Sight> sights_[std::size(kOpeners)];
  std::map<std::pair<Opener, std::string>, std::string> next_after_;
  Expectation expected_[std::size(kOpeners)];
  std::string start_;  // the state that a second operation begins in
  unsigned shown_ = 0;
};

}  // namespace

std::string summary(const std::string& what, std::string_view bytes) {
  char text[32];
  snprintf(text, sizeof text, " %zu #%08zx", bytes.size(),
           std::hash<std::string_view>{}(bytes)&0xFFFFFFFF);
  return what + text;
}

std::string content_of(const std::string& path) {
  return test::exists(path) ? summary("bytes", test::read_file(path)) : kAbsent;
}

Tally& Tally::operator+=(const Tally& other) {
  states += other.states;
  lost += other.lost;
  silently += other.silently;
  wrong += other.wrong;
  undone += other.undone;
  left_over += other.left_over;
  earlier += other.earlier;
  return *this;
}

Result explore(const Scene& scene, const Options& options) {
  return Exploration(scene, options).explore();
}

}  // namespace capi::crash
