#!/usr/bin/env python3
"""Cross-process tests of hubstore-sim --store against private redis-server
instances (127.0.0.1, a free port, no persistence, stopped at the end).

  cross_process_test.py --sim PATH --redis-server PATH --source DIR [TEST...]

Every wait is bounded; a test that times out fails with what the processes
printed.
"""

import os
import shutil
import signal
import subprocess
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from store_processes import (WAIT, Monitor, RedisServer, Sim, declare, dump_block, fail_if,  # noqa: E402
                             free_port, run_sim, run_tests, wait_until)

SWITCH = "00:1c:73:00:00:01"


AGENT_G1 = "mounter m1\nservice svcA\n" + declare(1)


# Every scenario prints the same with and without --store.
def test_transcripts(ctx):
    with RedisServer(ctx.redis_server, unix_socket=os.path.join(ctx.tmp, "redis.sock")) as server:
        directories = [os.path.join(ctx.source, folder) for folder in ("tests/scenarios", "examples")]
        scenarios = [(directory, f) for directory in directories for f in sorted(os.listdir(directory))
                     if f.endswith(".scn") and f[:-len(".scn")] not in ctx.skip.split(";")]
        for index, (directory, name) in enumerate(scenarios):
            server.cli("FLUSHALL")
            # Every other scenario goes through the unix socket.
            url = f"unix://{server.unix_socket}" if index % 2 else server.url()
            plain = run_sim(ctx.sim, [name], cwd=directory)
            stored = run_sim(ctx.sim, ["--store", url, name], cwd=directory)
            fail_if((plain.stdout, plain.returncode) != (stored.stdout, stored.returncode),
                    f"{name} differs with --store {url}:\n--- without\n{plain.stdout}exit {plain.returncode}\n"
                    f"--- with\n{stored.stdout}exit {stored.returncode}\n{stored.stderr}")
        fail_if(not server.keys("agentB:*"), "the scenarios left no record in Redis")
        return f"{len(scenarios)} scenarios"


# An agent's `records` creates only what Redis lacks: the statuses that a
# mount machinery wrote before the agent started stay, and reach its groups.
# The agent process has had another agent first, whose controller status (at
# the same path in the process) is not the one Redis holds for this agent;
# a third agent, of which Redis holds nothing, gets a controller status. A
# record of another type than its path's, which the store does not keep in
# Redis, is replaced.
def test_records(ctx):
    with RedisServer(ctx.redis_server) as server:
        Sim(ctx.sim, server.url(),
            "agent A\nrecord controller/status Hubstore::Status\nleaderGenId gen-5\n"
            "record controller/mount/status/service/A Controller::ServiceMountStatus\n"
            "record controller/publish/status/service/A Controller::ServicePublishStatus\n"
            f"systemStatus {SWITCH} g1=mounted\n").finish("machinery")
        statuses = server.hashes("A:*Status*") | server.hashes("A:status")
        fail_if(server.keys("A:*Config*"), f"the machinery wrote configuration: {server.keys('A:*Config*')}")
        agent = Sim(ctx.sim, server.url(), "agent B\nrecords leaderGenId=gen-2\n"
                    "agent A\nrecord controller/publish/config/service/A ServiceMountStatus\nrecords\n"
                    "mounter m1\nservice svcA\ngroup g1 m1\nreportMountStates\ndump\nserviceDel\n"
                    "agent C\nrecords\n").finish("agent")
        fail_if(f"hook m1 doHandleControllerMountState {SWITCH} g1 mounted" not in agent, f"g1 heard nothing: {agent}")
        fail_if("mountConfig.leaderGenId = gen-5" not in dump_block(agent), f"status replaced: {dump_block(agent)}")
        kept = server.hashes("A:*Status*") | server.hashes("A:status")
        fail_if(kept != statuses, f"the agent's records changed the statuses:\nbefore {statuses}\nafter {kept}")
        fail_if(not server.keys("A:mountConfig") or not server.keys("A:publishConfig"), f"{server.keys('A:*')}")
        for key, generation in (("B:status", "gen-2"), ("C:status", "gen-1")):
            fail_if(generation not in server.cli("HGETALL", key), f"{key}: {server.cli('HGETALL', key)!r}")
        return f"{len(statuses)} status keys kept, the configuration created"


