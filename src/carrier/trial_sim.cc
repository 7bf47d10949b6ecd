// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "carrier/trial_sim.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "capi/carrier.h"
#include "carrier/carrier_rows.h"
#include "foundation/file.h"
#include "foundation/log.h"
#include "foundation/text.h"

namespace capi {
namespace {

constexpr char kPath[] = "/quorbleconf/config/test_sim_info";
constexpr char kBlanks[] = " \t\n\v\f\r";

// The fields of the line.
struct Fields {
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
bool parse(std::string_view line, Fields& sim) {
  sim.mcc = next_word(line);
  sim.mnc = next_word(line);
  char* end = nullptr;
  sim.id = strtoul(line.data(), &end, 10);
  return end != line.data();
}

bool is_valid(const Fields& sim) {
  return sim.mcc.size() == 3 && (sim.mnc.size() == 2 || sim.mnc.size() == 3) && sim.id >= 1 &&
         sim.id <= carrier_rows::kMaxId;
}

}  // namespace

bool TrialSim::has_network_of(std::string_view imsi) const {
  return carrier_rows::begins_with_plmn(imsi, mcc, mnc);
}

bool read_trial_sim(TrialSim& sim) {
  static constexpr char kFunc[] = "capi_get_test_sim_info";
  const File file = open_file(kPath, "r");
  if (!file) return false;
  char line[512] = {};
  if (fgets(line, sizeof line, file.get()) == nullptr) line[0] = '\0';
  Fields fields{};
  if (!parse(line, fields)) {
    CAPI_LOG_AS(kFunc, kLogErr, "invalid sim info format: %s\n", line);
    return false;
  }
  if (!is_valid(fields)) {
    CAPI_LOG_AS(kFunc, kLogErr, "invalid sim info value: %s\n", line);
    return false;
  }
  copy_text(sim.mcc, fields.mcc);
  copy_text(sim.mnc, fields.mnc);
  sim.id = static_cast<uint32_t>(fields.id);
  return true;
}

}  // namespace capi

using namespace capi;

int capi_get_test_sim_info(char* mcc, char* mnc, uint32_t* id) {
  if (mcc == nullptr || mnc == nullptr || id == nullptr) return -1;
  TrialSim sim;
  if (!read_trial_sim(sim)) return -1;
  memcpy(mcc, sim.mcc, sizeof sim.mcc);
  memcpy(mnc, sim.mnc, sizeof sim.mnc);
  *id = sim.id;
  return 0;
}
