// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "capi/event.h"

#include <fcntl.h>
#include <sys/stat.h>
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

constexpr char kSystemTool[] = "/usr/sbin/vsdk_cmd";

struct ToolPath {
  char text[256];
};

// Whether a file or directory, and a link to it, are root's or the caller's own.
bool is_ours(const char* path, struct stat& status) {
  for (const int flag : {AT_SYMLINK_NOFOLLOW, 0}) {
    if (fstatat(AT_FDCWD, path, &status, flag) != 0) return false;
    if (status.st_uid != 0 && status.st_uid != geteuid()) return false;
  }
  return true;
}

// Whether nobody else can have a program of his run under this path: the owner of a directory on
// the way could change what is in it as soon as we have looked.
bool is_trusted(char* path) {
  struct stat status {};
  if (path[0] != '/' && !is_ours(".", status)) return false;
  char* end = path;
  do {
    do ++end;
    while (*end != '/' && *end != '\0');
    const char cut = *end;
    *end = '\0';
    const bool ours = is_ours(path, status);
    *end = cut;
    if (!ours) return false;
  } while (*end != '\0');
  return (status.st_mode & S_IWOTH) == 0;
}

// A path with a blank in it would not be what the shell runs.
bool may_be_run(char* path, const char* func) {
  if (refuse_unless(may_stand_unquoted(path) && strpbrk(path, " \t") == nullptr, path, func)) {
    return false;
  }
  if (is_trusted(path)) return true;
  CAPI_LOG_AS(func, kLogWarning, "not run, others than root and the caller can change it: %s\n",
              path);
  return false;
}

// The tool in the bin directory, else the system's; asked anew for every event, for either may come
// and go with a firmware update. False for one that must not be run; that there is none goes
// unnoticed.
bool find_tool(ToolPath& path, const char* func) {
  char dir[kDirSize];
  get_runtime_dir(RuntimeDir::Bin, dir);
  make_path(path.text, dir, "vsdk_cmd", "");
  if (access(path.text, R_OK) == 0 && may_be_run(path.text, func)) return true;
  strcpy(path.text, kSystemTool);
  return access(path.text, F_OK) != 0 || may_be_run(path.text, func);
}

const char* or_empty(const char* text) { return text != nullptr ? text : ""; }

}  // namespace
}  // namespace capi

int capi_fire_internal_event(const char* name) {
  using namespace capi;
  if (name == nullptr) return 0;
  if (refuse_unquoted(name, __func__)) return -1;
  ToolPath tool;
  if (!find_tool(tool, __func__)) return -1;
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
  if (refuse_unless(may_stand_in_single_quotes(message), message, __func__)) return -1;
  ToolPath tool;
  if (!find_tool(tool, __func__)) return -1;
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
