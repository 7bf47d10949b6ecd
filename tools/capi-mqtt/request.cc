// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "request.h"

#include <table.h>
#include <text.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <iterator>
#include <set>

#include "topics.h"

namespace tools::mqtt {
namespace {

constexpr const char* kCommands[kCommandCount] = {
    "set", "load", "reset", "stack-file", "signal", "confirm", "cancel", "refresh",
};

constexpr const char* kStatuses[] = {"ok", "refused", "failed", "expired", "busy"};

constexpr unsigned bit(Command command) { return 1U << static_cast<unsigned>(command); }
constexpr unsigned kAny = (1U << kCommandCount) - 1;
constexpr unsigned kChanges = bit(Command::Set) | bit(Command::Load) | bit(Command::Reset);
constexpr unsigned kTurns = bit(Command::Confirm) | bit(Command::Cancel);

// A member of a request, the commands that take it and those that need it. Take is false for a
// value of another kind than "kind" says.
struct Member {
  const char* name;
  unsigned commands;
  unsigned required;
  const char* kind;
  bool (*take)(const cJSON* item, Request& request);
};

[[noreturn]] void refuse(const char* code, const std::string& message,
                         const std::string& allowed = "") {
  throw Refusal(Status::Refused, {code, message, "", allowed});
}

bool take_text(const cJSON* item, std::string& text) {
  if (!cJSON_IsString(item)) return false;
  text = item->valuestring;
  return true;
}

// Doubles tell whole numbers apart up to 2^53.
bool take_number(const cJSON* item, double most, double& number) {
  if (!cJSON_IsNumber(item)) return false;
  number = item->valuedouble;
  return number >= 0 && number <= most && std::trunc(number) == number;
}

bool take_texts(const cJSON* item, size_t least, size_t most, std::vector<std::string>& texts) {
  if (!cJSON_IsArray(item)) return false;
  for (const cJSON* text = item->child; text != nullptr; text = text->next) {
    if (!take_text(text, texts.emplace_back())) return false;
  }
  return texts.size() >= least && texts.size() <= most;
}

std::string printed(const cJSON* item) {
  const std::unique_ptr<char, decltype(&cJSON_free)> text(cJSON_PrintUnformatted(item), cJSON_free);
  return text ? text.get() : "";
}

bool take_assignment(const cJSON* item, std::vector<Assignment>& set) {
  const bool is_number = cJSON_IsNumber(item) != 0;
  if (is_number && std::trunc(item->valuedouble) != item->valuedouble) return false;
  if (!is_number && !cJSON_IsString(item)) return false;
  std::string value = is_number ? "" : item->valuestring;
  if (is_number) {
    char digits[32];
    snprintf(digits, sizeof digits, "%.0f", std::clamp(item->valuedouble, -1e15, 1e15));
    value = digits;
  }
  set.push_back({item->string, std::move(value), is_number});
  return true;
}

bool take_set(const cJSON* item, Request& request) {
  if (!cJSON_IsObject(item) || item->child == nullptr) return false;
  for (const cJSON* value = item->child; value != nullptr; value = value->next) {
    if (!take_assignment(value, request.set)) return false;
  }
  return true;
}

bool is_request_id(const std::string& id) {
  return !id.empty() && id.size() <= 64 &&
         id.find_first_not_of(
             "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
             "0123456789._-") == std::string::npos;
}

bool take_id(const cJSON* item, Request& request) {
  return take_text(item, request.id) && is_request_id(request.id);
}

bool take_expires(const cJSON* item, Request& request) {
  std::string text;
  if (take_text(item, text)) request.expires = time_of(text);
  return request.expires.has_value();
}

// An empty one, as of a variable that is not set, would be all sections.
bool take_keys(const cJSON* item, Request& request) {
  constexpr size_t kMany = 1000;
  return take_texts(item, 1, kMany, request.texts) &&
         std::ranges::none_of(request.texts, &std::string::empty);
}

bool take_document(const cJSON* item, Request& request) {
  if (cJSON_IsObject(item)) request.document = printed(item);
  return !request.document.empty();
}

bool take_generation(const cJSON* item, Request& request) {
  double number = 0;
  if (!take_number(item, 9007199254740992.0, number)) return false;
  request.if_generation = static_cast<uint64_t>(number);
  return true;
}

bool take_confirm_within(const cJSON* item, Request& request) {
  double number = 0;
  if (!take_number(item, kMaxConfirmWithin, number)) return false;
  request.confirm_within = static_cast<int>(number);
  return request.confirm_within > 0;
}

bool take_spread(const cJSON* item, Request& request) {
  double number = 0;
  if (!take_number(item, kMaxSpread, number)) return false;
  request.spread = static_cast<int>(number);
  return true;
}

const Member kMembers[] = {
    {"id", kAny, kAny, "1 to 64 of A-Z a-z 0-9 . _ -", take_id},
    {"expires", kAny, 0, "a time as 2026-11-22T05:10:00Z", take_expires},
    {"set", bit(Command::Set), bit(Command::Set),
     "an object of keys with texts or whole numbers, as {\"sip_line_1.enable\": 1}", take_set},
    {"document", bit(Command::Load), bit(Command::Load), "an object of sections", take_document},
    {"keys", bit(Command::Reset), bit(Command::Reset), "a list of keys and sections, none empty",
     take_keys},
    {"apply", kChanges, 0, "true or false",
     [](const cJSON* item, Request& request) {
       request.is_applied = cJSON_IsTrue(item) != 0;
       return cJSON_IsBool(item) != 0;
     }},
    {"if_generation", kChanges, 0, "a whole number from 0", take_generation},
    {"confirm_within", kChanges, 0, "seconds from 1 to 86400", take_confirm_within},
    {"types", bit(Command::StackFile), bit(Command::StackFile),
     "a list of volte, voip, vowifi, cs, qvc, sos and generic",
     [](const cJSON* item, Request& request) { return take_texts(item, 1, 7, request.texts); }},
    {"name", bit(Command::Signal), bit(Command::Signal), "the name of a signal",
     [](const cJSON* item, Request& request) { return take_text(item, request.name); }},
    {"params", bit(Command::Signal), 0, "a list of up to three texts",
     [](const cJSON* item, Request& request) { return take_texts(item, 0, 3, request.texts); }},
    {"pending", kTurns, kTurns, "the id of the change that waits",
     [](const cJSON* item, Request& request) {
       return take_text(item, request.pending) && !request.pending.empty();
     }},
    {"spread", bit(Command::Refresh), 0, "seconds from 0 to 30", take_spread},
};

std::string list_of_commands() {
  return joined({std::begin(kCommands), std::end(kCommands)}, ", ");
}

Command command_named(const std::string& name) {
  const auto* found = std::find(std::begin(kCommands), std::end(kCommands), name);
  if (found != std::end(kCommands)) return static_cast<Command>(found - std::begin(kCommands));
  refuse("unknown_command", "there is no command \"" + printable(name).substr(0, 64) + "\"",
         list_of_commands());
}

// Brackets outside of texts: the parser goes down a level for each.
int depth_of(std::string_view json) {
  int depth = 0;
  int deepest = 0;
  bool is_text = false;
  for (size_t i = 0; i < json.size(); ++i) {
    const char c = json[i];
    if (is_text && c == '\\') ++i;
    if (c == '"') is_text = !is_text;
    if (is_text) continue;
    if (c == '{' || c == '[') deepest = std::max(deepest, ++depth);
    if (c == '}' || c == ']') --depth;
  }
  return deepest;
}

// A member that stands twice, in this value or in one within; null for none.
const char* find_duplicate(const cJSON* json) {
  std::set<std::string_view> names;
  for (const cJSON* item = json->child; item != nullptr; item = item->next) {
    if (item->string != nullptr && !names.insert(item->string).second) return item->string;
    if (const char* within = find_duplicate(item)) return within;
  }
  return nullptr;
}

Json parse_object(std::string_view payload) {
  if (payload.size() > kMaxPayload) {
    refuse("too_large", "the request is longer than " + std::to_string(kMaxPayload) + " bytes");
  }
  if (!is_utf8(payload)) refuse("malformed", "the request is not in UTF-8");
  if (has_nul(payload)) refuse("malformed", "the request has a NUL character");
  if (depth_of(payload) > kMaxDepth) {
    refuse("too_large", "the request is deeper than " + std::to_string(kMaxDepth) + " levels");
  }
  const std::string text(payload);
  Json json(cJSON_ParseWithOpts(text.c_str(), nullptr, 1));
  if (!json || !cJSON_IsObject(json.get())) refuse("malformed", "the request is no JSON object");
  if (const char* name = find_duplicate(json.get())) {
    refuse("malformed", "\"" + printable(name) + "\" stands twice");
  }
  return json;
}

std::string members_of(unsigned command) {
  std::vector<std::string> names;
  for (const Member& member : kMembers) {
    if ((member.commands & command) != 0) names.emplace_back(member.name);
  }
  return joined(names, ", ");
}

void take_member(const cJSON* item, unsigned command, Request& request) {
  const auto is_meant = [&](const Member& row) {
    return (row.commands & command) != 0 && std::string_view(row.name) == item->string;
  };
  const Member* const member = std::find_if(std::begin(kMembers), std::end(kMembers), is_meant);
  if (member == std::end(kMembers)) {
    refuse("malformed", "\"" + printable(item->string).substr(0, 64) + "\" is no member of it",
           members_of(command));
  }
  if (!member->take(item, request)) {
    refuse("malformed", std::string("\"") + member->name + "\" has to be " + member->kind,
           member->kind);
  }
}

void add_text(cJSON* object, const char* name, const std::string& text) {
  if (!text.empty()) cJSON_AddStringToObject(object, name, json_text(text).c_str());
}

// A requester's own words come back in errors, as a key that there is not, however long they are.
std::string cut(const std::string& text) {
  constexpr size_t kMost = 1024;
  if (text.size() <= kMost) return text;
  size_t end = kMost;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
  return text.substr(0, end) + "...";
}

// Returns how long its texts are.
size_t add_error(cJSON* errors, const Error& error) {
  const std::pair<const char*, const std::string&> members[] = {{"code", error.code},
                                                                {"message", error.message},
                                                                {"key", error.key},
                                                                {"allowed", error.allowed}};
  cJSON* json = cJSON_CreateObject();
  size_t size = 0;
  for (const auto& [name, text] : members) {
    const std::string told = cut(json_text(text));
    add_text(json, name, told);
    size += told.size();
  }
  cJSON_AddItemToArray(errors, json);
  return size;
}

// With escapes a byte may become six.
void add_errors(cJSON* json, const std::vector<Error>& all) {
  constexpr size_t kMostErrors = 20;
  constexpr size_t kMostText = 2048;
  cJSON* errors = cJSON_AddArrayToObject(json, "errors");
  size_t size = 0;
  for (size_t i = 0; i < std::min(all.size(), kMostErrors) && size < kMostText; ++i) {
    size += add_error(errors, all[i]);
  }
}

}  // namespace

const char* name_of(Command command) { return kCommands[static_cast<size_t>(command)]; }

const char* name_of(Status status) { return kStatuses[static_cast<size_t>(status)]; }

Error error_of(const Failure& failure) {
  const Why& why = failure.why();
  return {why.name.empty() ? kExitCodes[why.code].name : why.name, failure.what(), why.key,
          why.allowed};
}

std::string id_of(std::string_view payload) {
  try {
    Request request;
    const Json json = parse_object(payload);
    const cJSON* id = cJSON_GetObjectItemCaseSensitive(json.get(), "id");
    return take_id(id, request) ? request.id : "";
  } catch (const Refusal&) {
    return "";
  }
}

Request parse_request(const std::string& command, std::string_view payload) {
  Request request;
  request.command = command_named(command);
  const Json json = parse_object(payload);
  const unsigned this_one = bit(request.command);
  for (const cJSON* item = json->child; item != nullptr; item = item->next) {
    take_member(item, this_one, request);
  }
  for (const Member& member : kMembers) {
    if ((member.required & this_one) == 0) continue;
    if (cJSON_GetObjectItemCaseSensitive(json.get(), member.name) != nullptr) continue;
    refuse("malformed", std::string("\"") + member.name + "\" is missing", member.kind);
  }
  return request;
}

std::string text_of(const Answer& answer, int64_t now) {
  const Json json(cJSON_CreateObject());
  if (answer.id.empty()) {
    cJSON_AddNullToObject(json.get(), "id");
  } else {
    add_text(json.get(), "id", answer.id);
  }
  cJSON_AddStringToObject(json.get(), "command", json_text(answer.command).c_str());
  add_text(json.get(), "status", name_of(answer.status));
  add_text(json.get(), "at", time_text(now));
  cJSON_AddNumberToObject(json.get(), "generation", static_cast<double>(answer.generation));
  if (!answer.errors.empty()) add_errors(json.get(), answer.errors);
  if (!answer.pending.empty()) {
    cJSON* pending = cJSON_AddObjectToObject(json.get(), "pending");
    add_text(pending, "id", answer.pending);
    add_text(pending, "deadline", time_text(answer.deadline));
  }
  return printed(json.get());
}

std::string shortened(const std::string& answer) {
  const Json json(cJSON_Parse(answer.c_str()));
  cJSON_DeleteItemFromObject(json.get(), "errors");
  add_errors(json.get(), {{"too_large", "the broker takes no answer of this length"}});
  return printed(json.get());
}

std::optional<int64_t> time_of(const std::string& text) {
  constexpr size_t kLength = 20;
  tm time{};
  const char* end = strptime(text.c_str(), "%Y-%m-%dT%H:%M:%SZ", &time);
  if (text.size() != kLength || end == nullptr || *end != '\0') return std::nullopt;
  const int64_t seconds = seconds_of(time);
  // One that there is not, as the 30th of February, would have become another one.
  return time_text(seconds) == text ? std::optional(seconds) : std::nullopt;
}

}  // namespace tools::mqtt
