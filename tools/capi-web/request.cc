// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "request.h"

#include <algorithm>

namespace tools::web {
namespace {

std::string_view value_of(const Fields& fields, std::string_view name) {
  const std::string* value = find(fields, name);
  return value == nullptr ? std::string_view() : *value;
}

}  // namespace

const std::string* find(const Fields& fields, std::string_view name) {
  const auto found = std::ranges::find(fields, name, [](const auto& field) { return field.first; });
  return found == fields.end() ? nullptr : &found->second;
}

std::string_view Request::part(std::string_view name) const { return value_of(parts, name); }
std::string_view Request::parameter(std::string_view name) const { return value_of(query, name); }
std::string_view Request::header(std::string_view name) const { return value_of(headers, name); }
std::string_view Request::field(std::string_view name) const { return value_of(form, name); }

}  // namespace tools::web
