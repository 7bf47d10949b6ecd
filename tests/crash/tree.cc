// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "tree.h"

#include <utility>

namespace capi::crash {

Content Contents::intern(std::string bytes) {
  const auto [at, is_new] = numbers_.try_emplace(std::move(bytes), bytes_.size());
  if (is_new) bytes_.push_back(at->first);
  return at->second;
}

std::string Tree::key() const {
  std::map<Inode, size_t> seen;  // inodes are numbered by their first name
  std::string key;
  for (const auto& [name, inode] : names) {
    const auto [number, is_new] = seen.try_emplace(inode, seen.size());
    key += name + '|' + std::to_string(number->second);
    const Node& node = nodes.at(inode);
    for (const uint64_t part : {uint64_t{node.content}, uint64_t{node.meta.mode},
                                uint64_t{node.meta.uid}, uint64_t{node.meta.gid}}) {
      key += ':' + std::to_string(part);
    }
    key += '\n';
  }
  return key;
}

}  // namespace capi::crash
