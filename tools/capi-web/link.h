// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The server and the adapter: there may be none when the server starts, and one later.
#pragma once

#include <adapter.h>
#include <capi.h>

#include <optional>
#include <string>

namespace tools::web {

class Link {
 public:
  explicit Link(capi_log_sink log = ignore_log) : log_(log) { watch_.fd = -1; }
  ~Link();
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;

  // Attaches where there is an adapter and nobody holds it up. True when we are attached since.
  bool attach();
  bool is_attached() const { return adapter_.has_value(); }

  // Whether what we are attached to is no adapter any more: its locks were removed. Nobody tells.
  bool is_gone() const;
  void detach();

  // Begins to watch what we are attached to, where that can be. True when we do so since. To be
  // called again: there may have been too many who watch.
  bool watch();

  // Readable when something has changed; -1 while nothing can be watched.
  int fd() const { return watch_.fd; }

  // What has changed since the last call, as a sum of enum capi_topic. Where it cannot be told, a
  // later call tells it.
  unsigned changes();

 private:
  void complain();

  capi_log_sink log_;
  std::optional<Attachment> adapter_;
  capi_watch watch_{};
  bool has_complained_ = false;
};

}  // namespace tools::web
