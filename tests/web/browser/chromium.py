# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""Drives a headless Chromium through its debugging pipe, which takes nothing but the browser."""

import base64
import collections
import json
import os
import selectors
import shutil
import subprocess
import tempfile
import time

PATIENCE = 30  # seconds that something may take on a busy machine

KEYS = {
    "Enter": ("Enter", 13, "\r"),
    "Tab": ("Tab", 9, None),
    "Escape": ("Escape", 27, None),
    "Space": ("Space", 32, " "),
    "ArrowDown": ("ArrowDown", 40, None),
}


class BrowserError(Exception):
    pass


class Browser:
    """A Chromium of its own. Each "profile" is a person's browser: its pages share their cookies."""

    def __init__(self):
        program = shutil.which("chromium") or shutil.which("chromium-browser")
        if program is None:
            raise BrowserError("Chromium is not installed: script/install-deps browser")
        self.data = tempfile.mkdtemp(prefix="chromium-")
        ours_read, theirs_write = os.pipe()
        theirs_read, ours_write = os.pipe()

        def wire():
            # The browser reads from 3 and writes to 4, whatever stands there now.
            spare_read, spare_write = os.dup(theirs_read), os.dup(theirs_write)
            os.dup2(spare_read, 3)
            os.dup2(spare_write, 4)

        self.process = subprocess.Popen(
            [
                program,
                "--headless=new",
                "--no-sandbox",
                "--disable-gpu",
                "--disable-dev-shm-usage",
                "--disable-background-networking",
                "--disable-component-update",
                "--disable-extensions",
                "--disable-sync",
                "--force-color-profile=srgb",
                "--hide-scrollbars",
                "--no-first-run",
                "--no-proxy-server",
                "--remote-debugging-pipe",
                "--user-data-dir=" + self.data,
                "about:blank",
            ],
            close_fds=False,
            preexec_fn=wire,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
            env=dict(os.environ, HOME=self.data),
        )
        os.close(theirs_read)
        os.close(theirs_write)
        self._write, self._read = ours_write, ours_read
        self._selector = selectors.DefaultSelector()
        self._selector.register(self._read, selectors.EVENT_READ)
        self._buffer = b""
        self._last_id = 0
        self._answers = {}
        self._pages = {}
        self.call("Browser.getVersion")

    def close(self):
        os.close(self._write)  # upon which it ends
        try:
            self.process.wait(PATIENCE)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
        self._selector.close()
        os.close(self._read)
        shutil.rmtree(self.data, ignore_errors=True)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def new_profile(self):
        return self.call("Target.createBrowserContext")["browserContextId"]

    def new_page(self, profile=None):
        where = {"browserContextId": profile} if profile else {}
        target = self.call("Target.createTarget", url="about:blank", newWindow=True, **where)
        target = target["targetId"]
        session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        page = Page(self, target, session)
        self._pages[session] = page
        for domain in ("Page", "Runtime", "Network", "Log"):
            page.call(domain + ".enable")
        return page

    def call(self, method, session=None, **params):
        self._last_id += 1
        number = self._last_id
        message = {"id": number, "method": method, "params": params}
        if session:
            message["sessionId"] = session
        data = json.dumps(message).encode() + b"\0"
        while data:
            data = data[os.write(self._write, data) :]
        deadline = time.monotonic() + 2 * PATIENCE
        while number not in self._answers:
            self.listen(deadline, method)
        answer = self._answers.pop(number)
        if "error" in answer:
            raise BrowserError(f"{method}: {answer['error']['message']}")
        return answer["result"]

    def listen(self, deadline, what="the browser"):
        """Takes in what the browser says next."""
        left = deadline - time.monotonic()
        if left <= 0 or not self._selector.select(left):
            raise BrowserError(f"no answer: {what}")
        data = os.read(self._read, 1 << 20)
        if not data:
            raise BrowserError("the browser has ended")
        *messages, self._buffer = (self._buffer + data).split(b"\0")
        for message in map(json.loads, messages):
            if "id" in message:
                self._answers[message["id"]] = message
            elif message.get("sessionId") in self._pages:
                self._pages[message["sessionId"]].hear(message["method"], message["params"])

    def hear_out(self):
        """Takes in what the browser has said until now."""
        self.call("Browser.getVersion")


