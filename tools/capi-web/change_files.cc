// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "change_files.h"

#include <pending.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <utility>

namespace tools::web {

ChangeFiles::ChangeFiles() : fd_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) { have_come(); }

ChangeFiles::~ChangeFiles() {
  if (fd_ != -1) close(fd_);
}

// For a directory that is watched already the system gives the same number again.
bool ChangeFiles::have_come() {
  const int now = inotify_add_watch(fd_, pending::kDirectory, IN_MOVED_TO | IN_DELETE);
  return std::exchange(directory_, now) != now && now != -1;
}

bool ChangeFiles::have_changed() const {
  alignas(inotify_event) char events[4096];
  bool changed = false;
  while (read(fd_, events, sizeof events) > 0) changed = true;
  return changed;
}

}  // namespace tools::web
