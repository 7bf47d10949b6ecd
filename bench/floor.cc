// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "floor.h"

#include <fcntl.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "bench.h"
#include "capi/lock.h"
#include "device.h"

namespace bench::floor {
namespace {

int find_set() { return semget(ftok("/tmp/m_data", 'l'), CAPI_LOCK_COUNT, 0666); }

void change(int set, unsigned id, short by) {
  sembuf op{static_cast<unsigned short>(id), by, SEM_UNDO};
  require(semop(set, &op, 1) == 0, "the floor's lock");
}

int find_segment() {
  return shmget(ftok(kToolPath, 250), sizeof(cfg_shared_record), IPC_CREAT | 0666);
}

int open_file(const char* path, int flags) {
  const int fd = open(path, flags | O_CLOEXEC, 0666);
  require(fd != -1, "the floor's file");
  return fd;
}

void read_exactly(int fd, void* to, size_t size) {
  require(read(fd, to, size) == static_cast<ssize_t>(size), "the floor's read");
}

void write_exactly(int fd, const void* from, size_t size) {
  require(write(fd, from, size) == static_cast<ssize_t>(size), "the floor's write");
}

void write_in_place(const char* path, const void* from, size_t size) {
  const int fd = open_file(path, O_WRONLY | O_TRUNC);
  write_exactly(fd, from, size);
  close(fd);
}

// A sibling that is on the medium with the file's mode gets its name, and the name is synced too.
void write_safely(const char* path, const void* from, size_t size) {
  const std::filesystem::path file(path);
  const std::string name = file.filename();
  const std::string sibling = "." + name + ".new";
  const int directory = open_file(file.parent_path().c_str(), O_RDONLY | O_DIRECTORY);
  struct stat status {};
  require(fstatat(directory, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0, "the floor's file");
  const int fd = openat(directory, sibling.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  require(fd != -1, "the floor's sibling");
  require(fchmod(fd, status.st_mode & 07777) == 0, "the floor's mode");
  write_exactly(fd, from, size);
  require(fsync(fd) == 0, "the floor's sync");
  require(renameat(directory, sibling.c_str(), directory, name.c_str()) == 0, "the floor's name");
  require(fsync(directory) == 0, "the floor's sync of the directory");
  close(fd);
  close(directory);
}

void write_whole(const char* path, const void* from, size_t size, Writing how) {
  (how == Writing::Safely ? write_safely : write_in_place)(path, from, size);
}

// A file whose size is asked for first.
void read_sized_file(const char* path, void* to, size_t size) {
  struct stat status {};
  require(stat(path, &status) == 0, "the floor's file");
  const int fd = open_file(path, O_RDONLY);
  read_exactly(fd, to, size);
  close(fd);
}

}  // namespace

cfg_shared_record& segment() {
  static auto* const record = static_cast<cfg_shared_record*>(shmat(find_segment(), nullptr, 0));
  return *record;
}

// Found anew for every operation, and looked at after it: others may have made the set anew.
void lock(unsigned id) {
  const int set = find_set();
  change(set, id, -1);
  require(semctl(set, static_cast<int>(id), GETVAL) == 0, "the floor's lock is held");
}

void unlock(unsigned id) {
  const int set = find_set();
  require(semctl(set, static_cast<int>(id), GETVAL) == 0, "the floor's lock is held");
  change(set, id, 1);
}

void get(void* to, size_t offset, size_t size) {
  const Lock guard(CAPI_LOCK_CONF_SHM);
  memcpy(to, reinterpret_cast<const char*>(&segment()) + offset, size);
}

void set(size_t offset, const void* from, size_t size) {
  if (size <= sizeof(int32_t)) return set_cuttably(offset, from, size);
  const Lock guard(CAPI_LOCK_CONF_SHM);
  const iovec to{reinterpret_cast<char*>(&segment()) + offset, size};
  const iovec source{const_cast<void*>(from), size};
  require(process_vm_readv(getpid(), &to, 1, &source, 1, 0) == static_cast<ssize_t>(size),
          "the floor's copy into the segment");
}

void set_cuttably(size_t offset, const void* from, size_t size) {
  const Lock guard(CAPI_LOCK_CONF_SHM);
  memcpy(reinterpret_cast<char*>(&segment()) + offset, from, size);
}

void read_whole(const char* path) {
  char block[4096];
  const int fd = open_file(path, O_RDWR);
  while (read(fd, block, sizeof block) > 0) benchmark::ClobberMemory();
  close(fd);
}

void replace_file(const char* path, std::string_view bytes) {
  const int fd = open_file(path, O_RDWR | O_CREAT | O_TRUNC);
  write_exactly(fd, bytes.data(), bytes.size());
  close(fd);
}

void read_call_log(const char* path, void* image, size_t size) {
  const Lock guard(CAPI_LOCK_CALL_LOG);
  const int fd = open_file(path, O_RDONLY);
  read_exactly(fd, image, size);
  close(fd);
}

void rewrite_call_log(const char* path, void* image, size_t size, Writing how) {
  const Lock guard(CAPI_LOCK_CALL_LOG);
  const int fd = open_file(path, O_RDONLY);
  read_exactly(fd, image, size);
  close(fd);
  write_whole(path, image, size, how);
  sync();
}

void read_sms_file(const char* path, void* memory, size_t size, Piece message, void* to) {
  const Lock guard(CAPI_LOCK_VOICE_SMS);
  read_sized_file(path, memory, size);
  if (to != nullptr) memcpy(to, static_cast<char*>(memory) + message.offset, message.size);
}

void rewrite_sms_file(const char* path, void* memory, size_t size, size_t new_size, Writing how) {
  const Lock guard(CAPI_LOCK_VOICE_SMS);
  read_sized_file(path, memory, size);
  write_whole(path, memory, new_size, how);
  sync();
}

void make_sms_file(const char* path, const void* memory, size_t size, Writing how) {
  const Lock guard(CAPI_LOCK_VOICE_SMS);
  write_whole(path, memory, size, how);
  sync();
}

void look_at_links(const capi_call_log_image& image) {
  unsigned sum = 0;
  for (const capi_call_log_record& node : image.node) {
    sum += node.prev + node.next + node.all_prev + node.all_next;
  }
  benchmark::DoNotOptimize(sum);
}

void look_at_lengths(const void* messages, size_t size) {
  const auto* bytes = static_cast<const char*>(messages);
  uint32_t length = 0;
  for (size_t at = 56; at + 8 < size; at += 8 + length) {
    uint32_t text_size = 0;
    memcpy(&length, bytes + at + 4, sizeof length);
    memcpy(&text_size, bytes + at + 104, sizeof text_size);
    require(length == text_size + 104, "the floor's messages are sound");
  }
}

void post_event(const char* tool, const char* command) {
  {
    const Lock guard(CAPI_LOCK_CONF_SHM);  // for the directory of the tool
  }
  require(access(tool, R_OK) == -1 && system(command) == 0, "the floor's event");
}

void attach_and_detach() {
  void* place = nullptr;
  {
    const Lock guard(CAPI_LOCK_CONF_SHM);
    // The tool is looked for under the working directory first.
    require(ftok("./usr/sbin/vsdk_cmd", 250) == -1, "the floor's directory");
    place = shmat(find_segment(), nullptr, 0);
  }
  const Lock guard(CAPI_LOCK_CONF_SHM);
  shmdt(place);
}

}  // namespace bench::floor
