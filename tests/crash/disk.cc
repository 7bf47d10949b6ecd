// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "disk.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>

#include "record.h"

namespace capi::crash {
namespace {

// The key of the device's locks is made from this file's inode: it stays where it is.
constexpr char kKeyFile[] = "/tmp/m_data";

[[noreturn]] void give_up(const std::string& path) {
  perror(path.c_str());
  exit(2);
}

void write_node(const std::string& path, const Node& node, const Contents& contents) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  const std::string& bytes = contents[node.content];
  if (fd == -1 || ::write(fd, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
    give_up(path);
  }
  if (fchown(fd, node.meta.uid, node.meta.gid) != 0 || fchmod(fd, node.meta.mode) != 0) {
    give_up(path);
  }
  close(fd);
}

}  // namespace

Disk::Disk(std::vector<std::string> directories) : directories_(std::move(directories)) {
  for (const std::string& directory : directories_) {
    std::filesystem::create_directories(directory);
  }
}

bool Disk::has_directory(const std::string& path) const {
  return std::find(directories_.begin(), directories_.end(), path) != directories_.end();
}

bool Disk::has(const std::string& path) const {
  return has_directory(directory_of(path)) && path != kKeyFile;
}

std::vector<std::string> Disk::names() const {
  std::vector<std::string> result;
  for (const std::string& directory : directories_) {
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
      if (entry.path() != kKeyFile && !entry.is_directory()) result.push_back(entry.path());
    }
  }
  std::sort(result.begin(), result.end());
  return result;
}

Tree Disk::read(Contents& contents, std::map<FileId, Inode>* ids) const {
  Tree tree;
  std::map<FileId, Inode> seen;
  for (const std::string& name : names()) {
    struct stat status {};
    if (lstat(name.c_str(), &status) != 0) give_up(name);
    const auto [at, is_new] = seen.try_emplace({status.st_dev, status.st_ino}, seen.size());
    tree.names[name] = at->second;
    if (!is_new) continue;
    std::ifstream file(name, std::ios::binary);
    tree.nodes[at->second] = {
        contents.intern(std::string(std::istreambuf_iterator<char>(file), {})),
        {status.st_mode & 07777, status.st_uid, status.st_gid}};
  }
  if (ids != nullptr) *ids = std::move(seen);
  return tree;
}

void Disk::write(const Tree& tree, const Contents& contents) const {
  for (const std::string& name : names()) {
    if (unlink(name.c_str()) != 0) give_up(name);
  }
  std::map<Inode, std::string> first;
  for (const auto& [name, inode] : tree.names) {
    const auto [at, is_new] = first.try_emplace(inode, name);
    if (is_new) {
      write_node(name, tree.nodes.at(inode), contents);
    } else if (link(at->second.c_str(), name.c_str()) != 0) {
      give_up(name);
    }
  }
}

}  // namespace capi::crash
