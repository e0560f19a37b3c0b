#!/usr/bin/env python3
"""Opens hubstore-sim's --timeline pages of examples/quickstart.scn and of a
fleet of 1,000 switches x 20 groups (fleet_scenario.py) in headless Chromium,
over the DevTools protocol on a pipe, and checks in every view: no exception,
console or log error, no request but the page; the page's counts of steps,
group and switch lanes and hook marks against the run; with every group open
(#open=*) every lane; with a step shown (#step=N) its line in the tooltip.
It prints each page's size and load time and saves screenshots.

    check_timeline.py --sim build/dev/tools/sim/hubstore-sim --out build/timeline
"""
import argparse
import base64
import json
import os
import pathlib
import select
import shutil
import subprocess
import sys
import tempfile
import time

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent
sys.dont_write_bytecode = True  # nothing written into the tree
sys.path.insert(0, str(HERE))
import fleet_scenario  # noqa: E402

WIDTH, HEIGHT = 1400, 900
CHROMIUM_FLAGS = [
    "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
    "--disable-background-networking", "--disable-component-update", "--disable-sync",
    "--remote-debugging-pipe", "--window-size=%d,%d" % (WIDTH, HEIGHT),
]
TIMEOUT = 60.0
FAILURES = []


class Browser:
    """Chromium driven over --remote-debugging-pipe: it reads commands from
    its descriptor 3 and writes answers and events to its descriptor 4, each
    message JSON ended by a NUL."""

    def __init__(self, chromium):
        self.profile = tempfile.TemporaryDirectory(prefix="timeline-chromium-")
        to_browser_read, self.to_browser = os.pipe()
        self.from_browser, from_browser_write = os.pipe()

        def wire_pipes():
            # Copied first: a pipe may already sit at 3 or 4, and dup2 onto
            # itself would leave it closed on exec.
            read, write = os.dup(to_browser_read), os.dup(from_browser_write)
            os.dup2(read, 3)
            os.dup2(write, 4)

        self.log = tempfile.TemporaryFile()
        self.process = subprocess.Popen(
            [chromium, *CHROMIUM_FLAGS, "--user-data-dir=" + self.profile.name], stdin=subprocess.DEVNULL,
            stdout=self.log, stderr=self.log, preexec_fn=wire_pipes, close_fds=False)
        os.close(to_browser_read)
        os.close(from_browser_write)
        self.buffer = b""
        self.next_id = 0
        self.events = []

    def close(self):
        try:
            self.send("Browser.close")
            self.process.wait(timeout=10)
        except (RuntimeError, subprocess.TimeoutExpired):
            self.process.kill()
            self.process.wait()
        os.close(self.to_browser)
        os.close(self.from_browser)
        self.profile.cleanup()

    def _read_message(self, deadline):
        while b"\0" not in self.buffer:
            ready, _, _ = select.select([self.from_browser], [], [], max(0, deadline - time.monotonic()))
            if not ready:
                raise RuntimeError("no answer from chromium in time")
            chunk = os.read(self.from_browser, 1 << 20)
            if not chunk:
                self.log.seek(0)
                raise RuntimeError("chromium closed its pipe:\n" + self.log.read().decode(errors="replace"))
            self.buffer += chunk
        message, self.buffer = self.buffer.split(b"\0", 1)
        return json.loads(message)

    def send(self, method, params=None, session=None):
        self.next_id += 1
        message = {"id": self.next_id, "method": method, "params": params or {}}
        if session:
            message["sessionId"] = session
        os.write(self.to_browser, json.dumps(message).encode() + b"\0")
        deadline = time.monotonic() + TIMEOUT
        while True:
            answer = self._read_message(deadline)
            if answer.get("id") == self.next_id:
                if "error" in answer:
                    raise RuntimeError("%s failed: %s" % (method, answer["error"]))
                return answer.get("result", {})
            self.events.append(answer)

    def wait_for(self, method, session, deadline):
        while not any(e.get("method") == method and e.get("sessionId") == session for e in self.events):
            self.events.append(self._read_message(deadline))


# What makes an event of a page an error: exceptions, console errors, log
# errors, and requests for anything but the page itself.
ERROR_EVENTS = {
    "Runtime.exceptionThrown": lambda params, page: True,
    "Runtime.consoleAPICalled": lambda params, page: params["type"] in ("error", "assert", "warning"),
    "Log.entryAdded": lambda params, page: params["entry"]["level"] in ("error", "warning"),
    "Network.requestWillBeSent": lambda params, page: params["request"]["url"].split("#")[0] != page,
}


