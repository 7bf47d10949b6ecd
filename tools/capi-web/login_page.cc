// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "login_page.h"

#include "html.h"
#include "layout.h"

namespace tools::web {

Response login_page(const Request& request, std::string_view message, int status) {
  const bool is_again = !message.empty();
  const std::string_view next =
      request.method == Method::Post ? request.field("next") : request.parameter("next");
  Html main;
  main.raw("<h1>Log in</h1>\n");
  if (is_again) {
    main.raw("<p class=\"notice bad\" role=\"alert\" id=\"login-error\">").text(message);
    main.raw("</p>\n");
  }
  main.raw("<form method=\"post\" action=\"/login\">\n<input type=\"hidden\" name=\"next\"");
  main.attr("value", next).raw(">\n<p><label for=\"password\">Password</label> ");
  main.raw("<input id=\"password\" name=\"password\" type=\"password\" ");
  main.raw("autocomplete=\"current-password\" required autofocus");
  if (is_again) main.raw(" aria-describedby=\"login-error\" aria-invalid=\"true\"");
  main.raw("></p>\n<p><button class=\"primary\">Log in</button></p>\n</form>\n");
  return bare_page("Log in", main, status);
}

}  // namespace tools::web
