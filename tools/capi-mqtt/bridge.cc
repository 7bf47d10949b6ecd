// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "bridge.h"

#include <malloc.h>
#include <pending.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/random.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>

#include "commands.h"
#include "log.h"
#include "request.h"

namespace tools::mqtt {
namespace {

constexpr int64_t kLookPauseMs = 200;    // between two looks at the adapter
constexpr int64_t kRetryLookMs = 5000;   // after one that did not work
constexpr int64_t kConnectMs = 20'000;   // for the broker to answer
constexpr int64_t kTellMs = 120'000;     // for it to take all topics
constexpr int64_t kLeaveMs = 2000;       // to say goodbye
constexpr int64_t kSteadyMs = 60'000;    // after which a connection was a good one
constexpr int64_t kRetryEventMs = 1000;  // while a store is locked
constexpr int64_t kRetryTextMs = 2000;   // while what a topic tells of is
constexpr int64_t kWriteCountersMs = 10'000;
constexpr int64_t kWriteAnswersMs = 10'000;  // after there was no room
constexpr size_t kMostReplies = 64;
constexpr size_t kMostInbox = 256;

int64_t ms_of(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return int64_t{time.tv_sec} * 1000 + time.tv_nsec / 1000'000;
}

// With the time that the device slept: a connection did not survive that.
int64_t now_ms() { return ms_of(CLOCK_BOOTTIME); }
int64_t now_seconds() { return ms_of(CLOCK_REALTIME) / 1000; }

double random_part() {
  uint32_t number = 0;
  if (getrandom(&number, sizeof number, 0) != sizeof number) number = UINT32_MAX / 2;
  return number / 4294967296.0;
}

int open_signals() {
  sigset_t ends;
  sigemptyset(&ends);
  sigaddset(&ends, SIGINT);
  sigaddset(&ends, SIGTERM);
  sigprocmask(SIG_BLOCK, &ends, nullptr);
  signal(SIGPIPE, SIG_IGN);
  return signalfd(-1, &ends, SFD_CLOEXEC | SFD_NONBLOCK);
}

[[noreturn]] void throw_unwatched() {
  throw Failure(std::string("changes cannot be watched: ") + strerror(errno));
}

// The system has limits for these: better none at all than a topic that stays as it is.
void watch_files_of_changes(int fd) {
  if (inotify_add_watch(fd, pending::kDirectory, IN_MOVED_TO | IN_DELETE | IN_MOVED_FROM) == -1) {
    throw_unwatched();
  }
}

// What it tells is that something happened.
bool drain(int fd) {
  char events[4096];
  bool has_some = false;
  while (::read(fd, events, sizeof events) > 0) has_some = true;
  return has_some;
}

// Made with what is above it, which the tools share.
const std::string& made(const std::string& directory) {
  pending::make_directory();
  if (mkdir(directory.c_str(), 0700) != 0 && errno != EEXIST) {
    throw Failure(directory + " cannot be made: " + strerror(errno));
  }
  return directory;
}

}  // namespace

Bridge::Bridge(const Options& options, std::string id)
    : options_(options),
      id_(std::move(id)),
      tree_(id_),
      boot_(pending::now().boot),
      documents_(options_),
      outbox_(documents_.topics().size()),
      backoff_(random_part),
      requests_(made(options_.state) + "/requests"),
      events_(options_),
      signals_(open_signals()),
      changes_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  watch_files_of_changes(changes_.get());
  if (!signals_.is_open() || capi_watch_open(&watch_, CAPI_TOPIC_ALL) != 0) throw_unwatched();
  look();
  finish_unfinished();
  count();
}

Bridge::~Bridge() {
  capi_watch_close(&watch_);
  counters_.is_connected = false;
  count();
}

// ---- The connection --------------------------------------------------------------------------

