// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl signal.
#include <cjson/cJSON.h>

#include <algorithm>
#include <iostream>
#include <iterator>
#include <memory>

#include "commands.h"
#include "signals.h"
#include "table.h"

namespace capictl {
namespace {

struct Args {
  std::string name;
  std::vector<std::string> params;
  bool is_forced = false;
};

// What there is to know of a signal that programs of the adapter know.
struct Signal {
  const char* name;
  const char* meaning;
};

constexpr Signal kSignals[] = {
    {"vop_sig_cellular_internet_state_change", "the mobile data connection comes or goes"},
    {"vop_sig_cfg_changed_info", "a setting changed"},
    {"vop_sig_simcard_provisioned_status", "the SIM is provisioned, or not any more"},
    {"vop_sig_timer_expired", "a timer ran out"},
    {"vop_sig_voice_reg_stat", "a line's registration changed"},
    {"vop_sig_voip_app_critical_error", "the voice application is in trouble"},
    {"vop_sig_voip_call_failed", "a call failed"},
    {"vop_sig_voip_call_log_event_updated", "the call log changed; the library posts it"},
    {"vop_sig_voip_call_log_info", "a call for the call log"},
    {"vop_sig_voip_call_sms_info", "a short message, all of it"},
    {"vop_sig_voip_call_state_change", "a line's calls changed"},
    {"vop_sig_voip_csfb_state", "circuit-switched fallback begins or ends"},
    {"vop_sig_voip_e911_address_onoff", "the address for emergency calls"},
    {"vop_sig_voip_pcscf_error", "the registrar's proxy is in trouble"},
    {"vop_sig_voip_phone_status_changed", "a telephone is off or on the hook"},
    {"vop_sig_voip_proxy_connect_status", "the proxy is connected, or not any more"},
    {"vop_sig_voip_register_status", "a line is registered, or not any more"},
    {"vop_sig_voip_simcard_error", "the SIM is in trouble"},
    {"vop_sig_voip_slic_stat", "hooks and faults of the telephones"},
    {"vop_sig_voip_sms_send", "a short message is to be sent"},
    {"vop_sig_voip_sms_send_out", "a stored message waits to be sent; the library posts it"},
    {"vop_sig_voip_sms_updated_out", "the stored messages changed; the library posts it"},
    {"vop_sig_voip_vm_off", "a line has no voice mail any more"},
    {"vop_sig_voip_vm_on", "a line has voice mail"},
    {"vop_sig_vosip_exit_event", "the voice application ends"},
    {"vop_sig_vsdk_service_control", "a service is to start or stop"},
};

// Nobody waits for a name with a typing error.
void refuse_unknown(const Args& args) {
  const std::vector<std::string> names = signal_names();
  if (args.is_forced || std::ranges::find(names, args.name) != names.end()) return;
  throw Failure("no program knows the signal " + args.name + guess(args.name, names) +
                    " All: capictl signal list. --force posts it",
                {kRefused, args.name});
}

void list(const Context& context) {
  Table table("signals", {{"name"}, {.title = "meaning", .is_long = true}});
  for (const Signal& signal : kSignals) table.add({signal.name, signal.meaning});
  print(table, context);
}

using Json = std::unique_ptr<cJSON, decltype(&cJSON_Delete)>;

// The name and the texts go to the device's shell, the texts between quotes, in a command of
// limited length: what could mean something there, or could be cut, is refused.
void refuse_unsafe(const Args& args) {
  constexpr size_t kMaxLength = 512;
  size_t length = args.name.size();
  if (args.name.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                  "0123456789_.-") != std::string::npos) {
    throw Failure("a signal's name has letters, digits, \"_\", \".\" and \"-\" only", {kRefused});
  }
  for (const std::string& param : args.params) {
    length += param.size();
    if (param.find_first_of("'\"\\") != std::string::npos || param != printable(param)) {
      throw Failure(
          "\"" + param + "\" cannot be sent: it holds a quote, a backslash or a control character",
          {kRefused});
    }
  }
  if (length > kMaxLength) {
    throw Failure("name and texts have more than " + std::to_string(kMaxLength) +
                      " characters together; there is no room for them",
                  {kRefused});
  }
}

void post(const Context& context, const Args& args) {
  refuse_unsafe(args);
  refuse_unknown(args);
  const Attachment adapter(context);
  std::vector<std::string> params = args.params;
  params.resize(3);
  const int result = args.params.empty()
                         ? capi_fire_internal_event(args.name.c_str())
                         : capi_fire_internal_event2(args.name.c_str(), params[0].c_str(),
                                                     params[1].c_str(), params[2].c_str());
  if (result != 0) throw Failure("the signal could not be posted; --verbose tells more");
  Table facts = Table::of_facts("result");
  facts.add({"posted", args.name});
  report(facts, context);
}

std::string value_text(const cJSON* item) {
  if (cJSON_IsString(item)) return item->valuestring;
  const std::unique_ptr<char, decltype(&cJSON_free)> text(cJSON_PrintUnformatted(item), cJSON_free);
  return text ? text.get() : "";
}

// The attributes, those within others under "outer.inner".
void add_attributes(Table& table, const std::string& prefix, const cJSON* object) {
  int position = 0;
  const cJSON* item = nullptr;
  cJSON_ArrayForEach(item, object) {
    const std::string name =
        prefix + (item->string != nullptr ? item->string : std::to_string(position++).c_str());
    if (cJSON_IsObject(item) || cJSON_IsArray(item)) {
      add_attributes(table, name + ".", item);
    } else {
      table.add({name, value_text(item)});
    }
  }
}

void decode(const Context& context) {
  const std::string text{std::istreambuf_iterator<char>(std::cin), {}};
  const Json json(cJSON_Parse(text.c_str()), cJSON_Delete);
  if (!json) throw Failure("standard input is not JSON");
  const auto info = std::make_unique<capi_signal_info>();
  char name[CAPI_SIGNAL_NAME_SIZE] = {};
  if (ctrlv2_json_to_siginfo(json.get(), name, info.get()) != 0) {
    throw Failure("this JSON is no signal: it has no \"name\"");
  }
  // Encoded anew it shows what a program sees: every attribute, defaults filled in.
  const Json seen(ctrlv2_siginfo_to_json(name, info.get()), cJSON_Delete);
  Table table("signal", {{"attribute"}, {"value"}});
  table.add({"name", name});
  add_attributes(table, "", cJSON_GetObjectItem(seen.get(), "attrs"));
  print(table, context);
}

}  // namespace

