"""Drives Debian's Chromium by WebDriver, with nothing but the standard library.

The browser has no network: names are not resolved, and pages are loaded from
disk only.
"""

import base64
import json
import subprocess
import tempfile
import time
import urllib.error
import urllib.request

CHROMIUM = "/usr/bin/chromium"
CHROMEDRIVER = "/usr/bin/chromedriver"

FLAGS = [
    "--headless=new",
    "--no-sandbox",
    "--disable-gpu",
    "--disable-quic",
    "--no-first-run",
    "--disable-background-networking",
    "--disable-component-update",
    "--disable-sync",
    "--disable-dev-shm-usage",
    "--host-resolver-rules=MAP * ~NOTFOUND",
    "--window-size=1400,1000",
]

ELEMENT = "element-6066-11e4-a52e-4f735466cecf"


class Browser:
    def __init__(self):
        self.profile = tempfile.TemporaryDirectory(prefix="chronex-browser.")
        self.driver = subprocess.Popen(
            [CHROMEDRIVER, "--port=0"], stdout=subprocess.PIPE, text=True)
        self.address = None
        for line in self.driver.stdout:
            if "on port" in line and "successfully" in line:
                port = line.rstrip(".\n").rsplit(" ", 1)[1]
                self.address = f"http://127.0.0.1:{port}"
                break
        self.opener = urllib.request.build_opener(
            urllib.request.ProxyHandler({}))
        self.session = ""
        reply = self.call("POST", "/session", {"capabilities": {"alwaysMatch": {
            "goog:chromeOptions": {
                "binary": CHROMIUM,
                "args": FLAGS + [f"--user-data-dir={self.profile.name}"]},
            "goog:loggingPrefs": {"browser": "ALL"}}}})
        self.session = "/session/" + reply["sessionId"]
        self.cdp("Network.enable")
        self.cdp("Network.emulateNetworkConditions", offline=True, latency=0,
                 downloadThroughput=0, uploadThroughput=0)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        try:
            self.call("DELETE", "", None)
        finally:
            self.driver.terminate()
            self.driver.wait()
            self.driver.stdout.close()
            self.profile.cleanup()

    def call(self, method, path, body):
        request = urllib.request.Request(
            self.address + self.session + path, method=method,
            data=None if body is None else json.dumps(body).encode(),
            headers={"Content-Type": "application/json"})
        try:
            with self.opener.open(request, timeout=120) as reply:
                return json.load(reply)["value"]
        except urllib.error.HTTPError as error:
            problem = json.load(error)["value"]
            raise RuntimeError(problem["message"].split("\n")[0]) from None

    def cdp(self, command, **parameters):
        return self.call("POST", "/goog/cdp/execute",
                         {"cmd": command, "params": parameters})

    def run(self, script, *arguments):
        """Runs a function body in the page and returns what it returns."""
        return self.call("POST", "/execute/sync",
                         {"script": script, "args": list(arguments)})

    def wait(self, script, seconds=20):
        """Waits until a function body returns something true, and returns it."""
        until = time.monotonic() + seconds
        while time.monotonic() < until:
            value = self.run(script)
            if value:
                return value
            time.sleep(0.02)
        raise AssertionError(f"this did not come about: {script}")

    def open(self, path):
        """Opens a file from disk and waits until it is ready."""
        self.call("POST", "/url", {"url": "file://" + str(path)})
        self.wait("return document.documentElement.dataset.ready === 'true' ||"
                  " !document.getElementById('loading')?.textContent"
                  ".startsWith('Opening')")
        self.settle()

    def settle(self):
        """Waits until what was changed is drawn, and nothing is busy."""
        self.wait("return !document.querySelector('[aria-busy]')")
        self.call("POST", "/execute/async", {"script":
                  "const done = arguments[0]; requestAnimationFrame(() =>"
                  " requestAnimationFrame(() => setTimeout(done, 30)));",
                  "args": []})

    def find(self, selector):
        return self.call("POST", "/element",
                         {"using": "css selector", "value": selector})[ELEMENT]

    def click(self, selector):
        """Clicks as a user does: what is covered cannot be clicked."""
        element = self.find(selector)
        self.run("arguments[0].scrollIntoView({block: 'center'})",
                 {ELEMENT: element})
        self.call("POST", f"/element/{element}/click", {})
        self.settle()

    def type(self, selector, text):
        element = self.find(selector)
        self.call("POST", f"/element/{element}/value", {"text": text})
        self.settle()

    def press(self, *keys):
        """Presses keys, one after the other, wherever the focus is."""
        actions = []
        for key in keys:
            actions.append({"type": "keyDown", "value": key})
            actions.append({"type": "keyUp", "value": key})
        self.call("POST", "/actions", {"actions": [
            {"type": "key", "id": "keyboard", "actions": actions}]})
        self.settle()

    def drag(self, selector, begin, end):
        """Drags over an element, from and to shares of its width."""
        box = self.run("const place = document.querySelector(arguments[0]);"
                       "place.scrollIntoView({block: 'center'});"
                       "const box = place.getBoundingClientRect();"
                       "return [box.left, box.top, box.width, box.height]",
                       selector)
        x = [round(box[0] + box[2] * share) for share in (begin, end)]
        y = round(box[1] + box[3] / 2)
        move = {"type": "pointerMove", "y": y, "duration": 40}
        self.call("POST", "/actions", {"actions": [
            {"type": "pointer", "id": "mouse", "actions": [
                {**move, "x": x[0]}, {"type": "pointerDown", "button": 0},
                {**move, "x": (x[0] + x[1]) // 2}, {**move, "x": x[1]},
                {"type": "pointerUp", "button": 0}]}]})
        self.settle()

    def text(self, selector):
        return self.run("return document.querySelector(arguments[0])"
                        ".textContent", selector)

    def console(self):
        """What came on the console since the last call."""
        return self.call("POST", "/se/log", {"type": "browser"})

    def size(self, width, height, dark=False, scale=1):
        self.cdp("Emulation.setDeviceMetricsOverride", width=width,
                 height=height, deviceScaleFactor=scale, mobile=False)
        self.cdp("Emulation.setEmulatedMedia", features=[
            {"name": "prefers-color-scheme",
             "value": "dark" if dark else "light"}])
        self.settle()

    def picture(self, path, whole=False):
        parameters = {"format": "png"}
        if whole:
            height = self.run("return document.documentElement.scrollHeight")
            width = self.run("return innerWidth")
            parameters["captureBeyondViewport"] = True
            parameters["clip"] = {"x": 0, "y": 0, "width": width,
                                  "height": height, "scale": 1}
        data = self.cdp("Page.captureScreenshot", **parameters)["data"]
        with open(path, "wb") as file:
            file.write(base64.b64decode(data))

    def pdf(self, path):
        data = self.cdp("Page.printToPDF", printBackground=True,
                        preferCSSPageSize=True)["data"]
        with open(path, "wb") as file:
            file.write(base64.b64decode(data))
