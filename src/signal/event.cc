// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "capi/event.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string_view>

#include "foundation/log.h"
#include "foundation/shell.h"
#include "record/directory.h"

namespace capi {
namespace {

constexpr size_t kCommandSize = 1024;

struct ToolPath {
  char text[256];
};

// The tool in the bin directory, else the system's; asked anew for every event, for either may come
// and go with a firmware update.
ToolPath find_tool() {
  ToolPath path{};
  char dir[kDirSize];
  get_runtime_dir(RuntimeDir::Bin, dir);
  make_path(path.text, dir, "vsdk_cmd", "");
  if (access(path.text, R_OK) != 0) strcpy(path.text, "/usr/sbin/vsdk_cmd");
  return path;
}

const char* or_empty(const char* text) { return text != nullptr ? text : ""; }

}  // namespace
}  // namespace capi

int capi_fire_internal_event(const char* name) {
  using namespace capi;
  if (name == nullptr) return 0;
  const ToolPath tool = find_tool();
  char command[kCommandSize];
  snprintf(command, sizeof command, "%s signal simple %s", tool.text, name);
  CAPI_LOG(kLogDebug, "%s", command);
  run_shell(command);
  return 0;
}

int capi_fire_internal_event2(const char* name, const char* param1, const char* param2,
                              const char* param3) {
  using namespace capi;
  if (name == nullptr) return 0;
  char message[kCommandSize];
  snprintf(message, sizeof message,
           "{\"msg\":\"signal\",\"name\":\"%s\",\"attrs\":{\"param1\":\"%s\",\"param2\":\"%s\","
           "\"param3\":\"%s\"}}",
           name, or_empty(param1), or_empty(param2), or_empty(param3));
  const ToolPath tool = find_tool();
  char command[kCommandSize];
  // A message that is too long is cut, but never its closing quote: the shell would wait for it.
  const int head = snprintf(command, sizeof command, "%s signal json '", tool.text);
  const int room = static_cast<int>(sizeof command) - 2 - head;
  snprintf(command + head, sizeof command - static_cast<size_t>(head), "%.*s'", room, message);
  CAPI_LOG(kLogDebug, "%s", command);
  run_shell(command);
  return 0;
}

const char* capi_convert_call_state_to_string(int state) {
  static constexpr char kNames[][16] = {
      "Unknown",      "On-hook",    "Off-hook",     "Dialing",     "Ringing", "Connected",
      "Forwarding",   "Forwarded",  "Transferring", "Transferred", "Holding", "Disconnecting",
      "Disconnected", "Connecting", "Prompting",    "Conference"};
  const bool known = state >= 0 && static_cast<size_t>(state) < std::size(kNames);
  return kNames[known ? state : 0];
}
