// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "support/process.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

#ifdef CAPI_COVERAGE
extern "C" void __gcov_dump();
#endif

namespace capi::test {
namespace {

// Ends without what the parent has registered for its own end.
[[noreturn]] void leave(int status) {
  fflush(nullptr);
#ifdef CAPI_COVERAGE
  __gcov_dump();
#endif
  _exit(status);
}

}  // namespace

Process::Process(const std::function<void()>& body) {
  fflush(nullptr);
  pid_ = fork();
  if (pid_ != 0) return;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  body();
  leave(testing::Test::HasFailure() ? 1 : 0);
}

Process::~Process() {
  if (pid_ > 0) kill();
}

void Process::kill() {
  ::kill(pid_, SIGKILL);
  wait();
}

bool Process::succeeded() { return wait() == 0; }

int Process::wait() {
  int status = -1;
  if (pid_ > 0) waitpid(pid_, &status, 0);
  pid_ = -1;
  return status;
}

void in_other_process(const std::function<void()>& body) {
  EXPECT_TRUE(Process(body).succeeded()) << "the other process failed";
}

Baton::Baton() {
  if (pipe(fds_) != 0) ADD_FAILURE() << "no pipe";
}

Baton::~Baton() {
  close(fds_[0]);
  close(fds_[1]);
}

void Baton::pass() { EXPECT_EQ(write(fds_[1], "", 1), 1); }

void Baton::await() {
  char byte = 0;
  EXPECT_EQ(read(fds_[0], &byte, 1), 1);
}

}  // namespace capi::test
