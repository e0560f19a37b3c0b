#!/usr/bin/env python3
"""Reads the JSON that hubstore_bench writes (--benchmark_out) and prints each
figure next to its floor or reference, the ratio, and the goal it is held to;
with --store, the store's figures too, from what hubstore_redis_figures
wrote (--out).

Times are CPU times; a benchmark run with repetitions is represented by its
median. The store's figures are wall-clock times, medians of their samples.
Usage: bench/report.py build/release/bench.json [--store build/release/store.json]
"""

import argparse
import json
import re
import statistics


def load(path):
    """Maps a benchmark's base name (repetition and iteration suffixes
    dropped) to its median entry."""
    with open(path) as f:
        data = json.load(f)
    medians, singles = {}, {}
    for entry in data["benchmarks"]:
        name = re.sub(r"/(repeats|iterations):\d+", "", entry["run_name"])
        if entry.get("run_type") == "aggregate":
            if entry.get("aggregate_name") == "median":
                medians[name] = entry
        else:
            singles.setdefault(name, entry)
    singles.update(medians)
    return singles


UNIT_NS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


def cpu_ns(entries, name):
    entry = entries.get(name)
    if entry is None or entry.get("error_occurred"):
        return None
    return entry["cpu_time"] * UNIT_NS[entry["time_unit"]]


def counter(entries, name, key):
    entry = entries.get(name)
    return None if entry is None else entry.get(key)


def show_time(ns):
    if ns is None:
        return "n/a"
    for unit, scale in (("s", 1e9), ("ms", 1e6), ("us", 1e3)):
        if ns >= scale:
            return f"{ns / scale:.3g} {unit}"
    return f"{ns:.3g} ns"


class Table:
    def __init__(self):
        self.rows = []

    def add(self, figure, ours, reference, ratio, goal, met):
        if ours == "n/a" and not reference:
            return  # not in this run (--benchmark_filter)
        verdict = "" if met is None else ("yes" if met else "NO")
        ratio_text = "n/a" if ratio is None else f"{ratio:.2f}x"
        self.rows.append((figure, ours, reference, ratio_text, goal, verdict))

    def compare(self, figure, ours_ns, reference_label, reference_ns, goal_ratio=None, show=show_time):
        """A figure against a floor: ratio = ours / floor."""
        if ours_ns is None and reference_ns is None:
            return  # not in this run (--benchmark_filter)
        ratio = ours_ns / reference_ns if ours_ns and reference_ns else None
        goal = f"<= {goal_ratio}x" if goal_ratio else ""
        met = None if goal_ratio is None or ratio is None else ratio <= goal_ratio
        self.add(figure, show(ours_ns), f"{reference_label} {show(reference_ns)}", ratio, goal, met)

    def against_goal(self, figure, value, goal_value, show, goal_text=None):
        """A figure against an absolute goal: ratio = value / goal."""
        if value is None:
            return
        ratio = value / goal_value if value is not None else None
        met = None if ratio is None else ratio <= 1.0
        self.add(figure, show(value), f"goal {show(goal_value)}", ratio, goal_text or f"<= {show(goal_value)}", met)

    def print(self):
        header = ("figure", "ours", "floor / reference", "ratio", "goal", "met")
        widths = [max(len(str(row[i])) for row in self.rows + [header]) for i in range(len(header))]
        line = lambda row: "| " + " | ".join(str(c).ljust(w) for c, w in zip(row, widths)) + " |"
        print(line(header))
        print("|" + "|".join("-" * (w + 2) for w in widths) + "|")
        for row in self.rows:
            print(line(row))


def show_bytes_per(value):
    return "n/a" if value is None else f"{value:.1f} B"


def show_megabytes(value):
    return f"{value / 2**20:.0f} MiB"


def fleet_label(switches, groups):
    return f"{switches // 1000}k x {groups}" if switches % 1000 == 0 else f"{switches} x {groups}"


def failure(samples):
    """The first error among a figure's samples, or None."""
    return next((s["error"] for s in samples if "error" in s), None)


