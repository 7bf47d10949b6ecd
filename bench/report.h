// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The figures, as a table for people and as a picture.
#pragma once

#include <string>
#include <vector>

#include "bench.h"

namespace bench {

// The median time of one operation.
struct Figure {
  std::string who;
  double nanoseconds;
};

struct Result {
  std::string operation;
  double goal;
  std::vector<Figure> figures;  // in the order of the row's contestants

  double ratio() const { return figures[0].nanoseconds / figures[1].nanoseconds; }
};
using Results = std::vector<Result>;

void print_table(const Results& results);

// What the peers leave out of the job that we do.
void print_peers();

void write_plot(const std::string& path, const Results& results);

}  // namespace bench
