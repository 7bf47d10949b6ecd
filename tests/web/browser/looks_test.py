# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""Every page can be used by everybody: light and dark, wide and as narrow as a telephone."""

import json

from browser_case import AXE, PAGES, BrowserCase, main

WIDTHS = (1200, 768, 320)
EVERY = {**PAGES, "section": "/settings/voice_parameter", "found": "/settings?q=sip_line_1", "changes": "/changes", "no page": "/nothing", "thread": "/messages?number=%2B15551230100"}


class Looks(BrowserCase):
    options = ("--confirm-seconds", "600")  # a browser that looks at it takes long

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        with open(AXE) as file:
            cls.axe = file.read()

    def assert_accessible(self, what):
        self.page.evaluate(self.axe + "; 0")
        found = self.page.evaluate(
            "axe.run(document).then(({violations}) => violations.map(({id, nodes}) => "
            "({id, nodes: nodes.map(({html, failureSummary}) => ({html, failureSummary}))})))"
        )
        self.assertEqual(found, [], f"{what}: {json.dumps(found, indent=1)}")

    def assert_fits(self, what):
        """Nothing makes the page wider than the window; wide tables have boxes of their own."""
        width, culprits = self.page.evaluate(
            "(() => { const wide = document.documentElement.clientWidth; return ["
            "document.documentElement.scrollWidth - wide, [...document.querySelectorAll('body *')]"
            ".filter((e) => e.getBoundingClientRect().right > wide + 1 && !e.closest('.scroll, .stack thead'))"
            ".filter((e) => getComputedStyle(e).position !== 'absolute')"
            ".map((e) => e.outerHTML.slice(0, 200))]; })()"
        )
        self.assertEqual((width, culprits), (0, []), what)

    def assert_within(self, card):
        """Nothing of a card has to be scrolled to, or runs over its edge."""
        over = self.page.evaluate(
            f"(() => {{ const card = document.querySelector('{card}'); "
            "const edge = card.getBoundingClientRect().right; return [...card.querySelectorAll('*')]"
            ".filter((e) => e.getBoundingClientRect().right > edge && !e.closest('.stack thead'))"
            ".map((e) => e.outerHTML.slice(0, 200)); })()"
        )
        self.assertEqual(over, [])

    def box(self, expression):
        return self.page.evaluate(
            f"(() => {{ const {{left, right, top, bottom}} = ({expression}).getBoundingClientRect();"
            "return {left, right, top, bottom}; })()"
        )

    def looks(self):
        for is_dark in (False, True):
            for width in WIDTHS:
                self.page.set_dark(is_dark)
                self.page.set_width(width, 800)
                yield f"{'dark' if is_dark else 'light'}, {width} px"

    def test_every_page_is_accessible_and_fits(self):
        for look in self.looks():
            for name, path in EVERY.items():
                with self.subTest(page=name, look=look):
                    self.page.go(self.wire.address + path)
                    self.assert_accessible(name)
                    self.assert_fits(name)

    def test_a_review_and_a_change_that_waits_are_accessible_and_fit(self):
        field = self.field("sip_line_1.display_name")
        self.adapter.tool("config", "set", "sip_line_1.display_name", "Kitchen")
        self.topic_page(self.page, "sip_line_1.display_name")
        self.page.fill(field, "A-rather-long-name-for-the-hall")
        self.page.click("#change-bar .primary")
        self.page.wait_for_text("Apply", "#review")
        for look in self.looks():
            with self.subTest(look=look):
                self.assert_accessible("review")
                self.assert_fits("review")
        self.page.click("#review .primary")
        self.page.wait_for("document.activeElement.matches('#pending .primary')")
        for look in self.looks():
            with self.subTest(look=look):
                self.assert_accessible("change that waits")
                self.assert_fits("change that waits")
        self.page.click("#pending .primary")
        self.page.wait_for("!document.querySelector('#pending')")

    def test_a_lock_that_is_held_is_seen_with_its_holder(self):
        with self.adapter.holds(18):
            for path in ("/", "/diagnostics"):
                self.page.go(self.wire.address + path)
                for look in self.looks():
                    with self.subTest(page=path, look=look):
                        self.assert_within("#locks")
                        self.assertIn("capictl_others", self.page.text("#locks"))
                        self.assert_accessible("held lock")

    def test_faults_of_a_store_are_seen_with_what_the_library_does_about_them(self):
        path = "/quorbleconf/nv/sm_recv"
        with open(path, "rb") as file:
            content = file.read()
        self.addCleanup(self.write, path, content)
        self.write(path, b"\xff\xff" + content[2:])
        self.page.go(self.wire.address + "/diagnostics")
        self.assertIn("begins an empty one", self.page.text("#checks"))
        for look in self.looks():
            with self.subTest(look=look):
                self.assert_within("#checks")
                self.assert_accessible("faults")

    def write(self, path, content):
        with open(path, "wb") as file:
            file.write(content)

    def test_findings_in_a_setting_file_are_seen_whole(self):
        self.go(self.page, "/diagnostics")
        self.page.fill("#lint-text", "[sms]\noption_sms_enable=7\nnonsense\n")
        self.page.click("#lint form button")
        self.page.wait_for("document.querySelectorAll('#lint-result tbody tr').length === 2")
        titles = self.page.evaluate(
            "[...document.querySelectorAll('#lint-result thead th')].map((e) => e.textContent)"
        )
        self.assertEqual(titles, ["Line", "Severity", "Finding"])
        for look in self.looks():
            with self.subTest(look=look):
                self.assert_within("#lint")
                self.assert_accessible("findings")
        self.page.set_width(1200, 800)
        finding = self.box("document.querySelector('#lint-result td:last-child')")
        self.assertGreater(finding["right"] - finding["left"], 400)

    def test_on_a_telephone_a_number_stands_beside_what_it_is_of(self):
        self.page.set_width(320, 800)
        self.page.go(self.wire.address + "/")
        meter = self.box("document.querySelector('#stores meter')")
        text = self.box(
            "(() => { const range = document.createRange();"
            "range.selectNode(document.querySelector('#stores meter').nextSibling);"
            "return range; })()"
        )
        self.assertGreaterEqual(text["left"], meter["left"] - 1)

    def test_on_a_telephone_buttons_do_not_touch(self):
        self.page.set_width(320, 800)
        self.page.go(self.wire.address + "/calls")
        export = self.box("document.querySelector('#calls a.button')")
        delete = self.box("document.querySelector('#calls .danger')")
        gaps = (delete["top"] - export["bottom"], delete["left"] - export["right"])
        self.assertGreaterEqual(max(gaps), 8)

    def test_the_labels_of_a_chart_can_be_read_at_each_width(self):
        self.page.go(self.wire.address + "/calls")
        for look in self.looks():
            with self.subTest(look=look):
                size = self.page.evaluate(
                    "(() => { const chart = document.querySelector('#chart svg');"
                    "return parseFloat(getComputedStyle(chart.querySelector('text')).fontSize)"
                    "* chart.getScreenCTM().a; })()"
                )
                self.assertGreaterEqual(size, 9)

    def test_a_question_is_accessible(self):
        self.go(self.page, "/calls")
        self.page.click("#calls tbody button[data-method=DELETE]")
        self.page.wait_for("document.querySelector('dialog[open]')")
        for look in self.looks():
            with self.subTest(look=look):
                self.assert_accessible("question")

    def test_the_login_is_accessible_and_fits(self):
        self.page = self.new_page(self.browser.new_profile())
        self.page.go(self.wire.address + "/login")
        self.submit(self.page, "wrong")
        for look in self.looks():
            with self.subTest(look=look):
                self.assert_accessible("login")
                self.assert_fits("login")

    def test_dark_and_light_differ(self):
        self.go(self.page, "/")
        shades = []
        for is_dark in (False, True):
            self.page.set_dark(is_dark)
            shades.append(self.page.evaluate("getComputedStyle(document.body).backgroundColor"))
        self.assertEqual(len(set(shades)), 2, shades)

    def test_nothing_is_asked_of_another_host_and_the_browser_has_no_complaint(self):
        for path in PAGES.values():
            self.go(self.page, path)
        self.browser.hear_out()
        strangers = [url for url in self.page.requests if not url.startswith(self.wire.address)]
        self.assertEqual(strangers, [])
        self.assertEqual(self.page.problems, [])

    def test_the_first_tab_leads_past_the_menu(self):
        self.go(self.page, "/calls")
        self.page.press("Tab")
        self.assertTrue(self.page.evaluate("document.activeElement.matches('.skip')"))
        self.page.press("Enter")
        self.page.wait_for("document.activeElement.id === 'main'")

    def test_where_the_focus_is_can_be_seen(self):
        self.go(self.page, "/settings?q=sip_line_1")
        for _ in range(15):
            self.page.press("Tab")
            style = self.page.evaluate(
                "(() => { const s = getComputedStyle(document.activeElement);"
                "return [s.outlineStyle, parseFloat(s.outlineWidth)]; })()"
            )
            self.assertEqual(style[0], "solid")
            self.assertGreaterEqual(style[1], 2)

    def test_all_that_is_loaded_is_small(self):
        total = 0
        for name in (
            "app.css", "app.js", "page.js", "live.js", "actions.js", "settings.js", "pending.js",
            "events.js", "icon.svg",
        ):
            total += self.page.evaluate(
                f"fetch('/assets/{name}').then((a) => a.arrayBuffer()).then((b) => b.byteLength)"
            )
        print(f"style, scripts and picture: {total} bytes")
        self.assertGreater(total, 10000)
        self.assertLessEqual(total, 100 * 1024)


if __name__ == "__main__":
    main()
