// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "pending.h"

namespace pending {
namespace {

class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() {
    if (fd_ != -1) close(fd_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return fd_; }
  bool is_open() const { return fd_ != -1; }

 private:
  int fd_;
};

int make_directory() { return mkdir(kDirectory, 0755) == 0 || errno == EEXIST ? 0 : errno; }

int read_file(const char* path, std::string& text) {
  constexpr size_t kMax = size_t{16} << 20;
  const Descriptor file(open(path, O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
  if (!file.is_open()) return errno == ENOTDIR ? ENOENT : errno;
  char piece[4096];
  while (text.size() <= kMax) {
    const ssize_t size = ::read(file.get(), piece, sizeof piece);
    if (size == 0) return 0;
    if (size > 0) text.append(piece, static_cast<size_t>(size));
    if (size < 0 && errno != EINTR) return errno;
  }
  return EFBIG;
}

int write_all(int fd, const std::string& text) {
  for (size_t done = 0; done < text.size();) {
    const ssize_t size = write(fd, text.data() + done, text.size() - done);
    if (size > 0) done += static_cast<size_t>(size);
    if (size == 0 || (size < 0 && errno != EINTR)) return size == 0 ? EIO : errno;
  }
  return fsync(fd) == 0 ? 0 : errno;
}

int sync_directory() {
  const Descriptor directory(open(kDirectory, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!directory.is_open()) return errno;
  return fsync(directory.get()) == 0 || errno == EINVAL ? 0 : errno;
}

// The writer holds the lock: what has the sibling's name is what another one left.
int replace_file(const std::string& path, const std::string& text) {
  const std::string sibling = path + ".new";
  unlink(sibling.c_str());
  const Descriptor file(
      open(sibling.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!file.is_open()) return errno;
  int error = write_all(file.get(), text);
  if (error == 0 && rename(sibling.c_str(), path.c_str()) != 0) error = errno;
  if (error != 0) unlink(sibling.c_str());
  return error != 0 ? error : sync_directory();
}

int open_lock(const char* path, bool makes_file) {
  if (makes_file) make_directory();
  return open(path, O_RDWR | O_CLOEXEC | O_NOFOLLOW | (makes_file ? O_CREAT : 0), 0600);
}

template <typename Record>
int load_from(const char* path, Record& record) {
  std::string text;
  const int error = read_file(path, text);
  if (error != 0) return error;
  return read(text, record) ? 0 : EBADMSG;
}

}  // namespace

Lock::Lock(const char* path, Kind kind, bool makes_file) : fd_(open_lock(path, makes_file)) {
  while (fd_ != -1 && flock(fd_, kind == Shared ? LOCK_SH : LOCK_EX) != 0) {
    if (errno == EINTR) continue;
    close(fd_);
    fd_ = -1;
  }
}

Lock::~Lock() {
  if (fd_ != -1) close(fd_);
}

int load(Change& change) { return load_from(kFile, change); }

int load(Outcome& outcome) { return load_from(kOutcomeFile, outcome); }

int save(const Change& change) {
  const int error = make_directory();
  return error != 0 ? error : replace_file(kFile, text_of(change));
}

int finish(const Outcome& outcome) {
  const int error = replace_file(kOutcomeFile, text_of(outcome));
  const int error_of_removal = remove();
  return error != 0 ? error : error_of_removal;
}

int remove() {
  if (unlink(kFile) != 0) return errno;
  return sync_directory();
}

bool is_watched() {
  const Descriptor file(open_lock(kWatcherFile, false));
  return file.is_open() && flock(file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

bool is_left() { return access(kFile, R_OK | W_OK) == 0 && !is_watched(); }

}  // namespace pending
