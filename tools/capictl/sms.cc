// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl sms.
#include <algorithm>
#include <ctime>
#include <memory>

#include "commands.h"
#include "filter.h"
#include "messages.h"
#include "stores.h"
#include "table.h"

namespace capictl {
namespace {

struct Args {
  std::string box;
  uint64_t id = 0;
  std::string number;
  std::string text;
  uint32_t type = 0;
  Filter filter;
  Order order;
  bool says_yes = false;
  std::string path;
};

// In the order of the selectors.
constexpr const char* kBoxes[] = {"received", "sent"};

int selector_of(const std::string& box) {
  return box == kBoxes[CAPI_SMS_SENT] ? CAPI_SMS_SENT : CAPI_SMS_RECEIVED;
}

std::string body_of(const capi_sms_record& record) {
  return std::string(
      record.Text, std::min({size_t{record.TextLen}, size_t{record.TextSize}, sizeof record.Text}));
}

struct Message {
  uint64_t id;
  std::vector<std::string> cells;
};

// Those that are meant, on their way out of the store.
struct Walk {
  Matcher is_meant;
  std::vector<Message> messages = {};
};

int take_message(const capi_sms_record* record, void* user) {
  Walk& walk = *static_cast<Walk*>(user);
  const std::string text = body_of(*record);
  const std::string number = text_of(record->RemoteNumber);
  if (!walk.is_meant({.time = record->BeginTime,
                      .number = number,
                      .is_read = record->bRead != 0,
                      .text = text})) {
    return 0;
  }
  walk.messages.push_back(
      {record->id,
       {std::to_string(record->id), std::to_string(record->bRead), std::to_string(record->status),
        time_or_number(record->BeginTime), text_of(record->LocalNumber), number,
        std::to_string(record->TextType), text}});
  return 0;
}

// The newest first.
std::vector<Message> read_messages(const std::string& box, const Filter& filter) {
  Walk walk{Matcher(filter)};
  if (capi_voip_sms_dump(selector_of(box), take_message, &walk) != 0) {
    throw Failure(
        "the messages cannot be read. If their file was damaged, there is an empty one now, and a "
        "copy whose name ends in .err");
  }
  std::ranges::reverse(walk.messages);
  return std::move(walk.messages);
}

void list(const Context& context, const Args& args) {
  const Attachment adapter(context, Need::Adapter, {CAPI_LOCK_VOICE_SMS});
  print(message_table(args.box, args.filter, args.order), context);
}

capi_sms_record& read_message(const Args& args, std::unique_ptr<capi_sms_record>& record) {
  record = std::make_unique<capi_sms_record>();
  if (capi_voip_sms_get(selector_of(args.box), args.id, record.get()) != 0) {
    throw Failure("there is no " + args.box + " message " + std::to_string(args.id) +
                      ". All of them: capictl sms list " + args.box,
                  {kNotFound});
  }
  return *record;
}

void show(const Context& context, const Args& args) {
  const Attachment adapter(context, Need::Adapter, {CAPI_LOCK_VOICE_SMS});
  std::unique_ptr<capi_sms_record> owner;
  const capi_sms_record& record = read_message(args, owner);
  Table table = Table::of_facts("message");
  table.add_fact({"id", Type::Number}, std::to_string(record.id));
  table.add_fact({"status", Type::Number}, std::to_string(record.status));
  table.add_fact({"read", Type::Flag}, std::to_string(record.bRead));
  table.add_fact({"stored", Type::Time}, time_or_number(record.BeginTime));
  table.add_fact({"changed", Type::Time}, time_or_number(record.LastTime));
  table.add({"IMSI", text_of(record.imsi)});
  table.add({"local number", text_of(record.LocalNumber)});
  table.add({"remote number", text_of(record.RemoteNumber)});
  table.add_fact({"text type", Type::Number}, std::to_string(record.TextType));
  table.add({"text", body_of(record)});
  print(table, context);
}

bool is_number(const std::string& text) {
  const size_t first = text.starts_with('+') ? 1 : 0;
  return text.size() > first && text.find_first_not_of("0123456789*#", first) == std::string::npos;
}

void send(const Context& context, const Args& args) {
  if (!is_number(args.number)) {
    throw Failure("\"" + printable(args.number) +
                      "\" is no phone number: digits, * and #, with a + in front or without",
                  {kRefused});
  }
  if (args.number.size() >= sizeof(capi_sms_record::RemoteNumber)) {
    throw Failure("the number is too long: it has up to 23 characters", {kRefused});
  }
  const Attachment adapter(context, Need::Adapter, {CAPI_LOCK_VOICE_SMS});
  if (capi_voip_sms_send(args.number.c_str(), args.type, args.text.data(),
                         static_cast<uint32_t>(args.text.size())) != 0) {
    throw Failure(
        "the message was not stored: is there a SIM, and is the text at most 39100 bytes?");
  }
  Table facts = Table::of_facts("result");
  facts.add({"sent_to", args.number});
  report(facts, context);
}

void mark_read(const Context& context, const Args& args) {
  const Attachment adapter(context, Need::Adapter, {CAPI_LOCK_VOICE_SMS});
  std::unique_ptr<capi_sms_record> owner;
  capi_sms_record& record = read_message(args, owner);
  record.bRead = 1;
  record.LastTime = static_cast<uint32_t>(time(nullptr));
  if (capi_voip_sms_update(selector_of(args.box), &record) != 0) {
    throw Failure("the message could not be changed; --verbose tells more");
  }
  Table facts = Table::of_facts("result");
  facts.add_fact({"id", Type::Number}, std::to_string(args.id));
  facts.add_fact({"read", Type::Flag}, "1");
  report(facts, context);
}

void tell_deleted(const Context& context, size_t count) {
  Table facts = Table::of_facts("result");
  facts.add_fact({"deleted", Type::Number}, std::to_string(count));
  report(facts, context);
}

void remove(const Context& context, const Args& args) {
  const Attachment adapter(context, Need::Adapter, {CAPI_LOCK_VOICE_SMS});
  std::unique_ptr<capi_sms_record> owner;
  read_message(args, owner);
  if (capi_voip_sms_del_by_id(selector_of(args.box), args.id) != 0) {
    throw Failure("the message could not be deleted; --verbose tells more");
  }
  tell_deleted(context, 1);
}

bool delete_messages(const Args& args, const std::vector<Message>& messages) {
  if (args.filter.is_empty()) return capi_voip_sms_clean(selector_of(args.box)) == 0;
  return std::ranges::all_of(messages, [&](const Message& message) {
    return capi_voip_sms_del_by_id(selector_of(args.box), message.id) == 0;
  });
}

void clear(const Context& context, const Args& args) {
  const Attachment adapter(context, Need::Adapter, {CAPI_LOCK_VOICE_SMS});
  const std::vector<Message> messages = read_messages(args.box, args.filter);
  const std::string what = counted(messages.size(), args.box + " message");
  if (!messages.empty()) {
    confirm("delete " + what, args.says_yes);
    if (!delete_messages(args, messages)) {
      throw Failure("the messages could not be cleared; --verbose tells more");
    }
  }
  fprintf(stderr, "%s deleted\n", what.c_str());
  tell_deleted(context, messages.size());
}

void back_up(const Context& context, const Args& args) {
  const Attachment adapter(context, Need::Adapter, {CAPI_LOCK_VOICE_SMS});
  Table table("files", {{"file"}});
  for (const auto& [store, end] :
       {std::pair{&kReceivedMessages, ".recv"}, {&kSentMessages, ".send"}}) {
    back_up_store(*store, args.path + end);
    table.add({args.path + end});
  }
  report(table, context);
}

void check(Context& context, const Args& args) {
  const bool is_sent = selector_of(args.box) == CAPI_SMS_SENT;
  check_store(is_sent ? kSentMessages : kReceivedMessages, args.path, context);
}

template <typename Run>
CLI::App* add_command(CLI::App& sms, const char* name, const char* what, const char* footer,
                      Context& context, const std::shared_ptr<Args>& args, Run run) {
  CLI::App* command = sms.add_subcommand(name, what);
  command->footer(footer);
  command->callback([args, &context, run] { run(context, *args); });
  return command;
}

CLI::App* add_box(CLI::App* command, const std::shared_ptr<Args>& args) {
  command->add_option("BOX", args->box, "Which messages")
      ->required()
      ->check(CLI::IsMember({kBoxes[0], kBoxes[1]}));
  return command;
}

void add_filter(CLI::App* command, const std::shared_ptr<Args>& args) {
  command->add_flag("--unread", args->filter.unread, "Only those that nobody marked as read");
  add_filter_options(command, args->filter);
  command->add_option("--text", args->filter.text, "Only those with this in their text");
}

void add_message(CLI::App* command, const std::shared_ptr<Args>& args) {
  add_box(command, args)->add_option("ID", args->id, "The message's id, as listed")->required();
}

}  // namespace

Table message_table(const std::string& box, const Filter& filter, const Order& order) {
  Table table("messages", {{"id", Type::Number},
                           {"read", Type::Flag},
                           {"status", Type::Number},
                           {"time", Type::Time},
                           {"local"},
                           {"remote"},
                           {"type", Type::Number, "text_type"},
                           {.title = "text", .is_long = true}});
  std::vector<Message> messages = read_messages(box, filter);
  order.apply(messages);
  for (Message& message : messages) table.add(std::move(message.cells));
  return table;
}

void add_sms(CLI::App& app, Context& context) {
  CLI::App* sms = app.add_subcommand("sms", "Show, send and change short messages");
  sms->require_subcommand(1);
  sms->footer("Example:\n  capictl sms list received");
  const auto args = std::make_shared<Args>();
  CLI::App* command = add_command(*sms, "list", "Print messages, the newest first",
                                  "Times are in UTC.\n\nExamples:\n  capictl sms list received\n"
                                  "  capictl sms list received --unread --since 3d",
                                  context, args, list);
  add_filter(add_box(command, args), args);
  add_order_options(command, args->order);
  add_message(add_command(*sms, "show", "Print all of a message",
                          "Example:\n  capictl sms show received 3", context, args, show),
              args);
  command =
      add_command(*sms, "send", "Store a message and ask the voice application to send it",
                  "Example:\n  capictl sms send +15551230002 \"On my way\"", context, args, send);
  command->add_option("NUMBER", args->number, "Whom to, up to 23 characters")->required();
  command->add_option("TEXT", args->text, "Its bytes are sent as they are")->required();
  command->add_option("--type", args->type, "How the text is encoded, for the receiver (0)");
  add_message(add_command(*sms, "mark-read", "Mark a message as read",
                          "Example:\n  capictl sms mark-read received 3", context, args, mark_read),
              args);
  add_message(add_command(*sms, "delete", "Remove a message",
                          "Example:\n  capictl sms delete received 3", context, args, remove),
              args);
  command = add_command(*sms, "clear", "Remove all messages, or those that are meant",
                        "Asks before, and says how many went. Where nobody can be asked it "
                        "removes nothing without --yes.\n\n"
                        "Examples:\n  capictl sms clear sent\n"
                        "  capictl sms clear received --number 4711 --yes",
                        context, args, clear);
  add_filter(add_box(command, args), args);
  command->add_flag("--yes", args->says_yes, "Ask nothing");
  add_command(*sms, "backup", "Copy both files to PATH.recv and PATH.send",
              "Example:\n  capictl sms backup /tmp/messages", context, args, back_up)
      ->add_option("PATH", args->path, "Where to")
      ->required();
  add_box(add_command(*sms, "check", "Tell what is unsound in a file of messages",
                      "Tells what the library would do about it, too. Reads only. Exit code 1 "
                      "when something\nis found.\n\n"
                      "Examples:\n  capictl sms check received\n"
                      "  capictl sms check sent /tmp/messages.send",
                      context, args, check),
          args)
      ->add_option("FILE", args->path, "Another file than the adapter's, which need not run then");
}

}  // namespace capictl