std::vector<std::string> signal_names() {
  std::vector<std::string> names;
  for (const Signal& signal : kSignals) names.emplace_back(signal.name);
  return names;
}

void add_signal(CLI::App& app, Context& context) {
  CLI::App* command = app.add_subcommand("signal", "Post a signal, or read one");
  const auto args = std::make_shared<Args>();
  command->add_option("NAME", args->name, "The signal's name");
  command->add_option("PARAM", args->params, "Up to three texts")->expected(0, 3);
  command->add_flag("--force", args->is_forced, "Also one that no program is known to wait for");
  command->footer(
      "With texts the signal is posted as JSON, else by its name alone.\n\n"
      "Examples:\n  capictl signal vop_sig_cfg_changed_info\n"
      "  capictl signal vop_sig_vsdk_service_control restart");
  CLI::App* all = command->add_subcommand("list", "Print the names that programs know");
  all->footer("Posts nothing and needs no adapter.\n\nExample:\n  capictl signal list");
  all->callback([&context] { list(context); });
  CLI::App* reader = command->add_subcommand("decode", "Read a signal's JSON on standard input");
  reader->footer(
      "Prints what a program sees of it. Needs no adapter.\n\nExample:\n"
      "  capictl signal decode <signal.json");
  reader->callback([&context] { decode(context); });
  command->callback([command, args, &context] {
    if (!command->get_subcommands().empty()) return;
    if (args->name.empty()) throw CLI::RequiredError("NAME");
    post(context, *args);
  });
}

}  // namespace capictl
