// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl sms.
#include <algorithm>
#include <ctime>
#include <memory>

#include "commands.h"
#include "sms_check.h"
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

struct Box {
  const char* name;
  const char* file;
};

// In the order of the selectors.
constexpr Box kBoxes[] = {{"received", "sm_recv"}, {"sent", "sm_send"}};

int selector_of(const std::string& box) {
  return box == kBoxes[CAPI_SMS_SENT].name ? CAPI_SMS_SENT : CAPI_SMS_RECEIVED;
}

std::string time_text(uint32_t seconds) {
  const auto time = static_cast<time_t>(seconds);
  tm parts{};
  char text[32];
  gmtime_r(&time, &parts);
  strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text;
}

std::string body_of(const capi_sms_record& record) {
  return std::string(
      record.Text, std::min({size_t{record.TextLen}, size_t{record.TextSize}, sizeof record.Text}));
}

int take_row(const capi_sms_record* record, void* user) {
  static_cast<Table*>(user)->add({std::to_string(record->id), std::to_string(record->bRead),
                                  std::to_string(record->status), time_text(record->BeginTime),
                                  text_of(record->LocalNumber), text_of(record->RemoteNumber),
                                  std::to_string(record->TextType), body_of(*record)});
  return 0;
}

void list(const Context& context, const Args& args) {
  const Attachment adapter(context);
  Table table("messages", {{"id", true},
                           {"read", true},
                           {"status", true},
                           {"time"},
                           {"local"},
                           {"remote"},
                           {"type", true},
                           {"text"}});
  if (capi_voip_sms_dump(selector_of(args.box), take_row, &table) != 0) {
    throw Failure("the messages cannot be read; --verbose tells more");
  }
  print(table, context);
}

capi_sms_record& read_message(const Args& args, std::unique_ptr<capi_sms_record>& record) {
  record = std::make_unique<capi_sms_record>();
  if (capi_voip_sms_get(selector_of(args.box), args.id, record.get()) != 0) {
    throw Failure("there is no " + args.box + " message " + std::to_string(args.id) +
                  ". All of them: capictl sms list " + args.box);
  }
  return *record;
}

void show(const Context& context, const Args& args) {
  const Attachment adapter(context);
  std::unique_ptr<capi_sms_record> owner;
  const capi_sms_record& record = read_message(args, owner);
  Table table("message", {{"value"}, {"is"}});
  table.add({"id", std::to_string(record.id)});
  table.add({"status", std::to_string(record.status)});
  table.add({"read", std::to_string(record.bRead)});
  table.add({"stored", time_text(record.BeginTime)});
  table.add({"changed", time_text(record.LastTime)});
  table.add({"IMSI", text_of(record.imsi)});
  table.add({"local number", text_of(record.LocalNumber)});
  table.add({"remote number", text_of(record.RemoteNumber)});
  table.add({"text type", std::to_string(record.TextType)});
  table.add({"text", body_of(record)});
  print(table, context);
}

void send(const Context& context, const Args& args) {
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
  if (args.path.find_first_of(" '\"`$\\;&|<>()*?\n") != std::string::npos) {
    throw Failure("the path goes to the shell as it is; choose one without blanks and such signs");
  }
  capi_voip_sms_backup(args.path.c_str());
}

void check(Context& context, const Args& args) {
  std::string path = args.path;
  if (path.empty()) {
    const Attachment adapter(context);
    char own[512];
    path = capi_get_runtime_path(4, kBoxes[selector_of(args.box)].file, own, sizeof own);
  }
  const std::vector<std::string> faults = check_messages(read_file(path));
  Table table("faults", {{"fault"}});
  for (const std::string& fault : faults) table.add({fault});
  print(table, context);
  if (faults.empty()) return;
  fprintf(
      stderr,
      "capictl: %s is not sound. The next call that uses it copies it to %s.err and replaces it "
      "by an empty one\n",
      path.c_str(), path.c_str());
  context.exit_code = kFinding;
}

CLI::App* add_command(CLI::App& sms, const char* name, const char* what, Context& context,
                      const std::shared_ptr<Args>& args, void (*run)(const Context&, const Args&)) {
  CLI::App* command = sms.add_subcommand(name, what);
  command->callback([args, &context, run] { run(context, *args); });
  return command;
}

CLI::App* add_box(CLI::App* command, const std::shared_ptr<Args>& args) {
  command->add_option("BOX", args->box, "received or sent")
      ->required()
      ->check(CLI::IsMember({kBoxes[0].name, kBoxes[1].name}));
  return command;
}

void add_message(CLI::App* command, const std::shared_ptr<Args>& args) {
  add_box(command, args)->add_option("ID", args->id, "The message's id, as listed")->required();
}

}  // namespace

void add_sms(CLI::App& app, Context& context) {
  CLI::App* sms = app.add_subcommand("sms", "Show, send and change short messages");
  sms->require_subcommand(1);
  const auto args = std::make_shared<Args>();
  add_box(add_command(*sms, "list", "Print messages, the oldest first", context, args, list), args);
  add_message(add_command(*sms, "show", "Print all of a message", context, args, show), args);
  CLI::App* command =
      add_command(*sms, "send", "Store a message and ask the voice application to send it", context,
                  args, send);
  command->add_option("NUMBER", args->number, "Whom to")->required();
  command->add_option("TEXT", args->text, "Its bytes are sent as they are")->required();
  command->add_option("--type", args->type, "How the text is encoded, for the receiver (0)");
  command->footer("Example:\n  capictl sms send +15551230002 \"On my way\"");
  add_message(add_command(*sms, "mark-read", "Mark a message as read", context, args, mark_read),
              args);
  add_message(add_command(*sms, "delete", "Remove a message", context, args, remove), args);
  add_box(add_command(*sms, "clear", "Remove all messages", context, args, clear), args);
  command = add_command(*sms, "backup", "Copy both files to PATH.recv and PATH.send", context, args,
                        back_up);
  command->add_option("PATH", args->path, "Where to")->required();
  command =
      add_box(sms->add_subcommand("check", "Tell what is unsound in a file of messages"), args);
  command->add_option("FILE", args->path, "Another file than the adapter's");
  command->footer("Reads only. Exit code 1 when the file is unsound.");
  command->callback([args, &context] { check(context, *args); });
}

}  // namespace capictl
