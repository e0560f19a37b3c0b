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
import re
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

CHROMIUM_FLAGS = [
    "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
    "--disable-background-networking", "--disable-component-update", "--disable-sync",
    "--remote-debugging-pipe",
]
TIMEOUT = 60.0


class Failure(Exception):
    pass


class Browser:
    """Chromium driven over --remote-debugging-pipe: it reads commands from
    its descriptor 3 and writes answers and events to its descriptor 4, each
    message JSON ended by a NUL."""

    def __init__(self, chromium, size):
        self.profile = tempfile.mkdtemp(prefix="timeline-chromium-")
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
            [chromium, *CHROMIUM_FLAGS, "--user-data-dir=" + self.profile,
             "--window-size=%d,%d" % size],
            stdin=subprocess.DEVNULL, stdout=self.log, stderr=self.log,
            preexec_fn=wire_pipes, close_fds=False)
        os.close(to_browser_read)
        os.close(from_browser_write)
        self.buffer = b""
        self.next_id = 0
        self.events = []
        self.size = size

    def close(self):
        try:
            self.send("Browser.close")
        except Failure:
            pass
        try:
            self.process.wait(timeout=10)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
        os.close(self.to_browser)
        os.close(self.from_browser)
        shutil.rmtree(self.profile, ignore_errors=True)

    def browser_log(self):
        self.log.seek(0)
        return self.log.read().decode(errors="replace")

    def _read_message(self, deadline):
        while b"\0" not in self.buffer:
            left = deadline - time.monotonic()
            if left <= 0:
                raise Failure("no answer from chromium in time")
            ready, _, _ = select.select([self.from_browser], [], [], left)
            if ready:
                chunk = os.read(self.from_browser, 1 << 20)
                if not chunk:
                    raise Failure("chromium closed its pipe:\n" + self.browser_log())
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
                    raise Failure("%s failed: %s" % (method, answer["error"]))
                return answer.get("result", {})
            self.events.append(answer)

    def wait_for(self, method, session, deadline):
        while True:
            for index, event in enumerate(self.events):
                if event.get("method") == method and event.get("sessionId") == session:
                    return self.events.pop(index)
            self.events.append(self._read_message(deadline))


def page_errors(events, page_url):
    """Exceptions, console errors, log errors, and requests for anything but
    the page itself."""
    errors = []
    for event in events:
        method, params = event.get("method"), event.get("params", {})
        if method == "Runtime.exceptionThrown":
            errors.append("exception: " + json.dumps(params.get("exceptionDetails", {}))[:400])
        elif method == "Runtime.consoleAPICalled" and params.get("type") in ("error", "assert", "warning"):
            errors.append("console %s: %s" % (params["type"], json.dumps(params.get("args", []))[:400]))
        elif method == "Log.entryAdded" and params["entry"].get("level") in ("error", "warning"):
            errors.append("log: " + params["entry"].get("text", ""))
        elif method == "Network.requestWillBeSent":
            url = params["request"]["url"]
            if url.split("#")[0] != page_url:
                errors.append("request: " + url)
    return errors


def load(browser, url, screenshot=None):
    """Loads `url` in a new tab; returns the page's data attributes, the time
    from navigation to its ready mark, and the page's errors."""
    target = browser.send("Target.createTarget", {"url": "about:blank"})["targetId"]
    session = browser.send("Target.attachToTarget", {"targetId": target, "flatten": True})["sessionId"]
    for domain in ("Page", "Runtime", "Log", "Network"):
        browser.send(domain + ".enable", session=session)
    width, height = browser.size
    browser.send("Emulation.setDeviceMetricsOverride",
                 {"width": width, "height": height, "deviceScaleFactor": 1, "mobile": False}, session=session)
    browser.events.clear()
    started = time.monotonic()
    browser.send("Page.navigate", {"url": url}, session=session)
    deadline = started + TIMEOUT
    browser.wait_for("Page.loadEventFired", session, deadline)
    while True:
        value = browser.send("Runtime.evaluate", {
            "expression": "JSON.stringify(Object.assign({}, document.body.dataset))",
            "returnByValue": True}, session=session)["result"].get("value")
        dataset = json.loads(value or "{}")
        if dataset.get("ready") == "yes" or "error" in dataset:
            break
        if time.monotonic() > deadline:
            raise Failure("%s never became ready" % url)
        time.sleep(0.05)
    elapsed = time.monotonic() - started
    if screenshot:
        shot = browser.send("Page.captureScreenshot", {"format": "png"}, session=session)
        pathlib.Path(screenshot).write_bytes(base64.b64decode(shot["data"]))
    # Events that arrived while the page ran.
    browser.send("Runtime.evaluate", {"expression": "0"}, session=session)
    errors = page_errors([e for e in browser.events if e.get("sessionId") == session], url.split("#")[0])
    browser.events.clear()
    browser.send("Target.closeTarget", {"targetId": target})
    return dataset, elapsed, errors


