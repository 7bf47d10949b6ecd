// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The files of some directories, in memory: what a crash leaves is computed on these.
#pragma once

#include <sys/types.h>

#include <compare>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <unordered_map>

namespace capi::crash {

// A content by its number, so that files and states are compared and copied cheaply.
using Content = uint32_t;

class Contents {
 public:
  Content intern(std::string bytes);
  const std::string& operator[](Content content) const { return bytes_[content]; }

 private:
  std::deque<std::string> bytes_;  // whose elements stay where they are
  std::unordered_map<std::string, Content> numbers_;
};

struct Meta {
  mode_t mode;
  uid_t uid;
  gid_t gid;

  auto operator<=>(const Meta&) const = default;
};

struct Node {
  Content content;
  Meta meta;

  bool operator==(const Node&) const = default;
};

// A file by its number within a record; names may share one.
using Inode = uint32_t;

struct Tree {
  std::map<std::string, Inode> names;
  std::map<Inode, Node> nodes;  // those without a name as well: they may get one

  // The same for trees that nobody can tell apart.
  std::string key() const;
};

}  // namespace capi::crash
