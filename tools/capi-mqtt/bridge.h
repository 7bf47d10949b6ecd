// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The adapter on one side, the broker on the other: one thread that waits for news of either.
#pragma once

#include <capi.h>
#include <files.h>

#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "backoff.h"
#include "client.h"
#include "counters.h"
#include "documents.h"
#include "events.h"
#include "outbox.h"
#include "request.h"
#include "request_log.h"

namespace tools::mqtt {

class Bridge : public Listener {
 public:
  // Needs an Attachment as long as it lives. Throws a Failure.
  Bridge(const Options& options, std::string id);
  ~Bridge() override;
  Bridge(const Bridge&) = delete;
  Bridge& operator=(const Bridge&) = delete;

  // Until SIGTERM or SIGINT.
  void run();

 private:
  enum class Phase : uint8_t {
    Down,         // until it is time to try again
    Connecting,   // until the broker answers
    Subscribing,  // until it does for the commands, too
    Telling,      // until it has all topics
    BeingBorn,    // until it has "online"
    Up,
    Leaving,  // until it has that it is not online any more
  };

  // --- the connection ---
  void connect();
  void lose(const std::string& why);
  void on_connected() override;
  void on_subscribed() override;
  void on_acknowledged(int message, const std::string& reason) override;
  void on_message(Message message) override;
  void take_acknowledgements();
  void acknowledge(int message, const std::string& reason);
  void be_born(const std::string& denied);
  std::string online_text(bool is_online) const;
  void tell_online(bool is_online);
  void leave();

  // --- out ---
  int send(const Message& message, size_t topic = Outbox::kNoTopic);
  void send_all();
  void send_states();
  void send_answers();
  bool is_due(const RequestLog::Entry& entry) const;
  bool send_stored(const RequestLog::Entry& entry);
  int send_answer(const Origin& origin, const std::string& text);
  bool may_send_event() const;
  void send_event();
  void send_event(const Event& event);
  void look();
  void try_look();
  void mark(const std::vector<size_t>& topics);

  // --- in ---
  void take_requests();
  void take(const Message& message);
  void answer_wrong(const Message& message, const std::string& command, const Error& error);
  bool repeat(const std::string& id, const Message& message);
  void start_and_finish(const Request& request, const Message& message);
  void answer(Answer& answer, const Message& message);
  void write_answers();
  void reply(const Origin& origin, std::string text);
  std::string unknown_outcome(const RequestLog::Entry& entry) const;
  void refresh(int spread);
  void finish_unfinished();
  Origin origin_of(const Message& message) const;

  // --- the loop ---
  int64_t deadline() const;
  void wait();
  void serve_client(int events);
  void act_on_time();
  void write_on_time(int64_t now);
  void take_signals();
  void count();

  const Options& options_;
  std::string id_;
  Tree tree_;
  std::string boot_;
  Documents documents_;
  Outbox outbox_;
  Backoff backoff_;
  RequestLog requests_;
  Events events_;

  Phase phase_ = Phase::Down;
  std::unique_ptr<Client> client_;
  int64_t connection_ = 0;  // the time of connecting, since the system's start
  int64_t phase_end_ = 0;   // Down: when to try again; else when to give up
  int64_t up_since_ = 0;    // of Up
  int64_t last_sent_ = 0;   // for the keepalive
  bool must_close_ = false;
  std::string denied_;  // the last topic that the broker did not take, which is told once

  // What the acknowledgement of a message means.
  int birth_ = -1;
  int event_ = -1;
  std::map<int, std::string> answers_;  // message to request

  std::deque<std::pair<int, std::string>> acknowledgements_;  // with why it was not taken
  std::deque<Message> inbox_;
  std::deque<std::pair<Origin, std::string>> replies_;  // that nobody has to remember

  capi_watch watch_{};
  unsigned causes_ = 0;  // of enum capi_topic: what is still to be looked at
  bool has_news_ = true;
  std::string look_trouble_;  // the last, which is told once
  int64_t next_look_ = 0;
  int64_t next_event_ = 0;
  int64_t refresh_at_ = -1;
  files::Descriptor signals_;
  files::Descriptor changes_;  // of the files of a change that waits
  bool must_stop_ = false;

  Counters counters_;
  Counters written_;
  int64_t write_at_ = -1;
  int64_t write_answers_at_ = -1;
};

}  // namespace tools::mqtt
