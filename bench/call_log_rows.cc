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
#include "device.h"
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

template <typename Operation>
int under_lock(Operation operation) {
  const capi::CriticalSection guard(capi::kCallLogLock);
  return operation();
}

// A log in which type 0 is full, so that every call that is added evicts one.
void fill_log(const std::string& path) {
  const capi_call_log_record call = some_call();
  require(under_lock(
              [&] { return capi::create_call_log_file(path.c_str(), capi::Emptying::New); }) == 0,
          "a call log can be made");
  for (int i = 0; i < CAPI_CALL_LOG_ENTRIES_PER_TYPE; ++i) {
    require(under_lock([&] { return capi::add_call_log(path.c_str(), 0, &call); }) == 0,
            "a call can be added");
  }
}

// An operation that writes the whole file, which is put back before each run of anybody.
template <typename Operation>
Row write_row(const char* what, const Medium& medium, const std::string& path,
              Operation operation) {
  const std::string full = read_file(path);
  const auto put_back = [=] { floor::replace_file(path.c_str(), full); };
  const auto image = std::make_shared<Image>();
  const auto floor = [=](floor::Writing how) {
    return repeat([=] {
      put_back();
      floor::rewrite_call_log(path.c_str(), image.get(), sizeof(Image), how);
    });
  };
  return {"call log: " + std::string(what) + medium.where,
          1.15,
          {{"ours", repeat([=] {
              put_back();
              require(under_lock([&] { return operation(path.c_str()); }) == 0, what);
            })},
           {"floor", floor(floor::Writing::Safely)},
           {kInPlace, floor(floor::Writing::InPlace)}},
          medium.clock};
}

void add_peers(Row& row) {
  const std::string record(sizeof(capi_call_log_record), 'x');
  for (const StorePtr& store : open_stores("calls")) {
    row.contestants.push_back({store->name(), repeat([=] { store->append(record); })});
  }
}

Rows write_rows(const Medium& medium) {
  const std::string path = medium.dir + "/voip_call_log";
  fill_log(path);
  Image image;
  memcpy(&image, read_file(path).data(), sizeof image);
  const unsigned middle = image.node[image.header.entry[0].list.head].next;
  return {
      write_row(
          "add a call, evicting one", medium, path,
          [call = some_call()](const char* file) { return capi::add_call_log(file, 0, &call); }),
      write_row("delete a call", medium, path,
                [=](const char* file) { return capi::delete_call_log_by_node(file, 0, middle); }),
      write_row("clean a type", medium, path,
                [](const char* file) { return capi::clean_call_log_by_type(file, 0); })};
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
  const std::string path = capi::call_log_path().text;
  fill_log(path);
  Rows rows = read_rows(path);
  for (const Medium& medium : media()) {
    for (Row& row : write_rows(medium)) rows.push_back(std::move(row));
  }
  add_peers(rows[2]);
  return rows;
}

}  // namespace bench
