"""A headless Chromium, spoken to through the pipes of its DevTools protocol: nothing but Python's own
library is needed."""

import contextlib
import json
import os
import select
import shutil
import signal
import subprocess
import tempfile
import time

PATIENCE = 120  # seconds until a silent browser counts as broken


def find():
    """The path of a browser, or None."""
    for name in ("chromium", "chromium-browser", "google-chrome"):
        path = shutil.which(name)
        if path:
            return path
    return None


class Browser:
    """One browser with one page. Events that nobody waits for are kept in `events`."""

    def __init__(self, path):
        self.profile = tempfile.mkdtemp(prefix="headless-")
        to_browser, self.write_end = os.pipe()
        self.read_end, from_browser = os.pipe()

        def take_places():  # the protocol is spoken on descriptors 3 and 4
            spare = [os.dup(to_browser), os.dup(from_browser)]
            while min(spare) < 5:
                spare = [os.dup(end) for end in spare]
            os.dup2(spare[0], 3)
            os.dup2(spare[1], 4)

        command = [path, "--headless=new", "--remote-debugging-pipe", "--disable-gpu", "--no-first-run",
                   "--disable-background-networking", "--disable-dev-shm-usage", "--hide-scrollbars",
                   "--user-data-dir=" + self.profile]
        if os.geteuid() == 0:
            command.append("--no-sandbox")
        self.log = open(os.path.join(self.profile, "log"), "w+b")
        self.process = subprocess.Popen(command, preexec_fn=take_places, close_fds=False, start_new_session=True,
                                        stdin=subprocess.DEVNULL, stdout=self.log, stderr=self.log)
        os.close(to_browser)
        os.close(from_browser)
        self.buffer = b""
        self.number = 0
        self.session = None
        self.events = []
        try:
            self.open_page()
        except BaseException:
            self.close()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def open_page(self):
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Network"):
            self.call(domain + ".enable")

    def close(self):
        self.process.terminate()
        try:
            self.process.wait(20)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
        # Its helpers may go on writing into the profile for a while.
        with contextlib.suppress(ProcessLookupError):
            os.killpg(self.process.pid, signal.SIGKILL)
        self.log.close()
        os.close(self.write_end)
        os.close(self.read_end)
        shutil.rmtree(self.profile, ignore_errors=True)

    def message(self):
        """The next message of the browser."""
        end = time.monotonic() + PATIENCE
        while b"\0" not in self.buffer:
            ready, _, _ = select.select([self.read_end], [], [], max(0, end - time.monotonic()))
            chunk = os.read(self.read_end, 1 << 16) if ready else b""
            if not chunk:
                self.log.seek(0)
                raise RuntimeError("the browser is silent: "
                                   + self.log.read().decode(errors="replace")[-2000:])
            self.buffer += chunk
        text, self.buffer = self.buffer.split(b"\0", 1)
        return json.loads(text)

    def call(self, method, **parameters):
        """The result of a command."""
        self.number += 1
        request = {"id": self.number, "method": method, "params": parameters}
        if self.session:
            request["sessionId"] = self.session
        data = json.dumps(request).encode() + b"\0"
        while data:
            data = data[os.write(self.write_end, data):]
        while True:
            answer = self.message()
            if answer.get("id") != self.number:
                self.events.append(answer)
            elif "error" in answer:
                raise RuntimeError(method + ": " + answer["error"]["message"])
            else:
                return answer["result"]

    def show(self, url, width, height, scheme):
        """Loads the page on a screen of this size, light or dark."""
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height,
                  deviceScaleFactor=2, mobile=width < 600)
        self.call("Emulation.setEmulatedMedia",
                  features=[{"name": "prefers-color-scheme", "value": scheme}])
        self.events.clear()
        self.call("Page.navigate", url=url)
        seen = 0
        while not any(event.get("method") == "Page.loadEventFired" for event in self.events[seen:]):
            seen = len(self.events)
            self.events.append(self.message())

    def evaluate(self, expression):
        """The value of a JavaScript expression, awaited if it is a promise."""
        answer = self.call("Runtime.evaluate", expression=expression, returnByValue=True,
                           awaitPromise=True)
        if "exceptionDetails" in answer:
            raise RuntimeError(str(answer["exceptionDetails"]))
        return answer["result"].get("value")
