// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Runs a fuzz target over the files of its corpus, where there is no fuzzing engine.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
  int count = 0;
  for (int i = 1; i < argc; ++i) {
    for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
      std::ifstream in(entry.path(), std::ios::binary);
      const std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
      // A copy of exactly this size, so that a sanitizer sees a read behind its end.
      const std::vector<uint8_t> input(bytes.begin(), bytes.end());
      LLVMFuzzerTestOneInput(input.data(), input.size());
      ++count;
    }
  }
  printf("%d inputs\n", count);
  return count > 0 ? 0 : 1;
}
