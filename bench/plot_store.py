#!/usr/bin/python3
"""Draws an agent's start over a fleet in Redis, time and bytes per group
status, against the fleet size, from the JSON that `scripts/run bench` leaves
in build/release/store.json (hubstore_redis_figures --out):

    bench/plot_store.py [build/release/store.json] [docs/store_fleet.png]

Needs matplotlib, as bench/plot_sweep.py does (which installs it).
"""

import json
import statistics
import sys

from plot_sweep import matplotlib_pyplot


def fleet_points(path):
    """(switches, groups, ours s, floor s, agent heap B, agent peak RSS B,
    redis B) per fleet size, each per group status; medians of the samples.
    A fleet whose start failed is left out."""
    with open(path) as f:
        store = json.load(f)
    points = []
    for fleet in store["fleets"]:
        starts, floors = fleet["agent_start"], fleet["floor_start"]
        if any("error" in s for s in starts + floors):
            print(f"{fleet['switches']} switches: a start failed, left out", file=sys.stderr)
            continue
        statuses = fleet["statuses"]
        per = lambda key: statistics.median(key(s) for s in starts) / statuses
        points.append((
            fleet["switches"], fleet["groups"],
            statistics.median(s["seconds"] for s in starts),
            statistics.median(s["seconds"] for s in floors),
            per(lambda s: s["heap_after_bytes"] - s["heap_before_bytes"]),
            per(lambda s: s["peak_rss_bytes"] - s["rss_before_bytes"]),
            (fleet["redis_used_memory_after"] - fleet["redis_used_memory_before"]) / statuses,
        ))
    return sorted(points)


def main(source, target):
    points = fleet_points(source)
    if not points:
        sys.exit(f"{source}: no fleet with a successful start")
    pyplot = matplotlib_pyplot()
    switches = [p[0] for p in points]
    groups = points[0][1]
    figure, (time_axis, bytes_axis) = pyplot.subplots(1, 2, figsize=(10, 4))

    time_axis.plot(switches, [p[2] for p in points], "o-", label="agent start")
    time_axis.plot(switches, [p[3] for p in points], "s--", label="floor: SCAN + TYPE + HGETALL (C)")
    time_axis.plot(switches, [2.5 * p[3] for p in points], ":", color="gray", label="goals: 2.5x the floor, 1.5 s at 10k")
    time_axis.plot([10000], [1.5], "x", color="gray")
    time_axis.set_xscale("log")
    time_axis.set_yscale("log")
    time_axis.set_xlabel(f"switches ({groups} groups each)")
    time_axis.set_ylabel("wall-clock time (s)")
    time_axis.set_title("Agent start over a fleet in Redis")
    time_axis.legend()

    bytes_axis.plot(switches, [p[4] for p in points], "o-", label="agent heap")
    bytes_axis.plot(switches, [p[5] for p in points], "^--", label="agent peak RSS above its start")
    bytes_axis.plot(switches, [p[6] for p in points], "s-", label="redis used_memory")
    bytes_axis.axhline(250, color="gray", linestyle=":", label="goals: 250 B (agent), 60 B (redis)")
    bytes_axis.axhline(60, color="gray", linestyle=":")
    bytes_axis.set_xscale("log")
    bytes_axis.set_ylim(0, max(300, 1.1 * max(max(p[4:]) for p in points)))
    bytes_axis.set_xlabel(f"switches ({groups} groups each)")
    bytes_axis.set_ylabel("bytes per group status")
    bytes_axis.set_title("Memory")
    bytes_axis.legend()

    figure.tight_layout()
    figure.savefig(target, dpi=100)
    print(f"wrote {target}")


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else "build/release/store.json",
         sys.argv[2] if len(sys.argv) > 2 else "docs/store_fleet.png")
