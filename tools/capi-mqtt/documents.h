// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The documents of the state topics, as they are at a moment.
#pragma once

#include <capi.h>
#include <table.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "generations.h"
#include "options.h"
#include "topics.h"

namespace tools::mqtt {

class Documents {
 public:
  explicit Documents(const Options& options);

  const std::vector<StateTopic>& topics() const { return topics_; }

  // The topics whose content is another one than at the last look, or cannot be had now, of those
  // that these of enum capi_topic may change; all at the first look. "Now" is in seconds since
  // 1970. Needs an Attachment.
  std::vector<size_t> look(unsigned causes, int64_t now);

  // The same for the change that waits, which no topic of the library tells of.
  std::vector<size_t> look_at_change(int64_t now);

  // The document as it is now, with the time of its content; empty while it cannot be had.
  std::string text(size_t topic, int64_t now);

  // The number of the settings as they are since they changed last, as far as was seen.
  uint64_t generation() const { return generation_; }

 private:
  struct State {
    uint64_t mark = 0;  // of the content
    int64_t at = 0;
  };

  Json content_of(const StateTopic& topic) const;
  bool note(size_t topic, const Json& content, int64_t now);
  bool is_new(size_t topic, int64_t now);
  void look_at_settings(const cfg_shared_record& before, int64_t now, std::vector<size_t>& changed);
  void add_section(const std::string& section, int64_t now, std::vector<size_t>& changed);

  const Options& options_;
  std::vector<StateTopic> topics_;
  std::vector<State> states_;
  std::unique_ptr<cfg_shared_record> record_ = std::make_unique<cfg_shared_record>();
  uint64_t record_generation_ = 0;
  Generations generations_;
  uint64_t generation_ = 0;
  bool is_first_ = true;
};

}  // namespace tools::mqtt
