// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The public calls on the file: each is an operation under its lock and, where that may have
// changed something, a signal afterwards. The first half of a call waits here for the second one.

#include <unistd.h>

#include <cstdio>

#include "call_log/assembly.h"
#include "call_log/file.h"
#include "call_log/path.h"
#include "call_log/store.h"
#include "capi/call_log.h"
#include "capi/event.h"
#include "foundation/file.h"
#include "foundation/memory.h"
#include "foundation/shell.h"

namespace capi {
namespace {

int tell_others(int result) {
  capi_fire_internal_event("vop_sig_voip_call_log_event_updated");
  return result;
}

// A path of the caller's may have any length, and a command that is cut would copy elsewhere.
Allocated<char> copy_command(const char* from, const char* to) {
  char* command = nullptr;
  const int length = asprintf(&command, "cp %s %s &> /dev/null", from, to);
  return Allocated<char>(length != -1 ? command : nullptr);
}

// Belongs to the one thread that reports calls in halves.
constinit CallAssembly assembly{};

}  // namespace
}  // namespace capi

using namespace capi;

int capi_voip_init_call_log_file() {
  return with_call_log([](const char* path)
                           CAPI_REQUIRES(kCallLogLock) { return init_call_log_file(path); });
}

int capi_voip_verify_call_log_file() {
  return with_call_log([](const char* path)
                           CAPI_REQUIRES(kCallLogLock) { return verify_call_log_file(path); });
}

int capi_voip_delete_call_log_file() {
  return tell_others(with_call_log([](const char* path) CAPI_REQUIRES(kCallLogLock) {
    delete_call_log_file(path);
    return 0;
  }));
}

int capi_voip_clean_all_call_log() {
  return tell_others(with_call_log([](const char* path) CAPI_REQUIRES(kCallLogLock) {
    return create_call_log_file(path, Emptying::Cleaned);
  }));
}

int capi_voip_clean_call_log_by_type(unsigned type) {
  return tell_others(with_call_log([&](const char* path) CAPI_REQUIRES(kCallLogLock) {
    return clean_call_log_by_type(path, type);
  }));
}

int capi_voip_read_call_log(capi_call_log_image* image) {
  return with_call_log([&](const char* path)
                           CAPI_REQUIRES(kCallLogLock) { return read_call_log(path, image); });
}

int capi_voip_add_call_log(unsigned type, const capi_call_log_record* record) {
  return tell_others(with_call_log([&](const char* path) CAPI_REQUIRES(kCallLogLock) {
    return add_call_log(path, type, record);
  }));
}

int capi_voip_add_call_log1(unsigned type, const capi_call_log_record* record) {
  if (refuse_null(record, __func__)) return -1;
  return take_description(assembly, type, *record, capi_voip_add_call_log);
}

int capi_voip_add_call_log2(const capi_call_log_record* record) {
  if (refuse_null(record, __func__)) return -1;
  return take_statistics(assembly, *record, capi_voip_add_call_log);
}

int capi_voip_delete_call_log_by_node(unsigned type, unsigned node) {
  return tell_others(with_call_log([&](const char* path) CAPI_REQUIRES(kCallLogLock) {
    return delete_call_log_by_node(path, type, node);
  }));
}

int capi_voip_read_call_log_entry_header(const capi_call_log_image* image, unsigned type,
                                         capi_call_log_entry_header* header) {
  if (image != nullptr) return read_call_log_entry_header(*image, type, header);
  return with_call_log([&](const char* path) CAPI_REQUIRES(kCallLogLock) {
    return read_call_log_entry_header(path, type, header);
  });
}

int capi_voip_read_call_log_node(const capi_call_log_image* image, unsigned node,
                                 capi_call_log_record* record) {
  if (image != nullptr) return read_call_log_node(*image, node, record);
  return with_call_log([&](const char* path) CAPI_REQUIRES(kCallLogLock) {
    return read_call_log_node(path, node, record);
  });
}

int capi_voip_call_log_backup(const char* destination) {
  if (destination == nullptr) return -1;
  return with_call_log([&](const char* path) {
    if (access(path, F_OK) != 0 || is_odd_file(path)) return -1;
    static constexpr char kFunc[] = "capi_voip_call_log_backup";
    if (refuse_unquoted(path, kFunc) || refuse_unquoted(destination, kFunc)) return -1;
    const auto command = copy_command(path, destination);
    if (!command) return -1;
    run_shell(command.get());
    return 0;
  });
}
