// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Tests replace system files and make IPC objects: never on the machine itself.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (getenv("CAPI_PRIVATE_VIEW") == nullptr && !testing::GTEST_FLAG(list_tests)) {
    fprintf(stderr, "Tests run in a private view of the machine: tests/support/private-view %s\n",
            argv[0]);
    return 1;
  }
  return RUN_ALL_TESTS();
}
