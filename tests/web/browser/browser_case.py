# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""What the tests share: an adapter, its page and a browser for each class of them."""

import os
import sys
import time
import unittest

from adapter import PASSWORD, PATIENCE, Adapter, Server, Wire
from chromium import Browser

SOURCE, TOOL, OTHERS, WEB, AXE = (
    os.environ.get("CAPI_TEST_" + name, "") for name in ("SOURCE", "TOOL", "OTHERS", "WEB", "AXE")
)

PAGES = {
    "overview": "/",
    "calls": "/calls",
    "messages": "/messages",
    "settings": "/settings",
    "diagnostics": "/diagnostics",
}


class BrowserCase(unittest.TestCase):
    options = ()

    adapter = None

    @classmethod
    def setUpClass(cls):
        if BrowserCase.adapter is None:
            BrowserCase.adapter = Adapter(SOURCE, TOOL, OTHERS)
            cls.adapter.start()
            cls.adapter.publish()
        cls.server = Server(WEB, *cls.options)
        cls.addClassCleanup(cls.server.stop)
        cls.wire = Wire(cls.server.port)
        cls.addClassCleanup(cls.wire.close)
        cls.browser = Browser()
        cls.addClassCleanup(cls.browser.close)

    def setUp(self):
        self.adapter.others("lines")
        self.addCleanup(self.adapter.settle)
        self.page = self.log_in()

    def new_page(self, profile):
        page = self.browser.new_page(profile)
        self.addCleanup(page.close)
        page.set_width(1200, 900)
        page.set_dark(False)
        return page

    def log_in(self, profile=None, password=PASSWORD):
        """A page of somebody who has just logged in; of somebody else each time."""
        page = self.new_page(profile or self.browser.new_profile())
        page.go(self.wire.address + "/login")
        self.submit(page, password)
        deadline = time.monotonic() + PATIENCE
        # After wrong passwords of others the right one has to wait as well.
        while self.where(page) == "/login" and time.monotonic() < deadline:
            self.submit(page, password)
        self.assertNotIn("/login", self.where(page))
        return page

    def submit(self, page, password):
        page.evaluate("window.leaving = true")
        page.fill("#password", password)
        page.press("Enter")
        page.wait_for_load()

    def where(self, page):
        return page.evaluate("location.pathname + location.search")

    def go(self, page, path):
        page.go(self.wire.address + path)
        self.await_live(page)

    def await_live(self, page):
        """Waits until the page hears of changes, and has fetched what came while it loaded."""
        page.wait_for("'connected' in document.documentElement.dataset")

    def let_pass(self, seconds):
        """Time in which nothing is to happen, or which is what it is about."""
        self.page.evaluate(f"new Promise((done) => setTimeout(done, {1000 * seconds}))")

    def field(self, key):
        return f'[data-key="{key}"]'

    def topic_page(self, page, key):
        """Goes to where a key can be changed."""
        self.go(page, "/settings?q=" + key)
        page.wait_for(f"document.querySelector('{self.field(key)}')")

    def apply(self, page):
        page.click("#change-bar .primary")
        page.wait_for_text("Apply", "#review")
        page.click("#review .primary")
        page.wait_for("document.querySelector('#pending')")


def main():
    unittest.main(module=sys.modules["__main__"], verbosity=2)