std::string Bridge::online_text(bool is_online) const {
  const Json json(cJSON_CreateObject());
  cJSON_AddBoolToObject(json.get(), "online", is_online);
  cJSON_AddStringToObject(json.get(), "boot", boot_.c_str());
  cJSON_AddNumberToObject(json.get(), "connection", static_cast<double>(connection_));
  cJSON_AddStringToObject(json.get(), "at", time_text(now_seconds()).c_str());
  if (!is_online && phase_ == Phase::Leaving) {
    cJSON_AddStringToObject(json.get(), "reason", "stopped");
  }
  const std::unique_ptr<char, decltype(&cJSON_free)> text(cJSON_PrintUnformatted(json.get()),
                                                          cJSON_free);
  return text ? text.get() : "";
}

void Bridge::connect() {
  connection_ = now_ms();
  phase_ = Phase::Connecting;
  phase_end_ = connection_ + kConnectMs;
  must_close_ = false;
  outbox_.restart();
  try {
    client_ = std::make_unique<Client>(options_, id_, *this);
    if (!client_->connect(tree_.topic("online"), online_text(false))) lose(client_->trouble());
  } catch (const Failure& failure) {
    lose(failure.what());
  }
  last_sent_ = now_ms();
}

void Bridge::lose(const std::string& why) {
  const bool was_up = phase_ == Phase::Up;
  client_.reset();
  phase_ = Phase::Down;
  ++counters_.failures;
  counters_.is_connected = false;
  birth_ = event_ = -1;
  acknowledgements_.clear();
  answers_.clear();
  replies_.clear();
  if (was_up && now_ms() - up_since_ >= kSteadyMs) backoff_.succeeded();
  const int64_t pause = backoff_.next();
  phase_end_ = now_ms() + pause;
  log((was_up ? "the connection to " : "no connection to ") + options_.host + ":" +
      std::to_string(options_.port_to_use()) + (was_up ? " is lost: " : ": ") + why +
      "; next try in " + std::to_string((pause + 999) / 1000) + " s");
}

void Bridge::on_connected() {
  phase_ = Phase::Subscribing;
  if (!client_->subscribe(tree_.commands())) must_close_ = true;
}

void Bridge::on_subscribed() {
  phase_ = Phase::Telling;
  phase_end_ = now_ms() + kTellMs;
  outbox_.mark_all();
}

// Acted on once the library, which knows no exceptions, is left.
void Bridge::on_acknowledged(int message, const std::string& reason) {
  acknowledgements_.emplace_back(message, reason);
}

void Bridge::take_acknowledgements() {
  while (!acknowledgements_.empty()) {
    const auto [message, reason] = std::move(acknowledgements_.front());
    acknowledgements_.pop_front();
    acknowledge(message, reason);
    // For a while there is nothing to say: what handshake and texts took is the system's again.
    if (acknowledgements_.empty() && outbox_.in_flight() == 0) malloc_trim(0);
  }
}

void Bridge::acknowledge(int message, const std::string& reason) {
  if (reason.empty()) outbox_.acknowledged(message);
  if (!reason.empty()) outbox_.refused(message, now_ms() + Backoff::kMostMs);
  if (!reason.empty() && denied_ != reason) {
    denied_ = reason;
    log("the broker does not take a message: " + reason);
  }
  if (message == birth_) {
    birth_ = -1;
    if (phase_ == Phase::BeingBorn) be_born(reason);
  } else if (message == event_) {
    event_ = -1;
    if (reason.empty()) events_.told();
    if (!reason.empty()) next_event_ = now_ms() + Backoff::kMostMs;
  } else if (const auto answer = answers_.find(message); answer != answers_.end()) {
    const std::string id = answer->second;
    answers_.erase(answer);
    requests_.told(id);
  }
}

// Who may not say that it is there is not, whatever else it may do.
void Bridge::be_born(const std::string& denied) {
  if (!denied.empty()) {
    return lose("the broker does not take " + tree_.topic("online") + ": " + denied);
  }
  phase_ = Phase::Up;
  up_since_ = now_ms();
  ++counters_.connections;
  counters_.is_connected = true;
  count();
  log("connected to " + options_.host + ":" + std::to_string(options_.port_to_use()) + " as " +
      id_);
}