# --metrics writes the service's and the store's numbers; promtool, when
# installed, accepts them.
def test_metrics(ctx):
    with RedisServer(ctx.redis_server) as server:
        path = os.path.join(ctx.tmp, "metrics.prom")
        Sim(ctx.sim, server.url(), "agent A\nrecords\n" + AGENT_G1
            + f"systemStatus {SWITCH} g1=mounted\n", options=["--metrics", path]).finish("agent")
        with open(path) as metrics:
            lines = metrics.read().splitlines()
        for wanted in ('hubstore_store_state{agent="A",state="live"} 1', 'hubstore_store_resyncs_total{agent="A"} 1',
                       'hubstore_store_connections{agent="A"} 2', 'hubstore_store_bad_records_total{agent="A"} 0',
                       'hubstore_group_switches{service="svcA",group="g1",state="mounted"} 1',
                       'hubstore_hook_calls_total{service="svcA",hook="doHandleControllerMountState"} 1'):
            fail_if(wanted not in lines, f"no line {wanted!r} in {lines}")
        promtool = shutil.which("promtool")
        if promtool:
            check = subprocess.run([promtool, "check", "metrics"], input="\n".join(lines) + "\n",
                                   capture_output=True, text=True, timeout=WAIT)
            fail_if(check.returncode or check.stdout.strip() or check.stderr.strip(), check.stdout + check.stderr)
        return f"{len(lines)} lines" + (", promtool accepts them" if promtool else ", promtool not installed")


# Another process writes 2,000 switches with 20 group statuses each: the
# following agent hears every one of the 40,000 statuses once, in every
# run, as the same scenario does in one process.
def test_fleet_reports(ctx):
    with RedisServer(ctx.redis_server) as server:
        groups = "".join(f"group g{g:02} m1\n" for g in range(1, 21))
        agent = Sim(ctx.sim, server.url(), "agent A\nrecords\nmounter m1\nservice svcA\n" + groups, follow=True,
                    ready=True)
        Sim(ctx.sim, server.url(),
            "agent A\nrepeat 1..2000 systemStatus 00:1c:73:{i:xx:xx:xx} g{01..20}=mounted\n").finish("machinery")
        printed = len(agent.lines)
        agent.read_until(lambda: len(agent.lines) >= printed + 40000, "40,000 reports")
        time.sleep(1.0)  # for any report beyond
        hooks = [line for line in agent.finish("agent after SIGTERM", sig=signal.SIGTERM) if line.startswith("hook ")]
        fail_if(len(hooks) != 40000 or len(set(hooks)) != 40000, f"{len(hooks)} reports, {len(set(hooks))} different")
        return "40,000 reports, each once"


# An agent stopped with --leave-config leaves its configuration; the next
# run declares g1 again and g3 instead of g2: seen with MONITOR, no key of
# g1 (its group, its mounts, its lists) is deleted or written with other
# values, and g2 goes.
def test_warm_restart(ctx):
    with RedisServer(ctx.redis_server) as server:
        Sim(ctx.sim, server.url(), "agent A\nrecords\n" + AGENT_G1 + declare(2) + "closed true\n", follow=True,
            options=["--leave-config"], ready=True).finish("first run after SIGTERM", sig=signal.SIGTERM)
        left = server.hashes("A:*")
        g1 = {key: fields for key, fields in left.items() if "[g1]" in key or "[L1]" in key or "[V1]" in key}
        fail_if(not g1 or not any("[g2]" in key for key in left), f"the first run left {sorted(left)}")
        monitor = Monitor(server, os.path.join(ctx.tmp, "warm_restart.monitor"))
        run_sim(ctx.sim, ["--store", server.url(), "--leave-config", "-"],
                "agent A\nrecords\n" + AGENT_G1 + declare(3) + "closed true\n")
        time.sleep(0.2)
        commands = [(words[0].upper(), (words + [""])[1], dict(zip(words[2::2], words[3::2])))
                    for _, words in monitor.stop()]
        touched = [(command, key) for command, key, pairs in commands if key in g1 and (
            command in ("DEL", "HDEL", "UNLINK") or command == "HSET" and pairs.items() - g1[key].items())]
        fail_if(not any(command == "HSET" and "[g3]" in key for command, key, _ in commands), "no write of g3 seen")
        fail_if(touched, f"the second run changed g1's keys: {touched}")
        after = server.hashes("A:*")
        fail_if(any("[g2]" in key for key in after) or not any("[g3]" in key for key in after), str(sorted(after)))
        fail_if(any(after.get(key) != fields for key, fields in g1.items()), "g1's keys differ after the second run")
        return f"{len(g1)} keys of g1 untouched; g2 removed, g3 written"


