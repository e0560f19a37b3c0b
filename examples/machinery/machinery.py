#!/usr/bin/python3
"""An example mount machinery for one hubstore agent, over Redis.

It plays the controller's side for a set of simulated switches: it reads the
agent's configuration, decides which switch takes part in which group, and
writes the statuses the agent's library waits for, following
docs/machinery.md. Mounts and publications succeed at once: a switch that
takes part in a group is `mounted`, one that leaves it `unmounted`.

    /usr/bin/python3 examples/machinery/machinery.py --redis redis://127.0.0.1:6390 \\
        --agent agentB 00:1c:73:00:00:01=2 00:1c:73:00:00:02=3

Each SWITCH=VERSION names a switch by its Ethernet address and the service
version it runs; --switches FILE adds one "SWITCH VERSION" per line (# starts
a comment). Every Redis write is printed as a redis-cli command line, each
publication taken up or withdrawn as a '#' line. SIGTERM or SIGINT stops it
between two passes, with status 0; a lost connection ends it with status 1.
It needs Debian's python3-redis (hence /usr/bin/python3).
"""

import argparse
import shlex
import signal
import sys
from dataclasses import dataclass, field

import redis

# A burst of configuration writes (an agent declaring a group) is read whole:
# the machinery acts once no notification has come for this long (seconds).
SETTLE = 0.05
# The longest wait for a notification, so that a signal is seen promptly.
POLL = 0.2


def quoted(key):
    """A KEY as it stands between brackets in a key or a field name."""
    if key and not any(c in key for c in ' \t"=[]\\'):
        return key
    return '"' + key.replace('\\', '\\\\').replace('"', '\\"') + '"'


def take_key(text):
    """Reads 'KEY]' from the front of text: (KEY, the rest), or None."""
    if text.startswith('"'):
        key, i = [], 1
        while i < len(text) and text[i] != '"':
            if text[i] == '\\' and i + 1 < len(text):
                i += 1
            key.append(text[i])
            i += 1
        return (''.join(key), text[i + 2:]) if text[i + 1:i + 2] == ']' else None
    close = text.find(']')
    return None if close < 0 else (text[:close], text[close + 1:])


def parse_key(relative):
    """'mountConfig.mountGroupConfig[g1].mountConfig[/a]' ->
    ('mountConfig', (('mountGroupConfig', 'g1'), ('mountConfig', '/a'))), or None."""
    dot = relative.find('.')
    record, rest = (relative, '') if dot < 0 else (relative[:dot], relative[dot:])
    steps = []
    while rest:
        bracket = rest.find('[')
        taken = take_key(rest[bracket + 1:]) if rest.startswith('.') and bracket > 0 else None
        if taken is None:
            return None
        steps.append((rest[1:bracket], taken[0]))
        rest = taken[1]
    return record, tuple(steps)


def bracketed_fields(fields):
    """The '[KEY]' fields of a hash (filter members, group states, published paths): {KEY: value}."""
    out = {}
    for name, value in fields.items():
        taken = take_key(name[1:]) if name.startswith('[') else None
        if taken and not taken[1]:
            out[taken[0]] = value
    return out


def switch_id(text):
    """The text form the library writes: lower case, colons."""
    digits = text.replace(':', '').replace('-', '').replace('.', '').lower()
    if len(digits) != 12 or any(c not in '0123456789abcdef' for c in digits):
        raise ValueError(f'not an Ethernet address: {text}')
    return ':'.join(digits[i:i + 2] for i in range(0, 12, 2))


