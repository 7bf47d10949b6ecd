// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What handlers of the adapter share: how a failure is answered, and what a query selects.
#pragma once

#include <adapter.h>
#include <filter.h>

#include <string>

#include "app.h"
#include "request.h"
#include "response.h"

namespace tools::web {

// Why something could not be done: {"error": {"code", "message", "key", "allowed"}} for programs,
// and a page for people.
Response failed(const Request& request, const Failure& failure);

// The calls or messages that a query means: type, line, number, since, text, unread. Throws a
// Failure for what is none of these.
Filter filter_of(const Request& request);

// A whole number of a query, within bounds; "none" where it is missing. Throws a Failure.
int number_of(const Request& request, const char* name, int min, int max, int none);

// A whole number in a path. Throws a Failure where it is none.
uint64_t id_of(const Request& request, const char* name);

// A text of a request's document, or a Failure where it is missing.
std::string text_in(const Request& request, const char* name);

// The same text as a sentence: it begins with a capital letter and ends with a full stop.
std::string sentence(std::string text);

// By whom a change is made: nobody else may keep it.
std::string owner_of(const Request& request);

}  // namespace tools::web
