// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl sms.
#include <algorithm>
#include <ctime>
#include <memory>

#include "commands.h"
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

int take_row(const capi_sms_record* record, void* user) {
  static_cast<Table*>(user)->add({std::to_string(record->id), std::to_string(record->bRead),
                                  std::to_string(record->status), time_or_number(record->BeginTime),
                                  text_of(record->LocalNumber), text_of(record->RemoteNumber),
                                  std::to_string(record->TextType), body_of(*record)});
  return 0;
}

void list(const Context& context, const Args& args) {
  const Attachment adapter(context);
  Table table("messages", {{"id", Type::Number},
                           {"read", Type::Flag},
                           {"status", Type::Number},
                           {"time", Type::Time},
                           {"local"},
                           {"remote"},
                           {"type", Type::Number, "text_type"},
                           {.title = "text", .is_long = true}});
  if (capi_voip_sms_dump(selector_of(args.box), take_row, &table) != 0) {
    throw Failure(
        "the messages cannot be read. If their file was damaged, there is an empty one now, and a "
        "copy whose name ends in .err");
  }
  print(table, context);
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
  const Attachment adapter(context);
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
  const Attachment adapter(context);
  if (capi_voip_sms_send(args.number.c_str(), args.type, args.text.data(),
                         static_cast<uint32_t>(args.text.size())) != 0) {
    throw Failure(
        "the message was not stored: is there a SIM, and is the text at most 39100 bytes?");
  }
}

void mark_read(const Context& context, const Args& args) {
  const Attachment adapter(context);
  std::unique_ptr<capi_sms_record> owner;
  capi_sms_record& record = read_message(args, owner);
  record.bRead = 1;
  record.LastTime = static_cast<uint32_t>(time(nullptr));
  if (capi_voip_sms_update(selector_of(args.box), &record) != 0) {
    throw Failure("the message could not be changed; --verbose tells more");
  }
}

void remove(const Context& context, const Args& args) {
  const Attachment adapter(context);
  std::unique_ptr<capi_sms_record> owner;
  read_message(args, owner);
  if (capi_voip_sms_del_by_id(selector_of(args.box), args.id) != 0) {
    throw Failure("the message could not be deleted; --verbose tells more");
  }
}

void clear(const Context& context, const Args& args) {
  const Attachment adapter(context);
  if (capi_voip_sms_clean(selector_of(args.box)) != 0) {
    throw Failure("the messages could not be cleared; --verbose tells more");
  }
}

void back_up(const Context& context, const Args& args) {
  const Attachment adapter(context);
  back_up_store(kReceivedMessages, args.path + ".recv");
  back_up_store(kSentMessages, args.path + ".send");
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

void add_message(CLI::App* command, const std::shared_ptr<Args>& args) {
  add_box(command, args)->add_option("ID", args->id, "The message's id, as listed")->required();
}

}  // namespace

void add_sms(CLI::App& app, Context& context) {
  CLI::App* sms = app.add_subcommand("sms", "Show, send and change short messages");
  sms->require_subcommand(1);
  sms->footer("Example:\n  capictl sms list received");
  const auto args = std::make_shared<Args>();
  add_box(add_command(*sms, "list", "Print messages, the oldest first",
                      "Example:\n  capictl sms list received", context, args, list),
          args);
  add_message(add_command(*sms, "show", "Print all of a message",
                          "Example:\n  capictl sms show received 3", context, args, show),
              args);
  CLI::App* command =
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
  add_box(add_command(*sms, "clear", "Remove all messages", "Example:\n  capictl sms clear sent",
                      context, args, clear),
          args);
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
