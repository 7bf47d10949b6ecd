// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "tracer.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>

namespace {

bool is_traced = false;

}  // namespace

// Stands before the C library's. Nobody needs this machine's disks to be in step: the directories
// are memory, and what a sync means for a power cut is computed. A traced one is not made either.
extern "C" void sync() noexcept {
  if (is_traced) syscall(SYS_sync);
}

namespace capi::crash {

#ifdef __x86_64__
namespace {

// An option that no system has: tells the tracer that the operation has returned.
constexpr int kReturned = 0x63727368;

constexpr uint64_t kMaxWrite = uint64_t{1} << 30;

struct Call {
  uint64_t number = 0;
  std::array<uint64_t, 6> args{};
  int error = 0;  // it is not made, but fails so
  bool suppressed = false;
  std::string path{};  // of the first name in it, and of the second
  std::string to{};
  bool existed = false;  // what the first name names
};

// What a call may do to a file of ours.
enum class Kind : uint8_t { Other, Open, Write, Truncate, Names, Meta, Sync, Refused };

class Tracer {
 public:
  Tracer(const Disk& disk, Contents& contents, const Failures& failures)
      : disk_(disk), contents_(contents), failures_(failures) {
    trace_.record.before = disk.read(contents, &ids_);
    next_inode_ = static_cast<Inode>(ids_.size());
  }

  Trace run(pid_t first) {
    waitpid(first, nullptr, __WALL);
    ptrace(PTRACE_SETOPTIONS, first, 0,
           PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL | PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK |
               PTRACE_O_TRACECLONE | PTRACE_O_TRACEEXEC);
    resume(first, 0);
    for (int status = 0;;) {
      const pid_t process = waitpid(-1, &status, __WALL);
      if (process == -1) break;  // all have ended
      if (WIFSTOPPED(status)) stopped(process, status);
    }
    if (!returned_) refuse("the operation did not return");
    return std::move(trace_);
  }

 private:
  static void resume(pid_t process, int signal) {
    ptrace(PTRACE_SYSCALL, process, 0, static_cast<long>(signal));
  }

  void refuse(const std::string& what) {
    if (trace_.trouble.empty()) trace_.trouble = what;
  }

  void stopped(pid_t process, int status) {
    const int signal = WSTOPSIG(status);
    if (signal == (SIGTRAP | 0x80)) {
      look(process);
      resume(process, 0);
    } else {
      // Stops are our own, of the start and of new processes.
      resume(process, signal == SIGTRAP || signal == SIGSTOP ? 0 : signal);
    }
  }

  void look(pid_t process) {
    __ptrace_syscall_info info{};
    ptrace(static_cast<__ptrace_request>(PTRACE_GET_SYSCALL_INFO), process, sizeof info, &info);
    Call& call = calls_[process];
    if (info.op == PTRACE_SYSCALL_INFO_ENTRY) {
      call = {.number = info.entry.nr};
      std::memcpy(call.args.data(), info.entry.args, sizeof info.entry.args);
      enter(process, call);
    } else if (info.op == PTRACE_SYSCALL_INFO_EXIT) {
      if (call.suppressed) set_result(process, -call.error);
      if (!call.suppressed && info.exit.is_error == 0) leave(process, call, info.exit.rval);
      if (call.number == SYS_sync) add({.act = Act::SyncAll});
      if (call.error != 0 && call.suppressed) after_failure(process, call);
    }
  }

  // Calls that are not made.

  static void suppress(pid_t process, Call& call, int error) {
    user_regs_struct regs{};
    ptrace(PTRACE_GETREGS, process, 0, &regs);
    regs.orig_rax = ~0ULL;
    ptrace(PTRACE_SETREGS, process, 0, &regs);
    call.suppressed = true;
    call.error = error;
  }

  static void set_result(pid_t process, long result) {
    user_regs_struct regs{};
    ptrace(PTRACE_GETREGS, process, 0, &regs);
    regs.rax = static_cast<unsigned long long>(result);
    ptrace(PTRACE_SETREGS, process, 0, &regs);
  }

  void after_failure(pid_t process, const Call& call) {
    if (kind(call) != Kind::Sync) return;
    const Inode* inode = inode_of(process, call.args[0]);
    if (inode != nullptr) add({.act = Act::FailedSync, .inode = *inode});
  }

