// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "record.h"

#include <algorithm>
#include <cstdio>
#include <set>

namespace capi::crash {
namespace {

std::string octal(mode_t mode) {
  char text[16];
  snprintf(text, sizeof text, "%04o", mode);
  return text;
}

std::string meta_text(const Meta& meta) {
  return octal(meta.mode) + " " + std::to_string(meta.uid) + ":" + std::to_string(meta.gid);
}

std::string resized(std::string bytes, size_t size) {
  bytes.resize(size, '\0');
  return bytes;
}

void drop(Record& record, std::initializer_list<Act> acts) {
  std::erase_if(record.actions, [&](const Action& action) {
    return std::find(acts.begin(), acts.end(), action.act) != acts.end();
  });
}

// The inode that an action gives another name to, as it stands then.
Inode renamed_inode(const Record& record, size_t rename) {
  std::map<std::string, Inode> names = record.before.names;
  for (size_t i = 0; i < rename; ++i) {
    const Action& action = record.actions[i];
    if (action.act == Act::Create || action.act == Act::Link) names[action.path] = action.inode;
    if (action.act == Act::Unlink) names.erase(action.path);
    if (action.act == Act::Rename) {
      names[action.to] = names[action.path];
      names.erase(action.path);
    }
  }
  return names[record.actions[rename].path];
}

void set_meta_late(Record& record) {
  for (size_t at = 0; at < record.actions.size(); ++at) {
    if (record.actions[at].act != Act::Rename) continue;
    const Inode inode = renamed_inode(record, at);
    const auto begin = record.actions.begin();
    const auto end = begin + static_cast<ptrdiff_t>(at) + 1;
    std::stable_partition(begin, end, [&](const Action& action) {
      return action.act != Act::SetMeta || action.inode != inode;
    });
  }
}

void make_names_unique(Record& record) {
  std::set<std::string> siblings;
  for (const Action& action : record.actions) {
    if (action.act == Act::Rename) siblings.insert(action.path);
  }
  for (Action& action : record.actions) {
    if (siblings.contains(action.path)) action.path += ".4711";
  }
}

}  // namespace

std::string describe(const Action& action, const Contents& contents) {
  const std::string file = "file " + std::to_string(action.inode);
  switch (action.act) {
    case Act::Create:
      return "create " + action.path + " as " + file + ", " + meta_text(action.meta);
    case Act::Link:
      return "link " + file + " as " + action.path;
    case Act::Unlink:
      return "unlink " + action.path;
    case Act::Rename:
      return "rename " + action.path + " to " + action.to;
    case Act::Truncate:
      return "truncate " + file + " to " + std::to_string(action.offset);
    case Act::Write:
      return "write " + std::to_string(contents[action.content].size()) + " bytes at " +
             std::to_string(action.offset) + " of " + file;
    case Act::SetMeta:
      return "set " + file + " to " + meta_text(action.meta);
    case Act::SyncFile:
      return "sync " + file;
    case Act::FailedSync:
      return "fail to sync " + file;
    case Act::SyncDirectory:
      return "sync directory " + action.path;
    case Act::SyncAll:
      return "sync everything";
    case Act::Promise:
      return "report success";
  }
  return "";
}

bool changes_names(const Action& action) { return action.act <= Act::Rename; }
bool changes_data(const Action& action) {
  return action.act == Act::Truncate || action.act == Act::Write;
}
bool is_sync(const Action& action) {
  return action.act >= Act::SyncFile && action.act <= Act::SyncAll;
}

std::string directory_of(const std::string& path) { return path.substr(0, path.rfind('/')); }

std::string after_write(std::string bytes, const Action& write, const std::string& data,
                        size_t length) {
  if (length == 0) return bytes;
  if (bytes.size() < write.offset + length) bytes.resize(write.offset + length, '\0');
  bytes.replace(write.offset, length, data, 0, length);
  return bytes;
}

void apply(Tree& tree, const Action& action, Contents& contents) {
  switch (action.act) {
    case Act::Create:
      tree.nodes[action.inode] = {contents.intern(""), action.meta};
      [[fallthrough]];
    case Act::Link:
      tree.names[action.path] = action.inode;
      break;
    case Act::Unlink:
      tree.names.erase(action.path);
      break;
    case Act::Rename:
      tree.names[action.to] = tree.names.at(action.path);
      tree.names.erase(action.path);
      break;
    case Act::Truncate: {
      Content& content = tree.nodes.at(action.inode).content;
      content = contents.intern(resized(contents[content], action.offset));
      break;
    }
    case Act::Write: {
      Content& content = tree.nodes.at(action.inode).content;
      const std::string& data = contents[action.content];
      content = contents.intern(after_write(contents[content], action, data, data.size()));
      break;
    }
    case Act::SetMeta:
      tree.nodes.at(action.inode).meta = action.meta;
      break;
    default:
      break;
  }
}

Tree after(const Record& record, Contents& contents) {
  Tree tree = record.before;
  for (const Action& action : record.actions) apply(tree, action, contents);
  return tree;
}

Record planted(const Record& record, Plant plant) {
  Record result = record;
  switch (plant) {
    case Plant::None:
      break;
    case Plant::NoFileSync:
      drop(result, {Act::SyncFile});
      break;
    case Plant::NoDirectorySync:
      drop(result, {Act::SyncDirectory, Act::SyncAll});
      break;
    case Plant::LateMode:
      set_meta_late(result);
      break;
    case Plant::UniqueNames:
      make_names_unique(result);
      break;
  }
  return result;
}

}  // namespace capi::crash