// Which the library acknowledges.
void Bridge::on_message(Message message) {
  last_sent_ = now_ms();
  if (inbox_.size() < kMostInbox) inbox_.push_back(std::move(message));
}

void Bridge::tell_online(bool is_online) {
  birth_ = send({tree_.topic("online"), online_text(is_online), true});
}

void Bridge::leave() {
  must_stop_ = false;
  if (phase_ == Phase::Down || phase_ == Phase::Connecting) {
    phase_ = Phase::Leaving;
    client_.reset();
    return;
  }
  phase_ = Phase::Leaving;
  phase_end_ = now_ms() + kLeaveMs;
  tell_online(false);
}

// ---- Out -------------------------------------------------------------------------------------

int Bridge::send(const Message& message, size_t topic) {
  const int number = client_->publish(message);
  last_sent_ = now_ms();
  if (number < 0) return number;
  outbox_.sent(number, topic);
  ++counters_.published;
  return number;
}

void Bridge::send_states() {
  while (const auto topic = outbox_.take(now_ms())) {
    const std::string text = documents_.text(*topic, now_seconds());
    const std::string& name = documents_.topics()[*topic].name;
    if (text.empty()) {
      outbox_.put_off(*topic, now_ms() + kRetryTextMs);
    } else if (send({tree_.topic(name), text, true}, *topic) < 0) {
      log(name + " cannot be sent");
    }
  }
}

void Bridge::send_answers() {
  while (outbox_.has_room() && !replies_.empty()) {
    const auto& [origin, text] = replies_.front();
    send_answer(origin, text);
    replies_.pop_front();
  }
  for (const RequestLog::Entry& entry : requests_.entries()) {
    if (!outbox_.has_room()) return;
    if (is_due(entry) && !send_stored(entry)) return;
  }
}

bool Bridge::is_due(const RequestLog::Entry& entry) const {
  const auto is_its = [&](const auto& answer) { return answer.second == entry.id; };
  return entry.state == RequestLog::State::Answered && !entry.is_told &&
         std::ranges::none_of(answers_, is_its);
}

// False while nothing can be sent.
bool Bridge::send_stored(const RequestLog::Entry& entry) {
  const int number = send_answer(entry.origin, requests_.answer_of(entry));
  if (number >= 0) answers_[number] = entry.id;
  if (number == Client::kTooLarge) requests_.told(entry.id);
  return number != Client::kNotSent;
}

// One that no broker's limit keeps from being told, nor those behind it.
int Bridge::send_answer(const Origin& origin, const std::string& text) {
  const int number = send({origin.topic, text, false, "", origin.correlation});
  if (number != Client::kTooLarge) return number;
  log("the broker takes no answer of " + std::to_string(text.size()) + " bytes");
  return send({origin.topic, shortened(text), false, "", origin.correlation});
}

// One after the other: the next is not known before this one is kept as told.
bool Bridge::may_send_event() const {
  return event_ == -1 && events_.may_have_news() && outbox_.has_room();
}

void Bridge::send_event() {
  if (!may_send_event() || now_ms() < next_event_) return;
  next_event_ = now_ms() + kRetryEventMs;
  try {
    const auto event = events_.next(boot_, now_seconds());
    if (event) send_event(*event);
  } catch (const Failure& failure) {
    log(failure.what());
    next_event_ = now_ms() + Backoff::kMostMs;
  }
}

void Bridge::send_event(const Event& event) {
  const int number = send({tree_.topic(event.name), event.text});
  if (number == Client::kNotSent) return;
  next_event_ = 0;
  if (number == Client::kTooLarge) {
    log("the broker takes no event of " + std::to_string(event.text.size()) + " bytes");
    return events_.told();
  }
  event_ = number;
  ++counters_.events;
}

