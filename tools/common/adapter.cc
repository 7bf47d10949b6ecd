// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "adapter.h"

#include <files.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "locks.h"

namespace tools {
namespace {

constexpr char kRemedy[] = "start the master, or bring one up: capictl master --settings FILE";

// What keeps an adapter from being up, and what to do about it.
std::string obstacle_of(const capi_presence& presence) {
  const auto is_missing = [](const char* path) { return access(path, F_OK) != 0; };
  const std::string down = "no adapter is up: ";
  switch (presence.state) {
    case CAPI_PRESENCE_NO_SEGMENT:
      if (!is_missing("/usr/sbin/vsdk_cmd")) {
        return "the shared record cannot be attached; --verbose tells why";
      }
      return down + "/usr/sbin/vsdk_cmd is missing, by which the shared record is found; provide " +
             "it, then " + kRemedy;
    case CAPI_PRESENCE_NO_LOCKS:
      if (!is_missing("/tmp/m_data")) {
        return down + "there are no locks, because no master has started; " + kRemedy;
      }
      return down + "/tmp/m_data is missing, by which the locks are found; provide it, then " +
             kRemedy;
    default:
      return down + "no master has published settings yet; " + kRemedy;
  }
}

struct FileCloser {
  void operator()(FILE* file) const { fclose(file); }
};

}  // namespace

void print_log(int level, const char* text) { fprintf(stderr, "<%d> %s\n", level, text); }

void ignore_log(int, const char*) {}

// What a master has started is worth a look, whatever has got lost since.
Attachment::Attachment(capi_log_sink log, Need need, std::initializer_list<unsigned> locks) {
  const Patience patience = need == Need::Record ? Patience::Short : Patience::Long;
  if (!await_lock(CAPI_LOCK_CONF_SHM, patience)) {
    peeked_ = std::make_unique<cfg_shared_record>();
    if (need == Need::Record && peek_record(*peeked_)) return;
    throw_held(CAPI_LOCK_CONF_SHM);
  }
  for (const unsigned lock : locks) need_lock(lock);
  capi_init(nullptr, 0, log);
  cfg_shared_record record;
  uint64_t generation = 0;
  if (capi_live_refresh(&record, &generation) == 1 && is_started(record)) return;
  capi_presence presence{};
  capi_get_presence(&presence);
  capi_uninit();
  throw Failure(obstacle_of(presence), {kNoAdapter});
}

Attachment::~Attachment() {
  if (is_whole()) capi_uninit();
}

cfg_shared_record Attachment::snapshot() const { return is_whole() ? take_snapshot() : *peeked_; }

cfg_shared_record take_snapshot() {
  cfg_shared_record record;
  uint64_t generation = 0;
  if (capi_live_refresh(&record, &generation) < 0)
    throw Failure("the shared record cannot be read");
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
    const int error = errno;
    throw Failure(path + " cannot be read: " + strerror(error),
                  {error == ENOENT ? kNotFound : kFailed});
  }
  return content;
}

void replace_file(const std::string& path, const std::string& content, mode_t mode) {
  const int error = files::replace(path, content, mode);
  if (error != 0) throw Failure(path + " cannot be written: " + strerror(error));
}

}  // namespace tools