def load(browser, url, screenshot=None):
    """Loads `url` in a new tab; returns the page's data attributes, the time
    from navigation to its load event, and the page's errors."""
    target = browser.send("Target.createTarget", {"url": "about:blank"})["targetId"]
    session = browser.send("Target.attachToTarget", {"targetId": target, "flatten": True})["sessionId"]
    for domain in ("Page", "Runtime", "Log", "Network"):
        browser.send(domain + ".enable", session=session)
    # The screenshots' size: the whole window is the page.
    browser.send("Emulation.setDeviceMetricsOverride",
                 {"width": WIDTH, "height": HEIGHT, "deviceScaleFactor": 1, "mobile": False}, session=session)
    browser.events.clear()
    started = time.monotonic()
    browser.send("Page.navigate", {"url": url}, session=session)
    browser.wait_for("Page.loadEventFired", session, started + TIMEOUT)
    elapsed = time.monotonic() - started
    # The page draws as it loads: by its load event it is ready or failed.
    dataset = json.loads(browser.send("Runtime.evaluate", {
        "expression": "JSON.stringify(Object.assign({}, document.body.dataset))",
        "returnByValue": True}, session=session)["result"].get("value") or "{}")
    if screenshot:
        shot = browser.send("Page.captureScreenshot", {"format": "png"}, session=session)
        pathlib.Path(screenshot).write_bytes(base64.b64decode(shot["data"]))
    # Events that arrived while the page ran.
    browser.send("Runtime.evaluate", {"expression": "0"}, session=session)
    errors = ["%s: %s" % (event["method"], json.dumps(event["params"])[:400]) for event in browser.events
              if event.get("sessionId") == session and ERROR_EVENTS.get(event.get("method"), lambda *_: False)(
                  event["params"], url.split("#")[0])]
    browser.events.clear()
    browser.send("Target.closeTarget", {"targetId": target})
    return dataset, elapsed, errors


def check(condition, message):
    print(("  ok    " if condition else "  FAIL  ") + message)
    if not condition:
        FAILURES.append(message)


def check_scenario(browser, sim, scenario, out, groups, switch_lanes, shown_step=None, screenshot_hash=None):
    name = pathlib.Path(scenario).stem
    page = out / (name + ".html")
    run = subprocess.run([str(sim), "--timeline", str(page), str(scenario)],
                         capture_output=True, text=True, timeout=600)
    print("%s: %s" % (name, scenario))
    check(run.returncode == 0, "the sim ran the scenario (exit %d) %s" % (run.returncode, run.stderr.strip()))
    # The scenario's commands: lines with a word before any comment.
    commands = [line for line in pathlib.Path(scenario).read_text().splitlines()
                if line.split() and not line.split()[0].startswith("#")]
    if shown_step is None:
        shown_step = len(commands) // 2
    line = " ".join(commands[shown_step].split("#")[0].split())
    hook_lines = sum(1 for output in run.stdout.splitlines() if output.startswith("hook "))
    # Each view of the page, its screenshot, and what its data attributes
    # must show: a value, or what a test of the attribute's text checks.
    views = [("", out / (name + ".png"), {"steps": len(commands), "groupLanes": groups, "lanes": groups,
                                           "switchLanes": switch_lanes, "marks": hook_lines}),
             ("#open=*", None, {"lanes": groups + switch_lanes, "lanesDrawn": ("> 0", lambda drawn: int(drawn) > 0)}),
             ("#step=%d" % shown_step, None, {"tip": ("shows %r" % line, lambda tip: line in tip)})]
    if screenshot_hash is not None:
        views.append((screenshot_hash.format(step=shown_step), out / (name + "-open.png"), {}))
    for fragment, screenshot, expected in views:
        dataset, elapsed, errors = load(browser, page.resolve().as_uri() + fragment, screenshot)
        print("  page %s%s: %.1f MB, loaded %.2f s after navigation (%s ms by the page's clock)"
              % (page, fragment, page.stat().st_size / 1e6, elapsed, dataset.get("renderMs")))
        check(errors == [] and dataset.get("ready") == "yes",
              "ready, no error: %s %s" % (errors, dataset.get("error", "")))
        for key, want in expected.items():
            text, test = want if isinstance(want, tuple) else ("== %s" % want, lambda got, want=want: got == str(want))
            got = dataset.get(key, "")
            check(test(got), "%s %s, got %r" % (key, text, got[:100]))


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--sim", required=True, help="the hubstore-sim to run")
    parser.add_argument("--out", required=True, help="folder for the scenarios, pages and screenshots")
    args = parser.parse_args()
    chromium = shutil.which("chromium")
    if not chromium:
        print("check_timeline: chromium not found (scripts/run installs Debian's chromium)")
        return 1
    out = pathlib.Path(args.out)
    out.mkdir(parents=True, exist_ok=True)
    switches, groups = 1000, 20
    fleet = out / "fleet.scn"
    fleet.write_text(fleet_scenario.scenario(switches, groups))
    browser = Browser(chromium)
    try:
        # quickstart: one group with one switch; step 14 closes the group.
        check_scenario(browser, args.sim, ROOT / "examples" / "quickstart.scn", out, 1, 1, 14)
        # The fleet: every switch has a status for every group. The
        # screenshot opens the last group and shows the middle step.
        check_scenario(browser, args.sim, fleet, out, groups, switches * groups, None,
                       "#open=g%02d&step={step}" % groups)
    finally:
        browser.close()
    if FAILURES:
        print("check_timeline: %d checks failed" % len(FAILURES))
        return 1
    print("check_timeline: every check passed; screenshots in %s" % out)
    return 0


if __name__ == "__main__":
    sys.exit(main())
