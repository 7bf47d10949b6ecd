// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "watcher.h"

#include <poll.h>
#include <stdio_ext.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>

namespace tools::capictl {
namespace {

// The signals that end it are read like news; a reader that goes away is found by poll().
int open_signals() {
  sigset_t ends;
  sigemptyset(&ends);
  sigaddset(&ends, SIGINT);
  sigaddset(&ends, SIGTERM);
  sigprocmask(SIG_BLOCK, &ends, nullptr);
  signal(SIGPIPE, SIG_IGN);
  return signalfd(-1, &ends, SFD_CLOEXEC);
}

std::string reason_of(int error) {
  if (error == EMFILE) {
    return "this user has as many watches as the system allows (fs.inotify.max_user_instances), or "
           "this process as many descriptors";
  }
  if (error == EACCES) {
    return "a file /tmp/capi_news.* may not be read. It belongs to another user: remove it as that "
           "one or as root";
  }
  return strerror(error);
}

[[noreturn]] void throw_unwatchable(int error) {
  throw Failure("changes cannot be watched: " + reason_of(error));
}

}  // namespace

Watcher::Watcher(unsigned topics, int pause_ms) : signals_(open_signals()), pause_ms_(pause_ms) {
  if (signals_ == -1 || capi_watch_open(&watch_, topics) != 0) throw_unwatchable(errno);
}

Watcher::~Watcher() {
  capi_watch_close(&watch_);
  close(signals_);
}

bool Watcher::wait_for(bool wants_watch, int timeout_ms) {
  // One that is negative is not looked at; of standard output only errors are.
  pollfd fds[] = {
      {wants_watch ? watch_.fd : -1, POLLIN, 0}, {signals_, POLLIN, 0}, {STDOUT_FILENO, 0, 0}};
  const int count = poll(fds, std::size(fds), timeout_ms);
  return count >= 0 ? fds[1].revents == 0 && fds[2].revents == 0 : errno == EINTR;
}

unsigned Watcher::wait() {
  if (!is_first_ && pause_ms_ > 0 && !wait_for(false, pause_ms_)) return 0;
  is_first_ = false;
  while (wait_for(true, -1)) {
    const int topics = capi_watch_changed(&watch_);
    if (topics < 0) throw_unwatchable(errno);
    if (topics > 0) return static_cast<unsigned>(topics);
  }
  return 0;
}

std::unique_ptr<cfg_shared_record> View::look() {
  auto before = std::make_unique<cfg_shared_record>(*record_);
  if (capi_live_refresh(record_.get(), &generation_) < 0) {
    throw Failure("the shared record cannot be read");
  }
  return before;
}

bool flush_line() {
  if (fflush(stdout) == 0 && ferror(stdout) == 0) return true;
  if (errno == EPIPE) {
    // That nobody reads it is no failure.
    __fpurge(stdout);
    clearerr(stdout);
  }
  return false;
}

}  // namespace tools::capictl
