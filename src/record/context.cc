// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "record/context.h"

#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/shm.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "capi/backend.h"
#include "foundation/log.h"
#include "foundation/modes.h"
#include "foundation/paths.h"
#include "foundation/text.h"
#include "record/info_files.h"

namespace capi {
namespace {

constexpr int kKeyProject = 250;

constexpr size_t kSize = sizeof(cfg_shared_record);
constexpr char kFunc[] = "__cfg_backend_init_shm";
void* const kNotAttached = reinterpret_cast<void*>(-1);

constinit std::atomic<cfg_backend_context*> process_context{nullptr};
constinit std::atomic<cfg_backend_context*> live_process_context{nullptr};

// No system call where the kernel lends its clock.
time_t coarse_seconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
  return now.tv_sec;
}

// The key of the segment. Remembers what it was made of, or returns -1.
key_t make_key(cfg_backend_context& ctx) {
  static constexpr char kTool[] = "/usr/sbin/vsdk_cmd";
  const key_t key = ftok("./usr/sbin/vsdk_cmd", kKeyProject);
  ctx.key_path[0] = '\0';
  if (key != -1 && getcwd(ctx.key_path, sizeof ctx.key_path - sizeof kTool) == nullptr) {
    copy_text(ctx.key_path, ".");
  }
  memcpy(strchr(ctx.key_path, '\0'), kTool, sizeof kTool);
  return key != -1 ? key : ftok(kTool, kKeyProject);
}

// Finds the segment, or makes it where there is none. Returns its id or -1.
int find_or_make_segment(key_t key, bool is_master) {
  int id = shmget(key, kSize, kIpcMode);
  if (id == -1 && errno == ENOENT) {
    id = shmget(key, kSize, IPC_CREAT | kIpcMode);
    if (id == -1) return -1;
    if (!is_master) CAPI_LOG_AS(kFunc, kLogWarning, "there was no segment, made an empty one\n");
    announce_segment();
  }
  return id;
}

// Attaches the segment, making it where there is none. What fails leaves the context without one.
void attach(cfg_backend_context& ctx, bool is_master) {
  const key_t key = make_key(ctx);
  if (key == -1) {
    CAPI_LOG_AS(kFunc, kLogErr, "ERROR ftok, reason = [%s]\n", strerror(errno));
    return;
  }
  ctx.shm_id = find_or_make_segment(key, is_master);
  if (ctx.shm_id == -1) {
    const int error = errno;
    CAPI_LOG_AS(kFunc, kLogErr, "ERROR shmget ret[%3d:%s]\n", error, strerror(error));
    return;
  }
  ctx.shm_addr = shmat(ctx.shm_id, nullptr, 0);
  if (ctx.shm_addr == kNotAttached) {
    CAPI_LOG_AS(kFunc, kLogErr, "ERROR shmat, reason = [%s]\n", strerror(errno));
    return;
  }
  ctx.shm = static_cast<const cfg_shared_record*>(ctx.shm_addr);
  ctx.seen_id = ctx.shm_id;
  ctx.attachment = kFirstAttachment;
  ctx.looked_at = coarse_seconds();
}

// Puts another segment in the place of the attached one. Not with SHM_REMAP: ARM's kernels refuse
// addresses that they chose themselves.
bool replace_segment(cfg_backend_context& ctx, int id) {
  void* const other = shmat(id, nullptr, 0);
  if (other == kNotAttached) return false;
  ++ctx.attachment;
  const bool done =
      mremap(other, kSize, kSize, MREMAP_MAYMOVE | MREMAP_FIXED, ctx.shm_addr) != MAP_FAILED;
  ++ctx.attachment;
  if (!done) {
    const ErrnoKeeper keeper;
    shmdt(other);
    return false;
  }
  ctx.shm_id = id;
  return true;
}

int find_segment(const cfg_backend_context& ctx) {
  const key_t key = ftok(ctx.key_path, kKeyProject);
  return key != -1 ? shmget(key, kSize, kIpcMode) : -1;
}

// Looks whether the attached segment is the one that others find, and tells of what has changed.
// One that is gone is kept until there is another: its values are better than none.
void look_at_segment(cfg_backend_context& ctx) {
  const int id = find_segment(ctx);
  const bool is_news = id != ctx.seen_id;
  ctx.seen_id = id;
  if (id == ctx.shm_id) return;
  if (id != -1 && replace_segment(ctx, id)) {
    CAPI_LOG_AS(kFunc, kLogWarning, "another segment has taken the place of ours, using that\n");
  } else if (is_news) {
    CAPI_LOG_AS(kFunc, kLogWarning, "the segment is lost, reason = [%s], using the old one\n",
                strerror(errno));
  }
}

void fill_defaults(cfg_shared_record& record) {
  memset(&record, 0, sizeof record);
  for (int i = 0; i < 3; ++i) copy_text(record.directory[i], kFallbackDir);  // work, data, log
  copy_text(record.wan_mac, "00:00:00:00:00:00");
  copy_text(record.fw_version, "v1.0.0");
  record.sip_registration.reg_interval = 600000;
  record.voice_basic.dial_on_hash_key = 1;
}

void override_text(char* to, size_t size, const char* from) {
  if (from[0] != '\0') copy_text(to, size, bounded(from, size));
}

// The master's program may know better than the info files who the device is.
void apply_override(cfg_backend_context& ctx, cfg_shared_record* record) {
  if (ctx.callbacks.init_override_cb == nullptr) return;
  const cfg_shared_record& from = ctx.staging;
  if (ctx.callbacks.init_override_cb(&ctx.staging) <= 0 || record == nullptr) return;
  cfg_shared_record& to = *record;
  override_text(to.device_imei, sizeof to.device_imei, from.device_imei);
  override_text(to.wan_mac, sizeof to.wan_mac, from.wan_mac);
  override_text(to.fw_version, sizeof to.fw_version, from.fw_version);
  to.voice_switch = from.voice_switch;
}

void start_master(cfg_backend_context& ctx) CAPI_REQUIRES(kConfShmLock) {
  if (ctx.shm == nullptr) {
    apply_override(ctx, nullptr);
    memset(&ctx.staging, 0, sizeof ctx.staging);
    return;
  }
  const RecordChange change(*ctx.shm, kRecordTopics);
  news_of(*ctx.shm).published_at = 0;
  fill_defaults(*change);
  read_info_files(*change);
  apply_override(ctx, &*change);
  memset(&ctx.staging, 0, sizeof ctx.staging);
  memcpy(&ctx.staging, ctx.shm, offsetof(cfg_shared_record, cs_reg_stat));
}

}  // namespace

