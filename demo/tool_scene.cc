// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The terminal: a person looks at the adapter and changes it with capictl.

#include <sys/wait.h>

#include <cstdio>

#include "scenes.h"

namespace demo {
namespace {

// Runs a command as if somebody had typed it, shows what it prints and returns that.
std::string type(const std::string& command, int exit_code = 0) {
  printf("    $ %s\n", command.c_str());
  fflush(stdout);
  std::string output;
  FILE* out = popen((command + " 2>&1").c_str(), "r");
  if (out == nullptr) abort();
  for (char line[512]; fgets(line, sizeof line, out) != nullptr;) {
    printf("    %s", line);
    output += line;
  }
  const int status = pclose(out);
  const bool ended_well = WIFEXITED(status) && WEXITSTATUS(status) == exit_code;
  if (!ended_well) expect(false, "it ended with status %d", status);
  return output;
}

void look() {
  const std::string status = type("capictl status");
  expect(status.find("device\tmodel\tQZX-200\n") != std::string::npos &&
             status.find("locks\t0\tCAPI_LOCK_CONF_SHM\tfree\t") != std::string::npos,
         "it is all there: device, SIM, lines, stores and locks");
  type("capictl carrier");
  type("capictl calls list");
  type("capictl sms list sent");
  expect(type("capictl calls check && capictl sms check sent").empty(), "the stores are sound");
}

void change() {
  type("capictl config set sip_line_2.display_name 'Fax, ground floor'");
  expect(type("capictl config get sip_line_2.display_name") == "Fax, ground floor\n",
         "everybody sees it");
  type("capictl config describe sip_line_2.display_name");
  expect(type("capictl stack-file voip --diff", 1) ==
             "-\tLINE2_SUBSCRIBER\tdisplayname=Fax\n"
             "+\tLINE2_SUBSCRIBER\tdisplayname=Fax, ground floor\n",
         "the voice stack does not, yet");
  type("capictl stack-file voip && capictl signal vop_sig_cfg_changed_info");
  expect(show_posted_signals() == "signal simple vop_sig_cfg_changed_info\n", "now it is told");
  type("capictl config set sms.enable on", 4);
}

}  // namespace

void play_terminal(Stage& stage) {
  title("A person looks at the adapter and changes it");
  stage.run_process("terminal", look);
  stage.run_process("terminal", change);
}

}  // namespace demo