class Page:
    def __init__(self, browser, target, session):
        self.browser = browser
        self.target = target
        self.session = session
        self.requests = []  # the addresses that this page has asked for
        self.problems = []  # what the browser complained about
        self.dialogs = collections.deque()  # the kinds of those that nobody has answered

    def call(self, method, **params):
        return self.browser.call(method, self.session, **params)

    def hear(self, method, params):
        if method == "Network.requestWillBeSent":
            self.requests.append(params["request"]["url"])
        elif method == "Runtime.exceptionThrown":
            details = params["exceptionDetails"]
            self.problems.append(
                details.get("exception", {}).get("description", details["text"])
            )
        elif method == "Log.entryAdded" and params["entry"]["level"] == "error":
            entry = params["entry"]
            self.problems.append(f"{entry['source']}: {entry['text']} {entry.get('url', '')}")
        elif method == "Page.javascriptDialogOpening":
            self.dialogs.append(params["type"])

    def close(self):
        self.call("Page.close")
        self.browser._pages.pop(self.session, None)

    # ---- What it shows ----

    def evaluate(self, expression):
        """The value of a JavaScript expression, a promise's included."""
        answer = self.call(
            "Runtime.evaluate", expression=expression, awaitPromise=True, returnByValue=True
        )
        if "exceptionDetails" in answer:
            details = answer["exceptionDetails"]
            raise BrowserError(
                details.get("exception", {}).get("description", details["text"]) + "\n" + expression
            )
        return answer["result"].get("value")

    def wait_for(self, expression, patience=PATIENCE):
        """Waits until a JavaScript expression is true, also while pages come and go."""
        script = f"(() => {{ try {{ return !!({expression}); }} catch {{ return false; }} }})()"
        deadline = time.monotonic() + patience
        while time.monotonic() < deadline:
            try:
                if self.evaluate(script):
                    return
            except BrowserError as error:
                # The page goes to another one just now.
                if "context" not in str(error) and "navigated" not in str(error):
                    raise
            time.sleep(0.01)
        where, text = self.evaluate("[location.href, document.body?.innerText ?? '']")
        raise AssertionError(f"it never came true: {expression}\n{where}\n{text}\n{self.problems}")

    def text(self, selector="body"):
        return self.evaluate(f"document.querySelector({json.dumps(selector)})?.innerText")

    def wait_for_text(self, text, selector="body", patience=PATIENCE):
        self.wait_for(
            f"document.querySelector({json.dumps(selector)})?.innerText"
            f".includes({json.dumps(text)})",
            patience,
        )

    # ---- What a person does ----

    def go(self, address):
        self.evaluate("window.leaving = true")
        answer = self.call("Page.navigate", url=address)
        if answer.get("errorText"):
            raise BrowserError(f"{address}: {answer['errorText']}")
        self.wait_for_load()

    def reload(self):
        self.evaluate("window.leaving = true")
        self.call("Page.reload")
        self.wait_for_load()

    def wait_for_load(self):
        """Waits until another page than the one marked as being left is there."""
        self.wait_for("!window.leaving && document.readyState === 'complete'")

    def click(self, selector):
        self.wait_for(f"document.querySelector({json.dumps(selector)})")
        place = self.evaluate(
            f"(() => {{ const e = document.querySelector({json.dumps(selector)}); "
            "e.scrollIntoView({block: 'center'}); const r = e.getBoundingClientRect(); "
            "return [r.x + r.width / 2, r.y + r.height / 2]; })()"
        )
        for kind in ("mousePressed", "mouseReleased"):
            self.call(
                "Input.dispatchMouseEvent",
                type=kind,
                x=place[0],
                y=place[1],
                button="left",
                clickCount=1,
            )

    def press(self, key, shift=False):
        code, number, text = KEYS[key]
        common = {
            "key": text if key == "Space" else key,
            "code": code,
            "windowsVirtualKeyCode": number,
            "modifiers": 8 if shift else 0,
        }
        self.call(
            "Input.dispatchKeyEvent",
            type="keyDown" if text else "rawKeyDown",
            **({"text": text} if text else {}),
            **common,
        )
        self.call("Input.dispatchKeyEvent", type="keyUp", **common)

    def type(self, text):
        self.call("Input.insertText", text=text)

    def fill(self, selector, text):
        """Replaces what is in a field."""
        self.wait_for(f"document.querySelector({json.dumps(selector)})")
        self.evaluate(
            f"(() => {{ const e = document.querySelector({json.dumps(selector)}); e.focus(); "
            "e.select(); })()"
        )
        self.type(text)

    def answer_dialog(self, accept):
        """Waits for a dialog of the browser's own, and answers it; returns its kind."""
        deadline = time.monotonic() + PATIENCE
        while not self.dialogs:
            self.browser.listen(deadline, "a dialog")
        self.call("Page.handleJavaScriptDialog", accept=accept)
        return self.dialogs.popleft()

    # ---- How it is looked at ----

    def set_width(self, width, height=800, is_phone=False):
        self.call(
            "Emulation.setDeviceMetricsOverride",
            width=width,
            height=height,
            deviceScaleFactor=2 if is_phone else 1,
            mobile=is_phone,
        )

    def set_dark(self, is_dark):
        value = "dark" if is_dark else "light"
        self.call(
            "Emulation.setEmulatedMedia",
            features=[
                {"name": "prefers-color-scheme", "value": value},
                {"name": "prefers-reduced-motion", "value": "reduce"},
            ],
        )

    def set_scripts(self, are_on):
        self.call("Emulation.setScriptExecutionDisabled", value=not are_on)

    def set_offline(self, is_offline):
        self.call(
            "Network.emulateNetworkConditions",
            offline=is_offline,
            latency=0,
            downloadThroughput=-1,
            uploadThroughput=-1,
        )

    def screenshot(self, path, whole=True):
        shot = self.call("Page.captureScreenshot", format="png", captureBeyondViewport=whole)
        with open(path, "wb") as file:
            file.write(base64.b64decode(shot["data"]))