void Bridge::send_all() {
  if (phase_ < Phase::Telling || phase_ == Phase::Leaving) return;
  send_states();
  if (phase_ == Phase::Telling && !outbox_.is_dirty() && outbox_.in_flight() == 0) {
    phase_ = Phase::BeingBorn;
    tell_online(true);
  }
  send_answers();
  if (phase_ == Phase::Up) send_event();
}

void Bridge::mark(const std::vector<size_t>& topics) {
  for (const size_t topic : topics) outbox_.mark(topic);
}

// Where it does not work, it may later.
void Bridge::try_look() {
  try {
    look();
  } catch (const Failure& failure) {
    has_news_ = true;
    next_look_ = now_ms() + kRetryLookMs;
    if (look_trouble_ != failure.what()) log(failure.what());
    look_trouble_ = failure.what();
  }
}

void Bridge::look() {
  next_look_ = now_ms() + kLookPauseMs;
  const int topics = capi_watch_changed(&watch_);
  if (topics < 0) throw_unwatched();
  causes_ |= static_cast<unsigned>(topics);
  mark(documents_.look(causes_, now_seconds()));
  if ((causes_ & (CAPI_TOPIC_CALLS | CAPI_TOPIC_MESSAGES)) != 0) events_.look();
  causes_ = 0;
  look_trouble_.clear();
}

// ---- In --------------------------------------------------------------------------------------

// To where the request says, unless that is no place for answers.
Origin Bridge::origin_of(const Message& message) const {
  const bool is_fit = may_be_answered_to(message.response_topic);
  const bool is_kept = message.correlation.size() <= kMaxCorrelation;
  return {is_fit ? message.response_topic : tree_.topic("done"),
          is_kept ? message.correlation : ""};
}

// One in a turn of the loop, for the connection has to be served in between; in the end all, as the
// broker has them no more.
void Bridge::take_requests() {
  const bool is_ending = must_stop_ || phase_ == Phase::Leaving;
  size_t count = is_ending ? inbox_.size() : std::min<size_t>(inbox_.size(), 1);
  for (; count > 0; --count) {
    const Message message = std::move(inbox_.front());
    inbox_.pop_front();
    take(message);
  }
}

void Bridge::answer_wrong(const Message& message, const std::string& command, const Error& error) {
  ++counters_.answers[static_cast<size_t>(Status::Refused)];
  const Answer answer{id_of(message.payload),
                      command.substr(0, 64),
                      Status::Refused,
                      documents_.generation(),
                      {error}};
  reply(origin_of(message), text_of(answer, now_seconds()));
}

void Bridge::reply(const Origin& origin, std::string text) {
  if (replies_.size() == kMostReplies) replies_.pop_front();
  replies_.emplace_back(origin, std::move(text));
}

// Nobody knows how far it came, or its answer could not be kept.
std::string Bridge::unknown_outcome(const RequestLog::Entry& entry) const {
  Answer answer{entry.id, entry.command, Status::Failed, documents_.generation()};
  answer.errors.push_back({"unknown_outcome", "the bridge ended while it carried out the request"});
  return text_of(answer, now_seconds());
}

// One that was carried out before has its answer.
bool Bridge::repeat(const std::string& id, const Message& message) {
  const RequestLog::Entry* entry = requests_.find(id);
  if (entry == nullptr) return false;
  const bool is_answered = entry->state == RequestLog::State::Answered;
  reply(origin_of(message), is_answered ? requests_.answer_of(*entry) : unknown_outcome(*entry));
  return true;
}

