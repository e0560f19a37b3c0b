#!/usr/bin/python3
"""The example mount machinery (examples/machinery/) beside a following agent,
around a private redis-server (127.0.0.1, a free port, no persistence).

  machinery_test.py --sim PATH --redis-server PATH --source DIR

The agent (examples/machinery/agent.scn) declares two groups and explains
each as it completes; once g2's initial mounts are done, its hook takes a
switch out of the lab, puts another in and declares a third group. The
machinery serves four switches, one of an unsupported version. Checked
exactly: what the agent prints, what Redis holds when it is done, and the
machinery's writes, through the agent's teardown and the machinery's SIGTERM.
Every wait is bounded.
"""

import os
import signal
import subprocess
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from store_processes import SPAWNED, WAIT, RedisServer, Sim, fail_if, run_tests, wait_until  # noqa: E402


def expected(ctx, name):
    with open(os.path.join(ctx.source, "tests", "redis", name)) as f:
        return f.read().splitlines()


def status_side(server):
    """One line per status key: KEY FIELD=VALUE..., fields sorted."""
    hashes = server.hashes("A:*Status*") | server.hashes("A:status")
    return sorted(" ".join([key] + sorted(f"{name}={value}" for name, value in fields.items()))
                  for key, fields in hashes.items())


def compare(what, actual, wanted):
    fail_if(actual != wanted, f"{what}:\n--- expected\n" + "\n".join(wanted) + "\n--- actual\n" + "\n".join(actual))


def test_machinery(ctx):
    with RedisServer(ctx.redis_server) as server:
        with open(os.path.join(ctx.source, "examples", "machinery", "agent.scn")) as f:
            agent = Sim(ctx.sim, server.url(), f.read(), follow=True)
        agent.wait_for(["# waiting for the mount machinery"], "agent")
        # The agent's last write: its whole configuration is in Redis.
        wait_until(lambda: server.cli("HGET", "A:publishConfig", "ready") == "true", "the agent's configuration")

        switches = os.path.join(ctx.tmp, "switches")
        with open(switches, "w") as f:
            f.write("# switch  service version\n00:1C:73:00:00:02 3\n00-1c-73-00-00-03 2\n"
                    "00:1c:73:00:00:04 1  # a version no allow-list admits\n")
        machinery = subprocess.Popen(
            [sys.executable, os.path.join(ctx.source, "examples", "machinery", "machinery.py"),
             "--redis", server.url(), "--agent", "A", "--switches", switches, "00:1c:73:00:00:01=2"],
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        SPAWNED.append(machinery)

        agent_lines = expected(ctx, "machinery_agent.expected")
        agent.wait_for([line for line in agent_lines if line.startswith("hook ")], "agent")
        # What Redis holds once the machinery has served the agent's change.
        status = expected(ctx, "machinery_status.expected")
        wait_until(lambda: status_side(server) == status, "the status side:\n" + "\n".join(status))

        # The agent's teardown withdraws its configuration; the machinery
        # takes the statuses of the withdrawn groups away.
        compare("what the agent printed", agent.finish("agent after SIGTERM", sig=signal.SIGTERM), agent_lines)
        wait_until(lambda: not server.keys("A:mountStatus.mountedPathPrefix*"), "the statuses to go")
        machinery.send_signal(signal.SIGTERM)
        out, err = machinery.communicate(timeout=WAIT)
        fail_if(machinery.returncode != 0, f"the machinery ended with {machinery.returncode}: {err}")
        compare("what the machinery wrote", out.splitlines(), expected(ctx, "machinery_writes.expected"))
        return f"{len(agent_lines)} agent lines, {len(out.splitlines())} machinery lines"


if __name__ == "__main__":
    sys.exit(run_tests({"machinery": test_machinery}))
