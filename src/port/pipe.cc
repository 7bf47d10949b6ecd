// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "capi/thread.h"
#include "port/retries.h"

namespace capi {
namespace {

template <typename Transfer>
int with_retries(Transfer transfer) {
  Retries retries(10);
  ssize_t moved = transfer();
  while (moved < 0 && retries.again(errno)) moved = transfer();
  return static_cast<int>(moved);
}

void close_end(int& fd) {
  if (fd >= 0) close(fd);
  fd = -1;
}

}  // namespace
}  // namespace capi

using namespace capi;

int setSocketNonBlocking(int fd) {
  const int flags = fcntl(fd, F_GETFL);
  if (flags == -1) return -1;
  return fcntl(fd, F_SETFL, flags | O_NONBLOCK) == -1 ? -1 : 0;
}

int pipe_init(int fds[2]) {
  if (fds != nullptr && pipe2(fds, O_NONBLOCK | O_CLOEXEC) != 0) fds[0] = fds[1] = -1;
  return 0;
}

int pipe_write(const int fds[2], const void* buf, int len) {
  if (fds == nullptr || buf == nullptr || len < 0) return -1;
  return with_retries([&] { return write(fds[1], buf, static_cast<size_t>(len)); });
}

int pipe_read(const int fds[2], void* buf, int len) {
  if (fds == nullptr || buf == nullptr || len < 0) return -1;
  return with_retries([&] { return read(fds[0], buf, static_cast<size_t>(len)); });
}

int pipe_get_read_fd(const int fds[2]) { return fds != nullptr ? fds[0] : -1; }

int pipe_get_write_fd(const int fds[2]) { return fds != nullptr ? fds[1] : -1; }

int pipe_destroy(int fds[2]) {
  if (fds == nullptr) return 0;
  close_end(fds[0]);
  close_end(fds[1]);
  return 0;
}
