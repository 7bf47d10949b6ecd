// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What a handler learns of a request: looked at and decoded, whoever has sent it.
#pragma once

#include <table.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tools::web {

struct Session;

enum class Method : uint8_t { Get, Head, Post, Delete, Other };

// Names and values in the order in which they came; a name may come again.
using Fields = std::vector<std::pair<std::string, std::string>>;

// The first value of this name, or null.
const std::string* find(const Fields& fields, std::string_view name);

struct Request {
  Method method = Method::Get;
  std::string path = {};             // decoded, from "/" on
  Fields parts = {};                 // what stands in the place of the route's {name}s
  Fields query = {};                 // decoded
  Fields headers = {};               // names in small letters
  Fields form = {};                  // decoded; of a form only
  Json json = {};                    // of a change; an object
  std::string address = {};          // the other side's, without its port
  const Session* session = nullptr;  // whose login or API token it comes with

  // The first value of this name; empty where there is none.
  std::string_view part(std::string_view name) const;
  std::string_view parameter(std::string_view name) const;
  std::string_view header(std::string_view name) const;
  std::string_view field(std::string_view name) const;

  // Whether the answer is for a program, and an error JSON.
  bool is_for_api() const { return path.starts_with("/api/"); }
};

}  // namespace tools::web
