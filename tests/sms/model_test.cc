// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The store against a model of it: after every one of many random operations the whole file is what
// the model says.

#include <algorithm>
#include <random>

#include "sms/path.h"
#include "sms/store.h"
#include "sms_files.h"

namespace capi::test {
namespace {

// What a file of short messages should hold.
class Model {
 public:
  explicit Model(uint64_t identity) { head_.identity = identity; }

  void add(Message message) {
    message.id = ++head_.last_id;
    if (message.imsi != head_.imsi0) {
      if (!head_.imsi0.empty()) head_.imsi1 = head_.imsi0;
      head_.imsi0 = message.imsi;
    }
    messages_.push_back(message);
    while (messages_.size() > 200 || file().size() > 81920) {
      messages_.erase(messages_.begin());
      ++evicted_;
    }
  }

  bool update(const Message& change) {
    const auto it = find(change.id);
    if (it == messages_.end()) return false;
    it->status = change.status;
    it->is_read = change.is_read;
    it->last_time = change.last_time;
    return true;
  }

  bool remove(uint64_t id) {
    const auto it = find(id);
    if (it == messages_.end()) return false;
    messages_.erase(it);
    return true;
  }

  const Message* get(uint64_t id) {
    const auto it = find(id);
    return it != messages_.end() ? &*it : nullptr;
  }

  uint32_t count_after(uint64_t id) const {
    return static_cast<uint32_t>(std::count_if(messages_.begin(), messages_.end(),
                                               [&](const Message& m) { return m.id > id; }));
  }

  std::string file() const { return sms_file(messages_, head_); }
  uint64_t last_id() const { return head_.last_id; }
  int evicted() const { return evicted_; }

 private:
  std::vector<Message>::iterator find(uint64_t id) {
    return std::find_if(messages_.begin(), messages_.end(),
                        [&](const Message& m) { return m.id == id; });
  }

  Header head_;
  std::vector<Message> messages_;
  int evicted_ = 0;
};

struct Load {
  size_t longest_text;
  int steps;
};

std::ostream& operator<<(std::ostream& out, const Load& load) {
  return out << "texts up to " << load.longest_text << " bytes";
}

class SmsModelTest : public SmsTest, public testing::WithParamInterface<Load> {
 protected:
  uint32_t random(uint64_t limit) { return static_cast<uint32_t>(random_() % limit); }

  Message any_message() {
    return {
        .text = std::string(random(GetParam().longest_text + 1), static_cast<char>(random(256))),
        .status = static_cast<uint8_t>(random(256)),
        .is_read = static_cast<uint8_t>(random(2)),
        .begin_time = static_cast<uint32_t>(random_()),
        .last_time = static_cast<uint32_t>(random_()),
        .imsi = "imsi" + std::to_string(random(3)),
        .text_len = static_cast<uint32_t>(random_())};
  }

  // An id that is mostly there.
  uint64_t any_id(const Model& model) { return model.last_id() + 2 - random(210); }

  std::mt19937 random_{20260401};
};

// The operations without the signals: thousands of those take long.
TEST_P(SmsModelTest, TheFileIsAlwaysWhatTheModelSays) {
  EXPECT_EQ(capi_voip_sms_init(), 0);
  const SmsAccess access;
  const char* path = access.path(0);
  Model model(identity_in(read_file(path)));
  for (int step = 0; step < GetParam().steps; ++step) {
    const uint32_t dice = random(10);
    const Message message = any_message();
    const uint64_t id = any_id(model);
    capi_sms_record record = to_record(message);
    if (dice < 6) {
      uint64_t new_id = 0;
      EXPECT_EQ(add_sms(path, record, new_id), 0);
      model.add(message);
      EXPECT_EQ(new_id, model.last_id());
    } else if (dice == 6) {
      record.id = id;
      EXPECT_EQ(update_sms(path, record) == 0, model.update(from_record(record)));
    } else if (dice == 7) {
      EXPECT_EQ(delete_sms(path, id) == 0, model.remove(id));
    } else if (dice == 8) {
      const Message* expected = model.get(id);
      EXPECT_EQ(get_sms(path, id, record) == 0, expected != nullptr);
      if (expected != nullptr) {
        EXPECT_EQ(from_record(record), *expected);
      }
    } else {
      const capi_sms_counter previous{.file_identity = identity_in(model.file()),
                                      .first_new_id = 0,
                                      .last_new_id = id,
                                      .count = 0};
      capi_sms_counter state{};
      EXPECT_EQ(count_new_sms(path, 0, previous, state), 0);
      EXPECT_EQ(state.count, model.count_after(id));
    }
    ASSERT_EQ(read_file(path), model.file()) << "step " << step;
  }
  EXPECT_GT(model.evicted(), 10);
}

// Short texts fill the file with messages, long ones with bytes.
INSTANTIATE_TEST_SUITE_P(Texts, SmsModelTest,
                         testing::Values(Load{.longest_text = 200, .steps = 700},
                                         Load{.longest_text = 3000, .steps = 300},
                                         Load{.longest_text = 39102, .steps = 200}),
                         [](const auto& load) {
                           return "UpTo" + std::to_string(load.param.longest_text) + "Bytes";
                         });

}  // namespace
}  // namespace capi::test
