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
import os
import signal
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from store_processes import Monitor, RedisServer, Sim, dump_block, fail_if, run_sim, run_tests  # noqa: E402

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


def lease(server):
    return server.cli("GET", "A:lease"), int(server.cli("PTTL", "A:lease"))


def test_inspect(ctx):
    with RedisServer(ctx.redis_server) as server:
        agent = Sim(ctx.sim, server.url(), AGENT, follow=True, ready=True)
        Sim(ctx.sim, server.url(), MACHINERY).finish("machinery")
        agent.wait_for(["hook m1 doMountsComplete g2"], "agent")
        time.sleep(0.3)
        before = list(agent.drain())
        token, _ = lease(server)
        monitor = Monitor(server, os.path.join(ctx.tmp, "inspect.monitor"))

        # Once: the groups, then the configuration as the agent dumps it.
        lines = Sim(ctx.sim, server.url(), options=["--inspect", "A"]).finish("inspect")
        time.sleep(0.3)
        fail_if(agent.drain() != before, f"the agent printed {agent.lines[len(before):]} while inspected")
        header = ["inspect A: store live, keyspace notifications on", "service: svcA, warm true, ready false"]
        fail_if(lines[:2] != header, f"header: {lines[:2]}")
        groups = lines[2:lines.index("dump begin")][:len(GROUPS)]
        fail_if(groups != GROUPS, "groups:\n" + "\n".join(groups))
        fail_if(dump_block(lines) != dump_block(agent.lines), f"dump {dump_block(lines)} is not the agent's")

        # Following: a state change and the last prefix, each read once; g1's
        # block comes again as it completes.
        follower = Sim(ctx.sim, server.url(), options=["--inspect", "A", "--follow"])
        follower.wait_for(["dump end"], "inspect --follow")
        Sim(ctx.sim, server.url(), "agent A\nmountState 00:1c:73:00:00:02 g1 mounted\nmountedPathPrefix /b /mnt/b\n"
            ).finish("machinery")
        # One batch prints in key order, two in the order written.
        for line in [f"{SWITCH_2}: [g1] mounting -> mounted", "A:mountStatus.mountedPathPrefix[/b]: new (value=/mnt/b)",
                     G1_COMPLETE]:
            follower.wait_for([line], "inspect --follow")
        agent.wait_for(["hook m1 doMountsComplete g1"], "agent")
        followed = follower.finish("inspect --follow after SIGTERM", sig=signal.SIGTERM)
        followed = followed[followed.index("dump end") + 1:]
        fail_if(followed.count(G1_COMPLETE) != 1 or sum(x.startswith("A:") for x in followed) != 2, str(followed))

        # Without keyspace notifications the inspector polls, and sets none.
        server.cli("CONFIG", "SET", "notify-keyspace-events", "")
        poller = Sim(ctx.sim, server.url(), options=["--inspect", "A", "--follow"])
        poller.wait_for(["inspect A: store live, keyspace notifications off (--follow polls)", "dump end"], "polling")
        server.cli("HSET", SWITCH_2, "[g1]", "failed")
        poller.wait_for([f"{SWITCH_2}: [g1] mounted -> failed"], "polling")
        poller.finish("polling after SIGTERM", sig=signal.SIGTERM)
        # redis-cli prints the name, then the empty value.
        fail_if(server.cli("CONFIG", "GET", "notify-keyspace-events") != "notify-keyspace-events", "events set")
        server.cli("CONFIG", "SET", "notify-keyspace-events", "KA")

        commands = monitor.stop()
        inspector = {address for address, words in commands
                     if [word.upper() for word in words[:3]] == ["CLIENT", "SETNAME", "HUBSTORE-INSPECT"]}
        fail_if(len(inspector) != 6, f"{len(inspector)} inspector connections named, expected 2 per run")
        writes = set(server.cli("COMMAND", "LIST", "FILTERBY", "ACLCAT", "write").upper().split())
        by_name = collections.Counter(words[0].upper() for address, words in commands if address in inspector)
        fail_if(writes & set(by_name), f"the inspector wrote: {by_name}")
        # The same check finds the agent's and the machinery's writes.
        fail_if(not writes & {words[0].upper() for address, words in commands if address not in inspector},
                "MONITOR recorded no write of the agent or the machinery")

        # The agent heard only the machinery (a prefix re-runs every group's
        # check, so complete g2 is told again); its lease is untouched.
        heard = sorted(agent.drain()[len(before):])
        fail_if(heard != ["hook m1 doHandleControllerMountState 00:1c:73:00:00:02 g1 mounted",
                          "hook m1 doMountsComplete g1", "hook m1 doMountsComplete g2"], f"the agent printed {heard}")
        now, ttl = lease(server)
        fail_if(now != token or ttl <= 0, f"the agent's lease {token} became {now} ({ttl} ms)")
        agent.finish("agent after SIGTERM", sig=signal.SIGTERM)

        # Refused with status 2: an agent of which Redis holds nothing, and
        # what --inspect does not take.
        for args, message in [(["--inspect", "nobody"], "redis holds no record of this agent"),
                              (["--inspect", "A", "x.scn"], "--inspect runs no scenario"),
                              (["--inspect", "A", "--leave-config"], "--leave-config does not apply"),
                              (["--inspect", "A", "--json"], "--json, --quiet, --timeline and --metrics do not apply")]:
            result = run_sim(ctx.sim, ["--store", server.url()] + args)
            fail_if(result.returncode != 2 or message not in result.stderr, f"{args}: {result.stderr!r}")
        return "inspector commands " + ", ".join(f"{name} {count}" for name, count in sorted(by_name.items()))


if __name__ == "__main__":
    sys.exit(run_tests({"inspect": test_inspect}))