void Bridge::take(const Message& message) {
  const std::string command = tree_.command_of(message.topic);
  if (message.is_retained && message.payload.empty()) return;  // that is how one is removed
  try {
    if (message.is_retained) {
      throw Refusal(Status::Refused,
                    {"retained", "a request must not be retained: publish it without"});
    }
    if (message.correlation.size() > kMaxCorrelation) {
      throw Refusal(Status::Refused, {"too_large", "the Correlation Data is longer than " +
                                                       std::to_string(kMaxCorrelation) + " bytes"});
    }
    const Request request = parse_request(command, message.payload);
    if (!repeat(request.id, message)) start_and_finish(request, message);
  } catch (const Refusal& refusal) {
    answer_wrong(message, command, refusal.error());
  } catch (const Failure& failure) {
    log("a request is not carried out: " + std::string(failure.what()));
    answer_wrong(message, command, error_of(failure));
  }
}

void Bridge::start_and_finish(const Request& request, const Message& message) {
  Answer answer{request.id, name_of(request.command), Status::Ok, 0};
  requests_.start(request.id, answer.command, origin_of(message));
  try {
    if (request.expires && *request.expires < now_seconds()) {
      throw Refusal(Status::Expired, {"expired", "it came too late"});
    }
    look();
    if (request.command == Command::Refresh) {
      refresh(request.spread);
    } else {
      Outcome outcome = carry_out(request, [this] {
        look();
        return documents_.generation();
      });
      if (!outcome.errors.empty()) answer.status = Status::Failed;
      answer.errors = std::move(outcome.errors);
      if (outcome.waiting) {
        answer.pending = outcome.waiting->id;
        answer.deadline = outcome.waiting->deadline;
      }
    }
  } catch (const Refusal& refusal) {
    answer.status = refusal.status();
    answer.errors.push_back(refusal.error());
  } catch (const Failure& failure) {
    answer.status = Status::Failed;
    answer.errors.push_back(error_of(failure));
  }
  try_look();
  this->answer(answer, message);
}

void Bridge::answer(Answer& answer, const Message& message) {
  ++counters_.answers[static_cast<size_t>(answer.status)];
  answer.generation = documents_.generation();
  const std::string text = text_of(answer, now_seconds());
  if (answer.status == Status::Busy) {
    // Nothing was done: the same request is to be sent again until something is.
    requests_.forget(answer.id);
    reply(origin_of(message), text);
  } else {
    requests_.finish(answer.id, text);
  }
  if (requests_.has_unwritten()) write_answers_at_ = now_ms() + kWriteAnswersMs;
  log(answer.command + " " + answer.id + ": " + name_of(answer.status) +
      (answer.errors.empty() ? "" : ": " + answer.errors[0].message));
}

void Bridge::refresh(int spread) {
  refresh_at_ = now_ms() + static_cast<int64_t>(random_part() * 1000 * spread);
}

// What a former process began and did not end.
void Bridge::finish_unfinished() {
  while (const RequestLog::Entry* entry = requests_.unfinished()) {
    ++counters_.answers[static_cast<size_t>(Status::Failed)];
    log(entry->command + " " + entry->id + ": failed: nobody knows how far it came");
    requests_.finish(entry->id, unknown_outcome(*entry));
  }
  if (requests_.has_unwritten()) write_answers_at_ = now_ms() + kWriteAnswersMs;
}

// There may be room now: a restart would not know what was told.
void Bridge::write_answers() {
  write_answers_at_ = -1;
  try {
    requests_.write_unwritten();
  } catch (const Failure&) {
    write_answers_at_ = now_ms() + kWriteAnswersMs;
  }
}

// ---- The loop --------------------------------------------------------------------------------

// The next moment at which something is to be done without news; -1 for none.
int64_t Bridge::deadline() const {
  int64_t deadline = -1;
  const auto by = [&](int64_t time) {
    deadline = deadline == -1 ? time : std::min(deadline, time);
  };
  if (phase_ != Phase::Up) by(phase_end_);
  if (phase_ != Phase::Down && client_) by(last_sent_ + int64_t{client_->keepalive()} * 1000);
  if (phase_ >= Phase::Telling && phase_ != Phase::Leaving) {
    const int64_t now = now_ms();
    if (const int64_t wait = outbox_.wait(now); wait >= 0) by(now + wait);
  }
  if (phase_ == Phase::Up && may_send_event()) by(next_event_);
  if (has_news_) by(next_look_);
  if (refresh_at_ != -1) by(refresh_at_);
  if (write_at_ != -1) by(write_at_);
  if (write_answers_at_ != -1) by(write_answers_at_);
  return deadline;
}

