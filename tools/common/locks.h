// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The locks as the system knows them, whatever the library waits for.
#pragma once

#include <optional>
#include <string>

#include "adapter.h"
#include "table.h"

namespace tools {

struct Holder {
  unsigned lock;
  int pid;
  std::string program;

  std::string text() const;  // "lock 0 (CAPI_LOCK_CONF_SHM) is held by process 7 (vosip)"
};

// Who holds a lock; nobody, too, where there are no locks.
std::optional<Holder> holder_of(unsigned lock);

// Waits for a lock to be free, so that who asks for it then need not wait. After a second it tells
// on standard error who holds it.
enum class Patience {
  Short,  // gives up then
  Long    // gives up after some seconds
};
bool await_lock(unsigned lock, Patience patience);

// The same for so many milliseconds, without a word.
bool await_lock(unsigned lock, int patience_ms);

// The same; throws a Failure when it gives up.
void need_lock(unsigned lock);
[[noreturn]] void throw_held(unsigned lock);

// A copy of the record by somebody who has not attached it, because lock 0 is held. False when
// there is none.
bool peek_record(cfg_shared_record& record);

// The locks that have a meaning. Throws a Failure.
Table lock_table();

}  // namespace tools
