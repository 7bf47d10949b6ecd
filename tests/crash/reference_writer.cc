// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "reference_writer.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace capi::crash {
namespace {

constexpr mode_t kDefaultMode = 0644;

class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() {
    if (fd_ != -1) close(fd_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int operator*() const { return fd_; }

 private:
  int fd_;
};

struct Target {
  int directory;
  std::string name;
  std::string sibling;
  struct stat old;
  bool exists;
};

bool write_all(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(fd, bytes.data(), bytes.size());
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<size_t>(count));
  }
  return true;
}

bool set_meta(int fd, const Target& target) {
  if (!target.exists) return fchmod(fd, kDefaultMode) == 0;
  return fchown(fd, target.old.st_uid, target.old.st_gid) == 0 &&
         fchmod(fd, target.old.st_mode & 07777) == 0;
}

bool sync_file(int fd, Care care) {
  if (care == Care::NoFileSync) return true;
  if (fsync(fd) == 0 || care == Care::SyncIgnored) return true;
  return care == Care::SyncTriedAgain && fsync(fd) == 0;
}

bool fill_sibling(int fd, const Target& target, std::string_view bytes, Care care) {
  const bool mode_first = care != Care::ModeAfterSync && care != Care::ModeAfterRename;
  if (!write_all(fd, bytes)) return false;
  if (mode_first && !set_meta(fd, target)) return false;
  if (!sync_file(fd, care)) return false;
  return care != Care::ModeAfterSync || set_meta(fd, target);
}

bool replace(const Target& target, std::string_view bytes, Care care) {
  unlinkat(target.directory, target.sibling.c_str(), 0);
  const Descriptor fd(openat(target.directory, target.sibling.c_str(),
                             O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (*fd == -1) return false;
  if (!fill_sibling(*fd, target, bytes, care) ||
      renameat(target.directory, target.sibling.c_str(), target.directory, target.name.c_str()) !=
          0) {
    unlinkat(target.directory, target.sibling.c_str(), 0);
    return false;
  }
  if (care == Care::ModeAfterRename && !set_meta(*fd, target)) return false;
  return care == Care::NoDirectorySync || fsync(target.directory) == 0;
}

bool rewrite(const Target& target, std::string_view bytes) {
  const Descriptor fd(
      openat(target.directory, target.name.c_str(), O_WRONLY | O_CREAT | O_TRUNC, kDefaultMode));
  return *fd != -1 && write_all(*fd, bytes) && fsync(*fd) == 0 && fsync(target.directory) == 0;
}

}  // namespace

bool replace_file(const std::string& directory, const std::string& name, std::string_view bytes,
                  Care care) {
  const Descriptor fd(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (*fd == -1) return false;
  Target target{
      .directory = *fd, .name = name, .sibling = "." + name + ".new", .old = {}, .exists = false};
  if (care == Care::UniqueSibling) target.sibling += "." + std::to_string(getpid());
  target.exists = fstatat(*fd, name.c_str(), &target.old, AT_SYMLINK_NOFOLLOW) == 0;
  return care == Care::InPlace ? rewrite(target, bytes) : replace(target, bytes, care);
}

}  // namespace capi::crash
