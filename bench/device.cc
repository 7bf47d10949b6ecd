// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "device.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include "bench.h"

namespace bench {
namespace {

constexpr char kAllKeys[] = CAPI_SOURCE_DIR "/tests/data/all_keys.settings";

void write_file(const std::string& path, const std::string& content) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream out(path, std::ios::binary);
  out << content;
  out.close();
  require(out.good(), "a file can be written");
}

// The sections and items of the file with every key, without comments and empty lines.
const std::vector<std::string>& setting_lines() {
  static const std::vector<std::string> lines = [] {
    std::vector<std::string> result;
    std::ifstream in(kAllKeys);
    for (std::string line; std::getline(in, line);) {
      if (!line.empty() && line[0] != '#') result.push_back(line);
    }
    require(!result.empty(), "the file with every key is there");
    return result;
  }();
  return lines;
}

}  // namespace

void discard_log(int, const char*) {}

void start_device() {
  write_file("/tmp/m_data", "m_serial=2604000123\n");
  write_file(kToolPath, "#!/bin/sh\n");
  std::filesystem::permissions(kToolPath, std::filesystem::perms(0755));
  static const capi_callbacks callbacks{};
  capi_init(&callbacks, 1, discard_log);
  require(capi_init_settings_from_file(kAllKeys) == 0 && capi_config_finish() == 0,
          "settings can be loaded");
  capi_post_init(1);
}

std::string write_settings(int lines) {
  const std::string path = "/tmp/" + std::to_string(lines) + ".settings";
  const std::vector<std::string>& all = setting_lines();
  std::string content;
  for (int i = 0; i < lines; ++i) content += all[static_cast<size_t>(i) % all.size()] + "\n";
  write_file(path, content);
  return path;
}

const std::vector<Medium>& media() {
  static const std::vector<Medium> all = [] {
    const std::vector<Medium> result{{"/tmp/stores", "", Clock::Processor},
                                     {CAPI_BENCH_DISK, ", on a disk", Clock::Wall}};
    for (const Medium& medium : result) std::filesystem::create_directories(medium.dir);
    return result;
  }();
  return all;
}

std::string read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream content;
  content << in.rdbuf();
  return content.str();
}

}  // namespace bench