class Configuration:
    """The agent's configuration as last read: one hash per key."""

    def __init__(self):
        self.hashes = {}  # (record, steps) -> fields

    def update(self, relative, fields):
        path = parse_key(relative)
        if path and fields:
            self.hashes[path] = fields
        elif path:
            self.hashes.pop(path, None)

    def fields(self, record, *steps):
        return self.hashes.get((record, steps), {})

    def members(self, record, steps, attribute):
        """The keys of one collection below (record, steps), sorted."""
        depth = len(steps) + 1
        return sorted(s[-1][1] for r, s in self.hashes
                      if r == record and len(s) == depth and s[:-1] == steps and s[-1][0] == attribute)

    def admits(self, place, value):
        """Whether the filter that a group's systemFilter/versionFilter names
        holds value; None for 'none', False for a detached filter."""
        if place == 'none':
            return None
        path = None if place.startswith('detached ') else parse_key(place)
        return path is not None and bracketed_fields(self.hashes.get(path, {})).get(value) == 'true'

    def takes_part(self, group, switch, version):
        """A switch takes part in a group when the group's switch filter is
        none or holds it, and its version filter holds its version."""
        config = self.fields('mountConfig', ('mountGroupConfig', group))
        switches = self.admits(config.get('systemFilter', 'none'), switch)
        return switches is not False and bool(self.admits(config.get('versionFilter', 'none'), str(version)))


@dataclass
class Status:
    """The status side: what the machinery holds written, or wants to."""
    systems: dict = field(default_factory=dict)    # switch -> {group: mount state}
    prefixes: dict = field(default_factory=dict)   # remote path -> prefix
    published: dict = field(default_factory=dict)  # group -> set of published paths
    initial: set = field(default_factory=set)      # groups whose initial mounts are complete


def wanted_status(config, switches, held):
    """What the status side should hold. Mounts wait for `warm`, publications
    for `ready`; a group's initialMountsComplete comes with or after its
    publish group status."""
    wanted = Status({s: dict(g) for s, g in held.systems.items()}, dict(held.prefixes),
                    {g: set(p) for g, p in held.published.items()}, set(held.initial))
    if config.fields('publishConfig').get('ready') == 'true':
        wanted.published = {
            g: set(config.members('publishConfig', (('publishGroupConfig', g),), 'publishConfig'))
            for g in config.members('publishConfig', (), 'publishGroupConfig')}
    if config.fields('mountConfig').get('warm') != 'true':
        return wanted
    groups = config.members('mountConfig', (), 'mountGroupConfig')
    for switch, version in sorted(switches.items()):
        before = held.systems.get(switch, {})
        states = {g: 'mounted' if config.takes_part(g, switch, version) else 'unmounted'
                  for g in groups if g in before or config.takes_part(g, switch, version)}
        if states or switch in held.systems:
            wanted.systems[switch] = states
    wanted.prefixes = {}
    for group in groups:
        steps = (('mountGroupConfig', group),)
        for remote in config.members('mountConfig', steps, 'mountConfig'):
            mount = config.fields('mountConfig', *steps, ('mountConfig', remote))
            wanted.prefixes.setdefault(remote, mount.get('hubstorePath', ''))
    wanted.initial = {g for g in groups if g in wanted.published or g in held.initial}
    return wanted


def publications(config, switches):
    """What is published where, one line each: publish mounts and the ready
    per-switch directories, to the switches the publish group's filters admit."""
    if config.fields('publishConfig').get('ready') != 'true':
        return set()
    lines = set()
    for group in config.members('publishConfig', (), 'publishGroupConfig'):
        steps = (('publishGroupConfig', group),)
        filters = config.fields('publishConfig', *steps)
        targets = ' '.join(s for s, v in sorted(switches.items())
                           if config.admits(filters.get('systemFilter', 'none'), s) is not False
                           and config.admits(filters.get('versionFilter', 'none'), str(v))) or 'none'
        for path in config.members('publishConfig', steps, 'publishConfig'):
            remote = config.fields('publishConfig', *steps, ('publishConfig', path)).get('remotePath', '')
            lines.add(f'{group} {path} as {remote} to: {targets}')
        for path in config.members('publishConfig', steps, 'publishDir'):
            directory = config.fields('publishConfig', *steps, ('publishDir', path))
            if directory.get('readyToPublish') == 'true':
                lines.add(f'{group} {path}/SWITCH as {directory.get("remoteTargetPath", "")} to: {targets}')
    return lines


