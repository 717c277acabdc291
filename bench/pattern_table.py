#!/usr/bin/env python3
"""Turns the JSON output of pattern_bench (run with repetitions) into the Markdown tables of README.md.

Ratios are of medians of CPU time (the machine may be shared; CPU time does not count the time the
program waits): the peer's time divided by ours, so above 1 means that ours is faster. Counts of
occurrences are compared between the engines of a workload (memchr counts its byte instead).

    pattern_bench --benchmark_repetitions=5 --benchmark_format=json > result.json
    bench/pattern_table.py result.json
"""
import json
import sys

# workload, peer, least ratio (peer time / our time)
TARGETS = [
    ("literal:Holmes", "memchr", 0.7),
    ("literal:Holmes", "re2", 1.0),
    ("literal:therex", "memchr", 0.5),
    ("literal:therex", "memmem", 2.0),
    ("ignore-case:holmes", "re2", 1.0),
    ("regex:Holmes$", "re2", 0.9),
    ("regex:^Sherlock", "re2", 0.9),
    ("regex:qu.*ck", "re2", 0.9),
    ("regex:a[0-9]+z", "re2", 0.9),
    ("regex:[A-Z][a-z]+ing", "re2", 1.0),
    ("regex:th[a-z]*e", "re2", 1.0),
]
FAST_PATH_TARGET = 0.9  # the jumping search against the plain one: never more than 10% slower


def main(path):
    with open(path) as f:
        runs = json.load(f)["benchmarks"]
    medians, counts = {}, {}
    for run in runs:
        name = run["run_name"]
        if run.get("aggregate_name") == "median":
            medians[name] = run["cpu_time"]
            counts[name] = int(run["matches"])
    workloads = {}
    for name in medians:
        workload, engine = name.rsplit("/", 1)
        workloads.setdefault(workload, {})[engine] = medians[name]

    def counts_agree(workload):
        found = {counts.get(f"{workload}/{e}") for e in workloads[workload] if e != "memchr"}
        return "yes" if len(found) == 1 else "NO"

    def row(workload, peer, target):
        ours, theirs = workloads[workload]["ours"], workloads[workload][peer]
        ratio = theirs / ours
        return (f"| `{workload}` | {ours:.1f} | {peer} | {theirs:.1f} | {ratio:.2f}x | >= {target}x | "
                f"{'yes' if ratio >= target else '**no**'} | {counts.get(workload + '/ours', 0)} |")

    header = "| workload | ours (ms) | peer | peer (ms) | ratio | target | met? | occurrences |"
    rule = "|---|---:|---|---:|---:|---:|---|---:|"
    print(header)
    print(rule)
    for workload, peer, target in TARGETS:
        print(row(workload, peer, target))
    for workload in sorted(w for w in workloads if w.startswith("fast:")):
        print(row(workload, "plain", FAST_PATH_TARGET))
    print()
    print("| workload | " + " | ".join(["ours", "memchr", "memmem", "string_view", "re2", "pcre2"]) +
          " | counts agree |")
    print("|---|" + "---:|" * 6 + "---|")
    for workload in dict.fromkeys(w for w, _, _ in TARGETS):
        times = [workloads[workload].get(e) for e in ["ours", "memchr", "memmem", "string_view", "re2", "pcre2"]]
        cells = [f"{t:.1f}" if t is not None else "" for t in times]
        print(f"| `{workload}` | " + " | ".join(cells) + f" | {counts_agree(workload)} |")


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else "/dev/stdin")
