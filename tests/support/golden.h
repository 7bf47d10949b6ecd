// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Golden files: what people have looked at and committed, as the measure of what the code does now.
#pragma once

#include <string>

namespace capi::test {

// Expects a text to be that of a file of the checkout, "tests/..."; where they part the test fails
// and shows the first lines that do. The text is left in the build directory, below "golden", where
// script/golden takes it from when it was meant to change.
void expect_golden(const std::string& actual, const std::string& path);

// The first lines in which two files differ; empty when they are equal.
std::string short_diff(const std::string& before, const std::string& after);

}  // namespace capi::test