void Bridge::wait() {
  const int64_t until = inbox_.empty() ? deadline() : now_ms();
  const int64_t left = until == -1 ? -1 : std::clamp<int64_t>(until - now_ms(), 0, 3600'000);
  const int socket = client_ ? client_->socket() : -1;
  const bool wants_write = client_ && client_->wants_write();
  pollfd fds[] = {{socket, static_cast<short>(POLLIN | (wants_write ? POLLOUT : 0)), 0},
                  {has_news_ ? -1 : watch_.fd, POLLIN, 0},
                  {signals_.get(), POLLIN, 0},
                  {changes_.get(), POLLIN, 0}};
  if (poll(fds, std::size(fds), static_cast<int>(left)) < 0) return;
  if (fds[1].revents != 0) has_news_ = true;
  if (fds[2].revents != 0) take_signals();
  if (fds[3].revents != 0 && drain(changes_.get())) mark(documents_.look_at_change(now_seconds()));
  if (client_) serve_client(fds[0].revents);
}

void Bridge::serve_client(int events) {
  const bool is_readable = (events & (POLLIN | POLLERR | POLLHUP)) != 0;
  const bool is_writable = (events & POLLOUT) != 0;
  if (is_writable) last_sent_ = now_ms();
  if (!client_->service(is_readable, is_writable) || must_close_) {
    if (phase_ != Phase::Leaving) lose(client_->trouble());
  }
}

void Bridge::take_signals() {
  signalfd_siginfo info{};
  while (::read(signals_.get(), &info, sizeof info) > 0) must_stop_ = true;
}

void Bridge::act_on_time() {
  const int64_t now = now_ms();
  if (has_news_ && next_look_ <= now) {
    has_news_ = false;
    try_look();
  }
  if (refresh_at_ != -1 && refresh_at_ <= now) {
    refresh_at_ = -1;
    outbox_.mark_all();
  }
  write_on_time(now);
  // The library looks itself whether it is time for a sign of life.
  if (client_ && now >= last_sent_ + int64_t{client_->keepalive()} * 1000) last_sent_ = now;
  if (phase_ == Phase::Up || phase_end_ > now) return;
  if (phase_ == Phase::Down) return connect();
  if (phase_ == Phase::Leaving) return client_.reset();
  lose(phase_ == Phase::Connecting ? "nobody answers" : "the broker does not acknowledge");
}

void Bridge::write_on_time(int64_t now) {
  if (write_at_ == -1 && counters_ != written_) write_at_ = now + kWriteCountersMs;
  if (write_at_ != -1 && write_at_ <= now) count();
  if (write_answers_at_ != -1 && write_answers_at_ <= now) write_answers();
}

// Who reads them does without where they cannot be written.
void Bridge::count() {
  write_at_ = -1;
  written_ = counters_;
  const size_t slash = options_.counters.rfind('/');
  if (slash != std::string::npos) mkdir(options_.counters.substr(0, slash).c_str(), 0755);
  files::replace(options_.counters, text_of(counters_), 0644);
}

void Bridge::run() {
  if (!options_.has_tls())
    log("without TLS: everybody on the way can read and change what is said");
  while (true) {
    act_on_time();
    take_acknowledgements();
    take_requests();
    send_all();
    if (must_stop_) leave();
    const bool is_gone = phase_ == Phase::Leaving && (!client_ || birth_ == -1);
    if (is_gone) break;
    wait();
  }
  if (client_) client_->disconnect();
  log("stopped");
}

}  // namespace tools::mqtt
