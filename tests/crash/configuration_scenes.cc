// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <iterator>

#include "capi.h"
#include "device.h"
#include "scene.h"

namespace capi::crash {
namespace {

std::string file_of(const char* directory, const char* name) {
  return std::string(directory) + "/" + name;
}

// Values that are in the voice-stack files and in the SIM's.
void configure(int number) {
  const std::string text = std::to_string(number);
  const auto set = [](const char* section, const char* key, const std::string& value) {
    capi_config_set(section, key, 0, value.c_str());
  };
  set("sim_info", "option_sim_info_ICCID", "8949" + text);
  set("sim_info", "option_sim_info_IMSI", "26201" + text);
  set("sim_info", "option_sim_info_IMPU", "sip:" + text + "@ims.example");
  set("voice_nat", "option_voice_nat_stun_server_address", "stun" + text + ".example");
}

Parts contents_of(const std::vector<std::string>& files) {
  Parts parts;
  std::transform(files.begin(), files.end(), std::back_inserter(parts), content_of);
  return parts;
}

// "write" writes "files" from what the number says.
Scene scene(const char* group, const std::string& name, const std::vector<std::string>& directories,
            const std::vector<std::string>& files, const std::function<bool(int)>& write) {
  return {.group = group,
          .name = name,
          .directories = directories,
          .promise = Promise::Consistent,
          .set_up = [=] { write(1); },
          .operate = [=] { return write(2); },
          .next = [=] { return write(3); },
          .read = [=] { return contents_of(files); }};
}

Scene stack_scene(unsigned type) {
  constexpr const char* kSuffixes[] = {".volte", ".voip", ".vowifi", ".cs", ".qvc", ".sos", ""};
  const std::string path = std::string("/tmp/vosip.conf") + kSuffixes[type];
  std::vector<std::string> directories = {"/tmp"};
  std::vector<std::string> files = {path};
  if (type == 0 || type == 2 || type == 5) {
    directories.emplace_back(kDataDir);
    files.push_back(file_of(kDataDir, "info.simcard"));
  }
  return scene("stack", "voice stack: " + path.substr(sizeof "/tmp/" - 1), directories, files,
               [=](int number) {
                 configure(number);
                 return capi_make_config_file(type) == 0;
               });
}

Scene sim_scene() {
  return scene("sim", "SIM: info.simcard", {kDataDir}, {file_of(kDataDir, "info.simcard")},
               [](int number) {
                 configure(number);
                 return capi_cfg_update_simcard_file() == 0;
               });
}

Scene voice_block_scene() {
  const std::string path = file_of(kNvDir, "info.ims_voice");
  Scene result = scene("voice-block", "voice block: info.ims_voice", {kNvDir}, {path}, [](int i) {
    char block[CAPI_IMS_VOICE_BYTES];
    memset(block, 'a' + i, sizeof block);
    return capi_set_quorble_info(CAPI_QUORBLE_IMS_VOICE, block, sizeof block) == 0;
  });
  result.promise = Promise::Durable;
  result.read = [=]() -> Parts {
    const bool is_there = access(path.c_str(), F_OK) == 0;
    char block[CAPI_IMS_VOICE_BYTES];
    if (capi_get_quorble_info(CAPI_QUORBLE_IMS_VOICE, block, sizeof block) != 0) {
      return {is_there ? kUnreadable : kAbsent};
    }
    return {summary("block", {block, sizeof block})};
  };
  return result;
}

bool publish(int number) {
  capi_shared_reg_summary summary{};
  summary.line = 1;
  summary.vm = number;
  snprintf(summary.regstatus, sizeof summary.regstatus, "registered %d", number);
  return capi_set_shared_data(CAPI_SHARED_REG_SUMMARY_1, &summary) == 0;
}

Scene status_scene() {
  std::vector<std::string> files;
  for (const char* name :
       {"shared_line_reg_status", "shared_call_state_info", "shared_phone_status"}) {
    files.push_back(file_of(kDataDir, name));
  }
  return scene("status", "status files", {kDataDir}, files, publish);
}

bool save_document(const std::string& path, int number) {
  // The text is JSON as the library prints it, so that documents differ in one value only.
  const std::string seed = path + ".seed";
  const std::string text =
      "{\"sip\": {\"port\": {\"value\": \"" + std::to_string(5060 + number) +
      "\", \"default_value\": \"5060\", \"is_changed\": 1, \"type\": \"uint\"}}}";
  utils_write_to_file(seed.c_str(), text.data(), static_cast<int>(text.size()));
  cJSON* const document = vkrJson_Init(seed.c_str());
  unlink(seed.c_str());
  const bool saved = vkrJson_SaveToFile(document, path.c_str()) == 0;
  vkrJson_Uninit(document);
  return saved;
}

Scene schema_scene() {
  const std::string path = "/tmp/schema/parameters.json";
  Scene result = scene("schema", "schema document", {"/tmp/schema"}, {path},
                       [=](int number) { return save_document(path.c_str(), number); });
  result.read = [=]() -> Parts {
    cJSON* const document = vkrJson_Init(path.c_str());
    if (document == nullptr) return {access(path.c_str(), F_OK) == 0 ? kUnreadable : kAbsent};
    vkrJson_Uninit(document);
    return {content_of(path)};
  };
  return result;
}

constexpr char kWriterDir[] = "/tmp/writers";
constexpr int kLines = 40;

int put_line(int index, char* buf, void* ctx) {
  if (index > kLines) return 0;
  return snprintf(buf, 2048, "key%d=%d\n", index, *static_cast<int*>(ctx));
}

Scene line_writer_scene() {
  const std::string path = file_of(kWriterDir, "lines.conf");
  return scene("writers", "config_file_writer()", {kWriterDir}, {path}, [=](int number) {
    return config_file_writer(path.c_str(), put_line, &number) == 1;
  });
}

Scene byte_writer_scene() {
  const std::string path = file_of(kWriterDir, "bytes");
  return scene("writers", "utils_write_to_file()", {kWriterDir}, {path}, [=](int number) {
    const std::string bytes(5000, static_cast<char>('a' + number));
    return utils_write_to_file(path.c_str(), bytes.data(), static_cast<int>(bytes.size())) == 1;
  });
}

}  // namespace

std::vector<Scene> configuration_scenes() {
  std::vector<Scene> scenes;
  for (unsigned type = 0; type < 7; ++type) scenes.push_back(stack_scene(type));
  scenes.push_back(sim_scene());
  scenes.push_back(voice_block_scene());
  scenes.push_back(status_scene());
  scenes.push_back(schema_scene());
  scenes.push_back(line_writer_scene());
  scenes.push_back(byte_writer_scene());
  return scenes;
}

}  // namespace capi::crash
