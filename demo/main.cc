// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A walk through the library on a simulated adapter. Runs in a private view of the machine, see
// script/demo; with --shell a shell follows while the adapter is still running, with --web its page
// stays for a browser.

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "scenes.h"

namespace {

constexpr void (*kScenes[])(demo::Stage&) = {
    demo::play_typical_request, demo::play_device,  demo::play_line_status, demo::play_call_log,
    demo::play_short_messages,  demo::play_signals, demo::play_terminal,    demo::play_page,
};

void run_shell() {
  demo::title("The adapter is yours");
  demo::say("Its files are under /tmp and /quorbleconf, its record in \"ipcs -m\", its locks in");
  demo::say("\"ipcs -s\"; capictl shows and changes it all. Nothing here reaches your machine.");
  demo::say("\"exit\" ends the adapter.");
  fflush(stdout);
  const pid_t shell = fork();
  if (shell == 0) {
    setenv("PS1", "adapter:\\w# ", 1);
    setenv("PROMPT_COMMAND", "source <(capictl page bash); unset PROMPT_COMMAND", 1);
    execlp("bash", "bash", "--norc", static_cast<char*>(nullptr));
    _exit(127);
  }
  waitpid(shell, nullptr, 0);
}

}  // namespace

int main(int argc, char** argv) {
  if (getenv("CAPI_PRIVATE_VIEW") == nullptr) {
    fputs("The demo runs in a private view of the machine: script/demo\n", stderr);
    return 1;
  }
  // What processes print at the same time must not mix: it appears when they flush it.
  setvbuf(stdout, nullptr, _IOFBF, 1 << 16);
  demo::Stage stage;
  for (const auto scene : kScenes) scene(stage);
  if (argc > 1 && strcmp(argv[1], "--shell") == 0) run_shell();
  if (argc > 1 && strcmp(argv[1], "--web") == 0) demo::serve_page();
  printf("\n%s\n", stage.all_was_well() ? "All was as it should be." : "Something was WRONG.");
  return stage.all_was_well() ? 0 : 1;
}
