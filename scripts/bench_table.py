#!/usr/bin/env python3
"""Makes one table of Google Benchmark's JSON: bench_table.py FOLDER FAMILY...

Reads FOLDER/raw/FAMILY.json, prints the table and writes it to FOLDER/table.json. Benchmarks are called
FAMILY/OPERATION/SIZE/CONTESTANT. Figures are medians of the repetitions, in nanoseconds an operation. The contestant
"ours" is compared with the fastest peer; "hand" is a mark of what is possible and has a ratio of its own.
"""

import json
import math
import os
import statistics
import sys


def read_rows(path):
    """The rows of one family in the order in which its program added them: {(operation, size): {contestant: ns}}.

    The size is a number, or the name of a text."""
    with open(path, encoding="utf-8") as file:
        runs = [run for run in json.load(file)["benchmarks"] if run["run_type"] == "iteration"]
    figures = {}
    for run in sorted(runs, key=lambda run: (run["family_index"], run["repetition_index"])):
        _, operation, size, contestant = run["name"].split("/")[:4]
        contestants = figures.setdefault((operation, size), {})
        contestants.setdefault(contestant, []).append(1e9 / run["items_per_second"])
    return {row: {name: statistics.median(each) for name, each in contestants.items()}
            for row, contestants in figures.items()}


def make_row(family, operation, size, contestants):
    peers = {name: ns for name, ns in contestants.items() if name not in ("ours", "hand")}
    row = {"family": family, "operation": operation, "size": size, "ours": contestants["ours"], "peers": peers,
           "fastest peer": min(peers, key=peers.get)}
    row["ratio"] = row["ours"] / peers[row["fastest peer"]]
    if "hand" in contestants:
        row["hand"] = contestants["hand"]
        row["ratio to hand"] = row["ours"] / row["hand"]
    return row


def geometric_mean(rows):
    return math.exp(statistics.fmean(math.log(row["ratio"]) for row in rows))


def figure(value):
    return f"{value:.3f}" if value < 1 else f"{value:.1f}"


def groups(rows):
    """Neighbouring rows with a peer in common, and all their columns: one header stands over each group."""
    group, columns = [], {}
    for row in rows:
        names = row["peers"] | ({"hand": row["hand"]} if "hand" in row else {})
        if group and not columns.keys() & row["peers"].keys():
            yield group, list(columns)
            group, columns = [], {}
        group.append(row)
        columns |= names
    if group:
        yield group, list(columns)


def print_table(rows):
    for group, columns in groups(rows):
        titles = ["ours", *columns, "ours/fastest"] + (["ours/hand"] if "hand" in columns else [])
        print(f"\n{'family':<10} {'operation':<15} {'size':>8}" + "".join(f" {title:>14}" for title in titles))
        for row in group:
            figures = row["peers"] | row
            cells = [figure(figures[name]) if name in figures else "" for name in ["ours", *columns]]
            cells += [f"{row[name]:.2f}" if name in row else "" for name in ["ratio", "ratio to hand"]]
            line = f"{row['family']:<10} {row['operation']:<15} {row['size']:>8}"
            print((line + "".join(f" {cell:>14}" for cell in cells)).rstrip())


def main():
    folder, families = sys.argv[1], sys.argv[2:]
    rows = []
    for family in families:
        contestants_of_rows = read_rows(os.path.join(folder, "raw", family + ".json"))
        rows += [make_row(family, *row, contestants) for row, contestants in contestants_of_rows.items()]
    print("Medians, nanoseconds an operation. Ratios below 1: ours is faster.")
    print_table(rows)
    means = {family: geometric_mean([row for row in rows if row["family"] == family]) for family in families}
    means["all"] = geometric_mean(rows)
    print("\nGeometric mean of ours/fastest: " + ", ".join(f"{name} {mean:.2f}" for name, mean in means.items()))
    with open(os.path.join(folder, "table.json"), "w", encoding="utf-8") as file:
        json.dump({"unit": "ns an operation", "rows": rows, "geometric means": means}, file, indent=1)


if __name__ == "__main__":
    main()
