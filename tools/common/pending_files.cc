// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>

#include "files.h"
#include "pending.h"

namespace pending {
namespace {

using files::Descriptor;

// Where one group has the adapter, all of its members share the change, whatever groups they have
// besides: what is made in the directory is its group's.
#ifdef CAPI_GROUP_ONLY
constexpr mode_t kDirectoryMode = S_ISGID | 0770;
constexpr mode_t kFileMode = 0660;
#else
constexpr mode_t kDirectoryMode = 0755;
constexpr mode_t kFileMode = 0600;
#endif

// The files have their mode whatever mask somebody's shell has.
class NoMask {
 public:
  NoMask() : former_(umask(0)) {}
  ~NoMask() { umask(former_); }
  NoMask(const NoMask&) = delete;
  NoMask& operator=(const NoMask&) = delete;

 private:
  mode_t former_;
};

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

int open_lock(const char* path, bool makes_file) {
  if (makes_file) make_directory();
  const NoMask mask;
  return open(path, O_RDWR | O_CLOEXEC | O_NOFOLLOW | (makes_file ? O_CREAT : 0), kFileMode);
}

bool is_held(const char* path) {
  const Descriptor file(open_lock(path, false));
  return file.is_open() && flock(file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

bool take(int fd, int operation) {
  while (flock(fd, operation) != 0) {
    if (errno != EINTR) return false;
  }
  return true;
}

bool take_in_time(int fd, int operation) {
  constexpr int kTries = 300;
  constexpr timespec kPause{0, 10'000'000};
  for (int i = 0; i < kTries; ++i) {
    if (take(fd, operation | LOCK_NB)) return true;
    if (errno != EWOULDBLOCK) return false;
    nanosleep(&kPause, nullptr);
  }
  errno = EWOULDBLOCK;
  return false;
}

int replace(const char* path, const std::string& text) {
  const NoMask mask;
  return files::replace(path, text, kFileMode);
}

template <typename Record>
int load_from(const char* path, Record& record) {
  std::string text;
  const int error = read_file(path, text);
  if (error != 0) return error;
  return read(text, record) ? 0 : EBADMSG;
}

}  // namespace

Lock::Lock(const char* path, Kind kind, bool makes_file, Patience patience)
    : fd_(open_lock(path, makes_file)) {
  if (fd_ == -1) return;
  const int operation = kind == Shared ? LOCK_SH : LOCK_EX;
  const bool is_taken = patience == Endless ? take(fd_, operation) : take_in_time(fd_, operation);
  if (is_taken) return;
  const int error = errno;
  close(fd_);
  fd_ = -1;
  errno = error;
}

Lock::~Lock() {
  if (fd_ != -1) close(fd_);
}

// A directory's set-group-ID bit is not mkdir()'s to give.
int make_directory() {
  if (mkdir(kDirectory, kDirectoryMode) != 0) return errno == EEXIST ? 0 : errno;
  if ((kDirectoryMode & S_ISGID) == 0) return 0;
  return chmod(kDirectory, kDirectoryMode) == 0 ? 0 : errno;
}

int load(Change& change) { return load_from(kFile, change); }

int load(Outcome& outcome) { return load_from(kOutcomeFile, outcome); }

int save(const Change& change) {
  const int error = make_directory();
  return error != 0 ? error : replace(kFile, text_of(change));
}

int finish(const Outcome& outcome) {
  const int error = replace(kOutcomeFile, text_of(outcome));
  const int error_of_removal = remove();
  return error != 0 ? error : error_of_removal;
}

int remove() {
  if (unlink(kFile) != 0) return errno;
  return files::sync_directory_of(kFile);
}

bool is_locked() { return is_held(kLockFile); }

bool is_watched() { return is_held(kWatcherFile); }

bool is_left() { return access(kFile, R_OK | W_OK) == 0 && !is_watched(); }

}  // namespace pending
