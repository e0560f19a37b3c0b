#!/usr/bin/python3
"""Draws the initial sweep's time and memory per switch-group against the
fleet size, from the JSON that `scripts/run bench` leaves in
build/release/bench.json:

    bench/plot_sweep.py [build/release/bench.json] [docs/sweep.png]

Needs matplotlib; Debian's python3-matplotlib is installed when missing, and
the script goes on under Debian's python3, the one that package serves.
"""

import json
import os
import re
import subprocess
import sys


def matplotlib_pyplot():
    try:
        import matplotlib
    except ImportError:
        debian_python = "/usr/bin/python3"
        if subprocess.call([debian_python, "-c", "import matplotlib"], stderr=subprocess.DEVNULL) != 0:
            apt = (["sudo"] if os.geteuid() != 0 else []) + ["apt-get", "-q"]
            env = dict(os.environ, DEBIAN_FRONTEND="noninteractive")
            install = apt + ["install", "-y", "python3-matplotlib"]
            if subprocess.call(install, env=env) != 0:  # a fresh machine knows no packages yet
                subprocess.check_call(apt + ["update"], env=env)
                subprocess.check_call(install, env=env)
        if os.path.realpath(sys.executable) != os.path.realpath(debian_python):
            os.execv(debian_python, [debian_python] + sys.argv)
        import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as pyplot
    return pyplot


def sweep_points(path):
    """(switches, ms, bytes kept, peak bytes) per fleet size, medians when
    the benchmark was repeated."""
    with open(path) as f:
        data = json.load(f)
    rows = {}
    for entry in data["benchmarks"]:
        match = re.match(r"BM_InitialSweep/(\d+)/", entry["run_name"] + "/")
        if not match or entry.get("error_occurred"):
            continue
        if entry.get("run_type") == "aggregate" and entry.get("aggregate_name") != "median":
            continue
        switches = int(match.group(1))
        if switches in rows and entry.get("run_type") != "aggregate":
            continue  # the median, when there is one, wins
        scale = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}[entry["time_unit"]]
        rows[switches] = (switches, entry["cpu_time"] * scale, entry["bytes_kept_per_switch_group"],
                          entry["peak_bytes_per_switch_group"])
    return [rows[k] for k in sorted(rows)]


def main(source, target):
    points = sweep_points(source)
    if not points:
        sys.exit(f"{source}: no BM_InitialSweep results")
    pyplot = matplotlib_pyplot()
    switches = [p[0] for p in points]
    groups = 50
    figure, (time_axis, bytes_axis) = pyplot.subplots(1, 2, figsize=(10, 4))

    time_axis.plot(switches, [p[1] for p in points], "o-", label="sweep")
    time_axis.plot(switches, [p[0] * groups * 300e-6 for p in points], ":", color="gray",
                   label="300 ns per switch-group (150 ms at 10k)")
    time_axis.set_xscale("log")
    time_axis.set_yscale("log")
    time_axis.set_xlabel(f"switches ({groups} groups each)")
    time_axis.set_ylabel("CPU time (ms)")
    time_axis.set_title("Initial sweep: time")
    time_axis.legend()

    bytes_axis.plot(switches, [p[2] for p in points], "o-", label="kept")
    bytes_axis.plot(switches, [p[3] for p in points], "s--", label="peak")
    bytes_axis.axhline(100, color="gray", linestyle=":", label="goal: 100 B")
    bytes_axis.set_xscale("log")
    bytes_axis.set_ylim(0, 130)
    bytes_axis.set_xlabel(f"switches ({groups} groups each)")
    bytes_axis.set_ylabel("bytes per switch-group")
    bytes_axis.set_title("Initial sweep: memory")
    bytes_axis.legend()

    figure.tight_layout()
    figure.savefig(target, dpi=100)
    print(f"wrote {target}")


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else "build/release/bench.json",
         sys.argv[2] if len(sys.argv) > 2 else "docs/sweep.png")