  // Texts and descriptors of the process.

  static std::string text_at(pid_t process, uint64_t address) {
    char buffer[PATH_MAX];
    std::string text;
    while (address != 0 && text.size() < sizeof buffer) {
      const uint64_t rest = 4096 - address % 4096;  // may be the last page
      const iovec to{buffer, std::min<size_t>(rest, sizeof buffer)};
      const iovec from{reinterpret_cast<void*>(address), to.iov_len};
      const ssize_t count = process_vm_readv(process, &to, 1, &from, 1, 0);
      if (count <= 0) return text;
      const size_t length = strnlen(buffer, static_cast<size_t>(count));
      text.append(buffer, length);
      if (length < static_cast<size_t>(count)) return text;
      address += length;
    }
    return text;
  }

  static std::string proc(pid_t process, const std::string& name) {
    return "/proc/" + std::to_string(process) + "/" + name;
  }

  static std::string link_of(const std::string& link) {
    std::error_code error;
    return std::filesystem::read_symlink(link, error);
  }

  static std::string descriptor(pid_t process, uint64_t fd) {
    return proc(process, "fd/" + std::to_string(static_cast<int>(fd)));
  }

  static std::string path_at(pid_t process, uint64_t directory, uint64_t address) {
    const bool at_cwd = static_cast<int>(directory) == AT_FDCWD;
    const std::filesystem::path name = text_at(process, address);
    const std::filesystem::path from =
        link_of(at_cwd ? proc(process, "cwd") : descriptor(process, directory));
    const std::filesystem::path path = (from / name).lexically_normal();
    std::error_code error;
    const auto parent = std::filesystem::weakly_canonical(path.parent_path(), error);
    return (parent / path.filename()).string();
  }

  // The number of an open file of ours, or null.
  const Inode* inode_of(pid_t process, uint64_t fd) const {
    return inode_at(descriptor(process, fd));
  }

  const Inode* inode_at(const std::string& path) const {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return nullptr;
    const auto at = ids_.find({status.st_dev, status.st_ino});
    return at != ids_.end() ? &at->second : nullptr;
  }

  static uint64_t fd_info(pid_t process, uint64_t fd, const char* field, int base) {
    FILE* file =
        fopen(proc(process, "fdinfo/" + std::to_string(static_cast<int>(fd))).c_str(), "r");
    char line[256];
    uint64_t value = 0;
    while (file != nullptr && fgets(line, sizeof line, file) != nullptr) {
      const size_t length = strlen(field);
      if (strncmp(line, field, length) == 0) value = strtoull(line + length, nullptr, base);
    }
    if (file != nullptr) fclose(file);
    return value;
  }

  // Entering a call.

  static Kind kind(const Call& call) {
    switch (call.number) {
      case SYS_open:
      case SYS_creat:
      case SYS_openat:
      case SYS_openat2:
        return Kind::Open;
      case SYS_write:
      case SYS_writev:
      case SYS_pwrite64:
      case SYS_pwritev:
      case SYS_pwritev2:
      case SYS_copy_file_range:
      case SYS_sendfile:
        return Kind::Write;
      case SYS_truncate:
      case SYS_ftruncate:
      case SYS_fallocate:
        return Kind::Truncate;
      case SYS_rename:
      case SYS_renameat:
      case SYS_renameat2:
      case SYS_link:
      case SYS_linkat:
      case SYS_unlink:
      case SYS_unlinkat:
        return Kind::Names;
      case SYS_chmod:
      case SYS_fchmod:
      case SYS_fchmodat:
      case SYS_chown:
      case SYS_lchown:
      case SYS_fchown:
      case SYS_fchownat:
        return Kind::Meta;
      case SYS_fsync:
      case SYS_fdatasync:
      case SYS_syncfs:
        return Kind::Sync;
      case SYS_mkdir:
      case SYS_mkdirat:
      case SYS_rmdir:
      case SYS_symlink:
      case SYS_symlinkat:
      case SYS_mknod:
      case SYS_mknodat:
      case SYS_splice:
      case SYS_io_uring_setup:
      case SYS_mmap:
      case SYS_ioctl:
        return Kind::Refused;
      default:
        return Kind::Other;
    }
  }

