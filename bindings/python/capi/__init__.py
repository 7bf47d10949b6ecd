# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""The configuration library of an LTE phone adapter.

    import capi

    with capi.Adapter() as adapter:
        print(adapter.config["sip_line_1.display_name"])
        adapter.config["sip_line_1.display_name"] = "Hall"

Adapter is where everything begins: settings by their names (config), whole records (read, write,
snapshot), the lines, the call log, the short messages, and being told of changes (watch). Texts are
str; bytes that are no UTF-8 come and go as they are (surrogateescape). What fails raises Error or
one of its kinds, with what the library logged, or why it was refused; all that it logs reaches the
logger "capi". A value that is set by its name is checked first.

A process that was forked goes on with the library, when no other thread of its parent was in a call
at that time; a watch it opens anew.

capi.records has the records, capi.enums the enumerations, capi.constants the limits, and
capi.functions the functions as C has them, with their documentation; what is left out of them it
tells. What holds for these everywhere:

"""
from . import constants, enums, functions, records
from ._about import RULES, VERSION
from ._adapter import Adapter, Line, call_state_name
from ._cdef import ffi
from ._keys import Config, InvalidValue, Key, UnknownKey
from ._library import Error, LogLine, check
from ._record import Array, Field, Record
from ._snapshot import Change, Snapshot
from ._stores import Box, Call, Calls, Message, Messages, NoMessage
from ._watch import Watch
from .enums import *
from .records import *

__doc__ += RULES
__version__ = VERSION
__all__ = [
    "Adapter",
    "Array",
    "Box",
    "Call",
    "Calls",
    "Change",
    "Config",
    "Error",
    "Field",
    "InvalidValue",
    "Key",
    "Line",
    "LogLine",
    "Message",
    "Messages",
    "NoMessage",
    "Record",
    "Snapshot",
    "UnknownKey",
    "Watch",
    "call_state_name",
    "check",
    "constants",
    "enums",
    "ffi",
    "functions",
    "records",
]
__all__ += enums.__all__
__all__ += records.__all__
