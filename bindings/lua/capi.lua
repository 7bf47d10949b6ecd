-- SPDX-FileCopyrightText: The capi authors
-- SPDX-License-Identifier: MIT
-- The configuration library of an LTE phone adapter, for LuaJIT:
--
--   local capi = require("capi")
--   local adapter = capi.open()
--   print(adapter.config["sip_line_1.display_name"])
--   adapter.config["sip_line_1.display_name"] = "Hall"
--   adapter:close()
--
-- Settings have the names of docs/keys.md. What fails is an error whose text is what the library logged,
-- or says what is wrong with a value, an argument or a file; capi.on_log sees every line. Declarations,
-- records and numbers are those of the headers: capi.C.CAPI_TOPIC_LINES,
-- ffi.new("struct capi_voice_basic"). What your own calls of capi.C log is handed on with the next call
-- here. All belongs to one thread.
local ffi = require("ffi")
require("capi.cdef")

-- A call of the library may come back as a log line, which compiled code cannot take.
require("jit").off(true, true)

ffi.cdef([[
struct pollfd { int fd; short events; short revents; };
int poll(struct pollfd *descriptors, unsigned long count, int milliseconds);
char *strerror(int number);
]])

local lib, keys = ffi.load("libcapi.so.0"), ffi.load("libcapi-keys.so.0")
local capi = { C = lib, keys = keys }

-- The text at a pointer, or in an array of a record, which it may fill to the end.
function capi.text(chars)
  -- "ctype<char [64]>", and of a member "ctype<char (&)[64]>".
  local is_array = type(chars) == "cdata" and tostring(ffi.typeof(chars)):find("char %(?&?%)?%[[%d?]+%]>$")
  if not is_array then return ffi.string(chars) end
  return ffi.string(chars, ffi.sizeof(chars)):match("^%Z*")
end

local NOTICE, POLLIN = 5, 1
-- More than a setting file with every key in it makes. Who never calls anything here keeps the newest.
local KEPT_LINES = 4096
local lines = {}

