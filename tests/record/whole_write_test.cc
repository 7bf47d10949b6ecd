// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "record/whole_write.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/syscall.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "support/kernel.h"
#include "support/process.h"

namespace {
bool kernel_refuses = false;
}  // namespace

// In place of the C library's.
extern "C" ssize_t process_vm_readv(pid_t pid, const iovec* local, unsigned long locals,
                                    const iovec* remote, unsigned long remotes,
                                    unsigned long flags) noexcept {
  if (!kernel_refuses) {
    return syscall(SYS_process_vm_readv, pid, local, locals, remote, remotes, flags);
  }
  errno = ENOSYS;
  return -1;
}

namespace capi::test {
namespace {

constexpr size_t kPage = 4096;

class WholeWriteTest : public testing::TestWithParam<bool> {
 protected:
  WholeWriteTest() { kernel_refuses = GetParam(); }
  ~WholeWriteTest() override { kernel_refuses = false; }
};

TEST_P(WholeWriteTest, CopiesJustTheseBytesFromWhereverTheyStand) {
  std::vector<char> from(3 * kPage);
  for (size_t i = 0; i < from.size(); ++i) from[i] = static_cast<char>(i % 251 + 1);
  for (const size_t size : {size_t{0}, size_t{1}, size_t{4}, size_t{916}, kMaxWholeWrite}) {
    for (size_t start = 0; start < 2 * kPage; start += 509) {
      std::vector<char> to(3 * kPage);
      write_whole(to.data() + 7, from.data() + start, size);
      EXPECT_EQ(memcmp(to.data() + 7, from.data() + start, size), 0) << size << " at " << start;
      EXPECT_EQ(std::count(to.begin(), to.end(), '\0'), static_cast<ptrdiff_t>(to.size() - size));
    }
  }
}

TEST_P(WholeWriteTest, CopiesARecord) {
  struct Record {
    int number;
    char text[20];
  };
  const Record from{7, "seven"};
  Record to{};
  write_whole(to, from);
  EXPECT_EQ(to.number, 7);
  EXPECT_STREQ(to.text, "seven");
}

INSTANTIATE_TEST_SUITE_P(Kernel, WholeWriteTest, testing::Bool(),
                         [](const auto& suite) { return suite.param ? "Refuses" : "Copies"; });

TEST(WholeWriteKillTest, AKilledWriterLeavesAllOldOrAllNew) {
  if (!kernel_copies_memory()) return;  // what such a kernel cannot do nobody promises
  constexpr size_t kSize = 3132;
  constexpr int kKills = 300;
  void* memory =
      mmap(nullptr, 2 * kPage, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(memory, MAP_FAILED);
  char* record = static_cast<char*>(memory) + 3000;  // in both pages
  for (int i = 0; i < kKills; ++i) {
    Baton under_way;
    Process writer([&] {
      const std::vector<char> first(kSize, 'a');
      const std::vector<char> second(kSize, 'b');
      write_whole(record, first.data(), kSize);
      under_way.pass();
      for (;;) {
        write_whole(record, second.data(), kSize);
        write_whole(record, first.data(), kSize);
      }
    });
    under_way.await();
    writer.kill();
    ASSERT_EQ(std::count(record, record + kSize, record[0]), static_cast<ptrdiff_t>(kSize))
        << "after kill " << i;
  }
  munmap(memory, 2 * kPage);
}

}  // namespace
}  // namespace capi::test