# A second agent process of the same name, declaring g3 instead of g2,
# waits as a standby, writing nothing; the active one stopped with SIGSTOP,
# the standby takes over within the lease (3 s) and a check (1 s), and
# another process then reads from Redis exactly what it declares. The old
# one, continued, learns it lost the lease, ends with status 3 and writes
# nothing.
def test_standby(ctx):
    with RedisServer(ctx.redis_server) as server:
        active = Sim(ctx.sim, server.url(), "agent A\nrecords\n" + AGENT_G1 + declare(2) + "closed true\n",
                     follow=True, ready=True)
        standby = Sim(ctx.sim, server.url(), "agent A\n" + AGENT_G1 + declare(3) + "closed true\ndump\n", follow=True,
                      ready=True)
        live = dump_block(standby.lines)
        fail_if(any(name in line for line in live for name in ("g2", "L2", "V2")), f"the standby kept {live}")
        time.sleep(0.5)
        g2, g3 = "A:mountConfig.mountGroupConfig[[]g2]", "A:mountConfig.mountGroupConfig[[]g3]"
        fail_if(server.keys(g3) or not server.keys(g2), "the standby wrote while the active one held the lease")
        active.process.send_signal(signal.SIGSTOP)
        took_over = wait_until(lambda: not server.keys(g2), "the standby to take over")
        fail_if(took_over > 3.0 + 1.0 + 0.5, f"the standby took over after {took_over:.2f} s")
        wait_until(lambda: dump_block(Sim(ctx.sim, server.url(), "agent A\ndump\n").finish("reader")) == live,
                   f"Redis to hold what the new active declares:\n{live}")
        before = server.hashes("A:*Config*")
        active.process.send_signal(signal.SIGCONT)
        lines = active.finish("old active", expect_status=3)
        fail_if("took the configuration's lease" not in active.process.stderr.read(), f"the old active said {lines}")
        fail_if(server.hashes("A:*Config*") != before, "the old active wrote after it lost the lease")
        standby.finish("new active", sig=signal.SIGTERM)
        return f"took over in {took_over:.2f} s; the old active ended with status 3, writing nothing"


# AUTH with a password; a wrong one and an absent server are clear errors.
def test_login(ctx):
    with RedisServer(ctx.redis_server, password="s3cret") as server:
        good = run_sim(ctx.sim, ["--store", server.url(), "-"], "agent A\nrecords\ndump\n")
        fail_if(good.returncode != 0 or not server.keys("A:*"), f"with the password: {good.returncode} {good.stderr}")
        wrong = run_sim(ctx.sim, ["--store", server.url().replace("s3cret", "wrong"), "-"], "agent A\n")
        fail_if(wrong.returncode != 2 or "refused the login" not in wrong.stderr, f"wrong password: {wrong.stderr!r}")
    start = time.monotonic()
    absent = run_sim(ctx.sim, ["--store", f"redis://127.0.0.1:{free_port()}", "-"], "agent A\n")
    elapsed = time.monotonic() - start
    fail_if(absent.returncode != 2 or "no answer from redis" not in absent.stderr or elapsed > 10, absent.stderr)
    return f"wrong password and absent server: exit 2 ({elapsed:.1f}s)"


TESTS = {"transcripts": test_transcripts, "records": test_records, "fleet_reports": test_fleet_reports,
         "metrics": test_metrics, "warm_restart": test_warm_restart, "standby": test_standby, "login": test_login}


if __name__ == "__main__":
    sys.exit(run_tests(TESTS, lambda parser: parser.add_argument(
        "--skip", default="", help="scenarios (NAME;NAME...) the transcript test leaves out")))
