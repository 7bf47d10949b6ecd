// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Single values by name, one at a time and from a snapshot.

#include <cstring>

#include "bench.h"
#include "capi.h"
#include "config/field_table.h"
#include "floor.h"
#include "stores.h"

namespace bench {
namespace {

using Record = cfg_shared_record;

// A value, and where a floor finds its bytes.
struct Value {
  const char* kind;
  const char* section;
  const char* key;
  size_t offset;
  size_t size;

  std::string text() const {
    char text[1024] = {};
    require(capi_config_get(section, key, text, sizeof text) == 0, key);
    return text;
  }
  std::string store_key() const { return std::string(section) + "/" + key; }
};

constexpr Value kValues[] = {
    {"an integer", "basic_sip", "option_basic_sip_local_port",
     offsetof(Record, voice_basic.local_port), sizeof(capi_voice_basic::local_port)},
    {"a text", "sip_line_1", "option_sip_line_user_name", offsetof(Record, sip_line[0].user_name),
     sizeof(capi_voice_sip_line::user_name)},
};

void add_stores(Row& row, const std::string& job, const std::function<void(Store&)>& prepare,
                const std::function<void(Store&)>& operation) {
  for (const StorePtr& store : open_stores(job)) {
    prepare(*store);
    row.contestants.push_back({store->name(), repeat([=] { operation(*store); })});
  }
}

// Other keys too, or the stores would have nothing to look through.
void fill(Store& store, const Value& value) {
  for (int i = 0; i < 400; ++i) store.set("section/option_key_" + std::to_string(i), "1");
  store.set(value.store_key(), value.text());
}

Row get_row(const Value& value) {
  Row row{std::string("get ") + value.kind,
          1.15,
          {{"ours", repeat([=] {
              char buf[256];
              capi_config_get(value.section, value.key, buf, sizeof buf);
            })},
           {"floor", repeat([=] {
              char buf[256];
              floor::get(buf, value.offset, value.size);
            })}}};
  add_stores(
      row, std::string("get ") + value.kind, [=](Store& store) { fill(store, value); },
      [key = value.store_key()](Store& store) {
        char buf[256];
        store.get(key, buf);
      });
  return row;
}

Row set_row(const Value& value) {
  const std::string text = value.text();
  std::string bytes(value.size, '\0');
  memcpy(bytes.data(), reinterpret_cast<const char*>(&floor::segment()) + value.offset, value.size);
  Row row{
      std::string("set ") + value.kind,
      1.15,
      {{"ours", repeat([=] { capi_config_set(value.section, value.key, 0, text.c_str()); })},
       {"floor", repeat([=] { floor::set(value.offset, bytes.data(), value.size); })},
       {kCuttable, repeat([=] { floor::set_cuttably(value.offset, bytes.data(), value.size); })}}};
  add_stores(
      row, std::string("set ") + value.kind, [=](Store& store) { fill(store, value); },
      [=, key = value.store_key()](Store& store) { store.set(key, text); });
  return row;
}

Row snapshot_row() {
  const auto snapshot = std::make_shared<Record>();
  return {"take a snapshot",
          1.05,
          {{"ours", repeat([=] { capi_snapshot_take(snapshot.get()); })},
           {"floor", repeat([=] { floor::get(snapshot.get(), 0, sizeof *snapshot); })}}};
}

Row snapshot_get_row(const Value& value) {
  const auto snapshot = std::make_shared<Record>();
  capi_snapshot_take(snapshot.get());
  const std::string job = std::string("get ") + value.kind + " from a snapshot";
  const StorePtr lmdb = open_lmdb("/tmp/" + job, Reading::Snapshot);
  fill(*lmdb, value);
  return {job,
          1,
          {{"ours", repeat([=] {
              char buf[256];
              capi_snapshot_get(snapshot.get(), value.section, value.key, buf, sizeof buf);
            })},
           {"LMDB", repeat([=, key = value.store_key()] {
              char buf[256];
              lmdb->get(key, buf);
            })}}};
}

Row lookup_row() {
  const auto look_up = [](const char* key) {
    return repeat([=] {
      benchmark::DoNotOptimize(capi::find_field("basic_sip", key, capi::ColumnChoice::Last));
    });
  };
  return {"look up the last key of a section",
          0,
          {{"ours", look_up("option_basic_sip_key_file")},
           {"first key", look_up("option_basic_sip_local_port")},
           {"middle key", look_up("option_basic_sip_srtp_mode")},
           {"unknown key", look_up("option_basic_sip_no_such_key")}}};
}

}  // namespace

Rows config_rows() {
  Rows rows;
  for (const Value& value : kValues) rows.push_back(get_row(value));
  for (const Value& value : kValues) rows.push_back(set_row(value));
  rows.push_back(snapshot_row());
  for (const Value& value : kValues) rows.push_back(snapshot_get_row(value));
  rows.push_back(lookup_row());
  return rows;
}

}  // namespace bench
