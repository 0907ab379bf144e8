"""Turns what the benchmarks measured into a table, plots and verdicts.

    bench_report.py RESULTS report   table.md, results.json and an SVG for each case of several sizes
    bench_report.py RESULTS check    fails on too many allocations or instructions
    bench_report.py RESULTS record   writes the counted instructions as the new baseline

RESULTS is the directory that scripts/bench.sh fills.
"""

import json
import re
import statistics
import sys
from collections import defaultdict
from pathlib import Path

BENCHMARKS = Path(__file__).resolve().parent.parent / "benchmarks"
LIMITS = BENCHMARKS / "limits.json"
BASELINE = BENCHMARKS / "baseline.json"
TOLERANCE = 0.10
FLOOR = "floor"
OURS = "ours"
# As the benchmarks name themselves, and what the library appends.
NAME = re.compile(r"(?P<case>[^/]+)/(?P<contestant>[^/]+)/(?P<size>\d+)/(?P<threads>\d+)")


def split(name):
    match = NAME.match(name)
    return match["case"], int(match["size"]), int(match["threads"]), match["contestant"]


def read_times(results):
    """{(case, size, threads): {contestant: {"times": [ns], "allocations": n, "bytes": n}}}"""
    rows = defaultdict(dict)
    for run in json.loads((results / "times.json").read_text())["benchmarks"]:
        if run.get("error_occurred"):
            sys.exit(f"{run['name']}: {run['error_message']}")
        if run["run_type"] != "iteration":
            continue
        *row, contestant = split(run["name"])
        entry = rows[tuple(row)].setdefault(contestant, {"times": [], "allocations": 0})
        entry["times"].append(run["real_time"])
        entry["allocations"] = max(entry["allocations"], run.get("allocations", 0))
        if "bytes" in run:
            entry["bytes"] = run["bytes"]
    return rows


def read_counts(results):
    """{name: instructions of an operation}"""
    counts = {}
    for directory in sorted(results.glob("counts-*")):
        turns = {}
        for line in (directory / "turns").read_text().splitlines():
            match = re.fullmatch(r"(.+/.+/\d+/\d+) (\d+)", line)
            if match:
                turns[match[1]] = int(match[2])
        for dump in directory.glob("out.*"):
            text = dump.read_text()
            name = re.search(r"^desc: Trigger: Client Request: (.*)$", text, re.M)
            total = re.search(r"^totals: (\d+)$", text, re.M)
            if name and total and name[1] in turns:
                counts[name[1]] = int(total[1]) / turns[name[1]]
    return counts


def limits_of(case, limits):
    """The limits of the longest entry that the case's name begins with."""
    names = [name for name in limits if case.startswith(name)]
    return limits[max(names, key=len)] if names else {}


def ratio(ours, other):
    return ours / other if ours is not None and other else None


