// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "record_changes.h"

#include <cstring>
#include <iterator>

#include "keys.h"
#include "value.h"

namespace tools::capictl {
namespace {

using Record = cfg_shared_record;

// What stands between two offsets of the record.
struct Range {
  unsigned topic;
  size_t begin;
  size_t end;
};
constexpr Range kRanges[] = {
    {CAPI_TOPIC_DEVICE, 0, offsetof(Record, voice_switch)},
    {CAPI_TOPIC_CONFIG, offsetof(Record, voice_switch), offsetof(Record, cs_reg_stat)},
    {CAPI_TOPIC_LINES, offsetof(Record, cs_reg_stat), offsetof(Record, ims_voice)},
    {CAPI_TOPIC_DEVICE, offsetof(Record, ims_voice), sizeof(Record)},
};

// Texts of the device that have no key, and blocks whose content is its maker's.
struct Member {
  const char* name;
  size_t offset;
  size_t size;
  bool is_text;
};
constexpr Member kMembers[] = {
    {"runtime_info.if_name_cs", offsetof(Record, stack_if_name[3]), 32, true},
    {"runtime_info.if_name_qvc", offsetof(Record, stack_if_name[4]), 32, true},
    {"lte_net_info.act", offsetof(Record, lte_net_info.act), 8, true},
    {"lte_net_info.mcc", offsetof(Record, lte_net_info.mcc), 8, true},
    {"lte_net_info.mnc", offsetof(Record, lte_net_info.mnc), 8, true},
    {"lte_net_info.tac", offsetof(Record, lte_net_info.tac), 8, true},
    {"lte_net_info.enbid", offsetof(Record, lte_net_info.enbid), 8, true},
    {"lte_net_info.cellid", offsetof(Record, lte_net_info.cellid), 8, true},
    {"lte_net_info.band", offsetof(Record, lte_net_info.band), 8, true},
    {"ims_voice", offsetof(Record, ims_voice), CAPI_IMS_VOICE_BYTES, false},
    {"vendor", offsetof(Record, vendor), CAPI_VENDOR_BYTES, false},
};

const char* bytes_at(const Record& record, size_t offset) {
  return reinterpret_cast<const char*>(&record) + offset;
}

unsigned topic_at(size_t offset) {
  for (const Range& range : kRanges) {
    if (offset < range.end) return range.topic;
  }
  return 0;
}

// What is left to tell: the record before, with all that has been told.
class Rest {
 public:
  Rest(const Record& before, const Record& now)
      : told_(std::make_unique<Record>(before)), now_(now) {}

  void tell(size_t offset, size_t size) {
    memcpy(reinterpret_cast<char*>(told_.get()) + offset, bytes_at(now_, offset), size);
  }

  const Record& told() const { return *told_; }

  // The topics in which something is left.
  unsigned topics() const {
    unsigned topics = 0;
    for (const Range& range : kRanges) {
      const size_t size = range.end - range.begin;
      if (memcmp(bytes_at(*told_, range.begin), bytes_at(now_, range.begin), size) != 0) {
        topics |= range.topic;
      }
    }
    return topics;
  }

 private:
  std::unique_ptr<Record> told_;
  const Record& now_;
};

ChangeLine value_line(unsigned topic, const std::string& key, const std::string& before,
                      const std::string& after) {
  ChangeLine line(topic, "value");
  line.text("key", key).text("old", before).text("new", after).values(key, before, after);
  return line;
}

ChangeLine key_line(unsigned topic, const Difference& difference, const Context& context) {
  const Key& key = *difference.key;
  if (key.row.kind == CAPI_CONFIG_TEXT) {
    return value_line(topic, key.label(), shown_value(key, difference.before, context.secrets()),
                      shown_value(key, difference.after, context.secrets()));
  }
  ChangeLine line(topic, "value");
  line.text("key", key.label())
      .number("old", atoi(difference.before.c_str()))
      .number("new", atoi(difference.after.c_str()))
      .values(key.label(), difference.before, difference.after);
  return line;
}

ChangeLine member_line(const Record& before, const Record& now, const Member& member) {
  const unsigned topic = topic_at(member.offset);
  if (!member.is_text) {
    ChangeLine line(topic, "changed");
    line.text("what", member.name).words(std::string(member.name) + " changed");
    return line;
  }
  const char* old_text = bytes_at(before, member.offset);
  const char* new_text = bytes_at(now, member.offset);
  return value_line(topic, member.name, std::string(old_text, strnlen(old_text, member.size)),
                    std::string(new_text, strnlen(new_text, member.size)));
}

bool differs(const Record& before, const Record& now, const Member& member) {
  const char* a = bytes_at(before, member.offset);
  const char* b = bytes_at(now, member.offset);
  return member.is_text ? strncmp(a, b, member.size) != 0 : memcmp(a, b, member.size) != 0;
}

void add_keys(ChangeLines& lines, const Record& before, const Record& now, unsigned topics,
              const Context& context, Rest& rest) {
  for (const Difference& difference : differences(before, now)) {
    const unsigned topic = topic_at(difference.key->offset());
    if ((topics & topic) != 0) lines.push_back(key_line(topic, difference, context));
  }
  for (const Key& key : all_keys()) {
    const bool is_text = key.row.kind == CAPI_CONFIG_TEXT;
    rest.tell(key.offset(), is_text ? static_cast<size_t>(key.row.capacity) : sizeof(int32_t));
  }
}

// Those that have no key; one may get one.
void add_members(ChangeLines& lines, const Record& now, unsigned topics, Rest& rest) {
  for (const Member& member : kMembers) {
    const bool is_wanted = (topics & topic_at(member.offset)) != 0;
    if (is_wanted && differs(rest.told(), now, member)) {
      lines.push_back(member_line(rest.told(), now, member));
    }
    rest.tell(member.offset, member.size);
  }
}

void add_rest(ChangeLines& lines, unsigned topics, const Rest& rest) {
  for (const unsigned topic : {CAPI_TOPIC_CONFIG, CAPI_TOPIC_DEVICE}) {
    if ((rest.topics() & topics & topic) == 0) continue;
    lines.push_back(std::move(ChangeLine(topic, "changed").words("changed")));
  }
}

}  // namespace

ChangeLines record_changes(const Record& before, const Record& now, unsigned topics,
                           const Context& context) {
  ChangeLines lines;
  Rest rest(before, now);
  add_keys(lines, before, now, topics, context, rest);
  add_members(lines, now, topics, rest);
  add_rest(lines, topics, rest);
  if ((topics & CAPI_TOPIC_LINES) == 0) return lines;
  for (ChangeLine& line : line_changes(before, now)) lines.push_back(std::move(line));
  return lines;
}

}  // namespace tools::capictl