cfg_backend_context* context() { return process_context.load(std::memory_order_acquire); }
cfg_backend_context* live_context() { return live_process_context.load(std::memory_order_acquire); }

const cfg_shared_record* shared_record() {
  cfg_backend_context* ctx = context();
  if (ctx == nullptr || ctx->shm == nullptr) return nullptr;
  const time_t now = coarse_seconds();
  // Threads come here at once where there are no locks.
  if (ctx->looked_at.load(std::memory_order_relaxed) != now &&
      ctx->looked_at.exchange(now) != now) {
    look_at_segment(*ctx);
  }
  settle_generation(news_of(*ctx->shm));
  return ctx->shm;
}

void follow_segment(cfg_backend_context& ctx) {
  if (ctx.shm == nullptr) return;
  const int id = find_segment(ctx);
  if (id == -1 || id == ctx.shm_id) return;
  const CriticalSection section(kConfShmLock);
  look_at_segment(ctx);
}

void RecordChange::note_publishing() const {
  News& news = news_of(record_);
  news.published = inside_ + 1;
  news.published_at = static_cast<uint32_t>(time(nullptr));
}

void announce_store(capi_topic topic) {
  const cfg_backend_context* ctx = context();
  if (ctx != nullptr && ctx->shm != nullptr) announce(news_of(*ctx->shm), topic);
}

}  // namespace capi

int capiv2_cfg_backend_init(const capi_callbacks* callbacks, int is_master) {
  using namespace capi;
  if (context() != nullptr) return 0;
  const CriticalSection section(kConfShmLock);
  if (context() != nullptr) return 0;  // another thread was first
  auto* ctx = static_cast<cfg_backend_context*>(calloc(1, sizeof(cfg_backend_context)));
  if (ctx == nullptr) return 0;
  ctx->shm_id = -1;
  attach(*ctx, is_master != 0);
  live_process_context.store(ctx, std::memory_order_release);
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
  live_process_context.store(nullptr, std::memory_order_relaxed);
  cfg_backend_context* ctx = process_context.exchange(nullptr, std::memory_order_acq_rel);
  if (ctx == nullptr) return 0;
  if (ctx->shm_addr != nullptr && shmdt(ctx->shm_addr) == -1) {
    CAPI_LOG_AS("__cfg_backend_deinit_shm", kLogErr, "ERROR shmdt, reason = [%s]\n",
                strerror(errno));
  }
  free(ctx);
  return 0;
}
