// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl sms.
#include <algorithm>
#include <memory>

#include "commands.h"
#include "filter_options.h"
#include "messages.h"
#include "print.h"
#include "store_check.h"

namespace tools::capictl {
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

void list(const Context& context, const Args& args) {
  const Attachment adapter(context.log_sink(), Need::Adapter, {CAPI_LOCK_VOICE_SMS});
  print(message_table(args.box, args.filter, args.order), context);
}

void show(const Context& context, const Args& args) {
  const Attachment adapter(context.log_sink(), Need::Adapter, {CAPI_LOCK_VOICE_SMS});
  print(message_facts(*read_message(args.box, args.id)), context);
}

void send(const Context& context, const Args& args) {
  refuse_wrong_number(args.number);
  const Attachment adapter(context.log_sink(), Need::Adapter, {CAPI_LOCK_VOICE_SMS});
  send_message(args.number, args.type, args.text);
  Table facts = Table::of_facts("result");
  facts.add({"sent_to", args.number});
  report(facts, context);
}

void mark_read(const Context& context, const Args& args) {
  const Attachment adapter(context.log_sink(), Need::Adapter, {CAPI_LOCK_VOICE_SMS});
  mark_message_read(args.box, args.id);
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
  const Attachment adapter(context.log_sink(), Need::Adapter, {CAPI_LOCK_VOICE_SMS});
  delete_message(args.box, args.id);
  tell_deleted(context, 1);
}

bool delete_messages(const Args& args, const std::vector<Message>& messages) {
  if (args.filter.is_empty()) return capi_voip_sms_clean(message_selector(args.box)) == 0;
  return std::ranges::all_of(messages, [&](const Message& message) {
    return capi_voip_sms_del_by_id(message_selector(args.box), message.id) == 0;
  });
}

void clear(const Context& context, const Args& args) {
  const Attachment adapter(context.log_sink(), Need::Adapter, {CAPI_LOCK_VOICE_SMS});
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
  const Attachment adapter(context.log_sink(), Need::Adapter, {CAPI_LOCK_VOICE_SMS});
  Table table("files", {{"file"}});
  for (const auto& [store, end] :
       {std::pair{&kReceivedMessages, ".recv"}, {&kSentMessages, ".send"}}) {
    back_up_store(*store, args.path + end);
    table.add({args.path + end});
  }
  report(table, context);
}

void check(Context& context, const Args& args) {
  const bool is_sent = message_selector(args.box) == CAPI_SMS_SENT;
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
      ->check(CLI::IsMember({kMessageBoxes[0], kMessageBoxes[1]}));
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

}  // namespace tools::capictl