  void find_paths(pid_t process, Call& call) const {
    const auto& a = call.args;
    constexpr auto kCwd = static_cast<uint64_t>(AT_FDCWD);
    switch (call.number) {
      case SYS_open:
      case SYS_creat:
      case SYS_unlink:
      case SYS_truncate:
      case SYS_chmod:
      case SYS_chown:
      case SYS_lchown:
      case SYS_mkdir:
      case SYS_rmdir:
      case SYS_mknod:
        call.path = path_at(process, kCwd, a[0]);
        break;
      case SYS_openat:
      case SYS_openat2:
      case SYS_unlinkat:
      case SYS_fchmodat:
      case SYS_fchownat:
      case SYS_mkdirat:
      case SYS_mknodat:
        call.path = path_at(process, a[0], a[1]);
        break;
      case SYS_rename:
      case SYS_link:
        call.path = path_at(process, kCwd, a[0]);
        call.to = path_at(process, kCwd, a[1]);
        break;
      case SYS_renameat:
      case SYS_renameat2:
      case SYS_linkat:
        call.path = path_at(process, a[0], a[1]);
        call.to = path_at(process, a[2], a[3]);
        break;
      case SYS_symlink:
        call.path = path_at(process, kCwd, a[1]);
        break;
      case SYS_symlinkat:
        call.path = path_at(process, a[1], a[2]);
        break;
      default:
        break;
    }
    struct stat status {};
    call.existed = !call.path.empty() && stat(call.path.c_str(), &status) == 0;
  }

  void enter(pid_t process, Call& call) {
    find_paths(process, call);
    if (call.number == SYS_sync) return suppress(process, call, 0);  // others' disks need no rest
    if (call.number == SYS_execve && text_at(process, call.args[0]).ends_with("/vsdk_cmd")) {
      promise();
    }
    if (call.number == SYS_prctl && static_cast<int>(call.args[0]) == kReturned) returned(call);
    if (kind(call) == Kind::Refused) check_refused(process, call);
    fail_maybe(process, call);
  }

  void returned(const Call& call) {
    returned_ = true;
    trace_.succeeded = call.args[1] != 0;
    if (trace_.succeeded) {
      promise();
      return;
    }
    // A signal is posted for what failed, too.
    std::erase_if(trace_.record.actions,
                  [](const Action& action) { return action.act == Act::Promise; });
  }

  void promise() {
    const auto& actions = trace_.record.actions;
    if (actions.empty() || actions.back().act != Act::Promise) add({.act = Act::Promise});
  }

  void check_refused(pid_t process, const Call& call) {
    const auto& a = call.args;
    bool ours = disk_.has(call.path);
    if (call.number == SYS_mmap) {
      ours = (a[2] & PROT_WRITE) != 0 && (a[3] & MAP_TYPE) != MAP_PRIVATE &&
             (a[3] & MAP_ANONYMOUS) == 0 && inode_of(process, a[4]) != nullptr;
    } else if (call.number == SYS_splice) {
      ours = inode_of(process, a[2]) != nullptr;
    } else if (call.number == SYS_io_uring_setup) {
      ours = true;
    } else if (call.number == SYS_ioctl) {
      return;  // what a file system can do by it, a tmpfs cannot
    }
    if (ours) refuse("call " + std::to_string(call.number) + " on " + call.path);
  }

  bool changes_ours(pid_t process, const Call& call) const {
    switch (kind(call)) {
      case Kind::Open:
        return disk_.has(call.path) && (open_flags(process, call) & (O_CREAT | O_TRUNC)) != 0;
      case Kind::Write:
        return inode_of(process, written_fd(call)) != nullptr;
      case Kind::Names:
        return disk_.has(call.path);
      case Kind::Truncate:
      case Kind::Meta:
      case Kind::Sync:
        return call.path.empty()
                   ? inode_of(process, call.args[0]) != nullptr ||
                         disk_.has_directory(link_of(descriptor(process, call.args[0])))
                   : disk_.has(call.path);
      default:
        return false;
    }
  }

  void fail(pid_t process, Call& call, int error) {
    trace_.met_failure = true;
    suppress(process, call, error);
  }

