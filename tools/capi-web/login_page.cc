// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "login_page.h"

#include "html.h"

namespace tools::web {

Response login_page(const Request& request, std::string_view message, int status) {
  Html page;
  page.raw("<!DOCTYPE html>\n<html lang=\"en\">\n<head><meta charset=\"utf-8\">");
  page.raw("<title>Log in</title></head>\n<body><main>\n<h1>Log in</h1>\n<p role=\"alert\">");
  page.text(message).raw("</p>\n<form method=\"post\" action=\"/login\">\n");
  page.raw("<input type=\"hidden\" name=\"next\" value=\"").text(request.parameter("next"));
  page.raw("\">\n<label>Password <input type=\"password\" name=\"password\" required ");
  page.raw("autocomplete=\"current-password\"></label>\n<button>Log in</button>\n</form>\n");
  page.raw("</main></body>\n</html>\n");
  return html(page.take(), status);
}

}  // namespace tools::web
