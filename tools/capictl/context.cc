// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "context.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>

namespace capictl {
namespace {

void print_log(int level, const char* text) { fprintf(stderr, "<%d> %s\n", level, text); }

void ignore_log(int, const char*) {}

struct FileCloser {
  void operator()(FILE* file) const { fclose(file); }
};

}  // namespace

capi_log_sink Context::log_sink() const { return verbose ? print_log : ignore_log; }

Attachment::Attachment(const Context& context) {
  capi_init(nullptr, 0, context.log_sink());
  cfg_shared_record record;
  if (capi_snapshot_take(&record) == 0 && is_started(record)) return;
  capi_uninit();
  throw Failure(
      "the adapter is not running: its shared record is not there or empty. Start its master "
      "process, or bring it up from setting files: capictl master --settings FILE");
}

Attachment::~Attachment() { capi_uninit(); }

cfg_shared_record take_snapshot() {
  cfg_shared_record record;
  if (capi_snapshot_take(&record) != 0) throw Failure("the shared record cannot be read");
  return record;
}

bool is_started(const cfg_shared_record& record) { return record.directory[0][0] != '\0'; }

bool read_file(const std::string& path, std::string& content) {
  constexpr size_t kMax = size_t{16} << 20;
  const std::unique_ptr<FILE, FileCloser> in(fopen(path.c_str(), "re"));
  if (!in) return false;
  content.clear();
  std::array<char, 65536> piece;
  while (const size_t size = fread(piece.data(), 1, piece.size(), in.get())) {
    content.append(piece.data(), size);
    if (content.size() <= kMax) continue;
    errno = EFBIG;
    return false;
  }
  return ferror(in.get()) == 0;
}

std::string read_file(const std::string& path) {
  std::string content;
  if (!read_file(path, content)) {
    throw Failure(path + " cannot be read: " + strerror(errno));
  }
  return content;
}

}  // namespace capictl
