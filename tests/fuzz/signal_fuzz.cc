// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A signal from outside, as JSON text and as a record of any bytes, there and back again.

#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>

#include "capi/signal.h"
#include "foundation/json.h"
#include "fuzz/support.h"
#include "signal/signal_rows.h"

namespace {

using capi::Json;
using capi::fuzz::require;
using Info = std::unique_ptr<capi_signal_info>;

// All of it: padding and the bytes behind a shorter record are cleared.
std::string_view bytes(const capi_signal_info& info) {
  return {reinterpret_cast<const char*>(&info), sizeof info};
}

// What was decoded once says the same after another round.
void read_signal(const cJSON* json) {
  const Info info = std::make_unique<capi_signal_info>();
  char name[CAPI_SIGNAL_NAME_SIZE];
  if (ctrlv2_json_to_siginfo(json, name, info.get()) != 0) return;
  require(strlen(name) < sizeof name);
  const Json again(
      ctrlv2_siginfo_to_json(capi::json_text(capi::json_member(json, "name")), info.get()));
  const Info second = std::make_unique<capi_signal_info>();
  require(ctrlv2_json_to_siginfo(again.get(), nullptr, second.get()) == 0);
  // Without attributes a record has not even the default texts.
  if (cJSON_IsObject(capi::json_member(json, "attrs"))) require(bytes(*info) == bytes(*second));
}

void send_record(const char* name, const uint8_t* data, size_t size) {
  const Info info = std::make_unique<capi_signal_info>();
  memcpy(info.get(), data, std::min(size, sizeof *info));
  const Json json(ctrlv2_siginfo_to_json(name, info.get()));
  require(json != nullptr);
  const Info received = std::make_unique<capi_signal_info>();
  require(ctrlv2_json_to_siginfo(json.get(), nullptr, received.get()) == 0);
  read_signal(json.get());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace capi::signal_rows;
  read_signal(Json(cJSON_ParseWithLength(reinterpret_cast<const char*>(data), size)).get());
  if (size == 0) return 0;
  const Row& row = kRows[kFirstRow[data[0] % kSignals]];
  send_record(kRows.text(row.key).data(), data + 1, size - 1);
  return 0;
}
