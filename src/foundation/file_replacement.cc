// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "foundation/file_replacement.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/sendfile.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "foundation/modes.h"
#include "foundation/uninterrupted.h"

namespace capi {
namespace {

constexpr mode_t kModeBits = 07777;

bool write_all(int fd, const void* bytes, size_t size) {
  const auto* from = static_cast<const char*>(bytes);
  while (size > 0) {
    const ssize_t written = uninterrupted([&] { return ::write(fd, from, size); });
    if (written == 0) errno = ENOSPC;
    if (written <= 0) return false;
    from += written;
    size -= static_cast<size_t>(written);
  }
  return true;
}

// Files that cannot be synced, as devices, have nothing to lose.
bool sync_to_medium(int fd) { return fsync(fd) == 0 || errno == EINVAL || errno == EROFS; }

// No sibling is allowed here, though the file itself may be written.
bool forbids_siblings(int error) {
  return error == EACCES || error == EPERM || error == EROFS || error == ENAMETOOLONG;
}

// The file's name cannot be given to another one: it is a mount point, for instance.
bool forbids_renaming(int error) { return error == EBUSY || error == EXDEV || error == EPERM; }

bool is_full(int error) { return error == ENOSPC || error == EDQUOT; }

}  // namespace

FileReplacement::FileReplacement(const char* path, OddFile odd_file) {
  Step step = split(path);
  if (step == Step::Done) step = look_at_target(odd_file);
  if (step == Step::Done) step = make_sibling();
  is_open_ = step == Step::InPlace ? open_in_place(path) : step == Step::Done;
}

FileReplacement::~FileReplacement() {
  if (!has_sibling_) return;
  const int error = errno;
  unlinkat(directory_.get(), sibling_, 0);
  errno = error;
}

// Opens the directory and finds the names in it.
FileReplacement::Step FileReplacement::split(const char* path) {
  path_.reset(strdup(path));
  if (!path_) return Step::Failed;
  char* slash = strrchr(path_.get(), '/');
  name_ = slash != nullptr ? slash + 1 : path_.get();
  const int length = snprintf(sibling_, sizeof sibling_, ".%s.new", name_);
  if (name_[0] == '\0' || length < 0 || static_cast<size_t>(length) >= sizeof sibling_) {
    return Step::InPlace;
  }
  const char* directory = slash == nullptr ? "." : slash == path_.get() ? "/" : path_.get();
  if (slash != nullptr) *slash = '\0';
  directory_ = Descriptor(open(directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (directory_) return Step::Done;
  return errno == EACCES ? Step::InPlace
                         : Step::Failed;  // a directory may be entered, but not read
}

FileReplacement::Step FileReplacement::look_at_target(OddFile odd_file) {
  struct stat found {};
  if (fstatat(directory_.get(), name_, &found, AT_SYMLINK_NOFOLLOW) != 0) {
    return errno == ENOENT ? Step::Done : Step::Failed;
  }
  if (S_ISDIR(found.st_mode)) {
    errno = EISDIR;
    return Step::Failed;
  }
  has_old_ = S_ISREG(found.st_mode);
  old_ = found;
  if (odd_file == OddFile::Replaced) return Step::Done;
  if (S_ISLNK(found.st_mode)) return look_at_link(found);
  if (!has_old_ || found.st_nlink > 1) return Step::InPlace;
  // Who may not write the file may not replace it either.
  const Descriptor target(
      openat(directory_.get(), name_, O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  return target ? Step::Done : Step::Failed;
}

FileReplacement::Step FileReplacement::look_at_link(const struct stat& link) const {
  return link.st_uid == 0 || link.st_uid == geteuid() ? Step::InPlace : Step::Done;
}

FileReplacement::Step FileReplacement::make_sibling() {
  constexpr int kTries = 64;
  for (int i = 0; i < kTries; ++i) {
    bool again = false;
    const Step step = try_sibling(again);
    if (!again) return step;
  }
  return Step::Failed;
}

// A sibling is locked while its writer lives, so that a leftover can be told from one at work.
FileReplacement::Step FileReplacement::try_sibling(bool& again) {
  // Until it has the mode of the file nobody else may read what is in it.
  const mode_t mode = has_old_ ? 0600 : kFileMode;
  file_ = Descriptor(
      openat(directory_.get(), sibling_, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
  if (!file_) {
    if (errno == EEXIST) {
      again = remove_leftover();
      return Step::InPlace;
    }
    if (forbids_siblings(errno)) return Step::InPlace;
    if (!has_old_ || !is_full(errno)) return Step::Failed;
    error_ = errno;  // the file itself could have been opened: this is a write that fails
    return Step::Done;
  }
  flock(file_.get(), LOCK_EX | LOCK_NB);
  has_sibling_ = has_name_of_sibling(file_.get());
  again = !has_sibling_;  // somebody took it for a leftover before it was locked
  if (again) return Step::Failed;
  return take_over_attributes();
}

// Removes what has the sibling's name. A writer at work gets some time for its end. False where
// removing is not allowed.
bool FileReplacement::remove_leftover() {
  const Descriptor leftover(
      openat(directory_.get(), sibling_, O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (leftover && !wait_for_writer(leftover.get())) return true;
  return unlinkat(directory_.get(), sibling_, 0) == 0 || errno == ENOENT;
}

// False when the sibling has gone meanwhile.
bool FileReplacement::wait_for_writer(int sibling) const {
  constexpr int kPauses = 100;
  constexpr timespec kPause{0, 10'000'000};
  for (int i = 0; i < kPauses && flock(sibling, LOCK_EX | LOCK_NB) != 0; ++i) {
    nanosleep(&kPause, nullptr);
  }
  return has_name_of_sibling(sibling);
}

bool FileReplacement::has_name_of_sibling(int fd) const {
  struct stat own {};
  struct stat named {};
  return fstat(fd, &own) == 0 &&
         fstatat(directory_.get(), sibling_, &named, AT_SYMLINK_NOFOLLOW) == 0 &&
         own.st_dev == named.st_dev && own.st_ino == named.st_ino;
}

// The owner first: changing it takes bits off the mode.
FileReplacement::Step FileReplacement::take_over_attributes() {
  if (!has_old_) return Step::Done;
  struct stat own {};
  if (fstat(file_.get(), &own) != 0) return Step::Failed;
  const bool has_owner = own.st_uid == old_.st_uid && own.st_gid == old_.st_gid;
  if ((has_owner || fchown(file_.get(), old_.st_uid, old_.st_gid) == 0) &&
      fchmod(file_.get(), old_.st_mode & kModeBits) == 0) {
    return Step::Done;
  }
  return Step::InPlace;
}

// Where a FIFO has the file's name, nobody may have to wait for its reader.
bool FileReplacement::open_in_place(const char* path) {
  if (has_sibling_) unlinkat(directory_.get(), sibling_, 0);
  has_sibling_ = false;
  file_ = Descriptor(open(path, O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK | O_CLOEXEC, kFileMode));
  return static_cast<bool>(file_);
}

// Keeps the first error, of which errno tells from then on.
bool FileReplacement::fail() {
  if (error_ == 0) error_ = errno;
  errno = error_;
  return false;
}

bool FileReplacement::write(const void* bytes, size_t size) {
  if (error_ != 0 || !write_all(file_.get(), bytes, size)) return fail();
  return true;
}

bool FileReplacement::commit() {
  // An error of a sync must not be asked for twice: the second answer would be that all is well.
  if (error_ != 0 || !sync_to_medium(file_.get())) return fail();
  if (!has_sibling_) return true;
  errno = EEXIST;  // somebody had no patience with us
  if (!has_name_of_sibling(file_.get())) return fail();
  if (renameat(directory_.get(), sibling_, directory_.get(), name_) == 0) {
    has_sibling_ = false;
    return true;
  }
  return (forbids_renaming(errno) && copy_in_place()) || fail();
}

bool FileReplacement::copy_in_place() {
  const Descriptor target(
      openat(directory_.get(), name_, O_WRONLY | O_TRUNC | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!target || lseek(file_.get(), 0, SEEK_SET) != 0) return false;
  constexpr size_t kPiece = 1 << 20;
  ssize_t copied = 0;
  do copied = sendfile(target.get(), file_.get(), nullptr, kPiece);
  while (copied > 0);
  return copied == 0 && sync_to_medium(target.get());
}

bool FileReplacement::sync_directory() { return !directory_ || sync_to_medium(directory_.get()); }

bool overwrite_file(const char* path, std::span<const uint8_t> bytes) {
  const Descriptor file(open(path, O_WRONLY | O_NONBLOCK | O_CLOEXEC));
  return file && write_all(file.get(), bytes.data(), bytes.size()) &&
         ftruncate(file.get(), static_cast<off_t>(bytes.size())) == 0 && sync_to_medium(file.get());
}

}  // namespace capi
