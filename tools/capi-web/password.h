// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The password and the tokens of programs, of which only hashes are kept.
#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <string_view>

#include "session.h"

namespace tools::web {

inline constexpr size_t kMinPassword = 8;
inline constexpr size_t kMaxPassword = 256;  // far below what would be cut

// The hash of a password, with a salt of its own. Throws.
std::string hash_of_password(const std::string& password);

// Looks at the whole password, in the time that it takes.
bool is_password(const std::string& password, const std::string& hash);

// The hash in a file. Throws, and says what to do, where there is none that would do.
std::string read_password_file(const std::string& path);

// Throws.
void write_password_file(const std::string& path, const std::string& hash);

// Tokens by which programs are let in without a login. Each is for one program, and known by its
// id.
class ApiTokens {
 public:
  static constexpr size_t kMax = 32;

  struct Token {
    std::string id;
    std::string hash;
    std::string name;  // what it is for, by whoever has made it
    int64_t made_at = 0;
    Session session = {};  // what its requests come with
  };

  // Without a path they last as long as the process.
  explicit ApiTokens(std::string path = {});

  // Makes one, which is told once. Throws.
  std::string make(const std::string& name, int64_t now_s);

  // False for one that there is not. Throws where it cannot be forgotten for good; it stays then.
  bool revoke(std::string_view id);

  const Session* find(std::string_view token) const;

  // Whether there is one whose session has this name.
  bool has(std::string_view session) const;

  const std::list<Token>& all() const { return tokens_; }

 private:
  void add(std::string id, std::string hash, std::string name, int64_t made_at);
  void save() const;

  std::string path_;
  std::list<Token> tokens_;
};

}  // namespace tools::web
