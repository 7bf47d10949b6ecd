// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Events, signals and parameters as JSON, and sockets.
#include <arpa/inet.h>

#include <cstring>

#include "capi.h"
#include "foundation/json.h"
#include "operation.h"
#include "support/adapter.h"

namespace capi::test {
namespace {

constexpr char kSchemaPath[] = "/tmp/trial.schema";
constexpr char kSchema[] =
    R"({"voice":{"volume":{"value":"","default_value":"5","is_changed":0,"type":"int"}}})";

// What the process works with from one step of a trial to the next.
cJSON* document = nullptr;
int sockets[2] = {-1, -1};

void forget_document() {
  vkrJson_Uninit(document);
  document = nullptr;
}

cJSON* volume() {
  return vkrJson_GetParamObject(vkrJson_GetSectionObject(document, "voice"), "volume");
}

void provide_schema() { write_file(kSchemaPath, kSchema); }

void load_schema() {
  provide_schema();
  document = vkrJson_Init(kSchemaPath);
}

int init_schema() {
  document = vkrJson_Init(kSchemaPath);
  return document != nullptr ? 0 : -1;
}

bool schema_loads() {
  forget_document();
  const bool loads = init_schema() == 0 && volume() != nullptr;
  forget_document();
  return loads;
}

int set_parameter() { return vkrJson_SetParamValue(volume(), "9"); }

// A parameter has its old value or the new one, and can be set.
bool parameter_can_be_set() {
  const char* value = vkrJson_GetParamCurrentValue(volume());
  const bool is_whole = value != nullptr && (strcmp(value, "5") == 0 || strcmp(value, "9") == 0);
  const bool is_set = set_parameter() != -1;
  forget_document();
  return is_whole && is_set;
}

int save_schema() { return vkrJson_SaveToFile(document, kSchemaPath); }

bool schema_can_be_saved() { return save_schema() == 0 && schema_loads(); }

int add_number() {
  vkrJson_AddNumberToObject(document, "number", 7);
  return vkrJson_GetSectionObject(document, "number") != nullptr ? 0 : 1;
}

int encode(const char* signal) {
  capi_signal_info info{};
  memset(&info, 'x', sizeof info);  // texts without an end: they are copied first
  document = ctrlv2_siginfo_to_json(signal, &info);
  return document != nullptr ? 0 : -1;
}

int encode_general() { return encode("no_such_signal"); }
int encode_call_state() { return encode("vop_sig_voip_call_state_change"); }

bool forgets_document() {
  forget_document();
  return true;
}

void parse_signal() {
  document = cJSON_Parse(R"({"msg":"signal","name":"any","attrs":{"param1":"one"}})");
}

int decode() {
  capi_signal_info info;
  char name[CAPI_SIGNAL_NAME_SIZE];
  return ctrlv2_json_to_siginfo(document, name, &info);
}

void open_sockets() {
  for (int& fd : sockets) fd = ipc_open(0, 0);
  sockaddr_in address{};
  ipc_connectionInit(&address, 0);
  bind(sockets[1], reinterpret_cast<sockaddr*>(&address), sizeof address);
  address.sin_port = static_cast<uint16_t>(ipc_getLocalPort(sockets[1]));
  ipc_connect_remote(sockets[0], address);
}

void provide_message() {
  open_sockets();
  ipc_send(sockets[0], "message", 7);
}

int open_and_close() {
  const int fd = ipc_open(0, 0);
  return fd >= 0 ? ipc_close(fd) : fd;
}

int send_message() { return ipc_send(sockets[0], "message", 7); }

int receive() {
  char message[7];
  return ipc_recv(sockets[1], message, sizeof message, 0);
}

int receive_from() {
  char message[7];
  sockaddr_in sender{};
  return ipc_recvfrom(sockets[1], message, sizeof message, 0, &sender);
}

bool closes_sockets() {
  for (int& fd : sockets) ipc_close(fd);
  return true;
}

Operation stateless(const char* name, const std::function<int()>& run) {
  return {.name = name, .run = run, .recover = [run] { return run() == 0; }};
}

int fire() { return capi_fire_internal_event("trial"); }
int fire2() { return capi_fire_internal_event2("trial", "1", nullptr, "3"); }

}  // namespace

Operations signal_operations() {
  return {
      stateless("fire an event", fire),
      stateless("fire an event with parameters", fire2),
      {.name = "load a schema",
       .prepare = provide_schema,
       .run = init_schema,
       .recover = schema_loads},
      {.name = "set a parameter",
       .prepare = load_schema,
       .run = set_parameter,
       .recover = parameter_can_be_set},
      {.name = "save a schema",
       .prepare = load_schema,
       .run = save_schema,
       .files = {kSchemaPath},
       .recover = schema_can_be_saved},
      {.name = "add a number",
       .prepare = load_schema,
       .run = add_number,
       .recover = forgets_document},
      {.name = "encode a general signal",
       .prepare = [] {},
       .run = encode_general,
       .recover = forgets_document},
      {.name = "encode a signal with lists",
       .prepare = [] {},
       .run = encode_call_state,
       .recover = forgets_document},
      {.name = "decode a signal",
       .prepare = parse_signal,
       .run = decode,
       .recover = forgets_document},
      {.name = "open a socket",
       .prepare = [] {},
       .run = open_and_close,
       .recover = [] { return open_and_close() == 0; }},
      {.name = "send", .prepare = open_sockets, .run = send_message, .recover = closes_sockets},
      {.name = "receive", .prepare = provide_message, .run = receive, .recover = closes_sockets},
      {.name = "receive from",
       .prepare = provide_message,
       .run = receive_from,
       .recover = closes_sockets},
  };
}

}  // namespace capi::test
