// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// How much stack the exported functions need: the portable layer's threads have 20480 bytes.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <regex>
#include <string>
#include <thread>

#include "capi/thread.h"
#include "every_operation.h"
#include "support/adapter.h"

namespace capi::test {
namespace {

constexpr size_t kDefaultStack = 20480;
constexpr size_t kSpare = 4096;

// What a thread does here, and how that went. Who ends the thread has answered well.
struct Task {
  bool (*run)();
  bool answered = true;
};

void* perform(void* arg) {
  Task& task = *static_cast<Task*>(arg);
  task.answered = task.run();
  return nullptr;
}

// A stack that shows how deep a thread went, what the C library keeps of it for itself included.
// It is large, so that a function that goes too deep is told of by its name.
class PaintedStack {
 public:
  PaintedStack()
      : memory_(static_cast<unsigned char*>(
            mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {}
  ~PaintedStack() { munmap(memory_, kSize); }
  PaintedStack(const PaintedStack&) = delete;
  PaintedStack& operator=(const PaintedStack&) = delete;

  // Runs a task on it. Returns the depth in bytes.
  size_t run(Task& task) {
    memset(memory_, kPaint, kSize);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstack(&attributes, memory_, kSize);
    pthread_t thread{};
    EXPECT_EQ(pthread_create(&thread, &attributes, perform, &task), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    const auto* deepest =
        std::find_if(memory_, memory_ + kSize, [](unsigned char byte) { return byte != kPaint; });
    return static_cast<size_t>(memory_ + kSize - deepest);
  }

 private:
  static constexpr size_t kSize = 64 * 1024;
  static constexpr unsigned char kPaint = 0xA5;

  unsigned char* memory_;
};

// The places that the default output goes to: nobody looks at what arrives there.
class DefaultOutput {
 public:
  DefaultOutput() : stderr_(dup(STDERR_FILENO)) {
    const int null = open("/dev/null", O_WRONLY);
    dup2(null, STDERR_FILENO);
    close(null);
    EXPECT_EQ(mount("tmpfs", "/dev", "tmpfs", 0, nullptr), 0) << strerror(errno);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    strcpy(address.sun_path, "/dev/log");
    EXPECT_EQ(bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    closelog();
    reader_ = std::thread([this] {
      char message[4096];
      while (recv(socket_, message, sizeof message, 0) > 0) continue;
    });
  }
  ~DefaultOutput() {
    shutdown(socket_, SHUT_RDWR);
    reader_.join();
    closelog();
    close(socket_);
    umount2("/dev", MNT_DETACH);
    dup2(stderr_, STDERR_FILENO);
    close(stderr_);
  }
  DefaultOutput(const DefaultOutput&) = delete;
  DefaultOutput& operator=(const DefaultOutput&) = delete;

 private:
  int stderr_;
  int socket_ = socket(AF_UNIX, SOCK_DGRAM, 0);
  std::thread reader_;
};

void ignore_message(int, const char*) {}

constexpr capi_log_sink kSinks[] = {ignore_message, nullptr};

class StackDepthTest : public Adapter {
 protected:
  // A device as it is before the first of the operations.
  void start_again(capi_log_sink sink) {
    Adapter::TearDown();
    Adapter::SetUp();
    prepare_operations(sink);
  }

  // The segment, the locks and the files.
  static void take_everything_away() {
    capi_uninit();
    for (const char* path : {"/tmp/m_data", "/tmp/info.simcard", "/tmp/all_keys.settings"}) {
      unlink(path);
    }
  }

  // Runs all operations, and tells after each whether it answered as it should.
  static void measure(std::map<std::string, std::vector<size_t>>& depths,
                      const std::function<void(const Operation&, bool)>& then) {
    PaintedStack stack;
    for (const Operation& operation : every_operation()) {
      Task task{operation.run};
      depths[operation.name].push_back(stack.run(task));
      then(operation, task.answered);
    }
  }
};

TEST_F(StackDepthTest, EveryExportedFunctionIsLookedAt) {
  std::vector<std::string> exported;
  const std::regex symbol("^ +([a-z]\\w*);");
  for (const std::string& line : read_lines(CAPI_SOURCE_DIR "/src/capi.map")) {
    std::smatch match;
    if (std::regex_search(line, match, symbol)) exported.push_back(match[1]);
  }
  std::vector<std::string> looked_at;
  for (const Operation& operation : every_operation()) looked_at.emplace_back(operation.name);
  EXPECT_THAT(looked_at, testing::UnorderedElementsAreArray(exported));
}

TEST_F(StackDepthTest, LeavesFourKilobytesOfAThreadsDefaultStack) {
  const DefaultOutput output;
  std::map<std::string, std::vector<size_t>> depths;
  for (const capi_log_sink sink : kSinks) {
    start_again(sink);
    measure(depths, [](const Operation& operation, bool answered) {
      EXPECT_TRUE(answered) << operation.name;
    });
  }
  // What goes wrong is logged, and in the middle of things.
  measure(depths, [](const Operation&, bool) { take_everything_away(); });

  printf("%-50s %9s %9s %9s\n", "bytes of stack", "sink", "no sink", "nothing");
  for (const auto& [name, depth] : depths) {
    printf("%-50s %9zu %9zu %9zu\n", name.c_str(), depth[0], depth[1], depth[2]);
    EXPECT_LE(*std::max_element(depth.begin(), depth.end()), kDefaultStack - kSpare) << name;
  }
}

// What the painted stack promises is what the portable layer gives.
TEST_F(StackDepthTest, EveryFunctionWorksOnAThreadOfTheDefaultStack) {
  const DefaultOutput output;
  for (const capi_log_sink sink : kSinks) {
    start_again(sink);
    for (const Operation& operation : every_operation()) {
      Task task{operation.run};
      thrd_t thread{};
      const thrd_start_t body = [](void* arg) { return perform(arg) == nullptr ? 0 : 1; };
      ASSERT_EQ(thrd_create(&thread, 0, body, &task), thrd_success);
      thrd_join(thread, nullptr);
      EXPECT_TRUE(task.answered) << operation.name;
    }
  }
}

size_t usable_stack = 0;

int measure_usable_stack(void*) {
  pthread_attr_t attributes;
  if (pthread_getattr_np(pthread_self(), &attributes) != 0) return 0;
  void* low = nullptr;
  pthread_attr_getstack(&attributes, &low, &usable_stack);
  pthread_attr_destroy(&attributes);
  return 0;
}

TEST_F(StackDepthTest, TheGuardPageIsNoPartOfAThreadsDefaultStack) {
  thrd_t thread{};
  ASSERT_EQ(thrd_create(&thread, 0, measure_usable_stack, nullptr), thrd_success);
  thrd_join(thread, nullptr);
  EXPECT_GE(usable_stack, kDefaultStack);
}

}  // namespace
}  // namespace capi::test
