-- SPDX-FileCopyrightText: The capi authors
-- SPDX-License-Identifier: MIT
-- Shows an adapter, and with a name gives line 1 that: luajit show_adapter.lua [NAME]
local capi = require("capi")

local is_there, adapter = pcall(capi.open)
if not is_there then
  io.stderr:write(adapter, "\n")
  os.exit(1)
end

if arg[1] then adapter.config["sip_line_1.display_name"] = arg[1] end
for number = 1, capi.C.CAPI_SIP_LINES do
  local line = adapter:read("voice_sip_line", capi.C.CAPI_RECORD_SIP_LINE, number)
  print(number, capi.text(line.display_name), line.enable ~= 0 and "enabled" or "disabled")
  for stack = 1, capi.C.CAPI_VOICE_STACKS do
    local registration = adapter:registration(number, stack)
    if registration.registered ~= 0 then print("", "stack " .. stack, capi.text(registration.status_text)) end
  end
end
for call in adapter:calls() do print(capi.text(call.number), call.calltimestart) end
for message, text in adapter:messages(capi.C.CAPI_SMS_SENT) do
  print(tonumber(message.id), capi.text(message.RemoteNumber), text)
end
adapter:close()
