// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The rows of a voice-stack file as they are written: the text that is always the same in pieces
// that are as long as can be, and the values between them. Worked out at compile time, so that the
// library holds no rows.
#pragma once

#include <array>
#include <iterator>
#include <string_view>

#include "stack/stack_rows.h"

namespace capi::stack_plan {

using stack_rows::Line;
using stack_rows::Repeat;
using stack_rows::Source;
using stack_rows::When;

// A piece of text and the value behind it.
struct Step {
  uint16_t text;  // where the piece begins in kText
  uint16_t length;
  Source source;  // Constant where no value follows, Section for the number of the section
  When when;      // of both
  FieldKind kind;
  bool ends_line;  // behind the value
  uint16_t offset;
  uint16_t capacity;
  uint16_t stride;
};

// The steps of sections that are repeated together.
struct Group {
  Repeat repeat;
  uint8_t first;
  uint8_t end;
};

class Builder {
 public:
  static constexpr size_t kMaxText = 8192;
  static constexpr size_t kMaxSteps = 255;
  static constexpr size_t kMaxGroups = 32;

  consteval Builder() {
    for (const Line& line : stack_rows::kLines) add(line);
    end_section();
    end_group();
  }

  std::array<char, kMaxText> text{};
  std::array<Step, kMaxSteps> steps{};
  std::array<Group, kMaxGroups> groups{};
  size_t text_size = 0;
  size_t step_count = 0;
  size_t group_count = 0;

 private:
  consteval void put(std::string_view piece) {
    for (const char c : piece) text[text_size++] = c;
  }

  // Ends the piece of text that has grown since the last step with a value.
  consteval Step& step(Source source, const Field& field = {}) {
    Step& step = steps[step_count++];
    step.text = static_cast<uint16_t>(begin_);
    step.length = static_cast<uint16_t>(text_size - begin_);
    step.source = source;
    step.kind = field.kind;
    step.offset = field.offset;
    step.capacity = field.capacity;
    step.stride = field.stride;
    begin_ = text_size;
    return step;
  }

  // Ends it without one, so that what follows may be left out.
  consteval void cut() {
    if (text_size > begin_) step(Source::Constant);
  }

  consteval void end_section() {
    if (text_size > 0) put("\n");
  }

  consteval void end_group() {
    cut();
    if (step_count == first_) return;
    groups[group_count++] = {repeat_, static_cast<uint8_t>(first_),
                             static_cast<uint8_t>(step_count)};
    first_ = step_count;
  }

  // Sections that stand once each are one group.
  consteval void begin_section(std::string_view name, Repeat repeat) {
    end_section();
    if (repeat != repeat_ || repeat != Repeat::Once) end_group();
    repeat_ = repeat;
    constexpr std::string_view kPlace = "%d";
    const size_t place = name.find(kPlace);
    put("[");
    put(name.substr(0, place));
    if (place != std::string_view::npos) {
      step(Source::Section);
      put(name.substr(place + kPlace.size()));
    }
    put("]\n");
  }

  consteval void add_block_list(const field_rows::NamedField& list) {
    for (size_t i = 0; i < CAPI_CALL_BLOCKS; ++i) {
      put(list.key);
      const char number[] = {static_cast<char>('0' + i), '='};
      put({number, sizeof number});
      Step& entry = step(Source::Field, list.field);
      entry.offset = static_cast<uint16_t>(entry.offset + i * entry.stride);
      entry.stride = 0;
      put("\n");
    }
  }

  consteval void add(const Line& line) {
    const auto& [key, field] = line.named;
    const bool may_be_left_out = line.when != When::Always || line.source == Source::PcscfAddress;
    if (line.source == Source::Section) return begin_section(key, line.repeat);
    if (line.source == Source::BlockList) return add_block_list(line.named);
    if (may_be_left_out) cut();
    put(key);
    put("=");
    if (line.source == Source::Constant) {
      put(line.constant);
    } else if (line.source == Source::DialPlan) {
      put("(");
      step(Source::Field, CAPI_FIELD_AS("", voice_basic.dial_plan).field);
      put(")");
    } else {
      Step& value = step(line.source, field);
      value.when = line.when;
      value.ends_line = may_be_left_out;
      if (may_be_left_out) return;
    }
    put("\n");
  }

  size_t begin_ = 0;
  size_t first_ = 0;
  Repeat repeat_ = Repeat::Once;
};

inline constexpr Builder kBuilt;

template <size_t Size, typename T, size_t Room>
consteval std::array<T, Size> first_of(const std::array<T, Room>& all) {
  std::array<T, Size> result{};
  for (size_t i = 0; i < Size; ++i) result[i] = all[i];
  return result;
}

inline constexpr auto kText = first_of<kBuilt.text_size>(kBuilt.text);
inline constexpr auto kSteps = first_of<kBuilt.step_count>(kBuilt.steps);
inline constexpr auto kGroups = first_of<kBuilt.group_count>(kBuilt.groups);

consteval size_t measure_longest_text() {
  size_t longest = 0;
  for (const Step& step : kSteps) longest = step.length > longest ? step.length : longest;
  return longest;
}

inline constexpr size_t kLongestText = measure_longest_text();

static_assert(CAPI_CALL_BLOCKS <= 10, "their numbers are digits");

}  // namespace capi::stack_plan
