"""What a person sees of report pages in a real browser: Debian's chromium, headless, driven through
its DevTools protocol over a pipe (no display, no network, nothing but the standard library).

    browser_probe.py [--screenshot PNG] PAGE.html...

Prints one JSON object per page, one per line:
    page       the file
    loaded     whether the load event came
    requests   every request the page made besides its own document (none should leave it)
    console    console messages, errors and policy violations
    scripts    how many script elements it holds
    text       the text the page shows (innerText)
    findings   each finding box: its first line and whether it is shown
    screen     the drawing at a 1100 px wide window, print: the same in print media on an A4 page
               (698 px between margins): {width, height, smallest (font size in px), texts,
               outside (texts not inside the drawing), overlaps (pairs of texts that overlap),
               spill (texts running out of their box)}, or null when the page has no drawing
--screenshot writes the first page, from its top to its third finding, as PNG.
Exits 2 when the browser cannot be started or does not answer.
"""
import base64
import json
import os
import select
import subprocess
import sys
import tempfile
import time

FLAGS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
         "--disable-background-networking", "--disable-component-update", "--disable-sync",
         "--hide-scrollbars", "--remote-debugging-pipe"]
TIMEOUT = 30

MEASURE = r"""
(() => {
  const box = e => { const r = e.getBoundingClientRect(); return {x: r.x, y: r.y, w: r.width, h: r.height}; };
  const svg = document.querySelector('svg.chain');
  let drawing = null;
  if (svg) {
    const s = box(svg), scale = s.w / svg.viewBox.baseVal.width;
    const texts = [...svg.querySelectorAll('text')].filter(t => t.textContent.trim())
      .map(t => ({text: t.textContent, size: parseFloat(getComputedStyle(t).fontSize) * scale, ...box(t)}));
    const within = (a, b) => a.x >= b.x - 0.5 && a.y >= b.y - 0.5 && a.x + a.w <= b.x + b.w + 0.5 && a.y + a.h <= b.y + b.h + 0.5;
    const meet = (a, b) => a.x < b.x + b.w - 0.5 && b.x < a.x + a.w - 0.5 && a.y < b.y + b.h - 0.5 && b.y < a.y + a.h - 0.5;
    const overlaps = [];
    for (let i = 0; i < texts.length; ++i)
      for (let j = i + 1; j < texts.length; ++j)
        if (meet(texts[i], texts[j])) overlaps.push([texts[i].text, texts[j].text]);
    const spill = [];
    for (const g of svg.querySelectorAll('g')) {
      const rect = g.querySelector('rect');
      for (const t of rect ? g.querySelectorAll('text') : [])
        if (t.textContent.trim() && !within(box(t), box(rect))) spill.push(t.textContent);
    }
    drawing = {width: s.w, height: s.h, smallest: Math.min(...texts.map(t => t.size)), texts: texts.map(t => t.text),
               outside: texts.filter(t => !within(t, s)).map(t => t.text), overlaps, spill};
  }
  const shown = e => e.offsetWidth > 0 && e.offsetHeight > 0 && getComputedStyle(e).visibility !== 'hidden';
  return {text: document.body.innerText, scripts: document.scripts.length, drawing,
          findings: [...document.querySelectorAll('.finding')].map(f => ({first: f.innerText.split('\n')[0], shown: shown(f)})),
          third: (() => { const f = document.querySelectorAll('.finding'); const e = f[Math.min(2, f.length - 1)];
                          return e ? e.getBoundingClientRect().bottom + scrollY + 16 : document.body.scrollHeight; })()};
})()
"""


