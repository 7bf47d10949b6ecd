// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Watching: who waits watches a small file for each topic, which writers touch when asked to.
#include "capi/watch.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "foundation/descriptor.h"
#include "foundation/modes.h"
#include "record/context.h"

namespace capi {
namespace {

// A link that somebody planted is not followed: it is watched itself, and nothing touches it.
constexpr uint32_t kEvents = IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF | IN_DONT_FOLLOW;

// Everybody may touch it, whatever the mask of the process that comes first.
void make_file(const char* path) {
  const Descriptor file(open(path, O_RDONLY | O_CREAT | O_EXCL | O_CLOEXEC, kFileMode));
  if (file) fchmod(file.get(), kFileMode);
}

// Watches the file that has the name now. Returns the watch of it or -1.
int watch_file(int fd, const char* path) {
  const int file = inotify_add_watch(fd, path, kEvents);
  if (file != -1 || errno != ENOENT) return file;
  make_file(path);
  return inotify_add_watch(fd, path, kEvents);
}

// Somebody may have removed the files: who cleans "/tmp", for instance.
bool watch_files(capi_watch& watch) {
  for (int i = 0; i < CAPI_TOPIC_COUNT; ++i) {
    if ((watch.topics & 1U << i) == 0) continue;
    const int file = watch_file(watch.fd, news_file(i));
    if (file == -1) return false;
    if (file != watch.file[i]) inotify_rm_watch(watch.fd, watch.file[i]);
    watch.file[i] = file;
  }
  return true;
}

void forget_events(int fd) {
  char events[256];
  while (read(fd, events, sizeof events) > 0) {
  }
}

// Asks to be told of the next change of each topic. Returns those that have changed since the watch
// knew them last.
unsigned ask(capi_watch& watch, const cfg_backend_context& ctx) {
  News& news = news_of(*ctx.shm);
  for (int i = 0; i < CAPI_TOPIC_COUNT; ++i) {
    if ((watch.topics & 1U << i) != 0) ++news.topics[i].asked;
  }
  // Either the writer sees that it was asked, or its change is seen here.
  const uint32_t attachment = ctx.attachment.load();
  unsigned changed = 0;
  for (int i = 0; i < CAPI_TOPIC_COUNT; ++i) {
    const uint64_t now = generation_of(attachment, news.topics[i].changes.load());
    if ((watch.topics & 1U << i) != 0 && now != watch.generation[i]) changed |= 1U << i;
    watch.generation[i] = now;
  }
  return changed;
}

}  // namespace
}  // namespace capi

using namespace capi;

int capi_watch_open(capi_watch* watch, unsigned topics) {
  if (watch == nullptr) {
    errno = EINVAL;
    return -1;
  }
  *watch = {.fd = -1, .topics = topics, .generation = {}, .file = {-1, -1, -1, -1, -1}, .spare = 0};
  if (topics == 0 || topics > CAPI_TOPIC_ALL) {
    errno = EINVAL;
    return -1;
  }
  const cfg_backend_context* ctx = context();
  if (ctx == nullptr || ctx->shm == nullptr) {
    errno = ENOTCONN;
    return -1;
  }
  watch->fd = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
  if (watch->fd == -1) return -1;
  if (!watch_files(*watch)) {
    capi_watch_close(watch);
    return -1;
  }
  ask(*watch, *ctx);
  return 0;
}

int capi_watch_changed(capi_watch* watch) {
  cfg_backend_context* ctx = context();
  if (watch == nullptr || watch->fd == -1 || ctx == nullptr || ctx->shm == nullptr) {
    errno = watch == nullptr || watch->fd == -1 ? EINVAL : ENOTCONN;
    return -1;
  }
  forget_events(watch->fd);
  if (!watch_files(*watch)) return -1;
  follow_segment(*ctx);
  return static_cast<int>(ask(*watch, *ctx));
}

void capi_watch_close(capi_watch* watch) {
  if (watch == nullptr || watch->fd == -1) return;
  Descriptor(watch->fd).close();
  watch->fd = -1;
}
