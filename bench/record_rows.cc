// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Whole records.

#include <cstring>
#include <memory>

#include "bench.h"
#include "capi.h"
#include "floor.h"
#include "stores.h"

namespace bench {
namespace {

using Record = cfg_shared_record;
enum class Way { Get, Set };

// A record at an offset of the segment; "ours" is the call on a buffer that holds it.
template <typename T, typename Operation>
Row make_row(std::string operation, Way way, size_t offset, Operation ours) {
  const auto record = std::make_shared<T>();
  floor::get(record.get(), offset, sizeof(T));
  require(ours(record.get()) == 0, operation.c_str());
  Row row{std::move(operation), 1.05, {{"ours", repeat([=] { ours(record.get()); })}}};
  if (way == Way::Get) {
    row.contestants.push_back(
        {"floor", repeat([=] { floor::get(record.get(), offset, sizeof(T)); })});
  } else {
    row.contestants.push_back(
        {"floor", repeat([=] { floor::set(offset, record.get(), sizeof(T)); })});
    row.contestants.push_back(
        {kCuttable, repeat([=] { floor::set_cuttably(offset, record.get(), sizeof(T)); })});
  }
  return row;
}

void add_stores(Row& row, size_t size) {
  for (const StorePtr& store : open_stores("record")) {
    store->set("record", std::string(size, 'x'));
    row.contestants.push_back({store->name(), repeat([=] {
                                 char buf[1024];
                                 store->get("record", buf);
                               })});
  }
}

}  // namespace

Rows record_rows() {
  constexpr size_t kParameter = offsetof(Record, voice_parameter);
  constexpr size_t kFeature = offsetof(Record, sip_line_feature);
  static_assert(sizeof(capi_voice_basic) == 916);
  Rows rows{
      make_row<capi_voice_switch>("get the smallest record, 4 bytes", Way::Get,
                                  offsetof(Record, voice_switch), capi_get_voice_switch),
      make_row<capi_voice_basic>("get a record of 916 bytes", Way::Get,
                                 offsetof(Record, voice_basic), capi_get_voice_basic),
      make_row<capi_voice_parameter>("get the largest record, 3132 bytes", Way::Get, kParameter,
                                     capi_get_voice_parameter),
      make_row<capi_voice_sip_line_feature>(
          "set the smallest record, 184 bytes", Way::Set, kFeature,
          [](const auto* record) { return capi_set_voice_sip_line_feature(record, 1); }),
      make_row<capi_voice_parameter>("set the largest record, 3132 bytes", Way::Set, kParameter,
                                     capi_set_voice_parameter),
  };
  add_stores(rows[1], sizeof(capi_voice_basic));
  return rows;
}

}  // namespace bench