class Browser:
    """Chromium with the protocol on file descriptors 3 (its input) and 4 (its output)."""

    def __init__(self, profile):
        to_browser, self.out = os.pipe()
        self.inp, from_browser = os.pipe()

        def descriptors():
            a, b = os.dup(to_browser), os.dup(from_browser)
            os.dup2(a, 3)
            os.dup2(b, 4)

        self.process = subprocess.Popen(["chromium", *FLAGS, f"--user-data-dir={profile}", "about:blank"],
                                        stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                        preexec_fn=descriptors, pass_fds=(3, 4))
        os.close(to_browser)
        os.close(from_browser)
        self.buffer = b""
        self.next_id = 0
        self.events = []

    def send(self, method, params=None, session=None):
        self.next_id += 1
        message = {"id": self.next_id, "method": method, "params": params or {}}
        if session:
            message["sessionId"] = session
        os.write(self.out, json.dumps(message).encode() + b"\0")
        return self.next_id

    def receive(self, deadline):
        while b"\0" not in self.buffer:
            left = deadline - time.monotonic()
            if left <= 0 or not select.select([self.inp], [], [], left)[0]:
                raise TimeoutError("the browser does not answer")
            chunk = os.read(self.inp, 1 << 20)
            if not chunk:
                raise ConnectionError("the browser closed its pipe")
            self.buffer += chunk
        message, self.buffer = self.buffer.split(b"\0", 1)
        return json.loads(message)

    def call(self, method, params=None, session=None):
        wanted = self.send(method, params, session)
        deadline = time.monotonic() + TIMEOUT
        while True:
            message = self.receive(deadline)
            if message.get("id") == wanted:
                if "error" in message:
                    raise RuntimeError(f"{method}: {message['error']}")
                return message.get("result", {})
            self.events.append(message)

    def wait_for(self, method, deadline):
        while True:
            for i, event in enumerate(self.events):
                if event.get("method") == method:
                    return self.events.pop(i)
            self.events.append(self.receive(deadline))

    def close(self):
        try:
            self.send("Browser.close")
            self.process.wait(timeout=10)
        except Exception:
            self.process.kill()


def evaluate(browser, session):
    result = browser.call("Runtime.evaluate", {"expression": MEASURE, "returnByValue": True}, session)
    if "exceptionDetails" in result:
        raise RuntimeError(result["exceptionDetails"])
    return result["result"]["value"]


def probe(browser, page, screenshot):
    target = browser.call("Target.createTarget", {"url": "about:blank"})["targetId"]
    session = browser.call("Target.attachToTarget", {"targetId": target, "flatten": True})["sessionId"]
    for domain in ("Page", "Network", "Runtime", "Log"):
        browser.call(f"{domain}.enable", {}, session)
    browser.call("Emulation.setDeviceMetricsOverride", {"width": 1100, "height": 900, "deviceScaleFactor": 1, "mobile": False}, session)
    url = "file://" + os.path.abspath(page)
    browser.events.clear()
    browser.call("Page.navigate", {"url": url}, session)
    try:
        browser.wait_for("Page.loadEventFired", time.monotonic() + TIMEOUT)
        loaded = True
    except TimeoutError:
        loaded = False
    seen = evaluate(browser, session)
    if screenshot:
        clip = {"x": 0, "y": 0, "width": 1100, "height": seen["third"], "scale": 1}
        shot = browser.call("Page.captureScreenshot", {"format": "png", "clip": clip, "captureBeyondViewport": True}, session)
        with open(screenshot, "wb") as file:
            file.write(base64.b64decode(shot["data"]))
    browser.call("Emulation.setEmulatedMedia", {"media": "print"}, session)
    browser.call("Emulation.setDeviceMetricsOverride", {"width": 698, "height": 1000, "deviceScaleFactor": 1, "mobile": False}, session)
    printed = evaluate(browser, session)
    events = browser.events
    requests = [e["params"]["request"]["url"] for e in events if e.get("method") == "Network.requestWillBeSent"]
    console = [e["params"]["entry"]["text"] for e in events if e.get("method") == "Log.entryAdded"]
    console += [str(e["params"].get("args")) for e in events if e.get("method") == "Runtime.consoleAPICalled"]
    browser.call("Target.closeTarget", {"targetId": target})
    return {"page": page, "loaded": loaded, "requests": [r for r in requests if r != url], "console": console,
            "scripts": seen["scripts"], "text": seen["text"], "findings": seen["findings"],
            "screen": seen["drawing"], "print": printed["drawing"]}


def main():
    args = sys.argv[1:]
    screenshot = None
    if args[:1] == ["--screenshot"]:
        screenshot, args = args[1], args[2:]
    with tempfile.TemporaryDirectory() as profile:
        try:
            browser = Browser(profile)
            browser.call("Browser.getVersion")
        except (OSError, TimeoutError, ConnectionError) as problem:
            print(f"browser_probe: chromium cannot be started: {problem}", file=sys.stderr)
            sys.exit(2)
        try:
            for index, page in enumerate(args):
                print(json.dumps(probe(browser, page, screenshot if index == 0 else None)), flush=True)
        except (TimeoutError, ConnectionError, RuntimeError) as problem:
            print(f"browser_probe: {problem}", file=sys.stderr)
            sys.exit(2)
        finally:
            browser.close()


main()
