#!/usr/bin/env python3
"""Cost figures for the kernel tables, measured.

Runs the Cost benchmarks of hpk_bench and prints, for each function and slot, the cost of one
element on the scale of the tables: nanoseconds per element times 1.79 / ns(dAdd). The single
Add, fixed at 0.74 in the tables, is printed beside its measured figure as a check of the scale.

    python3 tools/cost_figures.py build/bench/hpk_bench
"""
import json
import subprocess
import sys


def main():
    bench = sys.argv[1] if len(sys.argv) > 1 else "build/bench/hpk_bench"
    out = subprocess.run([bench, "--benchmark_filter=^Cost/", "--benchmark_format=json",
                          "--benchmark_min_time=0.1", "--benchmark_repetitions=3",
                          "--benchmark_report_aggregates_only=true"],
                         check=True, capture_output=True, text=True).stdout
    ns = {}
    for b in json.loads(out)["benchmarks"]:
        if b.get("aggregate_name") != "median":
            continue
        name = b["run_name"].split("/")  # Cost, fn, slot
        ns[(name[1], name[2])] = 1e9 / b["items_per_second"]
    scale = 1.79 / ns[("dAdd", "slot1")]
    print(f"scale: 1.79 / {ns[('dAdd', 'slot1')]:.4f} ns; sAdd measures "
          f"{ns[('sAdd', 'slot1')] * scale:.2f} (table 0.74)")
    for fn in sorted({k[0] for k in ns}, key=lambda f: (f[1:], f[0])):
        figs = [ns[(fn, f"slot{s}")] * scale for s in range(3)]
        print(f"{fn:14s} " + " ".join(f"{x:8.2f}" for x in figs))


if __name__ == "__main__":
    main()
