// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The live status of the telephone lines.

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <iterator>

#include "capi/backend.h"
#include "capi/live.h"
#include "capi/runtime.h"
#include "foundation/log.h"
#include "foundation/text.h"
#include "record/live_read.h"
#include "record/segment_text.h"
#include "record/whole_write.h"

namespace capi {
namespace {

constexpr char kMagic[] = {'S', 'G', 'E', 'R'};
constexpr int32_t kNetworkFailure = 2;
// By failure reason. The first is never shown: no failure is no text.
constexpr char kReasons[][32] = {"None", "Sim Card Not Ready", "Network Failure",
                                 "Server Unreachable", "Server Rejected"};

bool is_line(int line) { return line >= 0 && line < CAPI_SIP_LINES; }
bool is_stack(int stack) { return stack >= 0 && stack < CAPI_VOICE_STACKS; }

bool was_published(const capi_line_reg_stat& stat) {
  return memcmp(stat.magic, kMagic, sizeof kMagic) == 0;
}

void stamp(capi_line_reg_stat& stat) { memcpy(stat.magic, kMagic, sizeof kMagic); }

// Clocks are set while the device runs: time may have gone back.
int32_t seconds_between(int64_t from, int64_t to) {
  return static_cast<int32_t>(std::clamp<int64_t>(to - from, 0, INT32_MAX));
}

int32_t duration(const capi_line_reg_stat& stat, int64_t now) {
  if (stat.registered == 0) return seconds_between(stat.reg_time, stat.unreg_time);
  return stat.reg_time != 0 ? seconds_between(stat.reg_time, now) : 0;
}

std::string_view reason(int32_t fail_reason) {
  const bool known = fail_reason > 0 && fail_reason < static_cast<int32_t>(std::size(kReasons));
  return known ? bounded(kReasons[fail_reason]) : std::string_view();
}

// Fills in what is for readers.
void complete(capi_line_reg_stat& stat, int64_t now) {
  stat.reg_duration = duration(stat, now);
  copy_text(stat.status_text, stat.registered != 0 ? "Registered" : "Unregistered");
  copy_text(stat.reason_text, reason(stat.fail_reason));
  copy_text(stat.detail_text, "");
  if (stat.detail_code >= 1) {
    snprintf(stat.detail_text, sizeof stat.detail_text, "%d", stat.detail_code);
  }
}

capi_line_reg_stat never_published() {
  capi_line_reg_stat stat{};
  stamp(stat);
  stat.fail_reason = kNetworkFailure;
  return stat;
}

void hand_out(const capi_line_reg_stat& stored, capi_line_reg_stat& record) {
  record = was_published(stored) ? stored : never_published();
  complete(record, time(nullptr));
}

}  // namespace
}  // namespace capi

using namespace capi;

// ---- Backend -----------------------------------------------------------------------------------

int capi_cfg_backend_set_runtime_line_reg_stat(int line, capi_line_reg_stat* record, int stack) {
  if (record == nullptr) return -1;
  return with_shared_record([&](const cfg_shared_record& shared) CAPI_REQUIRES(kConfShmLock) {
    if (!is_line(line) || !is_stack(stack)) return -1;
    stamp(*record);
    // The callback may write, too.
    const RecordChange change(shared, CAPI_TOPIC_LINES);
    capi_line_reg_stat& stored = change->reg_stat[stack][line];
    write_whole(stored, *record);
    const capi_reg_stat_cb callback = context()->callbacks.reg_stat_cb;
    if (callback != nullptr) callback(line, stack, &stored);
    return 0;
  });
}

int capi_cfg_backend_get_runtime_line_reg_stat(int line, capi_line_reg_stat* record, int stack) {
  if (record == nullptr) return -1;
  return with_shared_record([&](const cfg_shared_record& shared) {
    if (!is_line(line) || !is_stack(stack)) return -1;
    hand_out(shared.reg_stat[stack][line], *record);
    return 0;
  });
}

