// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Thousands of random operations, after each of which the whole file is compared with a model that
// keeps the lists as lists and knows nothing of links.

#include <algorithm>
#include <deque>
#include <random>

#include "call_log/file.h"
#include "call_log/store.h"
#include "call_log_test.h"

namespace capi::test {
namespace {

class Model {
 public:
  explicit Model(uint16_t next_sequence) : next_sequence_(next_sequence) {
    for (auto& content : content_) content.calltype = 0xFFFFFFFF;
    for (unsigned node = 0; node < 300; ++node) free_.push_back(node);
  }

  // Whether a read of the file will succeed.
  bool is_valid() const { return free_.empty() || free_.front() != self_linked_; }

  bool add(unsigned type, const capi_call_log_record& record) {
    if (!is_valid()) return false;
    if (of_type_[type].size() >= 100) release(type, of_type_[type].front(), true);
    const unsigned node = free_.front();
    free_.pop_front();
    self_linked_ = kNone;
    of_type_[type].push_back(node);
    all_.push_back(node);
    content_[node] = record;
    content_[node].calltype = type;
    if (next_sequence_ == 65535) next_sequence_ = 0;
    content_[node].sequence = next_sequence_++;
    return true;
  }

  bool remove(unsigned type, unsigned node) {
    if (!is_valid()) return false;
    release(type, node, false);
    return true;
  }

  bool clean(unsigned type) {
    if (!is_valid() || of_type_[type].empty()) return false;
    while (!of_type_[type].empty()) release(type, of_type_[type].front(), true);
    return true;
  }

  void init() {
    if (!is_valid()) *this = Model(0);
  }

  const std::deque<unsigned>& entries(unsigned type) const { return of_type_[type]; }

  std::string bytes() const {
    const Image image = std::make_unique<capi_call_log_image>();
    capi_call_log_header& header = image->header;
    for (unsigned node = 0; node < 300; ++node) {
      image->node[node] = content_[node];
      image->node[node].index = static_cast<uint16_t>(node);
      image->node[node].all_prev = image->node[node].all_next = kNone;
    }
    chain(*image, free_, header.free, &capi_call_log_record::prev, &capi_call_log_record::next);
    chain(*image, all_, header.used, &capi_call_log_record::all_prev,
          &capi_call_log_record::all_next);
    for (unsigned type = 0; type < 3; ++type) {
      chain(*image, of_type_[type], header.entry[type].list, &capi_call_log_record::prev,
            &capi_call_log_record::next);
    }
    if (self_linked_ != kNone) image->node[self_linked_].prev = self_linked_;
    header.max_entry_num_per_type = 100;
    header.max_num_of_record_type = 3;
    header.log_ver = 51728;
    header.next_sequence = next_sequence_;
    return bytes_of(*image);
  }

 private:
  static constexpr uint16_t kNone = 0xFFFF;

  void release(unsigned type, unsigned node, bool links_itself) {
    const auto drop = [&](std::deque<unsigned>& list) {
      list.erase(std::find(list.begin(), list.end(), node));
    };
    drop(of_type_[type]);
    drop(all_);
    if (free_.empty() && links_itself) self_linked_ = static_cast<uint16_t>(node);
    free_.push_back(node);
    capi_call_log_record cleared{};
    cleared.calltype = 0xFFFFFFFF;
    cleared.sequence = content_[node].sequence;
    cleared.statistics = content_[node].statistics;
    content_[node] = cleared;
  }

  template <typename Link>
  static void chain(capi_call_log_image& image, const std::deque<unsigned>& nodes,
                    capi_call_log_list& list, Link prev, Link next) {
    list = {static_cast<uint16_t>(nodes.size()), kNone, kNone};
    uint16_t last = kNone;
    for (const unsigned node : nodes) {
      const auto index = static_cast<uint16_t>(node);
      image.node[node].*prev = last;
      image.node[node].*next = kNone;
      if (last != kNone) image.node[last].*next = index;
      if (last == kNone) list.head = index;
      list.tail = last = index;
    }
  }

  std::deque<unsigned> free_;
  std::deque<unsigned> all_;
  std::deque<unsigned> of_type_[3];
  capi_call_log_record content_[300] = {};
  uint16_t next_sequence_;
  uint16_t self_linked_ = kNone;
};

class CallLogModel : public CallLog {
 protected:
  // Applies one random operation to the store and to the model.
  void step(unsigned number) {
    const unsigned type = below(3);
    const unsigned kind = below(100);
    const CriticalSection section(kCallLogLock);
    if (kind < 80) {
      const auto record = call(number);
      EXPECT_EQ(add_call_log(kLogPath, type, &record) == 0, model_.add(type, record));
    } else if (kind < 95) {
      remove_random(type);
    } else if (kind < 97) {
      EXPECT_EQ(clean_call_log_by_type(kLogPath, type) == 0, model_.clean(type));
    } else {
      EXPECT_EQ(init_call_log_file(kLogPath), 0);
      model_.init();
    }
  }

  void remove_random(unsigned type) CAPI_REQUIRES(kCallLogLock) {
    const auto& entries = model_.entries(type);
    if (entries.empty()) return;
    const unsigned node = entries[below(static_cast<unsigned>(entries.size()))];
    EXPECT_EQ(delete_call_log_by_node(kLogPath, type, node) == 0, model_.remove(type, node));
  }

  unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }

  static constexpr uint16_t kFirstSequence = 65300;  // so that it starts anew on the way

  Model model_{kFirstSequence};
  std::mt19937 random_{20260423};
};

TEST_F(CallLogModel, TheFileIsWhatTheModelSaysAfterEveryOperation) {
  const Image image = empty_image();
  image->header.next_sequence = kFirstSequence;
  write_image(*image);
  for (unsigned number = 0; number < 4000 && !HasFailure(); ++number) {
    step(number);
    ASSERT_EQ(read_file(kLogPath) == model_.bytes(), true) << "after operation " << number;
  }
}

}  // namespace
}  // namespace capi::test
