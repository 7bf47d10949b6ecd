// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// How results are shown: well set on a terminal, a line of tab-separated values a row elsewhere, or
// as JSON.
#pragma once

#include "context.h"
#include "table.h"

namespace tools::capictl {

// Prints an object on a line of its own.
void print_json_line(const cJSON* json);
void print_json(const cJSON* json);

// Whether results are set for people.
bool is_set_for_people(const Context& context);

// Prints one table. An empty one is told of on standard error where people look on.
void print(const Table& table, const Context& context);

// Prints the rows of a result that goes on: tab-separated or, as JSON, an object a line.
void print_more(const Table& table, const Context& context);

// Tells programs what was done; people see it.
void report(const Table& facts, const Context& context);

// Prints several under their names; in JSON they are the members of an object.
void print(const std::vector<Table>& tables, const Context& context);

// The same for people, with the name: "2 (tls)".
std::string told_value(const Key& key, const std::string& value, const Context& context);

}  // namespace tools::capictl
