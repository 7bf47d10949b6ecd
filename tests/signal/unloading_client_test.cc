// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A client that loads libcapi.so when it needs it, as a plug-in does, and thinks that it can unload
// it.
#include <cjson/cJSON.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>

#include "capi/signal.h"

namespace {

std::string print(const cJSON* json) {
  char* text = cJSON_PrintUnformatted(json);
  const std::string result = text != nullptr ? text : "(nothing)";
  cJSON_free(text);
  return result;
}

TEST(UnloadingClient, ASignalOutlivesDlclose) {
  ASSERT_EQ(dlopen(CAPI_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr) << "it is there anyway";
  void* library = dlopen(CAPI_LIBRARY, RTLD_NOW);
  ASSERT_NE(library, nullptr) << dlerror();
  const auto to_json =
      reinterpret_cast<decltype(&ctrlv2_siginfo_to_json)>(dlsym(library, "ctrlv2_siginfo_to_json"));
  const capi_signal_info info{};
  cJSON* signal = to_json("vop_sig_voip_call_sms_info", &info);
  const std::string text = print(signal);
  EXPECT_EQ(text.substr(0, 49), R"({"msg":"signal","name":"vop_sig_voip_call_sms_inf)");
  EXPECT_EQ(dlclose(library), 0);
  EXPECT_EQ(print(signal), text);
  cJSON_Delete(signal);
}

}  // namespace
