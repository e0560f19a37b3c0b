#!/usr/bin/env python3
# hubstore-sim --inspect beside a live agent and a mount machinery, around a
# private redis-server (127.0.0.1, a free port, no persistence) whose MONITOR
# records every command.
#
#   inspect_test.py --sim PATH --redis-server PATH --source DIR
#
# The inspector's connections name themselves (CLIENT SETNAME); none of their
# commands may be a write, the agent's transcript and lease must not move, and
# what the inspector prints must be what the records say, once and while it
# follows (through keyspace notifications, and by polling when they are off).

import collections
import queue
import os
import re
import signal
import subprocess
import sys
import threading
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from store_processes import (SPAWNED, WAIT, Failure, RedisServer, Sim, dump_block, run_sim,  # noqa: E402
                             run_tests)

AGENT = """agent A
records
mounter m1
service svcA
versionWhiteList V
allowedVersion V 1 true
group g1 m1
controllerMount g1 /a /db/a State ro
controllerMount g1 /b /db/b State ro
groupVersionWhiteList g1 V
groupClosed g1 true
group g2 m1
publishMount g2 /db/routes /routes Route
groupVersionWhiteList g2 V
groupClosed g2 true
closed true
dump
echo declared
"""

MACHINERY = """agent A
systemStatus 00:1c:73:00:00:01 g1=mounted g2=mounted
systemStatus 00:1c:73:00:00:02 g1=mounting
mountedPathPrefix /a /mnt/a
publishGroupStatus g1
publishGroupStatus g2
publishStatus g2 /db/routes
"""

SWITCH_2 = "A:mountStatus.systemStatus[00:1c:73:00:00:02]"

# The groups as the records above say; closing and the mounter are the agent's.
GROUPS = """\
group g1: not complete; waits for mounted path prefixes, initial switch mounts
closed: unknown (the agent's)
version allow-list: V
controller mounts: 2, without a mounted path prefix: 1: /b
publish mounts: 0, without a publish status: 0
publish group status: present
mounter: unknown (the agent's)
initial switch mounts: not complete
switches: 2: unknown 0, mounting 1, mounted 1, unmounted 0, failed 0
switches not mounted: 1: 00:1c:73:00:00:02 mounting
group g2: complete if closed; waits for initial switch mounts""".splitlines()

G1_COMPLETE = "group g1: complete if closed; waits for initial switch mounts"

MONITOR_LINE = re.compile(r'^[\d.]+ \[\d+ (\S+)\] "([^"]+)"(?: "([^"]*)")?(?: "([^"]*)")?')


