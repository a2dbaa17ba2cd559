"""A real browser, headless, by way of its own driver: opens a page, looks, clicks, types, takes pictures.

Waits are for conditions; `patience` is when a test fails."""

import base64
import json
import pathlib
import shutil
import subprocess
import tempfile
import time
import urllib.error
import urllib.request

PATIENCE = 90.0

# Nothing that a test needs no network for reaches for one; the sandbox of the browser refuses root.
FLAGS = [
    "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run", "--hide-scrollbars",
    "--disable-background-networking", "--disable-component-update", "--disable-sync", "--disable-dev-shm-usage",
]

KEYS = {"right": "\ue014", "left": "\ue012", "end": "\ue010", "home": "\ue011", "escape": "\ue00c", "tab": "\ue004"}


def await_that(what, condition):
    """Returns what the condition comes to as soon as that is true."""
    end = time.monotonic() + PATIENCE
    while True:
        found = condition()
        if found:
            return found
        if time.monotonic() > end:
            raise AssertionError(f"waited in vain for {what}")
        time.sleep(0.1)


class Browser:
    def __init__(self):
        self._profile = tempfile.mkdtemp(prefix="lumora-browser-")
        self._driver = subprocess.Popen(
            ["chromedriver", "--port=0"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self._base = f"http://127.0.0.1:{self._told_port()}"
        options = {"binary": shutil.which("chromium"), "args": [*FLAGS, f"--user-data-dir={self._profile}"]}
        asked = {"goog:chromeOptions": options, "goog:loggingPrefs": {"browser": "ALL"}}
        made = self._call("POST", "/session", {"capabilities": {"alwaysMatch": asked}})
        self._session = f"/session/{made['sessionId']}"

    def _told_port(self):
        for line in self._driver.stdout:
            if "started successfully on port" in line:
                return int(line.rstrip().rstrip(".").rsplit(" ", 1)[1])
        raise AssertionError("chromedriver does not start")

    def _call(self, method, path, body=None):
        data = None if body is None else json.dumps(body).encode()
        asked = urllib.request.Request(self._base + path, data, {"Content-Type": "application/json"}, method=method)
        try:
            with urllib.request.urlopen(asked, timeout=PATIENCE) as answer:
                return json.load(answer)["value"]
        except urllib.error.HTTPError as failure:
            raise AssertionError(json.load(failure)["value"]["message"]) from None

    def close(self):
        try:
            self._call("DELETE", self._session)
        finally:
            self._driver.terminate()
            self._driver.wait()
            shutil.rmtree(self._profile, ignore_errors=True)

    def open(self, address):
        self._call("POST", self._session + "/url", {"url": address})

    def tab(self):
        """The handle of the tab in front."""
        return self._call("GET", self._session + "/window")

    def open_tab(self):
        self.to_front(self._call("POST", self._session + "/window/new", {"type": "tab"})["handle"])

    def to_front(self, tab):
        self._call("POST", self._session + "/window", {"handle": tab})
        self.devtools("Page.bringToFront")

    def close_tab(self):
        self._call("DELETE", self._session + "/window")

    def run(self, script, *arguments):
        return self._call("POST", self._session + "/execute/sync", {"script": script, "args": list(arguments)})

    def run_async(self, script, *arguments):
        """The script calls its last argument with what it comes to."""
        return self._call("POST", self._session + "/execute/async", {"script": script, "args": list(arguments)})

    def devtools(self, command, **parameters):
        return self._call("POST", self._session + "/goog/cdp/execute", {"cmd": command, "params": parameters})

    def faults(self):
        """What the console holds against the page: scripts that failed, policies that were broken."""
        log = self._call("POST", self._session + "/se/log", {"type": "browser"})
        return [entry["message"] for entry in log if entry["level"] == "SEVERE" and entry["source"] != "network"]

    def look(self, width, scheme):
        self.devtools(
            "Emulation.setDeviceMetricsOverride", width=width, height=900, deviceScaleFactor=1, mobile=width < 600)
        self.devtools("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])
        await_that("the layout", lambda: self.run("return innerWidth") == width)

    def picture(self, path, until=None):
        """Of the whole page, or of what stands above an element."""
        height = self.run(
            "return arguments[0] ? Math.round(document.querySelector(arguments[0]).getBoundingClientRect().top + scrollY)"
            " : document.documentElement.scrollHeight", until)
        width = self.run("return innerWidth")
        clip = {"x": 0, "y": 0, "width": width, "height": height, "scale": 1}
        taken = self.devtools("Page.captureScreenshot", format="png", captureBeyondViewport=True, clip=clip)
        pathlib.Path(path).write_bytes(base64.b64decode(taken["data"]))

    def text(self, selector):
        return self.run("return document.querySelector(arguments[0])?.textContent ?? ''", selector)

    def count(self, selector):
        return self.run("return document.querySelectorAll(arguments[0]).length", selector)

    def attribute(self, selector, name):
        return self.run("return document.querySelector(arguments[0])?.getAttribute(arguments[1])", selector, name)

    def point_at(self, selector):
        self.run("document.querySelector(arguments[0]).scrollIntoView({block: 'center'})", selector)
        at = self.run(
            "const r = document.querySelector(arguments[0]).getBoundingClientRect();"
            "return [r.x + r.width / 2, r.y + r.height / 2]", selector)
        self.devtools("Input.dispatchMouseEvent", type="mouseMoved", x=at[0], y=at[1])

    def press(self, selector, key):
        self.run("document.querySelector(arguments[0]).focus()", selector)
        self.type(key)

    def type(self, key):
        press = [{"type": "keyDown", "value": KEYS[key]}, {"type": "keyUp", "value": KEYS[key]}]
        self._call("POST", self._session + "/actions", {"actions": [{"type": "key", "id": "keys", "actions": press}]})

    def click_button(self, text):
        clicked = self.run(
            "const found = [...document.querySelectorAll('button')].find((each) => each.textContent === arguments[0]);"
            "found?.click(); return Boolean(found)", text)
        assert clicked, f"no button {text}"
