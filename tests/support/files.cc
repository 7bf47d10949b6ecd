// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "support/files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

namespace capi::test {

void write_file(const std::string& path, std::string_view content) {
  const auto parent = std::filesystem::path(path).parent_path();
  if (!parent.empty()) std::filesystem::create_directories(parent);
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(content.data(), static_cast<std::streamsize>(content.size()));
  out.close();
  ASSERT_TRUE(out) << "cannot write " << path;
}

std::string read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in) << "cannot read " << path;
  std::ostringstream content;
  content << in.rdbuf();
  return content.str();
}

std::vector<std::string> read_lines(const std::string& path) {
  std::istringstream in(read_file(path));
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

bool exists(const std::string& path) { return std::filesystem::exists(path); }

size_t open_descriptors() {
  const std::filesystem::directory_iterator open("/proc/self/fd");
  return static_cast<size_t>(std::distance(begin(open), end(open)));
}

}  // namespace capi::test
