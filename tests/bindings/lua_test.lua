-- SPDX-FileCopyrightText: The capi authors
-- SPDX-License-Identifier: MIT
-- capi.lua on an adapter whose master is another process. Each test is named after what it shows.
local ffi = require("ffi")
local capi = require("capi")
local lib = capi.C
local source, capictl = os.getenv("CAPI_SOURCE"), os.getenv("CAPICTL")
local failures = 0

local function is(actual, expected)
  if actual ~= expected then
    error(("is %s, not %s"):format(tostring(actual), tostring(expected)), 2)
  end
end

local function fails(text, call, ...)
  local is_good, said = pcall(call, ...)
  if is_good or not tostring(said):find(text, 1, true) then
    error(("says %s, not %s"):format(tostring(said), text), 2)
  end
end

local function output(command)
  local pipe = io.popen(command)
  local text = pipe:read("*a")
  pipe:close()
  return text
end

local function test(name, body)
  local is_good, said = xpcall(body, debug.traceback)
  print((is_good and "ok: " or "FAILED: ") .. name .. (is_good and "" or ": " .. tostring(said)))
  if not is_good then failures = failures + 1 end
end

os.execute("cp -r " .. source .. "/demo/device/. /")
test("Without an adapter opening it is an error", function() fails("there is no adapter", capi.open) end)

test("A start that fails leaves nothing behind, and another can be made", function()
  fails("/missing: No such file or directory", capi.start, "/missing")
  fails("/tmp: Is a directory", capi.start, "/tmp")
  local started = capi.start("/quorbleconf/config/voice.settings")
  is(started.config["sip_line_1.display_name"], "Frontdesk")
  started:close()
end)

os.execute(capictl .. " master --settings /quorbleconf/config/voice.settings /quorbleconf/config/network.settings")
local adapter = capi.open()

test("Settings are read and set by their names", function()
  is(adapter.config["sip_line_1.display_name"], "Frontdesk")
  adapter.config["sip_line_1.display_name"] = "Hall"
  adapter.config["basic_sip.local_port"] = 5070
  is(output(capictl .. " config get sip_line_1.display_name basic_sip.local_port"),
    "sip_line_1.display_name\tHall\nbasic_sip.local_port\t5070\n")
  is(adapter.config["speed_dial.entry_2"], "15551230101")
end)

test("A value that is not right is an error with the sentence, and nothing is set", function()
  fails('"99999" is out of range; allowed: 0 to 65535', function() adapter.config["basic_sip.local_port"] = 99999 end)
  is(adapter.config["basic_sip.local_port"], "5070")
  fails("there is no key sip_line_3.enable", function() return adapter.config["sip_line_3.enable"] end)
  fails("cannot have a NUL", function() adapter.config["sip_line_1.display_name"] = "a\0b" end)
  is(adapter.config["sip_line_1.display_name"], "Hall")
end)

test("What is no string, number or boolean is an error, and nothing is set", function()
  local key = "sip_line_1.display_name"
  fails(key .. " takes a string, a number or a boolean, not nil", function() adapter.config[key] = nil end)
  fails("a number or a boolean, not table", function() adapter.config[key] = {} end)
  is(adapter.config[key], "Hall")
  adapter.config["sip_line_2.enable"] = true
  is(adapter.config["sip_line_2.enable"], "1")
  adapter.config["sip_line_2.enable"] = false
  is(adapter.config["sip_line_2.enable"], "0")
end)

test("An adapter that is closed says so, and another goes on", function()
  local second = capi.open()
  local watch = second:watch()
  second:close()
  second:close()
  fails("the adapter is closed", function() return second.config["hw_info.model"] end)
  fails("the adapter is closed", function() second.config["hw_info.model"] = "x" end)
  for _, call in ipairs({ "read", "registration", "calls", "messages", "watch" }) do
    fails("the adapter is closed", second[call], second)
  end
  fails("the watch is closed", watch.changed, watch)
  is(adapter.config["hw_info.model"], "QZX-200")
  fails("it cannot start one", capi.start)
  is(adapter.config["hw_info.model"], "QZX-200")
end)

