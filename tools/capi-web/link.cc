// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "link.h"

#include <cstdio>
#include <cstring>
#include <memory>

#include "locks.h"

namespace tools::web {
namespace {

// Looked at from outside: attaching would make a record where there is none, which is the master's
// to make.
bool is_adapter_up() {
  const auto record = std::make_unique<cfg_shared_record>();
  return peek_record(*record) && is_started(*record);
}

}  // namespace

Link::~Link() { capi_watch_close(&watch_); }

bool Link::attach() {
  if (is_attached() || !is_adapter_up()) return false;
  if (!await_lock(CAPI_LOCK_CONF_SHM, Patience::Short)) return false;
  try {
    adapter_.emplace(log_);
  } catch (const Failure&) {
    return false;  // it went away again
  }
  return true;
}

bool Link::is_gone() const {
  capi_presence presence{};
  return is_attached() && capi_get_presence(&presence) == 0 &&
         presence.state == CAPI_PRESENCE_NO_LOCKS;
}

void Link::detach() {
  capi_watch_close(&watch_);
  adapter_.reset();
}

bool Link::watch() {
  if (!is_attached() || fd() != -1) return false;
  if (capi_watch_open(&watch_, CAPI_TOPIC_ALL) == 0) return true;
  complain();
  return false;
}

unsigned Link::changes() {
  if (fd() == -1) return 0;
  const int topics = capi_watch_changed(&watch_);
  if (topics == -1) complain();
  if (topics != -1) has_complained_ = false;
  return topics > 0 ? static_cast<unsigned>(topics) : 0;
}

// Once, until it goes again.
void Link::complain() {
  if (has_complained_) return;
  has_complained_ = true;
  fprintf(stderr, "capi-web: changes cannot be watched, pages do not follow them: %s\n",
          strerror(errno));
}

}  // namespace tools::web
