#!/usr/bin/env python3
"""The processes of the store's cross-process tests: private redis-server
instances (127.0.0.1, a free port, no persistence, stopped by their process
id), hubstore-sim processes whose output is read as it comes, and MONITOR;
and the runner that gives each test a bounded run and kills what a failed
one left.
"""

import argparse
import os
import queue
import shlex
import signal
import socket
import subprocess
import tempfile
import threading
import time

WAIT = 15.0  # seconds, for anything that should take milliseconds


class Failure(Exception):
    pass


def fail_if(condition, message):
    if condition:
        raise Failure(message)


# The processes a test started; whatever a failed test leaves running is
# killed before the next one.
SPAWNED = []


def free_port():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def wait_until(condition, what, limit=WAIT):
    """Polls `condition` until it holds; the seconds that took."""
    start = time.monotonic()
    while not condition():
        fail_if(time.monotonic() - start > limit, f"waited {limit}s for {what}")
        time.sleep(0.02)
    return time.monotonic() - start


class RedisServer:
    def __init__(self, binary, password=None, unix_socket=None):
        self.binary, self.password, self.unix_socket = binary, password, unix_socket
        self.port = free_port()
        self.start()

    def __enter__(self):
        return self

    def __exit__(self, *error):
        self.kill(signal.SIGTERM)

    def url(self):
        return f"redis://{f':{self.password}@' if self.password else ''}127.0.0.1:{self.port}"

    def start(self):
        args = [self.binary, "--port", str(self.port), "--bind", "127.0.0.1", "--save", "",
                "--appendonly", "no", "--loglevel", "warning", "--logfile", ""]
        if self.password:
            args += ["--requirepass", self.password]
        if self.unix_socket:
            args += ["--unixsocket", self.unix_socket]
        self.process = subprocess.Popen(args, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        wait_until(lambda: self.cli("PING", check=False) == "PONG", "redis-server to start")

    def kill(self, sig=signal.SIGKILL):
        if self.process:
            self.process.send_signal(sig)
            self.process.wait(timeout=WAIT)
            self.process = None

    def cli(self, *args, check=True):
        command = ["redis-cli", "-h", "127.0.0.1", "-p", str(self.port), "--no-auth-warning"]
        if self.password:
            command += ["-a", self.password]
        result = subprocess.run(command + list(args), capture_output=True, text=True, timeout=WAIT)
        fail_if(check and result.returncode != 0, f"redis-cli {args}: {result.stderr}")
        return result.stdout.strip()

    def keys(self, pattern):
        return sorted(k for k in self.cli("--scan", "--pattern", pattern).splitlines() if k)

    def hashes(self, pattern):
        """Each key's hash as a dict: a hash's field order means nothing."""
        def fields(key):
            words = self.cli("HGETALL", key).split("\n")
            return dict(zip(words[0::2], words[1::2]))
        return {key: fields(key) for key in self.keys(pattern)}


class Monitor:
    """MONITOR on a server, recorded in a file until stop()."""

    def __init__(self, server, path):
        self.path = path
        with open(path, "w") as out:
            self.process = subprocess.Popen(["redis-cli", "-h", "127.0.0.1", "-p", str(server.port), "MONITOR"],
                                            stdout=out, stderr=subprocess.DEVNULL)
        SPAWNED.append(self.process)
        time.sleep(0.2)  # MONITOR answers OK before it records

    def stop(self):
        """(client address, [command, arguments...]) for each command recorded."""
        self.process.terminate()
        self.process.wait(timeout=WAIT)
        with open(self.path) as log:
            return [(line[line.index("[") + 1:line.index("]")].split()[1], shlex.split(line[line.index('] "') + 2:]))
                    for line in log if '] "' in line]


class Sim:
    """A hubstore-sim process whose standard output is read as it comes: it
    runs `scenario`, or only its options when there is none. `ready`, with
    --follow, waits for the scenario's end."""

    def __init__(self, sim, url, scenario=None, follow=False, options=(), ready=False):
        args = [sim, "--store", url] + (["--follow"] if follow else []) + list(options)
        self.process = subprocess.Popen(args + (["-"] if scenario is not None else []),
                                        stdin=subprocess.PIPE if scenario is not None else subprocess.DEVNULL,
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        SPAWNED.append(self.process)
        if scenario is not None:
            self.process.stdin.write(scenario + ("echo ready\n" if ready else ""))
            self.process.stdin.close()
        self.lines = []
        self.arrived = queue.Queue()
        threading.Thread(target=self._read, daemon=True).start()
        if ready:
            self.wait_for(["# ready"], "the scenario")

    def _read(self):
        for line in self.process.stdout:
            self.arrived.put(line.rstrip("\n"))
        self.arrived.put(None)

    def read_until(self, done, what):
        """Reads lines until `done()` holds."""
        deadline = time.monotonic() + WAIT
        while not done():
            try:
                line = self.arrived.get(timeout=max(0.0, deadline - time.monotonic()))
            except queue.Empty:
                raise Failure(f"{what}: waited {WAIT}s; printed {self.lines[-50:]}")
            if line is None:
                raise Failure(f"{what}: the process ended; printed {self.lines[-50:]}; "
                              f"stderr {self.process.stderr.read()}")
            self.lines.append(line)

    def wait_for(self, wanted, what):
        """Reads lines until every line of `wanted` has come, in order."""
        def in_order():
            printed = iter(self.lines)
            return all(line in printed for line in wanted)  # each found after the one before
        self.read_until(in_order, f"{what}: {wanted}")

    def drain(self):
        """Takes in what the process has printed so far, without waiting; every line printed."""
        while not self.arrived.empty() and self.arrived.queue[0] is not None:  # the end stays, for finish()
            self.lines.append(self.arrived.get())
        return self.lines

    def finish(self, what, expect_status=0, sig=None):
        """Waits for the end (after `sig` when given); every line printed."""
        if sig:
            self.process.send_signal(sig)
        status = self.process.wait(timeout=WAIT)
        self.lines += iter(lambda: self.arrived.get(timeout=WAIT), None)
        if status != expect_status:
            raise Failure(f"{what}: exit {status}, expected {expect_status}; printed {self.lines}; "
                          f"stderr {self.process.stderr.read()}")
        return self.lines


def declare(n):
    """Group g<n> of mounter m1, admitting switch 00:1c:73:00:00:0<n> and version <n> through lists L<n> and V<n>."""
    return (f"switchWhiteList L{n}\nallowedSwitch L{n} 00:1c:73:00:00:0{n} true\nversionWhiteList V{n}\n"
            f"allowedVersion V{n} {n} true\ngroup g{n} m1\ncontrollerMount g{n} /remote/g{n} /db/g{n} type flags\n"
            f"groupSwitchWhiteList g{n} L{n}\ngroupVersionWhiteList g{n} V{n}\ngroupClosed g{n} true\n")


def run_sim(sim, args, scenario=None, cwd=None):
    return subprocess.run([sim] + args, input=scenario, capture_output=True, text=True, timeout=WAIT * 4, cwd=cwd)


def dump_block(lines):
    return lines[lines.index("dump begin"):lines.index("dump end") + 1]


def run_tests(tests, add_arguments=None):
    """Runs the tests named on the command line (all by default) with a
    context of the parsed arguments and a temporary folder; prints PASS or
    FAIL per test (a bounded wait that ran out fails it) and returns the exit
    status."""
    parser = argparse.ArgumentParser()
    parser.add_argument("--sim", required=True)
    parser.add_argument("--redis-server", required=True)
    parser.add_argument("--source", default=os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))
    if add_arguments:
        add_arguments(parser)
    parser.add_argument("tests", nargs="*", default=list(tests))
    ctx = parser.parse_args()
    ctx.sim, ctx.source = os.path.abspath(ctx.sim), os.path.abspath(ctx.source)
    failed = 0
    with tempfile.TemporaryDirectory() as tmp:
        ctx.tmp = tmp
        for name in ctx.tests:
            start = time.monotonic()
            try:
                detail = tests[name](ctx)
                print(f"PASS {name} ({time.monotonic() - start:.1f}s): {detail}", flush=True)
            except (Failure, subprocess.TimeoutExpired) as failure:
                failed += 1
                print(f"FAIL {name}: {failure}", flush=True)
            finally:
                for process in SPAWNED:
                    if process.poll() is None:
                        process.kill()
                        process.wait(timeout=WAIT)
                SPAWNED.clear()
    return 1 if failed else 0