def writes(agent, held, wanted):
    """The commands that take the status side from held to wanted, in the
    order of docs/machinery.md: switches, path prefixes, publish group
    statuses, initialMountsComplete."""
    commands = []
    for switch in sorted(wanted.systems):
        before, after = held.systems.get(switch), wanted.systems[switch]
        key = f'{agent}:mountStatus.systemStatus[{quoted(switch)}]'
        changed = [x for g in sorted(after) if (before or {}).get(g) != after[g] for x in (f'[{quoted(g)}]', after[g])]
        if before is None:
            commands.append(['HSET', key, 'name', switch] + changed)
            continue
        if changed:
            commands.append(['HSET', key] + changed)
        gone = [f'[{quoted(g)}]' for g in sorted(before) if g not in after]
        if gone:
            commands.append(['HDEL', key] + gone)
    for remote in sorted(set(held.prefixes) | set(wanted.prefixes)):
        key = f'{agent}:mountStatus.mountedPathPrefix[{quoted(remote)}]'
        if remote not in wanted.prefixes:
            commands.append(['DEL', key])
        elif held.prefixes.get(remote) != wanted.prefixes[remote]:
            commands.append(['HSET', key, 'value', wanted.prefixes[remote]])
    for group in sorted(set(held.published) | set(wanted.published)):
        key = f'{agent}:publishStatus.publishGroupStatus[{quoted(group)}]'
        before, after = held.published.get(group), wanted.published.get(group)
        added = [x for p in sorted((after or set()) - (before or set())) for x in (f'[{quoted(p)}]', 'true')]
        if after is None:
            commands.append(['DEL', key])
        elif before is None:
            commands.append(['HSET', key, 'name', group] + added)
        else:
            if added:
                commands.append(['HSET', key] + added)
            if before - after:
                commands.append(['HDEL', key] + [f'[{quoted(p)}]' for p in sorted(before - after)])
    for group in sorted(held.initial ^ wanted.initial):
        key = f'{agent}:mountStatus.initialMountsComplete[{quoted(group)}]'
        commands.append(['HSET', key, 'value', 'true'] if group in wanted.initial else ['DEL', key])
    return commands


class Machinery:
    def __init__(self, client, agent, switches):
        self.client, self.agent, self.switches = client, agent, switches
        self.config = Configuration()
        self.held = Status()
        self.published = set()
        self.leader_gen_id = None

    def scan(self, pattern):
        """{key relative to the agent: fields} of the agent's keys that match."""
        keys = sorted(self.client.scan_iter(match=glob_escaped(f'{self.agent}:') + pattern, count=1000))
        return self.read(keys)

    def read(self, keys):
        pipe = self.client.pipeline(transaction=False)
        for key in keys:
            pipe.hgetall(key)
        return {key[len(self.agent) + 1:]: fields for key, fields in zip(keys, pipe.execute())}

    def start(self, leader_gen_id):
        """Reads the configuration and what an earlier run left on the status
        side; creates the status records a starting agent needs."""
        for relative, fields in (self.scan('mountConfig*') | self.scan('publishConfig*')).items():
            self.config.update(relative, fields)
        for relative, fields in (self.scan('mountStatus.*') | self.scan('publishStatus.*')).items():
            path = parse_key(relative)
            if not path or len(path[1]) != 1:
                continue
            (attribute, key), = path[1]
            if attribute == 'systemStatus':
                self.held.systems[key] = bracketed_fields(fields)
            elif attribute == 'mountedPathPrefix':
                self.held.prefixes[key] = fields.get('value', '')
            elif attribute == 'initialMountsComplete' and fields.get('value') == 'true':
                self.held.initial.add(key)
            elif attribute == 'publishGroupStatus':
                self.held.published[key] = set(bracketed_fields(fields))
        self.send([['HSETNX', f'{self.agent}:status', 'name', 'status'],
                   ['HSETNX', f'{self.agent}:status', 'leaderGenId', leader_gen_id],
                   ['HSETNX', f'{self.agent}:mountStatus', 'name', self.agent],
                   ['HSETNX', f'{self.agent}:publishStatus', 'name', self.agent]])
        self.leader_gen_id = self.client.hget(f'{self.agent}:status', 'leaderGenId')
        self.reconcile()

    def changed(self, keys):
        for relative, fields in self.read([f'{self.agent}:{k}' for k in sorted(keys)]).items():
            self.config.update(relative, fields)
        self.reconcile()

    def reconcile(self):
        stamped = self.config.fields('mountConfig').get('leaderGenId')
        if stamped and stamped != self.leader_gen_id:
            print(f'machinery: the configuration was stamped under leader generation {stamped}, '
                  f'the controller is at {self.leader_gen_id}', file=sys.stderr)
        wanted = wanted_status(self.config, self.switches, self.held)
        self.send(writes(self.agent, self.held, wanted))
        self.held = wanted
        published = publications(self.config, self.switches)
        for line in sorted(self.published - published):
            print(f'# withdrawn: {line}')
        for line in sorted(published - self.published):
            print(f'# publishing: {line}')
        self.published = published
        sys.stdout.flush()

    def send(self, commands):
        pipe = self.client.pipeline(transaction=False)
        for command in commands:
            print(shlex.join(command))
            pipe.execute_command(*command)
        pipe.execute()