class Inspector(Sim):
    # hubstore-sim --inspect: the arguments alone, no scenario.

    def __init__(self, sim, url, *options):
        self.process = subprocess.Popen([sim, "--store", url, "--inspect", "A", *options], stdin=subprocess.DEVNULL,
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        SPAWNED.append(self.process)
        self.lines = []
        self.arrived = queue.Queue()
        threading.Thread(target=self._read, daemon=True).start()


def monitor(server, path):
    with open(path, "w") as out:
        process = subprocess.Popen(["redis-cli", "-h", "127.0.0.1", "-p", str(server.port), "MONITOR"], stdout=out)
    SPAWNED.append(process)
    time.sleep(0.2)  # MONITOR answers OK before it records
    return process


def commands_by_client(path):
    # (address, COMMAND) for each command MONITOR recorded; CLIENT SETNAME
    # names the inspector's addresses.
    commands, inspector = [], set()
    with open(path) as f:
        for line in f:
            found = MONITOR_LINE.match(line)
            if not found:
                continue
            address, name = found.group(1), found.group(2).upper()
            commands.append((address, name))
            if name == "CLIENT" and (found.group(3) or "").upper() == "SETNAME" and found.group(4) == "hubstore-inspect":
                inspector.add(address)
    return commands, inspector


def lease(server):
    return server.cli("GET", "A:lease"), int(server.cli("PTTL", "A:lease"))


def test_inspect(ctx):
    server = RedisServer(ctx.redis_server)
    recorder = None
    try:
        agent = Sim(ctx.sim, server.url(), AGENT, follow=True)
        agent.wait_for(["# declared"], "agent")
        Sim(ctx.sim, server.url(), MACHINERY).finish("machinery")
        agent.wait_for(["hook m1 doMountsComplete g2"], "agent")
        time.sleep(0.3)
        agent.drain()
        before = list(agent.lines)
        token, _ = lease(server)
        monitor_log = os.path.join(ctx.tmp, "monitor")
        recorder = monitor(server, monitor_log)

        # Once: the groups, then the configuration as the agent dumps it.
        once = Inspector(ctx.sim, server.url())
        lines = once.finish("inspect")
        time.sleep(0.3)
        agent.drain()
        if agent.lines != before:
            raise Failure(f"the agent printed {agent.lines[len(before):]} while inspected")
        if lines[0] != "inspect A: store live, keyspace notifications on" or lines[1] != "service: svcA, warm true, ready false":
            raise Failure(f"header: {lines[:2]}")
        groups = lines[2:lines.index("dump begin")][:len(GROUPS)]
        if groups != GROUPS:
            raise Failure("groups:\n" + "\n".join(groups))
        if dump_block(lines) != dump_block(agent.lines):
            raise Failure(f"dump {dump_block(lines)} is not the agent's {dump_block(agent.lines)}")

        # Following: a state change and the last prefix, each read once; g1's
        # block comes again as it completes.
        follower = Inspector(ctx.sim, server.url(), "--follow")
        follower.wait_for(["dump end"], "inspect --follow")
        Sim(ctx.sim, server.url(), "agent A\nmountState 00:1c:73:00:00:02 g1 mounted\nmountedPathPrefix /b /mnt/b\n"
            ).finish("machinery")
        # One batch prints in key order, two in the order written.
        for line in [f"{SWITCH_2}: [g1] mounting -> mounted", "A:mountStatus.mountedPathPrefix[/b]: new (value=/mnt/b)",
                     G1_COMPLETE]:
            follower.wait_for([line], "inspect --follow")
        agent.wait_for(["hook m1 doMountsComplete g1"], "agent")
        follower.process.send_signal(signal.SIGTERM)
        followed = follower.finish("inspect --follow after SIGTERM")
        followed = followed[followed.index("dump end") + 1:]
        if followed.count(G1_COMPLETE) != 1 or len([l for l in followed if l.startswith("A:")]) != 2:
            raise Failure(f"--follow printed {followed}")

        # Without keyspace notifications the inspector polls, and sets none.
        server.cli("CONFIG", "SET", "notify-keyspace-events", "")
        poller = Inspector(ctx.sim, server.url(), "--follow")
        poller.wait_for(["inspect A: store live, keyspace notifications off (--follow polls)", "dump end"], "polling")
        server.cli("HSET", SWITCH_2, "[g1]", "failed")
        poller.wait_for([f"{SWITCH_2}: [g1] mounted -> failed"], "polling")
        poller.process.send_signal(signal.SIGTERM)
        poller.finish("polling after SIGTERM")
        # redis-cli prints the name, then the empty value.
        if server.cli("CONFIG", "GET", "notify-keyspace-events") != "notify-keyspace-events":
            raise Failure("the inspector set the keyspace events")
        server.cli("CONFIG", "SET", "notify-keyspace-events", "KA")

        recorder.send_signal(signal.SIGTERM)
        recorder.wait(timeout=WAIT)
        commands, inspector = commands_by_client(monitor_log)
        if len(inspector) != 6:
            raise Failure(f"{len(inspector)} inspector connections named, expected 2 per run")
        writes = set(server.cli("COMMAND", "LIST", "FILTERBY", "ACLCAT", "write").upper().split())
        by_name = collections.Counter(name for address, name in commands if address in inspector)
        if writes & set(by_name):
            raise Failure(f"the inspector wrote: {by_name}")
        # The same check finds the agent's and the machinery's writes.
        if not writes & {name for address, name in commands if address not in inspector}:
            raise Failure("MONITOR recorded no write of the agent or the machinery")

        # The agent heard only the machinery (a prefix re-runs every group's
        # check, so complete g2 is told again); its lease is untouched.
        agent.drain()
        heard = sorted(agent.lines[len(before):])
        if heard != ["hook m1 doHandleControllerMountState 00:1c:73:00:00:02 g1 mounted", "hook m1 doMountsComplete g1",
                     "hook m1 doMountsComplete g2"]:
            raise Failure(f"the agent printed {heard}")
        now, ttl = lease(server)
        if now != token or ttl <= 0:
            raise Failure(f"the agent's lease {token} became {now} ({ttl} ms)")
        agent.process.send_signal(signal.SIGTERM)
        agent.finish("agent after SIGTERM")

        # Refused with status 2: an agent of which Redis holds nothing, and
        # what --inspect does not take.
        for args, message in [(["--inspect", "nobody"], "redis holds no record of this agent"),
                              (["--inspect", "A", "x.scn"], "--inspect runs no scenario"),
                              (["--inspect", "A", "--leave-config"], "--leave-config does not apply"),
                              (["--inspect", "A", "--json"], "--json, --quiet, --timeline and --metrics do not apply")]:
            result = run_sim(ctx.sim, ["--store", server.url()] + args)
            if result.returncode != 2 or message not in result.stderr:
                raise Failure(f"{args}: exit {result.returncode}, {result.stderr!r}")
        return "inspector commands " + ", ".join(f"{name} {count}" for name, count in sorted(by_name.items()))
    finally:
        if recorder and recorder.poll() is None:
            recorder.kill()
        server.kill(signal.SIGTERM)


if __name__ == "__main__":
    sys.exit(run_tests({"inspect": test_inspect}))
