// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "record/context.h"

#include <sys/ipc.h>
#include <sys/shm.h>

#include <atomic>
#include <cstdlib>
#include <cstring>

#include "capi/backend.h"
#include "foundation/log.h"
#include "foundation/text.h"
#include "record/info_files.h"

namespace capi {
namespace {

constexpr int kKeyProject = 250;
constexpr int kMode = 0666;

constinit std::atomic<cfg_backend_context*> process_context{nullptr};

// Attaches the segment, making it where there is none. What fails leaves the context without one.
void attach(cfg_backend_context& ctx) {
  constexpr char kFunc[] = "__cfg_backend_init_shm";
  key_t key = ftok("./usr/sbin/vsdk_cmd", kKeyProject);
  if (key == -1) key = ftok("/usr/sbin/vsdk_cmd", kKeyProject);
  if (key == -1) {
    CAPI_LOG_AS(kFunc, kLogErr, "ERROR ftok, reason = [%s]\n", strerror(errno));
    return;
  }
  ctx.shm_id = shmget(key, sizeof(cfg_shared_record), IPC_CREAT | kMode);
  if (ctx.shm_id == -1) {
    const int error = errno;
    CAPI_LOG_AS(kFunc, kLogErr, "ERROR shmget ret[%3d:%s]\n", error, strerror(error));
    return;
  }
  ctx.shm_addr = shmat(ctx.shm_id, nullptr, 0);
  if (ctx.shm_addr == reinterpret_cast<void*>(-1)) {
    CAPI_LOG_AS(kFunc, kLogErr, "ERROR shmat, reason = [%s]\n", strerror(errno));
    return;
  }
  ctx.shm = static_cast<cfg_shared_record*>(ctx.shm_addr);
}

void fill_defaults(cfg_shared_record& record) {
  memset(&record, 0, sizeof record);
  for (int i = 0; i < 3; ++i) copy_text(record.directory[i], "/tmp");  // work, data, log
  copy_text(record.wan_mac, "00:00:00:00:00:00");
  copy_text(record.fw_version, "v1.0.0");
  record.sip_registration.reg_interval = 600000;
  record.voice_basic.dial_on_hash_key = 1;
}

void override_text(char* to, size_t size, const char* from) {
  if (from[0] != '\0') copy_text(to, size, bounded(from, size));
}

// The master's program may know better than the info files who the device is.
void apply_override(cfg_backend_context& ctx) {
  if (ctx.callbacks.init_override_cb == nullptr) return;
  const cfg_shared_record& from = ctx.staging;
  if (ctx.callbacks.init_override_cb(&ctx.staging) <= 0 || ctx.shm == nullptr) return;
  cfg_shared_record& to = *ctx.shm;
  override_text(to.device_imei, sizeof to.device_imei, from.device_imei);
  override_text(to.wan_mac, sizeof to.wan_mac, from.wan_mac);
  override_text(to.fw_version, sizeof to.fw_version, from.fw_version);
  to.voice_switch = from.voice_switch;
}

void start_master(cfg_backend_context& ctx) {
  if (ctx.shm != nullptr) {
    fill_defaults(*ctx.shm);
    read_info_files(*ctx.shm);
  }
  apply_override(ctx);
  memset(&ctx.staging, 0, sizeof ctx.staging);
  if (ctx.shm != nullptr) memcpy(&ctx.staging, ctx.shm, offsetof(cfg_shared_record, cs_reg_stat));
}

}  // namespace

cfg_backend_context* context() { return process_context.load(std::memory_order_acquire); }

cfg_shared_record* shared_record() {
  const cfg_backend_context* ctx = context();
  return ctx != nullptr ? ctx->shm : nullptr;
}

}  // namespace capi

int capiv2_cfg_backend_init(const capi_callbacks* callbacks, int is_master) {
  using namespace capi;
  if (context() != nullptr) return 0;
  const CriticalSection section(kConfShmLock);
  if (context() != nullptr) return 0;  // another thread was first
  auto* ctx = static_cast<cfg_backend_context*>(calloc(1, sizeof(cfg_backend_context)));
  if (ctx == nullptr) return 0;
  ctx->is_master = is_master;
  ctx->shm_id = -1;
  attach(*ctx);
  if (callbacks != nullptr) {
    ctx->callbacks = *callbacks;
    if (is_master != 0) start_master(*ctx);
  }
  process_context.store(ctx, std::memory_order_release);
  return 0;
}

int capiv2_cfg_backend_deinit() {
  using namespace capi;
  if (context() == nullptr) return 0;
  const CriticalSection section(kConfShmLock);
  cfg_backend_context* ctx = process_context.exchange(nullptr, std::memory_order_acq_rel);
  if (ctx == nullptr) return 0;
  if (ctx->shm_addr != nullptr && shmdt(ctx->shm_addr) == -1) {
    CAPI_LOG_AS("__cfg_backend_deinit_shm", kLogErr, "ERROR shmdt, reason = [%s]\n",
                strerror(errno));
  }
  free(ctx);
  return 0;
}
