// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Reads without the lock, and what telling of changes costs who makes them.

#include <cstring>
#include <memory>

#include "bench.h"
#include "capi.h"
#include "record/context.h"
#include "record/whole_write.h"
#include "stores.h"

namespace bench {
namespace {

struct Value {
  const char* kind;
  const char* section;
  const char* key;
};

constexpr Value kValues[] = {
    {"an integer", "basic_sip", "option_basic_sip_local_port"},
    {"a text", "sip_line_1", "option_sip_line_user_name"},
};

StorePtr open_filled(const std::string& job, const std::string& key, const std::string& value) {
  const StorePtr lmdb = open_lmdb("/tmp/" + job, Reading::Each);
  for (int i = 0; i < 400; ++i) lmdb->set("section/option_key_" + std::to_string(i), "1");
  lmdb->set(key, value);
  return lmdb;
}

std::function<void(benchmark::State&)> get_from(const StorePtr& store, const std::string& key) {
  return repeat([=] {
    char buf[1024];
    store->get(key, buf);
  });
}

Row get_row(const Value& value) {
  const std::string job = std::string("live get of ") + value.kind;
  char text[256] = {};
  require(capi_live_get(value.section, value.key, text, sizeof text) == 0, value.key);
  const std::string key = std::string(value.section) + "/" + value.key;
  return {job,
          1,
          {{"ours", repeat([=] {
              char buf[256];
              capi_live_get(value.section, value.key, buf, sizeof buf);
            })},
           {"LMDB", get_from(open_filled(job, key, text), key)},
           {"under the lock", repeat([=] {
              char buf[256];
              capi_config_get(value.section, value.key, buf, sizeof buf);
            })}}};
}

Row record_row() {
  static_assert(sizeof(capi_voice_basic) == 916);
  const std::string job = "live read of a record of 916 bytes";
  return {job,
          1,
          {{"ours", repeat([] {
              capi_voice_basic basic;
              capi_live_get_voice_basic(&basic);
            })},
           {"LMDB", get_from(open_filled(job, "record", std::string(916, 'x')), "record")},
           {"under the lock", repeat([] {
              capi_voice_basic basic;
              capi_get_voice_basic(&basic);
            })}}};
}

Row refresh_row() {
  const auto snapshot = std::make_shared<cfg_shared_record>();
  const auto generation = std::make_shared<uint64_t>(0);
  const Value& value = kValues[0];
  const std::string job = "refresh an unchanged snapshot and get";
  const std::string key = "basic_sip/port";
  return {job,
          1,
          {{"ours", repeat([=] {
              char buf[256];
              capi_live_refresh(snapshot.get(), generation.get());
              capi_snapshot_get(snapshot.get(), value.section, value.key, buf, sizeof buf);
            })},
           {"LMDB", get_from(open_filled(job, key, "5060"), key)},
           {"a new snapshot", repeat([=] {
              char buf[256];
              capi_snapshot_take(snapshot.get());
              capi_snapshot_get(snapshot.get(), value.section, value.key, buf, sizeof buf);
            })}}};
}

// The setter's work without the generation and without looking whether somebody watches.
int set_untold(const capi_voice_sip_line_feature& feature) {
  return capi::with_shared_record([&](const cfg_shared_record& record) {
    auto& shared = const_cast<cfg_shared_record&>(record);
    capi::write_whole(shared.sip_line_feature[0], feature);
    return 0;
  });
}

Row telling_row() {
  const auto watch = std::make_shared<capi_watch>();
  require(capi_watch_open(watch.get(), CAPI_TOPIC_CONFIG) == 0, "a watch opens");
  return {"set a record that nobody watches",
          1.02,
          {{"ours", repeat([] {
              static constexpr capi_voice_sip_line_feature kFeature{};
              capi_set_voice_sip_line_feature(&kFeature, 1);
            })},
           {"untold", repeat([] {
              static constexpr capi_voice_sip_line_feature kFeature{};
              set_untold(kFeature);
            })},
           {"watched, and looked at", repeat([=] {
              static constexpr capi_voice_sip_line_feature kFeature{};
              capi_set_voice_sip_line_feature(&kFeature, 1);
              capi_watch_changed(watch.get());
            })}}};
}

}  // namespace

Rows live_rows() {
  Rows rows;
  for (const Value& value : kValues) rows.push_back(get_row(value));
  rows.push_back(record_row());
  rows.push_back(refresh_row());
  rows.push_back(telling_row());
  return rows;
}

}  // namespace bench
