// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// From a message to its answer: decoded, guarded, handed to its handler.
#pragma once

#include <string>

#include "app.h"
#include "message.h"
#include "response.h"

namespace tools::web {

// "address" is the other side's. The answer has all headers but its length. Throws nothing.
Response serve(const Message& message, const std::string& address, App& app);

// The answer to what makes no message: the status is a gate's. It ends the connection.
Response refuse(int status, bool is_for_api);

}  // namespace tools::web
