// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "reference_writer.h"
#include "scene.h"

namespace capi::crash {
namespace {

constexpr char kDirectory[] = "/tmp/reference";
constexpr char kName[] = "store";
constexpr size_t kSize = 20000;

bool write(char letter, Care care) {
  return replace_file(kDirectory, kName, std::string(kSize, letter), care);
}

Scene scene(const char* group, const char* name, Care care, const Failures& failures = {}) {
  return {.group = group,
          .name = name,
          .directories = {kDirectory},
          .promise = Promise::Durable,
          .set_up = [] { write('a', Care::InPlace); },
          .operate = [=] { return write('b', care); },
          .next = [=] { return write('c', care); },
          .read = [] { return Parts{content_of(std::string(kDirectory) + "/" + kName)}; },
          .failures = failures,
          .uses_library = false};
}

constexpr Failures kOneSync{.first_sync = 1, .syncs = 1};

}  // namespace

std::vector<Scene> reference_scenes() {
  Scene create = scene("reference", "reference: create", Care::Full);
  create.set_up = [] {};
  return {
      scene("reference", "reference: replace", Care::Full),
      create,
      scene("reference", "reference: the sync fails", Care::Full, kOneSync),
      scene("faults", "fault: no sync of the file", Care::NoFileSync),
      scene("faults", "fault: no sync of the directory", Care::NoDirectorySync),
      scene("faults", "fault: a sync that fails is ignored", Care::SyncIgnored, kOneSync),
      scene("faults", "fault: a sync that fails is tried again", Care::SyncTriedAgain, kOneSync),
      scene("faults", "fault: the mode is set after the sync", Care::ModeAfterSync),
      scene("faults", "fault: the mode is set after the rename", Care::ModeAfterRename),
      scene("faults", "fault: siblings have unique names", Care::UniqueSibling),
      scene("faults", "fault: in place", Care::InPlace),
  };
}

}  // namespace capi::crash
