// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// How much stack the exported functions need: the portable layer's threads have 20480 bytes.
#include "support/stack_depth.h"

#include <gmock/gmock.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>
#include <regex>
#include <string>

#include "capi/thread.h"
#include "every_operation.h"
#include "support/adapter.h"

namespace capi::test {
namespace {

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
  for (const std::string& line : read_lines(source_file("src/capi.map"))) {
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