  void fail_maybe(pid_t process, Call& call) {
    const bool wanted = failures_.syncs > 0 || failures_.action > 0;
    if (!wanted || returned_ || !changes_ours(process, call)) return;
    ++actions_;
    if (actions_ == failures_.action) return fail(process, call, failures_.error);
    if (kind(call) != Kind::Sync || inode_of(process, call.args[0]) == nullptr) return;
    ++syncs_;
    if (syncs_ >= failures_.first_sync && syncs_ < failures_.first_sync + failures_.syncs) {
      fail(process, call, EIO);
    }
  }

  // Leaving a call that succeeded.

  void add(Action action) {
    if (!returned_ || action.act == Act::Promise) {
      trace_.record.actions.push_back(std::move(action));
    }
  }

  void leave(pid_t process, const Call& call, int64_t result) {
    switch (kind(call)) {
      case Kind::Open:
        return opened(process, call, static_cast<uint64_t>(result));
      case Kind::Write:
        if (result > 0) wrote(process, call, static_cast<uint64_t>(result));
        return;
      case Kind::Truncate:
        return truncated(process, call);
      case Kind::Names:
        return renamed(call);
      case Kind::Meta:
        return meta_set(call.path.empty() ? descriptor(process, call.args[0]) : call.path);
      case Kind::Sync:
        return synced(process, call);
      default:
        return;
    }
  }

  static uint64_t open_flags(pid_t process, const Call& call) {
    switch (call.number) {
      case SYS_open:
        return call.args[1];
      case SYS_creat:
        return O_CREAT | O_TRUNC | O_WRONLY;
      case SYS_openat:
        return call.args[2];
      default: {  // openat2: the flags come first
        uint64_t flags = 0;
        const iovec to{&flags, sizeof flags};
        const iovec from{reinterpret_cast<void*>(call.args[2]), sizeof flags};
        process_vm_readv(process, &to, 1, &from, 1, 0);
        return flags;
      }
    }
  }

  static Meta meta_at(const std::string& path, struct stat& status) {
    stat(path.c_str(), &status);
    return {status.st_mode & 07777, status.st_uid, status.st_gid};
  }

  void opened(pid_t process, const Call& call, uint64_t fd) {
    const std::string file = descriptor(process, fd);
    const std::string path = link_of(file);
    if (!disk_.has(path)) return;
    const uint64_t flags = open_flags(process, call);
    if ((flags & O_TMPFILE) == O_TMPFILE) return refuse("a file without a name");
    struct stat status {};
    const Meta meta = meta_at(file, status);
    if (!S_ISREG(status.st_mode)) return;
    if (!call.existed && (flags & O_CREAT) != 0) {
      ids_[{status.st_dev, status.st_ino}] = next_inode_;
      add({.act = Act::Create, .inode = next_inode_, .path = path, .meta = meta});
      ++next_inode_;
    } else if ((flags & O_TRUNC) != 0) {
      add({.act = Act::Truncate, .inode = *inode_at(file)});
    }
  }

  static uint64_t written_fd(const Call& call) {
    return call.number == SYS_copy_file_range ? call.args[2] : call.args[0];
  }

  static uint64_t offset_of(pid_t process, const Call& call, uint64_t count) {
    const auto& a = call.args;
    if (call.number == SYS_pwrite64 || call.number == SYS_pwritev) return a[3];
    if (call.number == SYS_pwritev2 && static_cast<int64_t>(a[3]) != -1) return a[3];
    if (call.number == SYS_copy_file_range && a[3] != 0) {
      uint64_t end = 0;
      const iovec to{&end, sizeof end};
      const iovec from{reinterpret_cast<void*>(a[3]), sizeof end};
      process_vm_readv(process, &to, 1, &from, 1, 0);
      return end - count;
    }
    return fd_info(process, written_fd(call), "pos:", 10) - count;
  }

  // What was written is read back: whichever call it was.
  void wrote(pid_t process, const Call& call, uint64_t count) {
    const uint64_t fd = written_fd(call);
    const Inode* inode = inode_of(process, fd);
    if (inode == nullptr || count > kMaxWrite) return;
    const uint64_t offset = offset_of(process, call, count);
    std::string bytes(count, '\0');
    const int file = open(descriptor(process, fd).c_str(), O_RDONLY | O_CLOEXEC);
    if (pread(file, bytes.data(), count, static_cast<off_t>(offset)) !=
        static_cast<ssize_t>(count)) {
      refuse("what was written cannot be read");
    }
    if (file != -1) close(file);
    add({.act = Act::Write,
         .inode = *inode,
         .offset = offset,
         .content = contents_.intern(std::move(bytes))});
    if ((fd_info(process, fd, "flags:", 8) & O_DSYNC) != 0) {
      add({.act = Act::SyncFile, .inode = *inode});
    }
  }

