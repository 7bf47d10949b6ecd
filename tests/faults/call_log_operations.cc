// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The call log.
#include <filesystem>

#include "call_log/call_log_test.h"
#include "operation.h"

namespace capi::test {
namespace {

// Call 0 is of type 0 and the others of type 1.
void provide_log() {
  become_master();
  write_image(*image_of({0, 1, 1}));
}

void provide_damaged_log() {
  become_master();
  write_file(kLogPath, "no call log");
}

void provide_no_log() {
  become_master();
  std::filesystem::remove(kLogPath);
}

// One more of the type evicts its oldest.
void provide_full_type() {
  become_master();
  write_image(*image_of(std::vector<unsigned>(100, 1)));
}

// Passes the check, but has no node to give.
void provide_log_without_free_node() {
  become_master();
  const Image image = image_of({0, 1});
  image->header.free = {0, kNoNode, kNoNode};
  write_image(*image);
}

// The store deals with whatever is there, and works.
bool works_again() {
  const capi_call_log_record record = call(9);
  const Image image = std::make_unique<capi_call_log_image>();
  return capi_voip_init_call_log_file() == 0 && capi_voip_add_call_log(2, &record) == 0 &&
         capi_voip_read_call_log(image.get()) == 0;
}

Operation on_log(const char* name, const std::function<int()>& run,
                 const std::function<void()>& prepare = provide_log) {
  return {.name = std::string("call log: ") + name,
          .prepare = prepare,
          .run = run,
          .files = {kLogPath},
          .fresh = bytes_of(*empty_image()),
          .recover = works_again};
}

int add() {
  const capi_call_log_record record = call(5);
  return capi_voip_add_call_log(1, &record);
}

// Nothing can be added before the file is set aside, which the operation may not have come to.
Operation on_log_without_free_node() {
  Operation operation = on_log("add without a free node", add, provide_log_without_free_node);
  operation.recover = [] {
    add();
    return works_again();
  };
  return operation;
}

// A piece that was not written may leave lists that pass the check and fail it after the next add:
// then the log is made anew.
Operation on_log_in_place() {
  Operation operation =
      on_log("delete a node", [] { return capi_voip_delete_call_log_by_node(1, 1); });
  operation.recover = [] { return works_again() || works_again(); };
  return operation;
}

int add_in_halves() {
  const capi_call_log_record record = call(5);
  const int first = capi_voip_add_call_log1(1, &record);
  return first == 0 ? capi_voip_add_call_log2(&record) : first;
}

int read_image_of_log() {
  const Image image = std::make_unique<capi_call_log_image>();
  return capi_voip_read_call_log(image.get());
}

int read_node() {
  capi_call_log_record record{};
  return capi_voip_read_call_log_node(nullptr, 1, &record);
}

int read_entry_header() {
  capi_call_log_entry_header header{};
  return capi_voip_read_call_log_entry_header(nullptr, 1, &header);
}

int ignore(const capi_call_log_record*, void*) { return 0; }

int back_up() {
  std::filesystem::remove("/tmp/trial.backup");
  return capi_voip_call_log_backup("/tmp/trial.backup");
}

}  // namespace

Operations call_log_operations() {
  return {
      on_log("init", capi_voip_init_call_log_file),
      on_log("init without a file", capi_voip_init_call_log_file, provide_no_log),
      on_log("init of a damaged file", capi_voip_init_call_log_file, provide_damaged_log),
      on_log("verify", capi_voip_verify_call_log_file),
      on_log("add", add),
      on_log("add to a full type", add, provide_full_type),
      on_log_without_free_node(),
      on_log("add in halves", add_in_halves),
      on_log_in_place(),
      on_log("clean a type", [] { return capi_voip_clean_call_log_by_type(1); }),
      on_log("clean all", capi_voip_clean_all_call_log),
      on_log("delete the file", capi_voip_delete_call_log_file),
      on_log("read", read_image_of_log),
      on_log("read a node", read_node),
      on_log("read an entry header", read_entry_header),
      on_log("dump", [] { return capi_voip_call_log_dump(0, ignore, nullptr); }),
      on_log("dump all", [] { return capi_voip_call_log_dump_all(ignore, nullptr); }),
      on_log("back up", back_up),
  };
}

}  // namespace capi::test