def glob_escaped(text):
    return ''.join('\\' + c if c in '*?[]\\' else c for c in text)


def ensure_notifications(client):
    """Keyspace notifications of hash and generic commands (HSET, HDEL, DEL)."""
    flags = client.config_get('notify-keyspace-events').get('notify-keyspace-events', '')
    have = set(flags) | (set('g$lshzxet') if 'A' in flags else set())
    missing = ''.join(c for c in 'Kgh' if c not in have)
    if missing:
        client.config_set('notify-keyspace-events', flags + missing)


def read_switches(args):
    entries = [word.split('=', 1) for word in args.switch]
    if args.switches:
        with open(args.switches) as lines:
            entries += [line.split('#')[0].split() for line in lines if line.split('#')[0].strip()]
    switches = {}
    for entry in entries:
        if len(entry) != 2 or not entry[1].isdigit():
            raise ValueError(f'a switch is SWITCH VERSION, got {" ".join(entry)!r}')
        switches[switch_id(entry[0])] = int(entry[1])
    return switches


def main():
    parser = argparse.ArgumentParser(description=__doc__.split('\n\n')[0])
    parser.add_argument('--redis', required=True, help='redis://HOST:PORT[/DB] or unix:///PATH')
    parser.add_argument('--agent', required=True, help="the agent's name, the prefix of its keys")
    parser.add_argument('--switches', help='a file of "SWITCH VERSION" lines')
    parser.add_argument('--leader-gen-id', default='gen-1', help='written to AGENT:status when it has none')
    parser.add_argument('switch', nargs='*', help='SWITCH=VERSION')
    args = parser.parse_args()
    try:
        switches = read_switches(args)
    except (OSError, ValueError) as error:
        parser.error(str(error))

    stopping = []
    for sig in (signal.SIGTERM, signal.SIGINT):
        signal.signal(sig, lambda *_: stopping.append(True))
    client = redis.Redis.from_url(args.redis, decode_responses=True)
    try:
        ensure_notifications(client)
        # Subscribed before reading, so that no change falls in between.
        channel = f'__keyspace@{client.connection_pool.connection_kwargs.get("db", 0)}__:{args.agent}:'
        pubsub = client.pubsub()
        pubsub.psubscribe(*(glob_escaped(channel) + record + '*' for record in ('mountConfig', 'publishConfig')))
        for _ in range(2):
            if not pubsub.get_message(timeout=5):
                raise redis.ConnectionError('no answer to PSUBSCRIBE')
        machinery = Machinery(client, args.agent, switches)
        machinery.start(args.leader_gen_id)
        while not stopping:
            changed = set()
            message = pubsub.get_message(timeout=POLL)
            while message:
                if message['type'] == 'pmessage':
                    changed.add(message['channel'][len(channel):])
                message = pubsub.get_message(timeout=SETTLE)
            if changed and not stopping:
                machinery.changed(changed)
        pubsub.close()
        client.close()
    except redis.RedisError as error:
        print(f'machinery: {error}', file=sys.stderr)
        return 1
    return 0


if __name__ == '__main__':
    sys.exit(main())