  void truncated(pid_t process, const Call& call) {
    const std::string file = call.path.empty() ? descriptor(process, call.args[0]) : call.path;
    const Inode* inode = inode_at(file);
    if (inode == nullptr) return;
    struct stat status {};
    stat(file.c_str(), &status);
    if (call.number == SYS_fallocate && (call.args[1] & ~uint64_t{1}) != 0) {
      return refuse("a fallocate() that does more than allocate");
    }
    add({.act = Act::Truncate, .inode = *inode, .offset = static_cast<size_t>(status.st_size)});
  }

  void renamed(const Call& call) {
    const bool from = disk_.has(call.path);
    const bool to = !call.to.empty() && disk_.has(call.to);
    if (!from && !to) return;
    switch (call.number) {
      case SYS_unlink:
        return add({.act = Act::Unlink, .path = call.path});
      case SYS_unlinkat:
        if (call.args[2] == AT_REMOVEDIR) return refuse("a directory is removed");
        return add({.act = Act::Unlink, .path = call.path});
      case SYS_link:
      case SYS_linkat: {
        const Inode* inode = inode_at(call.to);
        if (inode == nullptr) return refuse("a file that is not ours is linked");
        return add({.act = Act::Link, .inode = *inode, .path = call.to});
      }
      default:
        if (!from || !to || (call.number == SYS_renameat2 && call.args[4] > 1)) {
          return refuse("an odd rename of " + call.path);
        }
        if (directory_of(call.path) != directory_of(call.to)) {
          return refuse("a rename to another directory: " + call.path);
        }
        return add({.act = Act::Rename, .path = call.path, .to = call.to});
    }
  }

  void meta_set(const std::string& file) {
    const Inode* inode = inode_at(file);
    if (inode == nullptr) return;
    struct stat status {};
    add({.act = Act::SetMeta, .inode = *inode, .meta = meta_at(file, status)});
  }

  void synced(pid_t process, const Call& call) {
    if (call.number == SYS_syncfs) return add({.act = Act::SyncAll});
    const Inode* inode = inode_of(process, call.args[0]);
    if (inode != nullptr) return add({.act = Act::SyncFile, .inode = *inode});
    const std::string path = link_of(descriptor(process, call.args[0]));
    if (disk_.has_directory(path)) add({.act = Act::SyncDirectory, .path = path});
  }

  const Disk& disk_;
  Contents& contents_;
  const Failures failures_;
  Trace trace_;
  std::map<FileId, Inode> ids_;
  std::map<pid_t, Call> calls_;
  Inode next_inode_ = 0;
  int actions_ = 0;
  int syncs_ = 0;
  bool returned_ = false;
};

}  // namespace

bool can_trace() {
  const pid_t child = fork();
  if (child == 0) _exit(ptrace(PTRACE_TRACEME, 0, 0, 0) == 0 ? 0 : 1);
  int status = -1;
  waitpid(child, &status, 0);
  return status == 0;
}

Trace trace(const Disk& disk, Contents& contents, const std::function<void()>& start,
            const std::function<bool()>& operation, const Failures& failures) {
  Tracer tracer(disk, contents, failures);
  fflush(nullptr);
  const pid_t child = fork();
  if (child != 0) return tracer.run(child);
  start();
  is_traced = true;
  ptrace(PTRACE_TRACEME, 0, 0, 0);
  raise(SIGSTOP);
  const bool success = operation();
  prctl(kReturned, success ? 1 : 0, 0, 0, 0);
  _exit(0);
}

#else

bool can_trace() { return false; }

Trace trace(const Disk&, Contents&, const std::function<void()>&, const std::function<bool()>&,
            const Failures&) {
  return {.record = {}, .trouble = "calls cannot be traced here"};
}

#endif

}  // namespace capi::crash
