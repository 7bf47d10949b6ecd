// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "stack_files.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "adapter.h"
#include "places.h"

namespace tools {
namespace {

// A file without a name, which is gone with the object.
class MemoryFile {
 public:
  MemoryFile() : fd_(memfd_create("capictl", MFD_CLOEXEC)) {}
  ~MemoryFile() { close(fd_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  std::string path() const { return "/proc/self/fd/" + std::to_string(fd_); }

 private:
  int fd_;
};

// Whether a line shows a secret that is set.
bool is_secret(const StackLine& line) {
  const size_t equals = line.text.find('=');
  if (equals == std::string::npos || equals + 1 == line.text.size()) return false;
  const std::string name = line.text.substr(0, equals);
  return std::ranges::any_of(all_keys(), [&](const Key& key) {
    if (key.meaning.is_secret == 0) return false;
    return std::ranges::any_of(places_of(key), [&](const Place& place) {
      return place.section == line.section && place.line == name;
    });
  });
}

std::string shown_line(const StackLine& line, Secrets secrets) {
  if (secrets == Secrets::Shown || !is_secret(line)) return line.text;
  return line.text.substr(0, line.text.find('=') + 1) + kSecretIsSet;
}

void add_lines(Table& table, const char* mark, const std::vector<StackLine>& lines,
               const std::vector<StackLine>& others, Secrets secrets) {
  for (const StackLine& line : lines) {
    if (std::find(others.begin(), others.end(), line) == others.end()) {
      table.add({mark, line.section, shown_line(line, secrets)});
    }
  }
}

}  // namespace

std::string stack_file_text(const cfg_shared_record& record, unsigned type) {
  const MemoryFile file;
  if (capi_snapshot_write_config_file(&record, type, file.path().c_str()) != 0) {
    throw Failure("there is no memory for the voice stack's file, or no /proc");
  }
  return read_file(file.path());
}

std::vector<StackLine> stack_lines(const std::string& text) {
  std::vector<StackLine> lines;
  std::string section;
  for (const std::string& line : lines_of(text)) {
    if (line.starts_with('[')) {
      section = line.substr(1, line.find(']') - 1);
    } else if (!line.empty()) {
      lines.push_back({section, line});
    }
  }
  return lines;
}

Table stack_file_differences(const std::string& before_text, const std::string& after_text,
                             Secrets secrets) {
  const std::vector<StackLine> before = stack_lines(before_text);
  const std::vector<StackLine> after = stack_lines(after_text);
  Table table("differences", {{"change"}, {"section"}, {"line"}});
  add_lines(table, "-", before, after, secrets);
  add_lines(table, "+", after, before, secrets);
  return table;
}

cfg_shared_record without_secrets(cfg_shared_record record) {
  for (const Key& key : all_keys()) {
    char* field = reinterpret_cast<char*>(&record) + key.offset();
    if (key.meaning.is_secret != 0 && field[0] != '\0') strcpy(field, kSecretIsSet);
  }
  return record;
}

}  // namespace tools
