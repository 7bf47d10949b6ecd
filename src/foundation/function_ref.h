// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A callable handed down for the duration of a call: no allocation, no ownership, two pointers.
//
// For functions that walk something and hand out what they find: they are compiled once, in a
// source, and not once for each callback, as templates would be. Who takes one must not keep it:
// what it refers to is a temporary of the caller's most of the time.
#pragma once

#include <type_traits>
#include <utility>

// The locks that a callable needs are checked where it is written; nobody knows them here.
#if defined(__clang__)
#define CAPI_UNCHECKED_LOCKS __attribute__((no_thread_safety_analysis))
#else
#define CAPI_UNCHECKED_LOCKS
#endif

namespace capi {

template <typename Signature>
class FunctionRef;

template <typename Result, typename... Args>
class FunctionRef<Result(Args...)> {
 public:
  template <typename Callable>
  requires(!std::is_same_v<std::remove_cvref_t<Callable>, FunctionRef>)
      FunctionRef(Callable&& target)  // implicit: callers pass a lambda
      : object_(const_cast<void*>(static_cast<const void*>(&target))),
        call_([](void* object, Args... args) CAPI_UNCHECKED_LOCKS -> Result {
          auto& callable = *static_cast<std::remove_reference_t<Callable>*>(object);
          return static_cast<Result>(callable(std::forward<Args>(args)...));
        }) {}

  Result operator()(Args... args) const { return call_(object_, std::forward<Args>(args)...); }

 private:
  void* object_;
  Result (*call_)(void*, Args...);
};

}  // namespace capi
