# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""Makes the pictures of the pages that README and docs show: pictures.py DIRECTORY"""

import os
import sys

import browser_case
from adapter import PASSWORD, Adapter, Server
from chromium import Browser

NAME = "sip_line_1.display_name"


def shoot(page, directory, name):
    # Nothing blinks or fades in a picture.
    page.evaluate("document.activeElement.blur()")
    page.screenshot(os.path.join(directory, f"web-{name}.png"), whole=False)


def make_pictures(page, address, directory):
    def go(path):
        page.go(address + path)
        page.wait_for("'connected' in document.documentElement.dataset")

    page.set_dark(False)
    page.set_width(1200, 900)
    page.go(address + "/login")
    page.evaluate("window.leaving = true")
    page.fill("#password", PASSWORD)
    page.press("Enter")
    page.wait_for_load()

    go("/")
    shoot(page, directory, "overview")
    go("/calls")
    shoot(page, directory, "calls")
    go("/messages?number=%2B15551230100")
    shoot(page, directory, "messages")

    page.set_dark(True)
    page.set_width(390, 844, is_phone=True)
    go("/")
    shoot(page, directory, "phone")
    page.set_dark(False)
    page.set_width(1200, 900)

    go("/settings?q=" + NAME)
    page.fill(f'[data-key="{NAME}"]', "Hall")
    page.click("#change-bar .primary")
    page.wait_for_text("Apply", "#review")
    page.set_width(1200, 1130)
    shoot(page, directory, "review")
    page.click("#review .primary")
    page.wait_for("document.activeElement.matches('#pending .primary')")
    page.evaluate("document.querySelector('#status').textContent = ''")
    page.set_width(1200, 600)
    shoot(page, directory, "pending")


def main():
    adapter = Adapter(browser_case.SOURCE, browser_case.TOOL, browser_case.OTHERS)
    adapter.start()
    adapter.publish()
    server = Server(browser_case.WEB)
    try:
        with Browser() as browser:
            make_pictures(browser.new_page(), f"http://127.0.0.1:{server.port}", sys.argv[1])
    finally:
        server.stop()


main()
