// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The typical request: a web front end changes a SIP line, the voice application sees it, and a
// page of many values shows it.

#include <capi.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <memory>

#include "scenes.h"

namespace demo {
namespace {

constexpr char kStackFile[] = "/tmp/vosip.conf.voip";
constexpr char kChangeSignal[] = "vop_sig_cfg_changed_info";
constexpr unsigned kVoip = 1;

void start_adapter() {
  say("The segment is made, cleared and filled from the info files.");
  show("hardware", config_value("hw_info", "option_hw_info_model"));
  show("firmware", config_value("runtime_info", "option_runtime_info_fw_version"));
  show("IMSI", config_value("sim_info", "option_sim_info_IMSI"));
  for (const char* settings :
       {"/quorbleconf/config/network.settings", "/quorbleconf/config/voice.settings"}) {
    expect(capi_init_settings_from_file(settings) == 0, "loaded %s", settings);
  }
  expect(config_value("sip_line_1", "option_sip_line_display_name").empty(),
         "nobody sees the settings before they are published");
  expect(capi_config_finish() == 0, "published them");
  expect(config_value("sip_line_1", "option_sip_line_display_name") == "Frontdesk",
         "now everybody does");
  expect(capi_post_init(1) == 0 && access("/tmp/work", X_OK) == 0, "made the directories");
}

void change_line() {
  capi_voice_sip_line line{};
  expect(capi_get_voice_sip_line(&line, 1) == 0, "read SIP line 1 whole: %zu bytes", sizeof line);
  show("display name", line.display_name);
  show("user name", line.user_name);

  snprintf(line.display_name, sizeof line.display_name, "Reception, ground floor");
  line.clir_enable = 1;
  expect(capi_set_voice_sip_line(&line, 1) == 0, "changed its name and hid its number");
  expect(capi_config_set("basic_sip", "option_basic_sip_session_timer_expires", 0, "900") == 0,
         "changed one value by name: session timer 900 s");
  expect(capi_make_config_file(kVoip) == 0, "wrote %s", kStackFile);
  expect(capi_fire_internal_event(kChangeSignal) == 0, "told the others");
}

void see_change() {
  capi_voice_sip_line line{};
  expect(capi_get_voice_sip_line(&line, 1) == 0, "read SIP line 1");
  show("display name", line.display_name);
  show("CLIR", line.clir_enable != 0 ? "on" : "off");
  expect(std::string(line.display_name) == "Reception, ground floor" && line.clir_enable == 1,
         "it is what the front end wrote");
  expect(config_value("basic_sip", "option_basic_sip_session_timer_expires") == "900",
         "so is the session timer");

  const std::string file = file_content(kStackFile);
  show_file(kStackFile, {"NETWORK", "LINE1_SUBSCRIBER", "CODEC0", "REGISTRAR_0", "STACK"});
  expect(file.find("displayname=Reception, ground floor\n") != std::string::npos &&
             file.find("session_timer=900\n") != std::string::npos,
         "the voice stack's file says the same");
  expect(show_posted_signals() == std::string("signal simple ") + kChangeSignal + "\n",
         "one signal was posted");
}

constexpr char kTimer[] = "option_basic_sip_session_timer_expires";

std::string value_on(const cfg_shared_record& page, const char* section, const char* key) {
  std::array<char, 256> text{};
  capi_snapshot_get(&page, section, key, text.data(), static_cast<int>(text.size()));
  return text.data();
}

// A page of many values: of one snapshot, so that they belong together.
void show_page() {
  const auto page = std::make_unique<cfg_shared_record>();
  expect(capi_snapshot_take(page.get()) == 0, "copied all %zu bytes of the record under one lock",
         sizeof *page);
  const auto value = [&page](const char* section, const char* key) {
    return value_on(*page, section, key);
  };
  show("line 1", value("sip_line_1", "option_sip_line_display_name"));
  show("line 2", value("sip_line_2", "option_sip_line_display_name"));
  show("registrar", value("sip_server_1", "option_sip_server_registrar"));
  show("first codec", value("voice_parameter", "option_voice_parameter_name_1"));
  show("session timer", value("basic_sip", kTimer));
  expect(capi_config_set("basic_sip", kTimer, 0, "600") == 0,
         "somebody changes the timer to 600 s");
  expect(value("basic_sip", kTimer) == "900", "the page keeps to what it was made from");
  expect(capi_config_set("basic_sip", kTimer, 0, "900") == 0, "the timer is put back");
}

// A page that stays open tells that it is.
struct OpenPage {
  int told = -1;
  int tell = -1;
  OpenPage() {
    std::array<int, 2> ends{-1, -1};
    if (pipe(ends.data()) == 0) {
      told = ends[0];
      tell = ends[1];
    }
  }
  ~OpenPage() {
    close(told);
    close(tell);
  }
  OpenPage(const OpenPage&) = delete;
  OpenPage& operator=(const OpenPage&) = delete;
};

// The same page, which follows what others change, without asking again and again.
void follow_changes(const OpenPage& open) {
  const auto page = std::make_unique<cfg_shared_record>();
  uint64_t generation = 0;
  capi_watch watch{};
  expect(capi_watch_open(&watch, CAPI_TOPIC_CONFIG) == 0, "watches the configuration");
  expect(capi_live_refresh(page.get(), &generation) == 1, "made the page, without a lock");
  expect(capi_live_refresh(page.get(), &generation) == 0,
         "while nothing changes nothing is copied");
  show("session timer", value_on(*page, "basic_sip", kTimer));
  expect(write(open.tell, "", 1) == 1, "now it sleeps");
  pollfd wake_up{watch.fd, POLLIN, 0};
  expect(poll(&wake_up, 1, -1) == 1 && capi_watch_changed(&watch) == CAPI_TOPIC_CONFIG,
         "it is woken up by a change");
  expect(capi_live_refresh(page.get(), &generation) == 1, "brought the page up to date");
  show("session timer", value_on(*page, "basic_sip", kTimer));
  expect(value_on(*page, "basic_sip", kTimer) == "1200", "it is what the front end wrote");
  expect(capi_config_set("basic_sip", kTimer, 0, "900") == 0, "the timer is put back");
  capi_watch_close(&watch);
}

void change_timer(const OpenPage& open) {
  char byte = 0;
  expect(read(open.told, &byte, 1) == 1, "a page is open");
  expect(capi_config_set("basic_sip", kTimer, 0, "1200") == 0, "changed the timer to 1200 s");
}

}  // namespace

void play_typical_request(Stage& stage) {
  title("An adapter starts, and a SIP line is changed");
  stage.start_master(start_adapter);
  stage.run_process("web front end", change_line);
  stage.run_process("voice application", see_change);
  stage.run_process("management front end", show_page);
  const OpenPage open;
  stage.run_together(
      "management front end", [&open] { follow_changes(open); }, "web front end",
      [&open] { change_timer(open); });
}

}  // namespace demo
