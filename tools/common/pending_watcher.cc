// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/timerfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "pending.h"

namespace pending {
namespace {

constexpr int kAck = STDERR_FILENO + 1;

// Away from the terminal, from whoever started it, and from all that they have open, catch or
// block.
void leave(int ack) {
  setsid();
  signal(SIGTERM, SIG_DFL);
  signal(SIGINT, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  signal(SIGHUP, SIG_IGN);
  signal(SIGPIPE, SIG_IGN);
  if (chdir("/") != 0) _exit(1);
  const int null = open("/dev/null", O_RDWR);
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) dup2(null, fd);
  if (ack != kAck) dup2(ack, kAck);
  fcntl(kAck, F_SETFD, FD_CLOEXEC);
  closefrom(kAck + 1);
}

bool waits(const std::string& id, Change& change) { return load(change) == 0 && change.id == id; }

void set_timer(int timer, int64_t deadline_ms) {
  itimerspec at{};
  at.it_value.tv_sec = static_cast<time_t>(deadline_ms / 1000);
  at.it_value.tv_nsec = static_cast<long>(deadline_ms % 1000 * 1000'000);
  timerfd_settime(timer, TFD_TIMER_ABSTIME, &at, nullptr);
}

// Until the deadline, or news of the file.
void wait_for_news(int files, int timer) {
  pollfd fds[] = {{files, POLLIN, 0}, {timer, POLLIN, 0}};
  if (poll(fds, 2, -1) <= 0 || fds[0].revents == 0) return;
  char events[4096];
  while (::read(files, events, sizeof events) > 0) {
  }
}

// Reads without the lock, which the next change's maker may hold while this one looks.
void watch(const std::string& id, int files, int timer, void (*go_back)()) {
  Change change;
  while (waits(id, change)) {
    if (remaining_ms(change, now()) == 0) {
      go_back();
      // What failed is left to the next program that starts.
      if (waits(id, change) && remaining_ms(change, now()) == 0) return;
      continue;
    }
    set_timer(timer, change.deadline_ms);
    wait_for_news(files, timer);
  }
}

[[noreturn]] void run_watcher(const std::string& id, void (*go_back)()) {
  const Lock lock(kWatcherFile, Lock::Shared, true);
  const int files = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  const int timer = timerfd_create(CLOCK_BOOTTIME, TFD_CLOEXEC);
  const bool is_ready =
      lock.is_held() && timer != -1 &&
      inotify_add_watch(files, kDirectory, IN_MOVED_TO | IN_DELETE | IN_MOVED_FROM) != -1;
  if (!is_ready || write(kAck, "", 1) != 1) _exit(1);
  close(kAck);
  watch(id, files, timer, go_back);
  _exit(0);
}

bool is_acknowledged(int fd) {
  char byte = 1;
  ssize_t size = 0;
  do size = ::read(fd, &byte, 1);
  while (size == -1 && errno == EINTR);
  return size == 1;
}

}  // namespace

bool start_watcher(const std::string& id, void (*go_back)()) {
  int ack[2];
  if (pipe2(ack, O_CLOEXEC) != 0) return false;
  const pid_t child = fork();
  if (child == 0) {
    leave(ack[1]);
    // Its parent ends, so that nobody has to wait for it.
    const pid_t watcher = fork();
    if (watcher == 0) run_watcher(id, go_back);
    _exit(watcher == -1 ? 1 : 0);
  }
  close(ack[1]);
  int status = 0;
  while (child != -1 && waitpid(child, &status, 0) == -1 && errno == EINTR) {
  }
  const bool is_started = child != -1 && is_acknowledged(ack[0]);
  close(ack[0]);
  return is_started;
}

}  // namespace pending
