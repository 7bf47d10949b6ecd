// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "stack_types.h"

#include <sys/mman.h>
#include <unistd.h>

#include <sstream>

#include "context.h"

namespace capictl {
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
  std::istringstream in(text);
  std::string section;
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with('[')) {
      section = line.substr(1, line.find(']') - 1);
    } else if (!line.empty()) {
      lines.push_back({section, line});
    }
  }
  return lines;
}

}  // namespace capictl
