// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <cstring>
#include <memory>

#include "capi.h"
#include "device.h"
#include "scene.h"
#include "support/files.h"

namespace capi::crash {
namespace {

constexpr unsigned kOldMessages = 5;
constexpr size_t kCountOffset = 4;
constexpr size_t kIdentityOffset = 8;
constexpr size_t kIdentitySize = 8;
constexpr uint64_t kThird = 3;

std::string path_of(int selector) {
  return std::string(kNvDir) + (selector == CAPI_SMS_RECEIVED ? "/sm_recv" : "/sm_send");
}

bool add(int selector, unsigned number) {
  static capi_sms_record message;
  memset(&message, 0, sizeof message);
  message.BeginTime = number;
  snprintf(message.RemoteNumber, sizeof message.RemoteNumber, "+4930%u", number);
  message.TextLen = message.TextSize = 100 + number % 50;
  memset(message.Text, static_cast<int>('a' + number % 26), message.TextSize);
  return capi_voip_sms_add(selector, &message) == 0;
}

void make_some(int selector) {
  capi_voip_sms_init();
  for (unsigned number = 0; number < kOldMessages; ++number) add(selector, number);
}

void make_full(int selector) {
  capi_voip_sms_init();
  for (unsigned number = 0; number < CAPI_SMS_MAX_MESSAGES; ++number) add(selector, number);
}

std::string unsound_bytes() { return std::string(500, 'x'); }

void make_unsound(int selector) {
  make_some(selector);
  test::write_file(path_of(selector), unsound_bytes());
}

// A file that is made anew has an identity that nobody can foresee.
std::string read_file_of(int selector) {
  if (!test::exists(path_of(selector))) return kAbsent;  // reading would make it
  void* image = nullptr;
  if (capi_voip_sms_load(selector, &image) != 0) return kUnreadable;
  capi_voip_sms_unload(&image);
  std::string bytes = test::read_file(path_of(selector));
  uint32_t count = 0;
  memcpy(&count, bytes.data() + kCountOffset, sizeof count);
  bytes.replace(kIdentityOffset, kIdentitySize, kIdentitySize, '\0');
  return summary(std::to_string(count) + " messages", bytes);
}

// A file that is unsound is not lost as long as its bytes are in one of two files.
std::string find_unsound(int selector) {
  const std::string path = path_of(selector);
  for (const std::string& name : {path, path + ".err"}) {
    if (test::exists(name) && test::read_file(name) == unsound_bytes()) return "kept";
  }
  return kAbsent;
}

bool update(int selector) {
  static capi_sms_record message;
  message.id = kThird;
  message.status = 5;
  message.bRead = 1;
  message.LastTime = 77;
  return capi_voip_sms_update(selector, &message) == 0;
}

bool init() { return capi_voip_sms_init() == 0; }

using SetUp = void (*)(int selector);
using Operation = bool (*)(int selector);

Scene scene(int selector, const char* name, SetUp set_up, Operation operate) {
  const char* const file = selector == CAPI_SMS_RECEIVED ? "received" : "sent";
  return {.group = "messages",
          .name = std::string("messages ") + file + ": " + name,
          .directories = {kNvDir},
          .promise = Promise::Durable,
          .set_up = [=] { set_up(selector); },
          .operate = [=] { return operate(selector); },
          .next = [=] { return add(selector, 99); },
          .read = [=] { return Parts{read_file_of(selector)}; },
          .by_products = {".err"}};
}

void add_scenes(std::vector<Scene>& scenes, int selector) {
  const auto add_scene = [&](const char* name, SetUp set_up, Operation operate) -> Scene& {
    return scenes.emplace_back(scene(selector, name, set_up, operate));
  };
  add_scene("add", make_some, [](int i) { return add(i, 50); });
  add_scene("add, the file is full", make_full, [](int i) { return add(i, 50); });
  add_scene("update", make_some, update);
  add_scene("delete", make_some, [](int i) { return capi_voip_sms_del_by_id(i, kThird) == 0; });
  add_scene("clean", make_some, [](int i) { return capi_voip_sms_clean(i) == 0; });
  Scene& unsound = add_scene("init, the file is unsound", make_unsound, [](int) { return init(); });
  unsound.read = [=] {
    std::string content = read_file_of(selector);
    return Parts{content, find_unsound(selector)};
  };
  unsound.mode_rule = ModeRule::MayChange;
}

}  // namespace

std::vector<Scene> message_scenes() {
  std::vector<Scene> scenes;
  Scene create = scene(
      CAPI_SMS_RECEIVED, "", [](int) {}, [](int) { return init(); });
  create.name = "messages: create both files";
  create.next = [] {
    const bool received = add(CAPI_SMS_RECEIVED, 99);
    return add(CAPI_SMS_SENT, 99) && received;
  };
  create.read = [] {
    std::string received = read_file_of(CAPI_SMS_RECEIVED);
    return Parts{received, read_file_of(CAPI_SMS_SENT)};
  };
  scenes.push_back(std::move(create));
  for (const int selector : {CAPI_SMS_RECEIVED, CAPI_SMS_SENT}) add_scenes(scenes, selector);
  return scenes;
}

}  // namespace capi::crash
