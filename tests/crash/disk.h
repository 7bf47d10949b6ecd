// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The directories of an operation as they are on the disk.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tree.h"

namespace capi::crash {

using FileId = std::pair<dev_t, ino_t>;

// Some directories without those below them.
class Disk {
 public:
  explicit Disk(std::vector<std::string> directories);

  bool has(const std::string& path) const;
  bool has_directory(const std::string& path) const;

  // Reads all files. "ids" gets the number of each.
  Tree read(Contents& contents, std::map<FileId, Inode>* ids = nullptr) const;

  // Makes these the only files.
  void write(const Tree& tree, const Contents& contents) const;

  std::vector<std::string> names() const;

 private:
  std::vector<std::string> directories_;
};

}  // namespace capi::crash
