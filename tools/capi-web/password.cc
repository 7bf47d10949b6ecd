// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "password.h"

#include <adapter.h>
#include <crypt.h>
#include <files.h>
#include <sys/stat.h>
#include <text.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "decode.h"

namespace tools::web {
namespace {

// 8 MiB for 20 ms on a PC, and a tenth as fast on the device: everybody else waits meanwhile.
constexpr char kPasswordHash[] = "$y$";
constexpr unsigned long kPasswordCost = 4;

// A token is a random number, which nobody finds by trying, however quick that is.
constexpr char kTokenHash[] = "$5$";
constexpr unsigned long kTokenCost = 1000;

constexpr char kPrefix[] = "capi_";

std::string hash_of(const std::string& text, const char* prefix, unsigned long cost) {
  char setting[CRYPT_GENSALT_OUTPUT_SIZE];
  const auto data = std::make_unique<crypt_data>();
  if (crypt_gensalt_rn(prefix, cost, nullptr, 0, setting, sizeof setting) == nullptr) {
    throw std::runtime_error(std::string("there is no such hash: ") + strerror(errno));
  }
  const char* const hash = crypt_r(text.c_str(), setting, data.get());
  if (hash == nullptr || hash[0] == '*') throw std::runtime_error("the hash cannot be made");
  return hash;
}

bool has_hash(const std::string& text, const std::string& hash) {
  if (text.find('\0') != std::string::npos) return false;
  const auto data = std::make_unique<crypt_data>();
  const char* const made = crypt_r(text.c_str(), hash.c_str(), data.get());
  return made != nullptr && made[0] != '*' && is_same_secret(made, hash);
}

// Where nothing was kept before the directory is missing; whether it can be written shows then.
void write_file(const std::string& path, const std::string& content, mode_t directory_mode) {
  mkdir(path.substr(0, path.rfind('/')).c_str(), directory_mode);
  const int error = files::replace(path, content, 0600);
  if (error != 0) throw std::runtime_error(path + " cannot be written: " + strerror(error));
}

std::string remedy(const std::string& path) {
  return "; set one: capi-web password --password-file " + path;
}

}  // namespace

std::string hash_of_password(const std::string& password) {
  return hash_of(password, kPasswordHash, kPasswordCost);
}

bool is_password(const std::string& password, const std::string& hash) {
  return password.size() <= kMaxPassword && has_hash(password, hash);
}

std::string read_password_file(const std::string& path) {
  std::string hash;
  if (!read_file(path, hash)) {
    const int error = errno;
    if (error == ENOENT) throw std::runtime_error("there is no password" + remedy(path));
    throw std::runtime_error(path + " cannot be read: " + strerror(error));
  }
  hash.resize(std::min(hash.find('\n'), hash.size()));
  if (!hash.starts_with('$') || crypt_checksalt(hash.c_str()) != CRYPT_SALT_OK) {
    throw std::runtime_error(path + " has no hash of a password" + remedy(path));
  }
  return hash;
}

void write_password_file(const std::string& path, const std::string& hash) {
  write_file(path, hash + "\n", 0755);
}

// A line for each: id, hash, time and, with its blanks, the name.
ApiTokens::ApiTokens(std::string path) : path_(std::move(path)) {
  std::string text;
  read_file(path_, text);
  for (const std::string& line : split(text, '\n')) {
    const std::vector<std::string> words = split(line, ' ');
    if (words.size() < 4) continue;
    const size_t name = words[0].size() + words[1].size() + words[2].size() + 3;
    add(words[0], words[1], line.substr(name), strtoll(words[2].c_str(), nullptr, 10));
  }
}

void ApiTokens::add(std::string id, std::string hash, std::string name, int64_t made_at) {
  Session session{.name = "token-" + id, .begun_at = made_at};
  tokens_.push_back({std::move(id), std::move(hash), std::move(name), made_at, std::move(session)});
}

std::string ApiTokens::make(const std::string& name, int64_t now_s) {
  if (tokens_.size() >= kMax) throw std::runtime_error("there are too many tokens; revoke one");
  const std::string id = new_secret(8);
  const std::string secret = new_secret(32);
  add(id, hash_of(secret, kTokenHash, kTokenCost), name, now_s);
  try {
    save();
  } catch (...) {
    tokens_.pop_back();
    throw;
  }
  return kPrefix + id + "_" + secret;
}

bool ApiTokens::revoke(std::string_view id) {
  const auto token = std::ranges::find(tokens_, id, &Token::id);
  if (token == tokens_.end()) return false;
  const auto next = std::next(token);
  std::list<Token> revoked;
  revoked.splice(revoked.end(), tokens_, token);
  try {
    save();
  } catch (...) {
    tokens_.splice(next, revoked);
    throw;
  }
  return true;
}

const Session* ApiTokens::find(std::string_view token) const {
  if (!token.starts_with(kPrefix)) return nullptr;
  token.remove_prefix(strlen(kPrefix));
  const std::string_view id = token.substr(0, token.find('_'));
  const auto known = std::ranges::find(tokens_, id, &Token::id);
  if (known == tokens_.end() || token.size() <= id.size()) return nullptr;
  const std::string secret(token.substr(id.size() + 1));
  return has_hash(secret, known->hash) ? &known->session : nullptr;
}

bool ApiTokens::has(std::string_view session) const {
  return std::ranges::any_of(tokens_,
                             [&](const Token& token) { return token.session.name == session; });
}

void ApiTokens::save() const {
  if (path_.empty()) return;
  std::string text;
  for (const Token& token : tokens_) {
    text += token.id + " " + token.hash + " " + std::to_string(token.made_at) + " " + token.name;
    text += "\n";
  }
  write_file(path_, text, 0700);
}

}  // namespace tools::web