-- Lines come from within critical sections: they are handed on when the call is over.
local sink = ffi.cast("capi_log_sink", function(level, text)
  local line = { level = level, text = ffi.string(text) }
  if level > NOTICE and line.text:find("password", 1, true) then return end
  if #lines == KEPT_LINES then table.remove(lines, 1) end
  lines[#lines + 1] = line
end)
lib.capiv2_log_init(sink)

-- What the calls since the last time have logged; the texts that tell of a failure as one.
local function take_lines()
  local taken, said = lines, {}
  lines = {}
  for _, line in ipairs(taken) do
    if line.level <= NOTICE then said[#said + 1] = line.text end
    if capi.on_log then capi.on_log(line.level, line.text) end
  end
  return table.concat(said, "; ")
end

-- The result of a call; an error for one below 0. A reason is told where nothing is logged.
local function check(result, reason, level)
  local errno = ffi.errno()
  local said = take_lines()
  if result < 0 then error(said ~= "" and said or reason(errno), level + 1) end
  return result
end

-- Calls a function. What was logged before is not why it fails, nor is what errno was.
local function call(reason, library, name, ...)
  take_lines()
  ffi.errno(0)
  local result = check(library[name](...), reason, 3)
  return result
end

local function is_attached()
  local presence = ffi.new("struct capi_presence")
  return lib.capi_get_presence(presence) == 0 and presence.state >= lib.CAPI_PRESENCE_NOT_PUBLISHED
end

-- Why a call fails that needs the shared record,
local function detached() return "this process is attached to no adapter" end

-- one that refuses an argument,
local function there_is_no(what, ...)
  local named = what:format(...)
  return function() return is_attached() and "there is no " .. named or detached() end
end

-- and one that the system lets down.
local function system_reason(subject)
  return function(errno)
    return errno ~= 0 and subject .. ": " .. ffi.string(ffi.C.strerror(errno)) or detached()
  end
end

-- A callback lives for one call. What it raises is raised behind that.
local function walk(kind, visit, run, reason)
  local failed
  local callback = ffi.cast(kind, function(...)
    local is_good, raised = pcall(visit, ...)
    if not is_good then failed = failed or raised end
    return is_good and 0 or 1
  end)
  take_lines()
  local result = run(callback)
  callback:free()
  if failed then error(failed, 0) end
  check(result, reason or detached, 3)
end

-- Every key by its label, made when the first is asked for.
local labels
local function find(label)
  if not labels then
    local rows = {}
    walk("capi_config_key_cb", function(row)
      rows[#rows + 1] = {
        section = ffi.string(row.section), name = ffi.string(row.name),
        sections = math.max(row.section_max, 1), names = math.max(row.name_max, 1),
      }
    end, function(callback) return lib.capi_config_for_each(callback, nil) end)
    labels = {}
    for _, row in ipairs(rows) do
      local prefix = "option_" .. row.section:gsub("%%d", ""):gsub("_$", "") .. "_"
      for section = 1, row.sections do
        for number = 1, row.names do
          local key = { section = row.section:gsub("%%d", section), name = row.name:gsub("%%d", number) }
          labels[key.section .. "." .. key.name:sub(#prefix + 1)] = key
        end
      end
    end
  end
  return labels[label] or error("there is no key " .. tostring(label), 3)
end

-- Texts of C end at a NUL, and Lua's do not.
local function c_text(label, value)
  local kind = type(value)
  if kind == "boolean" then return value and "1" or "0" end
  if kind ~= "string" and kind ~= "number" then
    error(("%s takes a string, a number or a boolean, not %s"):format(label, kind), 3)
  end
  local text = tostring(value)
  if text:find("\0", 1, true) then error("a text for the adapter cannot have a NUL in it", 3) end
  return text
end

-- Something that has been closed says so.
local function must_be_open(thing, name)
  if not thing.is_open then error(("the %s is closed"):format(name), 3) end
end

-- Under no label of a key.
local ADAPTER = {}

local config = {
  __index = function(self, label)
    must_be_open(self[ADAPTER], "adapter")
    local key, size = find(label), 4096
    local buffer = ffi.new("char[?]", size)
    call(detached, lib, "capi_live_get", key.section, key.name, buffer, size)
    return ffi.string(buffer)
  end,
  __newindex = function(self, label, value)
    must_be_open(self[ADAPTER], "adapter")
    local key, size = find(label), keys.CAPI_KEYS_SENTENCE
    local sentence = ffi.new("char[?]", size)
    local text = c_text(label, value)
    local result = call(detached, keys, "capi_keys_set", key.section, key.name, text, sentence, size)
    if result > 0 then error(ffi.string(sentence), 2) end
  end,
}

local Watch = {}
Watch.__index = Watch

-- The topics that have changed since it was asked last, as a sum; 0 is none.
function Watch:changed()
  must_be_open(self, "watch")
  local topics = call(system_reason("the watch cannot tell"), lib, "capi_watch_changed", self.watch)
  return topics
end

-- Waits for a change, at most so many milliseconds; 0 is none.
function Watch:wait(milliseconds)
  local topics = self:changed()
  while topics == 0 do
    local one = ffi.new("struct pollfd[1]", { { self.watch.fd, POLLIN, 0 } })
    local ready = ffi.C.poll(one, 1, milliseconds or -1)
    topics = self:changed()
    if ready == 0 then break end
  end
  return topics
end

function Watch:close()
  self.is_open = false
  lib.capi_watch_close(self.watch)
end

local Adapter = {}
Adapter.__index = Adapter

-- The library is the process's: the first adapter attaches it, and the last one detaches it.
local users = 0

local function join(callbacks, is_master)
  if users == 0 then call(detached, lib, "capi_init", callbacks, is_master, sink) end
  users = users + 1
  local adapter = setmetatable({ is_open = true, watches = setmetatable({}, { __mode = "k" }) }, Adapter)
  adapter.config = setmetatable({ [ADAPTER] = adapter }, config)
  return adapter
end

-- Joins the adapter that runs.
function capi.open()
  local adapter = join(nil, 0)
  if not is_attached() then
    adapter:close()
    error("there is no adapter", 2)
  end
  return adapter
end

-- Starts an adapter with setting files, as its master.
function capi.start(...)
  if users > 0 then error("this process has joined an adapter: it cannot start one", 2) end
  local adapter, paths = join(ffi.new("struct capi_callbacks"), 1), { ... }
  local is_good, said = pcall(function()
    for _, path in ipairs(paths) do
      call(system_reason(tostring(path)), lib, "capi_init_settings_from_file", path)
    end
    call(detached, lib, "capi_config_finish")
    call(detached, lib, "capi_post_init", 1)
  end)
  if is_good then return adapter end
  adapter:close()
  error(said, 2)
end

-- Leaves it, with its watches; it goes on.
function Adapter:close()
  if not self.is_open then return end
  self.is_open = false
  for watch in pairs(self.watches) do watch:close() end
  users = users - 1
  if users == 0 then lib.capi_uninit() end
  take_lines()
end

-- A record as it is now: adapter:read("voice_sip_line", lib.CAPI_RECORD_SIP_LINE, 1). Its texts are
-- for capi.text().
function Adapter:read(name, kind, number)
  must_be_open(self, "adapter")
  local record = ffi.new("struct capi_" .. name)
  local reason = there_is_no("%s %s of kind %s", name, number or 0, kind)
  call(reason, lib, "capi_live_read", kind, number or 0, record, ffi.sizeof(record))
  return record
end

-- The registration of a line on a voice stack, both from 1.
function Adapter:registration(line, stack)
  must_be_open(self, "adapter")
  local record = ffi.new("struct capi_line_reg_stat")
  local reason = there_is_no("line %s on a voice stack %s", line, stack)
  call(reason, lib, "capi_live_get_line_reg_stat", line - 1, record, stack - 1)
  return record
end

-- Goes through the calls, the newest first: for call in adapter:calls() do
function Adapter:calls()
  must_be_open(self, "adapter")
  local found, place = {}, 0
  walk("capi_call_log_cb", function(call)
    found[#found + 1] = ffi.new("struct capi_call_log_record", call[0])
  end, function(callback) return lib.capi_voip_call_log_dump(0, callback, nil) end)
  return function()
    place = place + 1
    return found[place]
  end
end

-- Goes through the messages of a file, the oldest first, with the text of each:
-- for message, text in adapter:messages(lib.CAPI_SMS_RECEIVED) do
function Adapter:messages(selector)
  must_be_open(self, "adapter")
  local found, place = {}, 0
  walk("capi_sms_dump_cb", function(message)
    local size = math.min(message.TextLen, message.TextSize, lib.CAPI_SMS_TEXT_CAPACITY)
    local head = ffi.new("struct capi_sms_record")
    ffi.copy(head, message, ffi.offsetof("struct capi_sms_record", "Text"))
    found[#found + 1] = { head, ffi.string(message.Text, size) }
  end, function(callback) return lib.capi_voip_sms_dump(selector, callback, nil) end,
  there_is_no("file of messages %s", selector))
  return function()
    place = place + 1
    if found[place] then return found[place][1], found[place][2] end
  end
end

-- Tells of changes from now on; the topics are added up, and all of them when none are named.
function Adapter:watch(topics)
  must_be_open(self, "adapter")
  local watch = ffi.gc(ffi.new("struct capi_watch", { fd = -1 }), lib.capi_watch_close)
  call(system_reason("there is no watch"), lib, "capi_watch_open", watch, topics or lib.CAPI_TOPIC_ALL)
  local opened = setmetatable({ is_open = true, watch = watch }, Watch)
  self.watches[opened] = true
  return opened
end

return capi
