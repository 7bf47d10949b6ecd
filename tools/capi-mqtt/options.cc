// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "options.h"

#include <text.h>

#include <algorithm>
#include <sstream>

#include "topics.h"

namespace tools::mqtt {
namespace {

[[noreturn]] void refuse(const std::string& text) { throw Failure(text, {kUsage}); }

int number_in(const std::string& text, int least, int most) {
  const bool is_number = !text.empty() && text.size() <= 9 &&
                         text.find_first_not_of("0123456789") == std::string::npos;
  const int number = is_number ? std::stoi(text) : -1;
  if (number < least || number > most) {
    refuse("\"" + text + "\" is no number from " + std::to_string(least) + " to " +
           std::to_string(most));
  }
  return number;
}

void take_id(const std::string& id, Options& options) {
  if (!is_adapter_id(id)) {
    refuse("\"" + id +
           "\" cannot be the name of an adapter: it is one level of a topic, of 1 to 64 bytes of "
           "UTF-8, without / + # blanks and control characters, and does not begin with $");
  }
  options.id = id;
}

void take_events(const std::string& list, Options& options) {
  options.tells_calls = options.tells_messages = false;
  if (list == "off") return;
  for (const std::string& event : split(list, ',')) {
    if (event != "calls" && event != "messages") {
      refuse("\"" + event + "\" are no events: calls, messages, or calls,messages; or off");
    }
    (event == "calls" ? options.tells_calls : options.tells_messages) = true;
  }
}

template <std::string Options::*Member>
void take_text(const std::string& text, Options& options) {
  if (text.empty()) refuse("there is no value");
  options.*Member = text;
}

const OptionRow kOptions[] = {
    {"host", "NAME", "The broker's name or address; localhost without it",
     take_text<&Options::host>},
    {"port", "NUMBER", "Its port; 8883 with --cafile, else 1883",
     [](const std::string& value, Options& options) { options.port = number_in(value, 1, 65535); }},
    {"id", "NAME",
     "The adapter's name in topics, and the client id; the device's serial number or IMEI without "
     "it",
     take_id},
    {"cafile", "FILE", "The certificates of who vouches for the broker; with it there is TLS",
     take_text<&Options::cafile>},
    {"cert", "FILE", "The adapter's own certificate", take_text<&Options::cert>},
    {"key", "FILE", "Its private key, without a passphrase", take_text<&Options::key>},
    {"user", "NAME", "The user name at the broker", take_text<&Options::user>},
    {"password-file", "FILE", "Its password, the first line of a file",
     take_text<&Options::password_file>},
    {"events", "LIST", "Tell of calls, messages, or calls,messages; off without it", take_events},
    {"keepalive", "SECONDS", "Tell the broker so often that all is well; 60 without it",
     [](const std::string& value, Options& options) {
       options.keepalive = number_in(value, 5, 3600);
     }},
    {"state", "DIRECTORY", "What has to outlive it; /var/lib/capi/mqtt without it",
     take_text<&Options::state>},
    {"counters", "FILE", "What \"capictl metrics\" reads; /run/capi-mqtt/counters without it",
     take_text<&Options::counters>},
};

std::string trimmed(const std::string& text) {
  constexpr char kBlanks[] = " \t\r";
  const size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

void take_line(const std::string& line, Options& options) {
  const size_t equals = line.find('=');
  if (equals == std::string::npos) refuse("it is no NAME = VALUE");
  const std::string name = trimmed(line.substr(0, equals));
  const auto* row =
      std::ranges::find_if(kOptions, [&](const OptionRow& option) { return name == option.name; });
  if (row == std::end(kOptions)) {
    std::vector<std::string> names;
    for (const OptionRow& option : kOptions) names.emplace_back(option.name);
    refuse("there is no option \"" + name + "\"" + guess(name, names));
  }
  row->take(trimmed(line.substr(equals + 1)), options);
}

}  // namespace

std::span<const OptionRow> all_options() { return kOptions; }

void read_options(const std::string& file, const std::string& text, Options& options) {
  std::istringstream in(text);
  int number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    line = trimmed(line);
    if (line.empty() || line[0] == '#') continue;
    try {
      take_line(line, options);
    } catch (const Failure& failure) {
      throw Failure(file + ":" + std::to_string(number) + ": " + failure.what(), {kUsage});
    }
  }
}

void refuse_inconsistent(const Options& options) {
  if (options.cert.empty() != options.key.empty()) {
    refuse("a certificate has its key: --cert and --key go together");
  }
  if (!options.cert.empty() && !options.has_tls()) {
    refuse("--cert is for TLS, which --cafile switches on");
  }
  if (options.user.empty() && !options.password_file.empty()) {
    refuse("a password is a user's: --password-file goes with --user");
  }
}

}  // namespace tools::mqtt
