// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What the fuzz targets share. They run in a private view of the machine, so that they may write to
// the library's real paths.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <memory>

#include "capi/log.h"
#include "foundation/file.h"

namespace capi::fuzz {

// Unlike assert(), in every build.
inline void require(bool holds) {
  if (!holds) abort();
}

inline uint32_t hash_of(const uint8_t* data, size_t size) {
  uint32_t hash = 2166136261;
  for (size_t i = 0; i < size; ++i) hash = (hash ^ data[i]) * 16777619;
  return hash ^ hash >> 15;
}

// Whether inputs are searched for, thousands a second, or those of a corpus replayed.
inline constexpr bool kSearches = CAPI_FUZZ_SEARCHES;

// Whether an input is tried with real files as well, which take nearly all of the time: each one
// that is replayed, few in a search. Which ones depends on their bytes alone, so that what was
// found can be found again.
inline bool takes_real_files(const uint8_t* data, size_t size) {
  return !kSearches || hash_of(data, size) % 1024 == 0;
}

// Asks getters with buffers of exactly the size that is told, so that a sanitizer sees a write
// behind their end.
class Asker {
 public:
  Asker(const uint8_t* data, size_t size) : seed_(hash_of(data, size)) {}

  template <typename Getter>
  void ask(Getter get) {
    static constexpr int kSizes[] = {0, 1, 2, 5, 7, 18, 90, 300, 600};
    for_each_of(std::size(kSizes), [=](int i) {
      const auto buf = std::make_unique<char[]>(static_cast<size_t>(kSizes[i]));
      get(buf.get(), kSizes[i]);
    });
  }

  // Calls "visit" for each number below "count"; in a search for one of them, which depends on the
  // input and on the questions before.
  template <typename Visitor>
  void for_each_of(int count, Visitor visit) {
    if (kSearches) {
      seed_ = seed_ * 1664525 + 1013904223;
      return visit(static_cast<int>(seed_ >> 16) % count);
    }
    for (int i = 0; i < count; ++i) visit(i);
  }

 private:
  uint32_t seed_;
};

inline void ignore_log() {
  capiv2_log_init([](int, const char*) {});
}

inline void write_file(const char* path, const void* data, size_t size) {
  const File file = open_file(path, "wb");
  require(file != nullptr && fwrite(data, 1, size, file.get()) == size);
}

inline void read_file(const char* path, void* data, size_t size) {
  const File file = open_file(path, "rb");
  require(file != nullptr && fread(data, 1, size, file.get()) == size);
}

}  // namespace capi::fuzz