def median_sample(samples):
    """The sample of median time (the lower middle one of an even count)."""
    ordered = sorted(samples, key=lambda s: s["seconds"])
    return ordered[(len(ordered) - 1) // 2]


def store_start_rows(t, fleet):
    """An agent's start over one fleet: time against the floor, what it held,
    its heap and peak RSS, and the bytes Redis holds."""
    switches, groups, statuses = fleet["switches"], fleet["groups"], fleet["statuses"]
    label = fleet_label(switches, groups)
    floors, starts = fleet["floor_start"], fleet["agent_start"]
    floor_error, ours_error = failure(floors), failure(starts)
    floor_s = None if floor_error else statistics.median(s["seconds"] for s in floors)
    floor_text = f"floor failed: {floor_error}" if floor_error else f"SCAN + TYPE + HGETALL (C) {show_time(floor_s * 1e9)}"
    figure = f"store: agent start, {label}" + (", default options" if switches >= 100000 else "")
    if ours_error:
        t.add(figure, f"failed: {ours_error}", floor_text, None, "", False)
        return
    ours = median_sample(starts)
    ours_s = statistics.median(s["seconds"] for s in starts)
    ratio = ours_s / floor_s if floor_s else None
    if switches == 10000:
        met = ratio is not None and ours_s <= 1.5 and ratio <= 2.5
        t.add(figure, show_time(ours_s * 1e9), floor_text, ratio, "<= 1.5 s and <= 2.5x", met)
    else:
        t.add(figure, show_time(ours_s * 1e9), floor_text, ratio, "", None)
    t.add(f"  open / declare and close / flush, {label}",
          " / ".join(show_time(ours[k] * 1e9) for k in ("open_seconds", "declare_seconds", "flush_seconds")),
          "", None, "", None)
    held = min(s["statuses"] for s in starts)
    reports = min(s["mount_state_reports"] for s in starts)
    t.add(f"  group statuses held / reported at start, {label}", f"{held:,} / {reports:,}", f"loaded {statuses:,}",
          None, "all held", held == statuses)
    if "reports_on_request" in ours:
        on_request = min(s["reports_on_request"] for s in starts)
        t.add(f"  then reportMountStates(), {label}",
              f"{show_time(statistics.median(s['report_seconds'] for s in starts) * 1e9)}, {on_request:,} hook calls",
              "", None, "all reported", on_request == statuses)
    heap = (ours["heap_after_bytes"] - ours["heap_before_bytes"]) / statuses
    t.against_goal(f"  agent heap per group status, {label}", heap, 250, show_bytes_per)
    if "heap_opened_bytes" in ours:
        steps = (ours["heap_opened_bytes"] - ours["heap_before_bytes"], ours["heap_declared_bytes"] - ours["heap_opened_bytes"])
        t.add(f"    of which the open / the service", " / ".join(show_bytes_per(b / statuses) for b in steps), "", None, "",
              None)
    t.add(f"  agent peak RSS, {label}", show_megabytes(ours["peak_rss_bytes"]),
          f"at start {show_megabytes(ours['rss_before_bytes'])}; floor's "
          f"{show_megabytes(max(s['peak_rss_bytes'] for s in floors)) if not floor_error else 'n/a'}",
          None, "", None)


def store_rows(t, path):
    with open(path) as f:
        store = json.load(f)
    for fleet in store["fleets"]:
        store_start_rows(t, fleet)
    for fleet in store["fleets"]:
        redis_bytes = (fleet["redis_used_memory_after"] - fleet["redis_used_memory_before"]) / fleet["statuses"]
        t.against_goal(f"store: redis bytes per group status, {fleet_label(fleet['switches'], fleet['groups'])}",
                       redis_bytes, 60, show_bytes_per)
    hook = store.get("hook_latency")
    if hook:
        figure = f"store: status write to hook across processes, {fleet_label(hook['switches'], hook['groups'])}"
        floor_error, ours_error = failure(hook["floor"]), failure(hook["ours"])
        if floor_error or ours_error:
            t.add(figure, f"failed: {ours_error}" if ours_error else "", f"floor failed: {floor_error}" if floor_error else "",
                  None, "<= 2x", False)
            return
        floor = sorted(x for r in hook["floor"] for x in r["micros"])
        ours = sorted(x for r in hook["ours"] for x in r["micros"])
        at = lambda xs, q: xs[min(len(xs) - 1, int(len(xs) * q))]
        t.compare(f"{figure}, median of {len(ours)}", at(ours, 0.5) * 1e3, "HSET -> notified HGETALL (C)",
                  at(floor, 0.5) * 1e3, goal_ratio=2)
        t.compare("  99th percentile", at(ours, 0.99) * 1e3, "same floor", at(floor, 0.99) * 1e3)


def main(path, store_path):
    e = load(path)
    t = Table()

    for n in (1, 4, 16):
        t.compare(f"dispatch to {n} notifiee(s)", cpu_ns(e, f"BM_DispatchOurs/{n}"), "raw vector",
                  cpu_ns(e, f"BM_DispatchRawVector/{n}"), goal_ratio=1.3)
    for n in (1, 4, 16):
        ours, signals2 = cpu_ns(e, f"BM_DispatchOurs/{n}"), cpu_ns(e, f"BM_DispatchSignals2/{n}")
        if signals2 is None:
            continue
        speedup = signals2 / ours if ours else None
        t.add(f"dispatch to {n}: Signals2 / ours", show_time(ours), f"Signals2 {show_time(signals2)}", speedup,
              ">= 8x faster", None if speedup is None else speedup >= 8)

    for switches in (1000, 10000):
        label = f"{switches // 1000}k x 50"
        t.compare(f"mountState to hook, {label}", cpu_ns(e, f"BM_MountStateToHook/{switches}"),
                  "hash lookup + 2 virtual calls", cpu_ns(e, f"BM_MountStateToHookFloor/{switches}"), goal_ratio=2)
        allocations = counter(e, f"BM_MountStateToHook/{switches}", "allocations_per_event")
        if allocations is not None:
            t.add(f"  allocations per event, {label}", f"{allocations:g}", "", None, "0", allocations == 0)
    for switches in (1000, 10000):
        label = f"{switches // 1000}k x 50"
        t.compare(f"mountState to hook, {label}, random switch-group", cpu_ns(e, f"BM_MountStateToHookSpread/{switches}"),
                  "same floor", cpu_ns(e, f"BM_MountStateToHookSpreadFloor/{switches}"))

    sweep_goals = {10000: 150e6, 100000: 2e9}
    show_bytes = lambda b: "n/a" if b is None else f"{b:.1f} B"
    for switches in (1000, 10000, 100000):
        name = f"BM_InitialSweep/{switches}"
        label = f"{switches // 1000}k x 50"
        ns = cpu_ns(e, name)
        if switches in sweep_goals:
            t.against_goal(f"initial sweep, {label}", ns, sweep_goals[switches], show_time)
        else:
            per = counter(e, name, "ns_per_switch_group")
            t.add(f"initial sweep, {label}", show_time(ns), "", None,
                  "" if per is None else f"({per:.0f} ns per switch-group)", None)
        t.against_goal(f"  bytes kept per switch-group, {label}", counter(e, name, "bytes_kept_per_switch_group"),
                       100, show_bytes)
        peak = counter(e, name, "peak_bytes_per_switch_group")
        t.add(f"  peak bytes per switch-group, {label}", show_bytes(peak), "", None, "", None)
    freed = cpu_ns(e, "BM_InitialSweepAfterFreedFleet/10000")
    t.against_goal("initial sweep, 10k x 50, fleet built after a freed one", freed, sweep_goals[10000], show_time)

    for cold, label in ((0, "warm"), (1, "cold")):
        close1 = cpu_ns(e, f"BM_CloseOverStaleState/scale:1/cold:{cold}")
        close2 = cpu_ns(e, f"BM_CloseOverStaleState/scale:2/cold:{cold}")
        t.against_goal(f"close over stale state, 1x, {label} caches", close1, 15e6, show_time)
        t.compare(f"close over stale state, 2x, {label} caches", close2, "1x", close1, goal_ratio=2.3)

    for mounts in (10, 100, 1000):
        t.compare(f"completion re-check, {mounts} mounts", cpu_ns(e, f"BM_CompletionRecheck/{mounts}"),
                  "merge of sorted arrays", cpu_ns(e, f"BM_CompletionRecheckFloor/{mounts}"))
    t.against_goal("completion re-check, 1000 mounts", cpu_ns(e, "BM_CompletionRecheck/1000"), 20e3, show_time)
    t.compare("completion re-check, 1000 vs 100 mounts", cpu_ns(e, "BM_CompletionRecheck/1000"), "100 mounts",
              cpu_ns(e, "BM_CompletionRecheck/100"), goal_ratio=11)

    trace, empty = cpu_ns(e, "BM_TraceDisabled"), cpu_ns(e, "BM_EmptyLoop")
    if trace is not None and empty is not None:
        extra = trace - empty
        t.add("trace at a disabled level", show_time(trace), f"empty loop {show_time(empty)}", trace / empty,
              "<= +0.15 ns", extra <= 0.15)

    if store_path:
        store_rows(t, store_path)
    t.print()


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description="The bench table: each figure beside its floor and goal.")
    parser.add_argument("bench", nargs="?", default="build/release/bench.json", help="hubstore_bench's JSON")
    parser.add_argument("--store", help="hubstore_redis_figures's JSON")
    arguments = parser.parse_args()
    main(arguments.bench, arguments.store)
