// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl monitor.
#include <algorithm>
#include <cstdio>
#include <iterator>
#include <memory>
#include <optional>

#include "commands.h"
#include "record_changes.h"
#include "store_changes.h"
#include "watcher.h"

namespace tools::capictl {
namespace {

using Names = std::vector<std::string>;

constexpr unsigned kRecordTopics = CAPI_TOPIC_CONFIG | CAPI_TOPIC_DEVICE | CAPI_TOPIC_LINES;

// All that can be watched for names that are none.
unsigned topics_of(const Names& names) {
  unsigned topics = 0;
  for (size_t i = 0; i < std::size(kTopicNames); ++i) {
    if (std::ranges::find(names, kTopicNames[i]) != names.end()) topics |= 1U << i;
  }
  return topics != 0 ? topics : unsigned{CAPI_TOPIC_ALL};
}

// "config, lines".
std::string listed(unsigned topics) {
  std::string list;
  for (size_t i = 0; i < std::size(kTopicNames); ++i) {
    if ((topics & 1U << i) != 0) list += (list.empty() ? "" : ", ") + std::string(kTopicNames[i]);
  }
  return list;
}

// What was seen last of everything.
class Monitor {
 public:
  Monitor(unsigned topics, const Context& context) : topics_(topics), context_(context) {
    if ((topics & CAPI_TOPIC_CALLS) != 0) calls_.emplace();
    if ((topics & CAPI_TOPIC_MESSAGES) != 0) messages_.emplace();
  }

  // Tells what happened to topics of which something was told.
  ChangeLines look(unsigned changed) {
    ChangeLines lines;
    if ((changed & kRecordTopics) != 0) {
      const auto before = view_.look();
      lines = record_changes(*before, view_.record(), topics_, context_);
    }
    if (calls_ && (changed & CAPI_TOPIC_CALLS) != 0) append(lines, calls_->look());
    if (messages_ && (changed & CAPI_TOPIC_MESSAGES) != 0) append(lines, messages_->look());
    return lines;
  }

 private:
  static void append(ChangeLines& lines, ChangeLines more) {
    std::ranges::move(more, std::back_inserter(lines));
  }

  unsigned topics_;
  const Context& context_;
  View view_;
  std::optional<CallChanges> calls_;
  std::optional<MessageChanges> messages_;
};

// False when nobody reads them.
bool print_lines(const ChangeLines& lines, const Context& context) {
  return std::ranges::all_of(lines, [&context](const ChangeLine& line) {
    line.print(context);
    return flush_line();
  });
}

void monitor(const Context& context, const Names& names) {
  const Attachment adapter(context.log_sink());
  const unsigned topics = topics_of(names);
  Watcher watcher(topics);
  Monitor state(topics, context);
  fprintf(stderr, "Watching %s. Ctrl-C ends.\n", listed(topics).c_str());
  while (const unsigned changed = watcher.wait()) {
    if (!print_lines(state.look(changed), context)) return;
  }
}

}  // namespace

void add_monitor(CLI::App& app, Context& context) {
  CLI::App* command = app.add_subcommand("monitor", "Tell of every change, as it happens");
  const auto names = std::make_shared<Names>();
  command->add_option("TOPIC", *names, "What to tell of; everything without")
      ->check(CLI::IsMember(Names(std::begin(kTopicNames), std::end(kTopicNames))));
  command->footer(
      "A line a change: time, topic and what changed; with --json an object. Settings\n"
      "have key, old and new value; of a password only whether it is set, unless with\n"
      "--show-secrets. What cannot be told in detail is \"changed\". On a terminal lines\n"
      "end at its edge; texts of messages are whole elsewhere and with --json.\n\n"
      "It is told of changes and does nothing while there are none. Where things change\n"
      "faster than it can tell, it tells the latest state and not each step. Ends with\n"
      "Ctrl-C, or when nobody reads its output any more.\n\n"
      "Examples:\n  capictl monitor\n  capictl monitor lines calls --json");
  command->callback([names, &context] { monitor(context, *names); });
}

}  // namespace tools::capictl
