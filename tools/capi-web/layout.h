// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What all pages have around their content.
#pragma once

#include <string>
#include <string_view>

#include "app.h"
#include "html.h"
#include "request.h"
#include "response.h"

namespace tools::web {

// A page of this title, with what is the same everywhere: the way to the others, and what people
// should know wherever they are, as a change that waits to be kept.
Response page(const Request& request, App& app, std::string_view title, const Html& main,
              int status = 200);

// The same where nobody has looked at the adapter.
Response page_without_notices(const Request& request, std::string_view title, const Html& main,
                              int status);

// A page without the way to others, for who is not logged in.
Response bare_page(std::string_view title, const Html& main, int status);

}  // namespace tools::web
