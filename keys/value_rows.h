// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Numbers that have a name, or that are allowed beside a range, as rows. A list's rows stand
// together.
#pragma once

#include "keys/values.h"

namespace capi::keys {

inline constexpr Value kValues[] = {
    {Values::Switch, 0, "off"},
    {Values::Switch, 1, "on"},

    {Values::Transport, 2, "tls"},

    // RFC 2474, RFC 2597 and RFC 3246.
    {Values::Dscp, 0, "cs0"},
    {Values::Dscp, 8, "cs1"},
    {Values::Dscp, 10, "af11"},
    {Values::Dscp, 12, "af12"},
    {Values::Dscp, 14, "af13"},
    {Values::Dscp, 16, "cs2"},
    {Values::Dscp, 18, "af21"},
    {Values::Dscp, 20, "af22"},
    {Values::Dscp, 22, "af23"},
    {Values::Dscp, 24, "cs3"},
    {Values::Dscp, 26, "af31"},
    {Values::Dscp, 28, "af32"},
    {Values::Dscp, 30, "af33"},
    {Values::Dscp, 32, "cs4"},
    {Values::Dscp, 34, "af41"},
    {Values::Dscp, 36, "af42"},
    {Values::Dscp, 38, "af43"},
    {Values::Dscp, 40, "cs5"},
    {Values::Dscp, 46, "ef"},
    {Values::Dscp, 48, "cs6"},
    {Values::Dscp, 56, "cs7"},

    // The audio formats of RFC 3551 with a type of their own.
    {Values::PayloadType, 0, "pcmu"},
    {Values::PayloadType, 3, "gsm"},
    {Values::PayloadType, 4, "g723"},
    {Values::PayloadType, 8, "pcma"},
    {Values::PayloadType, 9, "g722"},
    {Values::PayloadType, 13, "cn"},
    {Values::PayloadType, 15, "g728"},
    {Values::PayloadType, 18, "g729"},

    {Values::SessionTimer, 0, ""},

    // 3GPP TS 26.445, A.3.1; what is unset is left to the voice stack.
    {Values::EvsSwitch, CAPI_EVS_UNSET, "unset"},
    {Values::EvsSwitch, 0, ""},
    {Values::EvsSwitch, 1, ""},
    {Values::EvsModeRequest, CAPI_EVS_UNSET, "unset"},
    {Values::EvsModeRequest, -1, ""},
    {Values::EvsModeRequest, 0, ""},
    {Values::EvsModeRequest, 1, ""},
    {Values::EvsChannelAware, CAPI_EVS_UNSET, "unset"},
    {Values::EvsChannelAware, -1, ""},
    {Values::EvsChannelAware, 0, ""},
    {Values::EvsChannelAware, 2, ""},
    {Values::EvsChannelAware, 3, ""},
    {Values::EvsChannelAware, 5, ""},
    {Values::EvsChannelAware, 7, ""},
};

}  // namespace capi::keys
