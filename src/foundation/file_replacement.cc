// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "foundation/file_replacement.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
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

// A file of any size, and none that somebody has to wait for.
constexpr int kOpening = O_NONBLOCK | O_LARGEFILE;

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

bool is_same(const struct stat64& a, const struct stat64& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool is_link(const struct stat64& status) { return S_ISLNK(status.st_mode); }

// Others may have planted it.
bool may_follow(const struct stat64& link) { return link.st_uid == 0 || link.st_uid == geteuid(); }

// With errno set where it fails, which is of the first try.
Replaced write_and_commit(FileReplacement& file, const char* path, std::span<const uint8_t> bytes,
                          const Replacing& replacing) {
  if (file.write(bytes.data(), bytes.size()) && file.commit()) return Replaced::Done;
  const int error = errno;
  Replaced result = Replaced::NotWritten;
  if (replacing.head > 0 && is_full(error)) result = overwrite_file(path, bytes, replacing.head);
  errno = error;
  return result == Replaced::NotWritten && file.is_in_place() ? Replaced::Cut : result;
}

}  // namespace

FileReplacement::FileReplacement(const char* path, OddFile odd_file)
    : counts_only_by_name_(odd_file == OddFile::Replaced) {
  Step step = split(path);
  if (step == Step::Done) step = look_at_target();
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
  errno = ENAMETOOLONG;  // cut, it would be the name of another file
  if (strnlen(path, PATH_MAX) == PATH_MAX) return Step::Failed;
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
  return errno == EACCES ? Step::InPlace : Step::Failed;  // it may be entered, but not read
}

FileReplacement::Step FileReplacement::look_at_target() {
  struct stat64 found {};
  if (fstatat64(directory_.get(), name_, &found, AT_SYMLINK_NOFOLLOW) != 0) {
    return errno == ENOENT ? Step::Done : Step::Failed;
  }
  if (S_ISDIR(found.st_mode)) {
    errno = EISDIR;
    return Step::Failed;
  }
  has_old_ = S_ISREG(found.st_mode);
  old_mode_ = found.st_mode;
  old_owner_ = found.st_uid;
  old_group_ = found.st_gid;
  if (counts_only_by_name_) return Step::Done;
  if (is_link(found) && !may_follow(found)) return Step::Done;
  if (!has_old_ || has_names_of_its_own(found)) return Step::InPlace;
  // Who may not write the file may not replace it either.
  const Descriptor target(
      openat(directory_.get(), name_, O_CLOEXEC | O_WRONLY | O_NOFOLLOW | kOpening));
  return target ? Step::Done : Step::Failed;
}

// A power cut amid renaming may leave the file with the sibling's name as its other one, which
// goes.
bool FileReplacement::has_names_of_its_own(const struct stat64& file) const {
  if (file.st_nlink <= 1) return false;  // without any it has just been replaced
  struct stat64 named {};
  return file.st_nlink != 2 || !finds_sibling(named) || !is_same(file, named) ||
         unlinkat(directory_.get(), sibling_, 0) != 0;
}

bool FileReplacement::finds_sibling(struct stat64& named) const {
  return fstatat64(directory_.get(), sibling_, &named, AT_SYMLINK_NOFOLLOW) == 0;
}