def summarise(results):
    counts = read_counts(results)
    rows = []
    for (case, size, threads), entries in read_times(results).items():
        row = {"case": case, "size": size, "threads": threads, "contestants": {}}
        for contestant, entry in entries.items():
            times = sorted(entry["times"])
            row["contestants"][contestant] = {
                "median_ns": statistics.median(times),
                "low_ns": times[len(times) // 10],
                "high_ns": times[-1 - len(times) // 10],
                "repetitions": len(times),
                "allocations": entry["allocations"],
                "bytes": entry.get("bytes"),
                "instructions": counts.get(f"{case}/{contestant}/{size}/{threads}"),
            }
        add_ratios(row)
        rows.append(row)
    return rows


def add_ratios(row):
    contestants = row["contestants"]
    ours = contestants[OURS]
    floor = contestants[FLOOR]
    peers = {n: c for n, c in contestants.items() if n not in (FLOOR, OURS)}
    row["time_ratio"] = ratio(ours["median_ns"], floor["median_ns"])
    row["instruction_ratio"] = ratio(ours["instructions"], floor["instructions"])
    row["bytes_ratio"] = ratio(ours["bytes"], floor["bytes"])
    best = min(peers, key=lambda name: peers[name]["median_ns"], default=None)
    row["best_peer"] = best
    row["best_peer_ratio"] = ratio(ours["median_ns"], peers[best]["median_ns"]) if best else None


def number(value, digits=2):
    return "" if value is None else f"{value:,.{digits}f}"


def time_text(contestant):
    return (f"{contestant['median_ns']:,.0f} "
            f"({contestant['low_ns']:,.0f} to {contestant['high_ns']:,.0f})")


def table(rows, limits):
    lines = [
        "| case | size | threads | floor, ns | ours, ns | ours / floor | instructions, ours "
        "| ours / floor | at most | allocations | best peer | ours / peer |",
        "|---|---|---|---|---|---|---|---|---|---|---|---|",
    ]
    for row in sorted(rows, key=lambda r: (r["case"], r["size"], r["threads"])):
        ours = row["contestants"][OURS]
        cells = [
            row["case"], f"{row['size']:,}", str(row["threads"]),
            time_text(row["contestants"][FLOOR]), time_text(ours),
            number(row["time_ratio"]), number(ours["instructions"], 0),
            number(row["instruction_ratio"]),
            number(limits_of(row["case"], limits).get("ratio")),
            f"{ours['allocations']:g}", row["best_peer"] or "", number(row["best_peer_ratio"]),
        ]
        lines.append("| " + " | ".join(cells) + " |")
    return "\n".join(lines) + "\n"


def plot(case, rows, path):
    from matplotlib import pyplot  # only the report needs it

    figure, axes = pyplot.subplots(figsize=(6.4, 4))
    for contestant in sorted({name for row in rows for name in row["contestants"]}):
        points = [(row["size"], row["contestants"][contestant]) for row in rows
                  if contestant in row["contestants"]]
        sizes = [size for size, _ in points]
        medians = [entry["median_ns"] for _, entry in points]
        errors = [[entry["median_ns"] - entry["low_ns"] for _, entry in points],
                  [entry["high_ns"] - entry["median_ns"] for _, entry in points]]
        style = "-o" if contestant in (FLOOR, OURS) else "--s"
        axes.errorbar(sizes, medians, yerr=errors, fmt=style, capsize=3, label=contestant)
    axes.set(xscale="log", yscale="log", title=case, xlabel="size", ylabel="ns for an operation")
    axes.grid(True, which="both", alpha=0.3)
    axes.legend()
    figure.tight_layout()
    figure.savefig(path, metadata={"Date": None})
    pyplot.close(figure)


def write_plots(rows, directory):
    directory.mkdir(exist_ok=True)
    cases = defaultdict(list)
    for row in rows:
        if row["threads"] == 1:
            cases[row["case"]].append(row)
    for case, of_case in cases.items():
        if len(of_case) > 2:
            name = re.sub(r"\W+", "-", case)
            plot(case, sorted(of_case, key=lambda row: row["size"]), directory / f"{name}.svg")


def write_report(results):
    rows = summarise(results)
    text = table(rows, json.loads(LIMITS.read_text()))
    (results / "table.md").write_text(text)
    (results / "results.json").write_text(json.dumps(rows, indent=1) + "\n")
    write_plots(rows, results / "plots")
    print(text)


def baseline_counts(results):
    counts = {name: round(count) for name, count in read_counts(results).items()
              if split(name)[3] == OURS}
    if not counts:
        sys.exit("No instructions were counted")
    return counts


def check(results):
    limits = json.loads(LIMITS.read_text())
    problems = []
    for (case, size, threads), entries in read_times(results).items():
        allowed = limits_of(case, limits).get("allocations")
        seen = entries[OURS]["allocations"]
        if allowed is not None and seen > allowed:
            problems.append(f"{case}, {size}, threads {threads}: {seen:g} allocations "
                            f"for an operation, at most {allowed} allowed")
    counts = baseline_counts(results)
    for name, recorded in json.loads(BASELINE.read_text()).items():
        seen = counts.get(name)
        if seen is None:
            problems.append(f"{name}: not counted any more")
        elif seen > recorded * (1 + TOLERANCE):
            problems.append(f"{name}: {seen} instructions for an operation, {recorded} recorded")
    print("\n".join(problems) or f"Allocations and instructions are within their limits "
          f"({len(counts)} counted)")
    return 1 if problems else 0


def record(results):
    BASELINE.write_text(json.dumps(baseline_counts(results), indent=1, sort_keys=True) + "\n")


def main(arguments):
    actions = {"report": write_report, "check": check, "record": record}
    if len(arguments) != 2 or arguments[1] not in actions:
        print(__doc__, file=sys.stderr)
        return 2
    return actions[arguments[1]](Path(arguments[0])) or 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
