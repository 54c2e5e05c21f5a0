# SPDX-License-Identifier: Apache-2.0
"""A browser without a window, through the WebDriver protocol of Debian's chromium-driver."""
import base64
import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import time
import urllib.error
import urllib.request

ELEMENT = "element-6066-11e4-a52e-4f735466cecf"
LONG = 60  # seconds; far more than anything takes


class WebDriverError(Exception):
    pass


def wait_for(what, condition, limit=LONG):
    """The first value of condition() that counts as true."""
    end = time.monotonic() + limit
    while time.monotonic() < end:
        value = condition()
        if value:
            return value
        time.sleep(0.05)
    raise WebDriverError(f"waited in vain for {what}")


class Browser:
    """Chromium with a profile of its own. Downloads go to the folder `downloads`."""

    def __init__(self, width=1280, height=860, dark=False, scale=1):
        self.folder = tempfile.TemporaryDirectory(prefix="kxcam-browser-")
        self.downloads = os.path.join(self.folder.name, "downloads")
        os.mkdir(self.downloads)
        driver = shutil.which("chromedriver")
        if driver is None:
            raise WebDriverError("there is no chromedriver: packaging/install-dependencies browser")
        log = pathlib.Path(self.folder.name, "driver.log")
        with log.open("w") as output:
            self.driver = subprocess.Popen([driver, "--port=0"], stdout=output, stderr=subprocess.STDOUT)
        try:
            self.base = f"http://127.0.0.1:{wait_for('the driver', lambda: self._port(log))}"
            self.session = f"/session/{self._start(width, height, dark, scale)}"
        except Exception:
            self._end_driver()
            raise

    @staticmethod
    def _port(log):
        words = log.read_text().partition("started successfully on port ")[2].split()
        return words[0].rstrip(".") if words else None

    def _start(self, width, height, dark, scale):
        arguments = [
            "--headless=new",
            "--disable-gpu",
            "--hide-scrollbars",
            "--disable-dev-shm-usage",
            f"--user-data-dir={self.folder.name}/profile",
            f"--force-device-scale-factor={scale}",
            f"--window-size={width},{height}",
        ]
        if os.geteuid() == 0:  # Chromium's sandbox is not for root
            arguments.append("--no-sandbox")
        if dark:
            arguments.append("--force-dark-mode")
        options = {
            "args": arguments,
            "binary": shutil.which("chromium"),
            "prefs": {"download.default_directory": self.downloads},
        }
        reply = self._call(
            "POST",
            "/session",
            {
                "capabilities": {
                    "alwaysMatch": {"goog:chromeOptions": options, "goog:loggingPrefs": {"browser": "ALL"}}
                }
            },
        )
        return reply["sessionId"]

    def _call(self, method, path, body=None):
        request = urllib.request.Request(
            self.base + path,
            method=method,
            data=None if body is None else json.dumps(body).encode(),
            headers={"Content-Type": "application/json"},
        )
        try:
            with urllib.request.urlopen(request, timeout=LONG) as reply:
                return json.load(reply)["value"]
        except urllib.error.HTTPError as error:
            raise WebDriverError(json.load(error)["value"]["message"]) from None

    def call(self, method, path, body=None):
        return self._call(method, self.session + path, body)

    def open(self, address):
        self.call("POST", "/url", {"url": address})

    def run(self, script, *arguments):
        """What the body of a function returns."""
        return self.call("POST", "/execute/sync", {"script": script, "args": list(arguments)})

    def element(self, selector):
        return self.call("POST", "/element", {"using": "css selector", "value": selector})[ELEMENT]

    def click(self, selector):
        self.call("POST", f"/element/{self.element(selector)}/click", {})

    def type(self, selector, keys):
        self.call("POST", f"/element/{self.element(selector)}/value", {"text": keys})

    def press(self, key):
        self._act(
            [
                {
                    "type": "key",
                    "id": "keyboard",
                    "actions": [{"type": "keyDown", "value": key}, {"type": "keyUp", "value": key}],
                }
            ]
        )

    def drag(self, selector, start, end):
        """From one place of an element to another, both in parts of its size."""
        box = self.run(
            "const b = document.querySelector(arguments[0]).getBoundingClientRect();"
            "return [b.left, b.top, b.width, b.height]",
            selector,
        )
        (x0, y0), (x1, y1) = [
            (round(box[0] + x * box[2]), round(box[1] + y * box[3])) for x, y in (start, end)
        ]
        move = {"type": "pointerMove", "origin": "viewport"}
        steps = [
            dict(move, duration=0, x=x0, y=y0),
            {"type": "pointerDown", "button": 0},
            dict(move, duration=50, x=(x0 + x1) // 2, y=(y0 + y1) // 2),
            dict(move, duration=50, x=x1, y=y1),
            {"type": "pointerUp", "button": 0},
        ]
        self._act(
            [{"type": "pointer", "id": "mouse", "parameters": {"pointerType": "mouse"}, "actions": steps}]
        )

    def hover(self, selector, x, y):
        box = self.run(
            "const b = document.querySelector(arguments[0]).getBoundingClientRect();"
            "return [b.left, b.top, b.width, b.height]",
            selector,
        )
        self._act(
            [
                {
                    "type": "pointer",
                    "id": "mouse",
                    "parameters": {"pointerType": "mouse"},
                    "actions": [
                        {
                            "type": "pointerMove",
                            "origin": "viewport",
                            "duration": 10,
                            "x": round(box[0] + x * box[2]),
                            "y": round(box[1] + y * box[3]),
                        }
                    ],
                }
            ]
        )

    def _act(self, actions):
        self.call("POST", "/actions", {"actions": actions})

    def log(self):
        """What the browser's console has shown since the last call."""
        return self.call("POST", "/se/log", {"type": "browser"})

    def screenshot(self):
        """The bytes of a PNG file."""
        return base64.b64decode(self.call("GET", "/screenshot"))

    def _end_driver(self):
        self.driver.terminate()
        self.driver.wait()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        try:
            self.call("DELETE", "")
        finally:
            self._end_driver()
            self.folder.cleanup()
