// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The file with which people try out a SIM that the device does not know.

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "capi/carrier.h"
#include "foundation/file.h"
#include "foundation/log.h"
#include "foundation/text.h"

namespace capi {
namespace {

constexpr char kPath[] = "/quorbleconf/config/test_sim_info";
constexpr char kBlanks[] = " \t\n\v\f\r";

struct TestSim {
  std::string_view mcc;
  std::string_view mnc;
  unsigned long id;
};

// Takes the next word off the text.
std::string_view next_word(std::string_view& text) {
  text = tail(text, text.find_first_not_of(kBlanks));
  const std::string_view word = head(text, text.find_first_of(kBlanks));
  text = tail(text, word.size());
  return word;
}

// False when the line, which is terminated, does not hold two words and a number.
bool parse(std::string_view line, TestSim& sim) {
  sim.mcc = next_word(line);
  sim.mnc = next_word(line);
  char* end = nullptr;
  sim.id = strtoul(line.data(), &end, 10);
  return end != line.data();
}

bool is_valid(const TestSim& sim) {
  return sim.mcc.size() == 3 && (sim.mnc.size() == 2 || sim.mnc.size() == 3) && sim.id >= 1 &&
         sim.id <= 38;
}

}  // namespace
}  // namespace capi

int capi_get_test_sim_info(char* mcc, char* mnc, uint32_t* id) {
  using namespace capi;
  if (mcc == nullptr || mnc == nullptr || id == nullptr) return -1;
  const File file = open_file(kPath, "r");
  if (!file) return -1;
  char line[512] = {};
  if (fgets(line, sizeof line, file.get()) == nullptr) line[0] = '\0';
  TestSim sim{};
  if (!parse(line, sim)) {
    CAPI_LOG(kLogErr, "invalid sim info format: %s\n", line);
    return -1;
  }
  if (!is_valid(sim)) {
    CAPI_LOG(kLogErr, "invalid sim info value: %s\n", line);
    return -1;
  }
  copy_text(mcc, sizeof "999", sim.mcc);
  copy_text(mnc, sizeof "999", sim.mnc);
  *id = static_cast<uint32_t>(sim.id);
  return 0;
}
