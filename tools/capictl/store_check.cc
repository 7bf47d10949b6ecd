// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "store_check.h"

#include "print.h"

namespace tools::capictl {
namespace {

std::string own_file(const Store& store, const Context& context) {
  const Attachment adapter(context.log_sink(), Need::Adapter, {store.lock});
  return read_store(store);
}

}  // namespace

void check_store(const Store& store, const std::string& path, Context& context) {
  const Table table = fault_table(store, path.empty() ? own_file(store, context) : read_file(path));
  print(table, context);
  if (!table.rows().empty()) context.exit_code = kFinding;
}

}  // namespace tools::capictl
