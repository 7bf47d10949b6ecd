// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What an operation did to files, in order.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tree.h"

namespace capi::crash {

enum class Act : uint8_t {
  Create,         // inode, path, meta: a new, empty file
  Link,           // inode, path
  Unlink,         // path
  Rename,         // path, to
  Truncate,       // inode, offset: the size it got
  Write,          // inode, offset, content
  SetMeta,        // inode, meta
  SyncFile,       // inode
  FailedSync,     // inode: what was written before never gets to the medium any more
  SyncDirectory,  // path
  SyncAll,
  Promise,  // success was reported: by the result, or by a signal that was posted
};

struct Action {
  Act act;
  Inode inode = 0;
  std::string path{};
  std::string to{};
  size_t offset = 0;
  Content content = 0;
  Meta meta{};

  bool operator==(const Action&) const = default;
};

struct Record {
  Tree before;
  std::vector<Action> actions;
};

// One line that tells an action.
std::string describe(const Action& action, const Contents& contents);

bool changes_names(const Action& action);
bool changes_data(const Action& action);
bool is_sync(const Action& action);

std::string directory_of(const std::string& path);

// Carries an action out as far as it is visible to processes; syncs and promises change nothing.
void apply(Tree& tree, const Action& action, Contents& contents);

// The content of a file of this content after the first "length" bytes of a write.
std::string after_write(std::string bytes, const Action& write, const std::string& data,
                        size_t length);

// The tree after all of it.
Tree after(const Record& record, Contents& contents);

// Faults that are planted into a record: what it would have been without the care.
enum class Plant : uint8_t { None, NoFileSync, NoDirectorySync, LateMode, UniqueNames };

// A sync of everything syncs directories too, and is gone with them.
Record planted(const Record& record, Plant plant);

}  // namespace capi::crash
