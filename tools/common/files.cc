// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace files {
namespace {

int write_whole(int fd, std::string_view content) {
  while (!content.empty()) {
    const ssize_t written = write(fd, content.data(), content.size());
    if (written == -1 && errno == EINTR) continue;
    if (written <= 0) return written == 0 ? EIO : errno;
    content.remove_prefix(static_cast<size_t>(written));
  }
  return fsync(fd) == 0 || errno == EINVAL ? 0 : errno;  // a pipe has no medium
}

int write_to(const std::string& path, std::string_view content) {
  const Descriptor file(open(path.c_str(), O_WRONLY | O_CLOEXEC));
  return file.is_open() ? write_whole(file.get(), content) : errno;
}

// What has the sibling's name is what another one left.
int write_sibling(const std::string& sibling, std::string_view content, mode_t mode) {
  unlink(sibling.c_str());
  const Descriptor file(
      open(sibling.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
  return file.is_open() ? write_whole(file.get(), content) : errno;
}

}  // namespace

Descriptor::~Descriptor() {
  if (fd_ != -1) close(fd_);
}

int replace(const std::string& path, std::string_view content, mode_t mode) {
  struct stat status {};
  if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) return write_to(path, content);
  const std::string sibling = path + ".new";
  int error = write_sibling(sibling, content, mode);
  if (error == 0 && rename(sibling.c_str(), path.c_str()) != 0) error = errno;
  if (error == 0) return sync_directory_of(path);
  unlink(sibling.c_str());
  return error;
}

int sync_directory_of(const std::string& path) {
  const size_t slash = path.rfind('/');
  const std::string directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  const Descriptor opened(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!opened.is_open()) return errno == EACCES ? 0 : errno;
  return fsync(opened.get()) == 0 || errno == EINVAL ? 0 : errno;
}

State state_of(const std::string& path) {
  struct stat now = {};
  if (stat(path.c_str(), &now) != 0) return {};
  return {static_cast<int64_t>(now.st_dev), static_cast<int64_t>(now.st_ino), now.st_size,
          now.st_mtim.tv_sec, now.st_mtim.tv_nsec};
}

}  // namespace files
