// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The call log: each operation under its lock, without the signal that follows it.

#include <cstring>
#include <memory>

#include "bench.h"
#include "call_log/file.h"
#include "call_log/path.h"
#include "call_log/store.h"
#include "capi.h"
#include "floor.h"
#include "stores.h"

namespace bench {
namespace {

using Image = capi_call_log_image;

capi_call_log_record some_call() {
  capi_call_log_record call{};
  strcpy(call.displayname, "Aunt Agatha");
  strcpy(call.number, "+15550100002");
  return call;
}

int add(const capi_call_log_record& call) {
  const capi::CallLogPath path = capi::call_log_path();
  const capi::CriticalSection guard(capi::kCallLogLock);
  return capi::add_call_log(path.text, 0, &call);
}

int remove(unsigned node) {
  const capi::CallLogPath path = capi::call_log_path();
  const capi::CriticalSection guard(capi::kCallLogLock);
  return capi::delete_call_log_by_node(path.text, 0, node);
}

// A log in which type 0 is full, so that every call that is added evicts one.
void fill_log() {
  const capi_call_log_record call = some_call();
  for (int i = 0; i < CAPI_CALL_LOG_ENTRIES_PER_TYPE; ++i) {
    require(add(call) == 0, "a call can be added");
  }
}

Row add_row(const std::string& path) {
  const auto image = std::make_shared<Image>();
  Row row{
      "call log: add a call, evicting one",
      1.10,
      {{"ours", repeat([call = some_call()] { add(call); })},
       {"floor", repeat([=] { floor::add_call_log(path.c_str(), image.get(), sizeof(Image)); })}}};
  const std::string record(sizeof(capi_call_log_record), 'x');
  for (const StorePtr& store : open_stores("calls")) {
    row.contestants.push_back({store->name(), repeat([=] { store->append(record); })});
  }
  return row;
}

// The one in the middle of a type's list: what it leaves behind is written in six pieces, then the
// header. The file is put back before every operation, of both.
Row delete_row(const std::string& path) {
  const auto image = std::make_shared<Image>();
  require(capi_voip_read_call_log(image.get()) == 0, "the call log can be read");
  const unsigned middle = image->node[image->header.entry[0].list.head].next;
  const auto put_back = [=] {
    const std::string_view bytes(reinterpret_cast<const char*>(image.get()), sizeof(Image));
    floor::replace_file(path.c_str(), bytes);
  };
  const auto scratch = std::make_shared<Image>();
  return {"call log: delete a call, and put it back",
          1.10,
          {{"ours", repeat([=] {
              put_back();
              remove(middle);
            })},
           {"floor", repeat([=] {
              put_back();
              std::vector<floor::Piece> pieces(
                  6, {sizeof(capi_call_log_header), sizeof(capi_call_log_record)});
              pieces.push_back({0, sizeof(capi_call_log_header)});
              floor::delete_call_log(path.c_str(), scratch.get(), sizeof(Image), pieces.data(),
                                     pieces.size());
            })}}};
}

Rows read_rows(const std::string& path) {
  const auto image = std::make_shared<Image>();
  const Contestant floor{
      "floor", repeat([=] { floor::read_call_log(path.c_str(), image.get(), sizeof(Image)); })};
  const Contestant checked{"floor and a look at the links", repeat([=] {
                             floor::read_call_log(path.c_str(), image.get(), sizeof(Image));
                             floor::look_at_links(*image);
                           })};
  const auto ignore = [](const capi_call_log_record*, void*) { return 0; };
  return {
      {"call log: read",
       0,
       {{"ours", repeat([=] { capi_voip_read_call_log(image.get()); })}, floor, checked}},
      {"call log: dump",
       0,
       {{"ours", repeat([=] { capi_voip_call_log_dump(0, ignore, nullptr); })}, floor, checked}}};
}

}  // namespace

Rows call_log_rows() {
  fill_log();
  const std::string path = capi::call_log_path().text;
  Rows rows = read_rows(path);
  rows.push_back(add_row(path));
  rows.push_back(delete_row(path));
  return rows;
}

}  // namespace bench