def check(condition, message, failures):
    print(("  ok    " if condition else "  FAIL  ") + message)
    if not condition:
        failures.append(message)


def check_scenario(browser, sim, scenario, out, groups, switch_lanes, shown_step=None, screenshot_hash=None):
    name = pathlib.Path(scenario).stem
    page = out / (name + ".html")
    run = subprocess.run([str(sim), "--timeline", str(page), str(scenario)],
                         capture_output=True, text=True, timeout=600)
    failures = []
    print("%s: %s" % (name, scenario))
    check(run.returncode == 0, "the sim ran the scenario (exit %d) %s" % (run.returncode, run.stderr.strip()),
          failures)
    html = page.read_text()
    check(not re.search(r"<(script|link|img|iframe)[^>]+(src|href)=", html, re.I) and "http" not in html,
          "the page names no external resource", failures)
    # The scenario's commands: lines with a word before any comment.
    commands = [line for line in pathlib.Path(scenario).read_text().splitlines()
                if line.split() and not line.split()[0].startswith("#")]
    if shown_step is None:
        shown_step = len(commands) // 2
    hook_lines = sum(1 for line in run.stdout.splitlines() if line.startswith("hook "))
    # Each view of the page, its screenshot, and the data attributes it must show.
    views = [("", out / (name + ".png"), {"steps": len(commands), "groupLanes": groups, "lanes": groups,
                                           "switchLanes": switch_lanes, "marks": hook_lines}),
             ("#open=*", None, {"lanes": groups + switch_lanes}),
             ("#step=%d" % shown_step, None, {})]
    if screenshot_hash is not None:
        views.append((screenshot_hash.format(step=shown_step), out / (name + "-open.png"), {}))
    shown = {}
    for fragment, screenshot, expected in views:
        dataset, elapsed, errors = load(browser, page.resolve().as_uri() + fragment, screenshot)
        shown[fragment] = dataset
        print("  page %s%s: %.1f MB, ready %.2f s after navigation (%s ms by the page's clock)"
              % (page, fragment, len(html) / 1e6, elapsed, dataset.get("renderMs")))
        check(errors == [] and "error" not in dataset, "no error: %s %s" % (errors, dataset.get("error", "")),
              failures)
        for key, value in expected.items():
            check(dataset.get(key) == str(value), "%s %s == %s" % (key, dataset.get(key), value), failures)
    drawn = shown["#open=*"].get("lanesDrawn", "0")
    check(int(drawn) > 0, "every group open: %s lanes drawn" % drawn, failures)
    line = " ".join(commands[shown_step].split("#")[0].split())
    check(line in shown["#step=%d" % shown_step].get("tip", ""),
          "step %d's tooltip shows its line %r" % (shown_step, line), failures)
    return failures


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--sim", required=True, help="the hubstore-sim to run")
    parser.add_argument("--out", required=True, help="folder for the scenarios, pages and screenshots")
    parser.add_argument("--chromium", default="chromium")
    parser.add_argument("--switches", type=int, default=1000)
    parser.add_argument("--groups", type=int, default=20)
    args = parser.parse_args()
    chromium = shutil.which(args.chromium)
    if not chromium:
        print("check_timeline: %s not found (scripts/run installs Debian's chromium)" % args.chromium)
        return 1
    out = pathlib.Path(args.out)
    out.mkdir(parents=True, exist_ok=True)
    fleet = out / "fleet.scn"
    fleet.write_text(fleet_scenario.scenario(args.switches, args.groups))

    browser = Browser(chromium, (1400, 900))
    failures = []
    try:
        # quickstart: one group with one switch; step 14 closes the group.
        failures += check_scenario(browser, args.sim, ROOT / "examples" / "quickstart.scn", out, 1, 1, 14)
        # The fleet: every switch has a status for every group. The
        # screenshot opens the last group and shows the middle step.
        failures += check_scenario(browser, args.sim, fleet, out, args.groups, args.switches * args.groups,
                                   None, "#open=g%02d&step={step}" % args.groups)
    finally:
        browser.close()
    if failures:
        print("check_timeline: %d checks failed" % len(failures))
        return 1
    print("check_timeline: every check passed; screenshots in %s" % out)
    return 0


if __name__ == "__main__":
    sys.exit(main())
