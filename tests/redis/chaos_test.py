#!/usr/bin/python3
"""Faults on a schedule: an agent (hubstore-sim --store --follow) around a
private redis-server while the server is stopped and continued, killed and
restarted empty, its clients' connections killed, the agent killed and
restarted, and raw clients write bursts of switch statuses.

  chaos_test.py --sim PATH --redis-server PATH [--seed N] [--seconds S]

After each fault, once things are quiet, within a bounded wait:
  - Redis holds exactly the agent's configuration (read by another process),
  - for every group status in Redis whose group the agent declares and whose
    state is not unknown, the last state the agent's hook heard is that state,
  - no process died but those the schedule killed.
The seed is printed first, so that a failure can be replayed with --seed.
"""

import collections
import os
import random
import signal
import subprocess
import sys
import time

import redis

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from store_processes import Failure, RedisServer, Sim, declare, dump_block, fail_if, run_sim, run_tests  # noqa: E402

GROUPS = ["g1", "g2", "g3"]
SWITCHES = [f"00:1c:73:00:00:{i:02x}" for i in range(1, 41)]
STATES = ["unknown", "mounting", "mounted", "unmounted", "failed"]
CONVERGE = 20.0  # seconds a quiet period may take: a restarted agent waits out the killed one's lease (3 s)

AGENT = ("agent A\nrecords\nmounter m1\nservice svcA\n" + "".join(declare(n) for n in (1, 2, 3))
         + "closed true\nreportMountStates\ndump\n")


def config_lines(dump):
    return [line for line in dump if line.startswith(("mountConfig", "publishConfig"))]


class Chaos:
    def __init__(self, args):
        self.args, self.random = args, random.Random(args.seed)
        self.server = RedisServer(args.redis_server)
        self.agent, self.declared, self.faults = None, None, []

    def client(self):
        return redis.Redis(host="127.0.0.1", port=self.server.port, socket_timeout=5)

    def start_agent(self):
        self.agent = Sim(self.args.sim, self.server.url(), AGENT, follow=True, ready=True)
        self.declared = config_lines(dump_block(self.agent.lines))

    def heard(self):
        """The last state the agent's hook heard for each (switch, group)."""
        return {(words[3], words[4]): words[5] for words in map(str.split, self.agent.drain())
                if len(words) == 6 and words[2] == "doHandleControllerMountState"}

    def levels(self):
        return {(key[len("A:mountStatus.systemStatus["):-1], field[1:-1]): value
                for key, fields in self.server.hashes("A:mountStatus.systemStatus[[]*").items()
                for field, value in fields.items() if field.startswith("[") and field.endswith("]")}

    def converged(self):
        """None when the checks hold, else what does not."""
        fail_if(self.agent.process.poll() is not None, f"the agent died: {self.agent.process.poll()}; {self.faults}")
        fail_if(self.server.process.poll() is not None, f"redis-server died; faults: {self.faults}")
        try:
            reader = run_sim(self.args.sim, ["--store", self.server.url(), "-"], "agent A\ndump\n")
            if reader.returncode != 0:
                return f"the reader failed: {reader.stderr.strip()}"
            in_redis = config_lines(dump_block(reader.stdout.splitlines()))
            if in_redis != self.declared:
                return f"Redis holds another configuration: {sorted(set(in_redis) ^ set(self.declared))[:6]}"
            heard = self.heard()
            for (switch, group), state in self.levels().items():
                if group in GROUPS and state != "unknown" and heard.get((switch, group)) != state:
                    return f"{switch} {group} is {state} in Redis, the agent last heard {heard.get((switch, group))}"
        except (redis.RedisError, subprocess.TimeoutExpired) as error:
            return f"redis: {error}"
        return None

    def quiet(self, fault):
        deadline = time.monotonic() + CONVERGE
        while (problem := self.converged()) is not None:
            fail_if(time.monotonic() > deadline, f"not converged after {fault}: {problem}; faults: {self.faults}")
            time.sleep(0.2)

    # The faults
    def pause_server(self):
        seconds = self.random.uniform(0.2, 4.5)
        self.server.process.send_signal(signal.SIGSTOP)
        time.sleep(seconds)
        self.server.process.send_signal(signal.SIGCONT)
        return f"server stopped {seconds:.1f} s"

    def restart_server(self):
        self.server.kill()
        time.sleep(self.random.uniform(0.0, 1.0))
        self.server.start()
        return "server killed and restarted empty"

    def kill_clients(self):
        kind = self.random.choice(["normal", "pubsub"])
        self.client().execute_command("CLIENT", "KILL", "TYPE", kind, "SKIPME", "yes")
        return f"CLIENT KILL TYPE {kind}"

    def restart_agent(self):
        self.agent.finish("the killed agent", expect_status=-signal.SIGKILL, sig=signal.SIGKILL)
        self.start_agent()
        return "agent killed and restarted"

    def burst(self):
        writers = [self.client() for _ in range(3)]
        count = self.random.randint(50, 400)
        for _ in range(count):
            writer, switch = self.random.choice(writers), self.random.choice(SWITCHES)
            key = f"A:mountStatus.systemStatus[{switch}]"
            action = self.random.random()
            if action < 0.6:
                fields = {f"[{g}]": self.random.choice(STATES) for g in GROUPS + ["gx"] if self.random.random() < 0.5}
                writer.hset(key, mapping={"name": switch, **fields})
            elif action < 0.85:
                writer.hset(key, f"[{self.random.choice(GROUPS)}]", self.random.choice(STATES))
            elif action < 0.95:
                writer.hdel(key, f"[{self.random.choice(GROUPS)}]")
            else:
                writer.delete(key)
        return f"burst of {count} status writes"

    def run(self):
        self.client().execute_command("CONFIG", "SET", "notify-keyspace-events", "KA")
        self.start_agent()
        self.quiet("the start")
        faults = [self.pause_server, self.restart_server, self.kill_clients, self.restart_agent, self.burst,
                  self.burst]
        end = time.monotonic() + self.args.seconds
        while time.monotonic() < end:
            self.faults.append(self.random.choice(faults)())
            if self.random.random() < 0.5:
                self.faults.append(self.burst())  # writes right after the fault, while the agent recovers
            self.quiet(self.faults[-1])
        self.agent.finish("agent at the end", sig=signal.SIGTERM)
        return self.faults


def test_chaos(ctx):
    print(f"chaos: seed {ctx.seed} (replay with --seed {ctx.seed})", flush=True)
    chaos = Chaos(ctx)
    try:
        faults = chaos.run()
    except Failure as failure:
        last = [line for line in (chaos.agent.drain() if chaos.agent else []) if not line.startswith("hook")][-40:]
        raise Failure(f"{failure}\nseed {ctx.seed}; the agent's last lines:\n" + "\n".join(last))
    finally:
        chaos.server.kill(signal.SIGTERM)
    kinds = collections.Counter("burst" if fault.startswith("burst") else fault.split(" ")[0] for fault in faults)
    return f"{len(faults)} faults ({', '.join(f'{k} {v}' for k, v in sorted(kinds.items()))}), seed {ctx.seed}"


def arguments(parser):
    parser.add_argument("--seed", type=int, default=random.randrange(1 << 31))
    parser.add_argument("--seconds", type=float, default=90.0, help="faults are scheduled for this long")


if __name__ == "__main__":
    sys.exit(run_tests({"chaos": test_chaos}, arguments))