// What to do without a sibling, after an error.
FileReplacement::Step FileReplacement::step_after_error() {
  if (forbids_siblings(errno)) return Step::InPlace;
  if (!has_old_ || !is_full(errno)) return Step::Failed;
  error_ = errno;  // the file itself could have been opened: this is a write that fails
  return Step::Done;
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
  const int flags = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | kOpening;
  file_ = Descriptor(openat(directory_.get(), sibling_, O_CLOEXEC | flags, mode));
  if (!file_) {
    if (errno != EEXIST) return step_after_error();
    again = remove_leftover();
    return Step::InPlace;
  }
  // Somebody may have taken it for a leftover before it is locked, and is about to remove it.
  const bool is_taken = flock(file_.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
  has_sibling_ = !is_taken && has_name_of_sibling(file_.get());
  again = !has_sibling_;
  if (again) return Step::Failed;
  return take_over_attributes();
}

// Removes what has the sibling's name. A writer at work gets some time for its end. False where
// removing is not allowed.
bool FileReplacement::remove_leftover() {
  const Descriptor leftover(
      openat(directory_.get(), sibling_, O_CLOEXEC | O_WRONLY | O_NOFOLLOW | kOpening));
  // What has the name by now, if it has gone, is another writer's.
  const bool has_gone = leftover ? !wait_for_writer(leftover.get()) : errno == ENOENT;
  if (has_gone) return true;
  return unlinkat(directory_.get(), sibling_, 0) == 0 || errno == ENOENT;
}

// False when the sibling has gone meanwhile.
bool FileReplacement::wait_for_writer(int sibling) const {
  constexpr int kPauses = 100;
  static constexpr timespec kPause{0, 10'000'000};
  for (int i = 0; i < kPauses && flock(sibling, LOCK_EX | LOCK_NB) != 0; ++i) {
    nanosleep(&kPause, nullptr);
  }
  return has_name_of_sibling(sibling);
}

bool FileReplacement::has_name_of_sibling(int fd) const {
  struct stat64 own {};
  struct stat64 named {};
  return fstat64(fd, &own) == 0 && finds_sibling(named) && is_same(own, named);
}

// The owner first: changing it takes bits off the mode. Where only the name counts, a file of
// somebody else's becomes one's own, as if it had been deleted.
FileReplacement::Step FileReplacement::take_over_attributes() {
  if (!has_old_) return Step::Done;
  struct stat64 own {};
  if (fstat64(file_.get(), &own) != 0) return Step::Failed;
  const bool has_owner = own.st_uid == old_owner_ && own.st_gid == old_group_;
  const bool keeps_owner = has_owner || fchown(file_.get(), old_owner_, old_group_) == 0;
  if (!keeps_owner && !(counts_only_by_name_ && errno == EPERM)) return step_after_error();
  const bool keeps_mode =
      own.st_mode == old_mode_ || fchmod(file_.get(), old_mode_ & kModeBits) == 0;
  return keeps_mode ? Step::Done : step_after_error();
}

// Where a FIFO has the file's name, nobody may have to wait for its reader.
bool FileReplacement::open_in_place(const char* path) {
  if (has_sibling_) unlinkat(directory_.get(), sibling_, 0);
  has_sibling_ = false;
  struct stat64 found {};
  const bool follow = fstatat64(AT_FDCWD, path, &found, AT_SYMLINK_NOFOLLOW) == 0 &&
                      is_link(found) && may_follow(found);
  const int flags = O_WRONLY | O_CREAT | O_TRUNC | (follow ? 0 : O_NOFOLLOW) | kOpening;
  file_ = Descriptor(open(path, O_CLOEXEC | flags, kFileMode));
  is_in_place_ = static_cast<bool>(file_);
  return is_in_place_;
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
      openat(directory_.get(), name_, O_CLOEXEC | O_WRONLY | O_TRUNC | O_NOFOLLOW | kOpening));
  is_in_place_ = static_cast<bool>(target);
  if (!target || lseek(file_.get(), 0, SEEK_SET) != 0) return false;
  constexpr size_t kPiece = 1 << 20;
  ssize_t copied = 0;
  do copied = sendfile(target.get(), file_.get(), nullptr, kPiece);
  while (copied > 0);
  return copied == 0 && sync_to_medium(target.get());
}

bool FileReplacement::sync_directory() { return !directory_ || sync_to_medium(directory_.get()); }

Replaced overwrite_file(const char* path, std::span<const uint8_t> bytes, size_t head) {
  const Descriptor file(open(path, O_CLOEXEC | O_WRONLY | O_NOFOLLOW | kOpening));
  const int fd = file.get();
  const auto begin = static_cast<off_t>(head);
  if (!file || lseek(fd, begin, SEEK_SET) < 0) return Replaced::NotWritten;
  const bool is_written =
      write_all(fd, bytes.data() + head, bytes.size() - head) && sync_to_medium(fd) &&
      lseek(fd, 0, SEEK_SET) == 0 && write_all(fd, bytes.data(), head) &&
      ftruncate(fd, static_cast<off_t>(bytes.size())) == 0 && sync_to_medium(fd);
  if (is_written) return Replaced::Done;
  return lseek(fd, 0, SEEK_CUR) == begin ? Replaced::NotWritten : Replaced::Cut;
}

Replaced replace_file(const char* path, std::span<const uint8_t> bytes, const Replacing& replacing,
                      FunctionRef<void(ReplacingStep)> tell) {
  FileReplacement file(path, replacing.odd_file);
  if (!file.is_open()) {
    tell(ReplacingStep::Open);
    return Replaced::NotOpened;
  }
  const Replaced result = write_and_commit(file, path, bytes, replacing);
  const bool is_written = result == Replaced::Done;
  if (!is_written) tell(ReplacingStep::Write);
  if (is_written && replacing.is_durable) {
    if (!file.sync_directory()) tell(ReplacingStep::Flush);
    sync();
  }
  if (!file.close()) tell(ReplacingStep::Close);
  return result;
}

}  // namespace capi