test("An error tells what was logged by its own call, not by those before", function()
  local line, said = ffi.new("struct capi_voice_sip_line"), {}
  is(lib.capi_set_voice_sip_line(line, 3), -1)
  capi.on_log = function(_, text) said[#said + 1] = text end
  local is_good, reason = pcall(adapter.read, adapter, "voice_sip_line", lib.CAPI_RECORD_SIP_LINE, 3)
  is(is_good, false)
  is(reason:match("there is no .*$"), "there is no voice_sip_line 3 of kind 7")
  is(reason:find("line index", 1, true), nil)
  -- It has been seen, nevertheless.
  is(#said, 1)
  is(said[1]:match("line index.*"), "line index-3, error")
  -- And there is an end to what is kept of them.
  for _ = 1, 5000 do lib.capi_set_voice_sip_line(line, 3) end
  lib.capi_set_voice_sip_line(line, 4)
  said = {}
  is(adapter.config["hw_info.model"], "QZX-200")
  capi.on_log = nil
  is(#said, 4096)
  is(said[4096]:match("line index.*"), "line index-4, error")
end)

test("Records have their members, and the sizes of the description", function()
  local line = adapter:read("voice_sip_line", lib.CAPI_RECORD_SIP_LINE, 2)
  is(capi.text(line.display_name), "Fax")
  is(line.enable, 0)
  is(ffi.sizeof("struct cfg_shared_record"), 25028)
  is(ffi.sizeof("struct capi_sms_record"), 39206)
end)

test("What is refused without a line of the log is an error that names it", function()
  local function refuses(text, name, ...) fails("there is no " .. text, adapter[name], adapter, ...) end
  refuses("voice_sip_line 3 of kind 7", "read", "voice_sip_line", lib.CAPI_RECORD_SIP_LINE, 3)
  refuses("voice_sip_line 0 of kind 7", "read", "voice_sip_line", lib.CAPI_RECORD_SIP_LINE)
  refuses("voice_basic 1 of kind 7", "read", "voice_basic", lib.CAPI_RECORD_SIP_LINE, 1)
  refuses("line 3 on a voice stack 1", "registration", 3, 1)
  refuses("line 1 on a voice stack 6", "registration", 1, 6)
  refuses("file of messages 9", "messages", 9)
end)

test("A text that fills its array ends there, and one that does not at its NUL", function()
  local cell = ffi.new("struct capi_lte_net_info")
  ffi.fill(cell.mcc, ffi.sizeof(cell.mcc), 49)
  cell.mnc = "01"
  is(capi.text(cell.mcc), "11111111")
  is(capi.text(cell.mnc), "01")
  cell.mnc = ""
  is(capi.text(cell.mnc), "")
  local list = ffi.new("char[2][3]", { { 97, 98, 99 }, "de" })
  is(capi.text(list[0]), "abc")
  is(capi.text(list[1]), "de")
  is(capi.text(ffi.new("char[?]", 2, { 102, 103 })), "fg")
  is(capi.text(ffi.cast("const char *", list[0])), "abcde")
end)

test("Log lines are handed on, but for passwords", function()
  local said = {}
  capi.on_log = function(level, text) said[#said + 1] = level .. " " .. text end
  adapter.config["sip_line_1.display_name"] = "logged"
  adapter.config["sip_line_1.auth_password"] = "hunter2ff"
  capi.on_log = nil
  local all = table.concat(said, "\n")
  is(all:find("[logged]", 1, true) ~= nil, true)
  is(all:find("hunter2ff", 1, true), nil)
end)

test("A watch tells of what another process does", function()
  local watch = adapter:watch(lib.CAPI_TOPIC_CONFIG + lib.CAPI_TOPIC_MESSAGES)
  is(watch:wait(0), 0)
  os.execute(capictl .. " config set sip_line_1.display_name told")
  is(watch:wait(60000), lib.CAPI_TOPIC_CONFIG)
  is(adapter.config["sip_line_1.display_name"], "told")
  is(watch:changed(), 0)
  watch:close()
  fails("there is no watch: Invalid argument", adapter.watch, adapter, 1024)
  -- One that was never opened closes nothing: no descriptor 0.
  fails("cannot convert", adapter.watch, adapter, {})
  collectgarbage()
  is(output("[ -e /proc/self/fd/0 ] && echo open"), "open\n")
end)

test("Calls come from the newest on, and messages from the oldest", function()
  for _, number in ipairs({ "1", "2" }) do
    local call = ffi.new("struct capi_call_log_record")
    ffi.copy(call.number, number)
    is(lib.capi_voip_add_call_log(0, call), 0)
  end
  local numbers = {}
  for call in adapter:calls() do numbers[#numbers + 1] = capi.text(call.number) end
  is(table.concat(numbers, " "), "2 1")
  for _, text in ipairs({ "On my way", "a\0b" }) do
    is(lib.capi_voip_sms_send("+15551230002", 0, text, #text), 0)
  end
  local texts = {}
  for message, text in adapter:messages(lib.CAPI_SMS_SENT) do
    texts[#texts + 1] = capi.text(message.RemoteNumber) .. "=" .. text
  end
  is(table.concat(texts, " "), "+15551230002=On my way +15551230002=a\0b")
end)

test("What is called ten thousand times is no danger for compiled code", function()
  capi.on_log = function() end
  for number = 1, 10000 do adapter.config["sip_line_2.display_name"] = number end
  capi.on_log = nil
  is(adapter.config["sip_line_2.display_name"], "10000")
end)

test("The example shows an adapter", function()
  adapter.config["sip_line_2.display_name"] = "Fax"
  local lua = arg[-1]
  is(output(lua .. " " .. source .. "/examples/show_adapter.lua Attic 2>&1"),
    "1\tAttic\tenabled\n2\tFax\tdisabled\n2\t0\n1\t0\n1\t+15551230002\tOn my way\n2\t+15551230002\ta\0b\n")
end)

test("What cannot be done without the library's record says so", function()
  lib.capi_uninit()
  local said = "this process is attached to no adapter"
  fails(said, function() return adapter.config["hw_info.model"] end)
  fails(said, function() adapter.config["hw_info.model"] = "x" end)
  fails(said, adapter.read, adapter, "voice_basic", lib.CAPI_RECORD_VOICE_BASIC)
  fails(said, adapter.registration, adapter, 1, 1)
end)

adapter:close()
os.exit(failures == 0 and 0 or 1)