int capi_cfg_backend_set_runtime_line_cs_reg_stat(int line, const capi_line_cs_reg_stat* record) {
  if (record == nullptr) return -1;
  return with_shared_record([&](const cfg_shared_record& shared) CAPI_REQUIRES(kConfShmLock) {
    if (!is_line(line)) return -1;
    const capi_cs_reg_stat_cb callback = context()->callbacks.cs_reg_stat_cb;
    // The callback may write anywhere.
    const RecordChange change(shared,
                              callback != nullptr ? kRecordTopics : unsigned{CAPI_TOPIC_LINES});
    capi_line_cs_reg_stat& stored = change->cs_reg_stat[line];
    write_whole(stored, *record);
    const auto position = reinterpret_cast<char*>(&stored) - reinterpret_cast<char*>(&*change);
    if (callback != nullptr) callback(line, &stored, &*change, static_cast<int>(position));
    return 0;
  });
}

int capi_cfg_backend_get_runtime_line_cs_reg_stat(int line, capi_line_cs_reg_stat* record) {
  if (record == nullptr) return -1;
  return with_shared_record([&](const cfg_shared_record& shared) {
    if (!is_line(line)) return -1;
    *record = shared.cs_reg_stat[line];
    return 0;
  });
}

int capi_cfg_backend_set_runtime_line_phone_phy_status(int line, const char* text) {
  if (text == nullptr) return -1;
  return with_shared_record([&](const cfg_shared_record& shared) CAPI_REQUIRES(kConfShmLock) {
    if (!is_line(line)) return -1;
    char status[sizeof shared.phone_phy_status[line]];
    copy_text(status, text);
    const RecordChange change(shared, CAPI_TOPIC_LINES);
    write_whole(change->phone_phy_status[line], status);
    return 0;
  });
}

int capi_cfg_backend_get_runtime_line_phone_phy_status(int line, char* buf, int len) {
  if (buf == nullptr) return -1;
  memset(buf, 0, buffer_size(len));
  return with_shared_record([&](const cfg_shared_record& shared) {
    if (!is_line(line)) return -1;
    const std::string_view status = bounded(shared.phone_phy_status[line]);
    copy_text(buf, buffer_size(len), !status.empty() ? status : "Unknown");
    return 0;
  });
}

int capi_live_get_line_reg_stat(int line, capi_line_reg_stat* record, int stack) {
  if (record == nullptr || !is_line(line) || !is_stack(stack)) return -1;
  capi_line_reg_stat stored;
  const bool is_attached = read_live([&](const cfg_shared_record& shared) {
    copy_live(&stored, &shared.reg_stat[stack][line], sizeof stored);
  });
  if (!is_attached) return -1;
  hand_out(stored, *record);
  return 0;
}

// ---- Public ------------------------------------------------------------------------------------

int capi_set_runtime_line_reg_stat(int line, capi_line_reg_stat* record, int stack) {
  const int result = capi_cfg_backend_set_runtime_line_reg_stat(line, record, stack);
  if (result == -1) CAPI_LOG(kLogWarning, "line index-%d, error!", line);
  return result;
}

int capi_get_runtime_line_reg_stat(int line, capi_line_reg_stat* record, int stack) {
  const int result = capi_cfg_backend_get_runtime_line_reg_stat(line, record, stack);
  if (result == -1) CAPI_LOG(kLogNotice, "Can't get line index-%d reg status, error!", line);
  return result;
}

int capi_set_runtime_line_cs_reg_stat(int line, const capi_line_cs_reg_stat* record) {
  const int result = capi_cfg_backend_set_runtime_line_cs_reg_stat(line, record);
  if (result == -1) CAPI_LOG(kLogWarning, "line index-%d, error!", line);
  return result;
}

int capi_get_runtime_line_cs_reg_stat(int line, capi_line_cs_reg_stat* record) {
  const int result = capi_cfg_backend_get_runtime_line_cs_reg_stat(line, record);
  if (result == -1) CAPI_LOG(kLogNotice, "Can't get line index-%d reg status, error!", line);
  return result;
}

int capi_set_runtime_line_phone_phy_status(int line, const char* text) {
  const int result = capi_cfg_backend_set_runtime_line_phone_phy_status(line, text);
  if (result == -1) CAPI_LOG(kLogWarning, "line index-%d, error!", line);
  return result;
}

int capi_get_runtime_line_phone_phy_status(int line, char* buf, int len) {
  const int result = capi_cfg_backend_get_runtime_line_phone_phy_status(line, buf, len);
  if (result == -1) {
    CAPI_LOG(kLogNotice, "Can't get line index-%d phone phy status, error!", line);
  }
  return result;
}
