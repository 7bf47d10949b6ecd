# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""A consumer that sees requests, too."""
import queue

from fleet import PATIENCE, Consumer, Message


class Recorder(Consumer):
    def _take(self, client, user, message):
        self._messages.put(Message(message))

    def wait_until(self, test):
        """The next message for which it is so, of whatever topic."""
        while True:
            try:
                message = self._messages.get(timeout=PATIENCE)
            except queue.Empty:
                raise AssertionError(f"no such message, but {self.seen[-50:]}") from None
            self.seen.append(message)
            if test(message):
                return message
