"""A headless Chromium, steered over a pipe by the DevTools protocol: messages in JSON, a NUL after each."""

import base64
import json
import os
import select
import shutil
import subprocess
import tempfile
import time

PATIENCE = 120  # seconds that a command may take
READS, WRITES = 3, 4  # the descriptors that --remote-debugging-pipe names


class Browser:
    """One browser with one page. It has no network: its proxy is a port that nobody listens on."""

    def __init__(self, program="chromium"):
        self.profile = tempfile.mkdtemp(prefix="qex-browser-")
        to_browser, self._out = os.pipe()
        self._in, from_browser = os.pipe()
        command = [program, "--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--hide-scrollbars",
                   "--disable-background-networking", "--no-first-run", "--disable-component-update", "--disable-sync",
                   "--proxy-server=127.0.0.1:9", f"--user-data-dir={self.profile}", "--remote-debugging-pipe", "about:blank"]
        # The shell puts the pipe's ends in place; descriptors of ten and more would not be read by every shell.
        shell = f'exec {READS}<&"$1" {WRITES}>&"$2"; shift 2; exec "$@"'
        self._process = subprocess.Popen(["bash", "-c", shell, "bash", str(to_browser), str(from_browser), *command],
                                         pass_fds=(to_browser, from_browser), stdin=subprocess.DEVNULL,
                                         stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(to_browser)
        os.close(from_browser)
        self._buffer, self._number, self.events = b"", 0, []
        target = self.ask("Target.createTarget", url="about:blank")["targetId"]
        self._session = self.ask("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Network", "Log", "Runtime"):
            self.ask(domain + ".enable")

    _session = None

    def close(self):
        self._process.terminate()
        self._process.wait(timeout=30)
        os.close(self._in)
        os.close(self._out)
        shutil.rmtree(self.profile, ignore_errors=True)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def _read(self, seconds):
        end = time.monotonic() + seconds
        while b"\0" not in self._buffer:
            ready, _, _ = select.select([self._in], [], [], max(0, end - time.monotonic()))
            if not ready:
                raise AssertionError("the browser does not answer")
            octets = os.read(self._in, 1 << 20)
            if not octets:
                raise AssertionError(f"the browser ended with {self._process.wait()}")
            self._buffer += octets
        message, self._buffer = self._buffer.split(b"\0", 1)
        return json.loads(message)

    def ask(self, method, **parameters):
        """The result of a command; events that arrive before it are kept."""
        self._number += 1
        message = {"id": self._number, "method": method, "params": parameters}
        if self._session:
            message["sessionId"] = self._session
        octets = json.dumps(message).encode() + b"\0"
        while octets:
            octets = octets[os.write(self._out, octets):]
        while True:
            answer = self._read(PATIENCE)
            if answer.get("id") == self._number:
                if "error" in answer:
                    raise AssertionError(f"{method}: {answer['error']}")
                return answer["result"]
            self.events.append(answer)

    def visit(self, path):
        """Loads a file and returns the events until it is there."""
        self.events.clear()
        self.ask("Page.navigate", url="file://" + path)
        while not any(event.get("method") == "Page.loadEventFired" for event in self.events):
            self.events.append(self._read(PATIENCE))
        return list(self.events)

    def show(self, width, scheme="light", media=""):
        self.ask("Emulation.setDeviceMetricsOverride", width=width, height=900, deviceScaleFactor=1, mobile=False)
        self.ask("Emulation.setEmulatedMedia", media=media, features=[{"name": "prefers-color-scheme", "value": scheme}])

    def value(self, expression):
        result = self.ask("Runtime.evaluate", expression=expression, returnByValue=True)
        if "exceptionDetails" in result:
            raise AssertionError(result["exceptionDetails"])
        return result["result"].get("value")

    def picture(self, path, most=4000):
        height = min(self.value("document.documentElement.scrollHeight"), most)
        width = self.value("innerWidth")
        data = self.ask("Page.captureScreenshot", captureBeyondViewport=True,
                        clip={"x": 0, "y": 0, "width": width, "height": height, "scale": 1})["data"]
        with open(path, "wb") as file:
            file.write(base64.b64decode(data))

    def printed(self):
        """The page as PDF on A4."""
        return base64.b64decode(self.ask("Page.printToPDF", paperWidth=8.27, paperHeight=11.69, printBackground=True)["data"])
