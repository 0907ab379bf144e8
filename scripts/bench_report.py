# SPDX-License-Identifier: MIT
"""Turns the results of the benchmarks into a table, plots and verdicts.

    bench_report.py RESULTS report   table.md, results.json and an SVG for each case of several sizes
    bench_report.py RESULTS publish  as report, and writes figures and plots to docs/performance.md,
                                     and ratios to the README and docs/comparison.md
    bench_report.py RESULTS check    fails on too many allocations, instructions, atomic changes,
                                     locks or shared lines
    bench_report.py RESULTS record   writes the counted instructions as the new baseline

RESULTS is the directory that scripts/bench.sh fills.
"""

import json
import platform
import re
import shutil
import statistics
import subprocess
import sys
from collections import defaultdict
from pathlib import Path

sys.dont_write_bytecode = True

import comparison

ROOT = Path(__file__).resolve().parent.parent
LIMITS = ROOT / "benchmarks/limits.json"
BASELINE = ROOT / "benchmarks/baseline.json"
COSTS = ROOT / "benchmarks/costs.json"
PAGE = ROOT / "docs/performance.md"
TOLERANCE = 0.05
SHARED = (" The machine had other work: the times are preliminary, the instructions and sizes are "
          "not.")
OURS = "ours"
PROCESSORS = [1, 2, 4, 8, 16, 32, 64]
# The time of an operation, whose changes are counted, on one processor.
MEASURED = {
    "lookup": ("lookup", 1000), "read own": ("read own text", 100),
    "read pinned": ("read pinned text", 100), "read stored": ("read stored text", 100),
    "set": ("set again", 0), "send to 1": ("send", 1), "send to 10": ("send", 10),
    "send to 100": ("send", 100), "log line": ("log line", 40),
    "filtered log line": ("filtered line of the service", 1)
}
# The names of the benchmarks, and the parts that the library appends.
NAME = re.compile(r"(?P<case>[^/]+)/(?P<contestant>[^/]+)/(?P<size>\d+)/(?P<threads>\d+)")


def split(name):
    match = NAME.match(name)
    return match["case"], int(match["size"]), int(match["threads"]), match["contestant"]


def read_times(results):
    """{(case, size, threads): {contestant: {"times": [ns], "rates": [operations of all threads in a
    ns], "allocations": n, "bytes": n}}}

    Samples in which a thread had to wait for a processor have neither time nor rate.
    """
    rows = defaultdict(dict)
    for run in json.loads((results / "times.json").read_text())["benchmarks"]:
        if run.get("error_occurred"):
            sys.exit(f"{run['name']}: {run['error_message']}")
        if run["run_type"] != "iteration":
            continue
        *row, contestant = split(run["name"])
        entry = rows[tuple(row)].setdefault(contestant,
                                            {"times": [], "rates": [], "allocations": 0})
        if run.get("both", 1):
            entry["times"].append(run["real_time"])
            entry["rates"].append((1 + run.get("rival", 0)) / run["real_time"])
        entry["allocations"] = max(entry["allocations"], run.get("allocations", 0))
        if "bytes" in run:
            entry["bytes"] = run["bytes"]
    return rows


def read_counts(results):
    """{name: instructions of an operation}"""
    counts = {}
    turns = {}
    for line in (results / "counts/turns").read_text().splitlines():
        match = re.fullmatch(r"(.+/.+/\d+/\d+) (\d+)", line)
        if match:
            turns[match[1]] = int(match[2])
    for dump in (results / "counts").glob("out.*"):
        text = dump.read_text()
        name = re.search(r"^desc: Trigger: Client Request: (.*)$", text, re.M)
        total = re.search(r"^totals: (\d+)$", text, re.M)
        if name and total and name[1] in turns:
            counts[name[1]] = int(total[1]) / turns[name[1]]
    return counts


def limits_of(case, limits):
    """The limits of the longest entry that is a prefix of the case's name."""
    names = [name for name in limits if case.startswith(name)]
    return limits[max(names, key=len)] if names else {}


def ratio(ours, other):
    return ours / other if ours is not None and other else None


def is_floor(contestant):
    """A case has one floor, or several: "floor, tree" and "floor, hash"."""
    return contestant.split(",")[0] == "floor"


def spread(times):
    if not times:
        return {"median_ns": None, "low_ns": None, "high_ns": None}
    return {"median_ns": statistics.median(times), "low_ns": times[len(times) // 10],
            "high_ns": times[-1 - len(times) // 10]}


def summarise(results):
    counts = read_counts(results)
    rows = []
    for (case, size, threads), entries in read_times(results).items():
        row = {"case": case, "size": size, "threads": threads, "contestants": {}}
        for contestant, entry in entries.items():
            row["contestants"][contestant] = {
                **spread(sorted(entry["times"])),
                "rate": statistics.median(entry["rates"]) if entry["rates"] else None,
                "repetitions": len(entry["times"]),
                "allocations": entry["allocations"],
                "bytes": entry.get("bytes"),
                "instructions": counts.get(f"{case}/{contestant}/{size}/{threads}"),
            }
        add_ratios(row)
        rows.append(row)
    add_throughputs(rows)
    return rows


def add_throughputs(rows):
    """Of several threads, as a multiple of one thread's."""
    alone = {(row["case"], row["size"]): row["contestants"] for row in rows if row["threads"] == 1}
    for row in rows:
        for name, entry in row["contestants"].items():
            one = alone[row["case"], row["size"]][name]["rate"]
            entry["throughput"] = ratio(entry["rate"], one) if row["threads"] > 1 else None


def ratios(ours, other):
    return {
        "time": ratio(ours["median_ns"], other["median_ns"]),
        "instructions": ratio(ours["instructions"], other["instructions"]),
        "bytes": ratio(ours["bytes"], other["bytes"]),
    }


def add_ratios(row):
    contestants = row["contestants"]
    ours = contestants[OURS]
    row["floors"] = {name: ratios(ours, entry) for name, entry in contestants.items()
                     if is_floor(name)}
    peers = {name: entry for name, entry in contestants.items()
             if name != OURS and not is_floor(name) and entry["median_ns"]}
    row["best_peer"] = min(peers, key=lambda name: peers[name]["median_ns"], default=None)
    row["peer"] = ratios(ours, peers[row["best_peer"]]) if peers else {}


def number(value, digits=2):
    return "" if value is None else f"{value:,.{digits}f}"


def time_text(contestant):
    if contestant["median_ns"] is None:
        return "never both"
    return (f"{contestant['median_ns']:,.0f} "
            f"({contestant['low_ns']:,.0f} to {contestant['high_ns']:,.0f})")


def cells(row, floor, limits):
    ours = row["contestants"][OURS]
    entry = row["contestants"][floor]
    to_floor = row["floors"][floor]
    return [
        row["case"], f"{row['size']:,}", str(row["threads"]),
        floor.partition(", ")[2], time_text(entry), time_text(ours), number(to_floor["time"]),
        number(entry["throughput"]), number(ours["throughput"]),
        number(entry["instructions"], 0), number(ours["instructions"], 0),
        number(to_floor["instructions"]), number(limits_of(row["case"], limits).get("ratio")),
        f"{ours['allocations']:g}",
        row["best_peer"] or "", number(row["peer"].get("time")),
        number(row["peer"].get("instructions")),
    ]


def table(rows, limits):
    lines = [
        "| case | size | threads | kind of floor | floor, ns | ours, ns | ours / floor "
        "| throughput of the floor | ours "
        "| instructions, floor | instructions, ours | ours / floor | at most | allocations "
        "| best peer | ours / peer, time | ours / peer, instructions |",
        "|---" * 17 + "|",
    ]
    for row in sorted(rows, key=lambda r: (r["case"], r["size"], r["threads"])):
        for floor in sorted(row["floors"]):
            lines.append("| " + " | ".join(cells(row, floor, limits)) + " |")
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
        style = "-o" if contestant == OURS or is_floor(contestant) else "--s"
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
    plot_throughput(results, rows, results / "plots/throughput.svg")
    print(text)
    return rows


def first_line(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout.split("\n")[0]


def conditions(results):
    """Where and how the figures were measured."""
    measured = json.loads((results / "times.json").read_text())
    context = measured["context"]
    samples = max(run.get("repetitions", 1) for run in measured["benchmarks"])
    version = re.search(r"project\(ixlal VERSION ([\d.]+)", (ROOT / "CMakeLists.txt").read_text())[1]
    processor = re.search(r"model name\s*: (.*)", Path("/proc/cpuinfo").read_text())[1]
    caches = ", ".join(f"level {c['level']} {c['type'].lower()} {c['size'] // 1024:,} KiB"
                       for c in context["caches"] if c["type"] != "Instruction")
    presets = json.loads((ROOT / "CMakePresets.json").read_text())["configurePresets"]
    flags = {key: value for preset in presets if preset["name"] in ("base", "release")
             for key, value in preset["cacheVariables"].items()}
    ended = (results / "loadavg").read_text().split()[0]
    return (f"Figures: {context['date'][:16].replace('T', ' ')}, version {version}; {processor}, "
            f"{context['num_cpus']} processors ({caches}); "
            f"{platform.freedesktop_os_release()['PRETTY_NAME']}, "
            f"glibc {platform.libc_ver()[1]}, g++ {first_line('g++', '-dumpfullversion')} with "
            f"`{flags['CMAKE_CXX_FLAGS']} {flags['CMAKE_CXX_FLAGS_RELEASE']}`; {samples} samples of "
            f"each. The machine's load in the last minute was {context['load_avg'][0]:.1f} when the "
            f"times began and {float(ended):.1f} when they ended; the benchmarks alone cause 1 to 2."
            + (SHARED if float(ended) > 3 else ""))


def sizes_text(results):
    lines = ["| what | bytes | limit |", "|---|---|---|"]
    for line in (results / "sizes").read_text().splitlines():
        what, figure, limit = re.fullmatch(r"(.*?) +(\d+) bytes, limit +(\d+)", line).groups()
        lines.append(f"| {what} | {int(figure):,} | {int(limit):,} |")
    return "\n".join(lines)


def held_text(rows):
    held = [f"{ratios['bytes']:.2f} with {row['size']:,} lines"
            for row in sorted(rows, key=lambda r: r["size"])
            for ratios in row["floors"].values()
            if row["case"] == "load sorted" and ratios["bytes"]]
    return f"Memory of a loaded file, as a multiple of the floor's: {', '.join(held)}."


def put(page, name, text):
    """Replaces the text between the two marks of that name."""
    pattern = rf"(<!-- {name} -->\n).*?(<!-- end of {name} -->)"
    changed, count = re.subn(pattern, lambda m: f"{m[1]}\n{text.strip()}\n\n{m[2]}", page, flags=re.S)
    if count != 1:
        sys.exit(f"{PAGE} has no place for the {name}")
    return changed


def read_costs(results):
    """{operation: [atomic changes, locks, shared lines]}"""
    lines = (results / "costs").read_text().splitlines()
    return {operation: [int(count) for count in counts.split()]
            for operation, counts in (line.split(": ") for line in lines)}


def modelled(cost, alone, transfer, processors):
    """The throughput on so many processors, as a multiple of that on one."""
    _, locks, lines = cost
    if processors == 1 or lines == 0:
        return processors
    each = alone + lines * transfer
    if locks:
        return alone / each
    return min(processors * alone / each, alone / transfer)


def costs_text(results, rows):
    transfer = float((results / "shared-line").read_text())
    of = {(row["case"], row["size"]): row["contestants"][OURS]["median_ns"]
          for row in rows if row["threads"] == 1}
    text = [f"A change of a line that two processors change took {transfer:.0f} ns.", "",
            "| operation | atomic changes | locks | lines that all threads change | "
            + " | ".join(f"{n} processors" for n in PROCESSORS[1:]) + " |",
            "|---" * (3 + len(PROCESSORS)) + "|"]
    for operation, cost in read_costs(results).items():
        alone = of.get(MEASURED.get(operation))
        model = [number(modelled(cost, alone, transfer, n), 1) if alone else ""
                 for n in PROCESSORS[1:]]
        text.append(f"| {operation} | " + " | ".join([*map(str, cost), *model]) + " |")
    return "\n".join(text)


def plot_throughput(results, rows, path):
    """Lines for the modelled throughput, and a point for each measured one."""
    from matplotlib import pyplot

    transfer = float((results / "shared-line").read_text())
    of = {(row["case"], row["size"], row["threads"]): row["contestants"][OURS] for row in rows}
    figure, axes = pyplot.subplots(figsize=(6.4, 4))
    for operation, cost in read_costs(results).items():
        measured = MEASURED.get(operation)
        if (*(measured or ("", 0)), 1) not in of:
            continue
        alone = of[(*measured, 1)]["median_ns"]
        line = axes.plot(PROCESSORS, [modelled(cost, alone, transfer, n) for n in PROCESSORS],
                         label=operation)[0]
        both = of.get((*measured, 2), {}).get("throughput")
        if both:
            axes.plot(2, both, "o", color=line.get_color())
    axes.set(xscale="log", yscale="log", title="throughput", xlabel="processors",
             ylabel="times that of one processor")
    axes.grid(True, which="both", alpha=0.3)
    axes.legend(fontsize="small")
    figure.tight_layout()
    figure.savefig(path, metadata={"Date": None})
    pyplot.close(figure)


def cost_problems(results):
    allowed = json.loads(COSTS.read_text())
    seen = read_costs(results)
    for operation in sorted(allowed.keys() | seen.keys()):
        if operation not in seen:
            yield f"{operation}: its changes are no longer counted"
        elif operation not in allowed:
            yield f"{operation}: {COSTS.name} has no limit for its changes"
        elif any(count > most for count, most in zip(seen[operation], allowed[operation])):
            yield (f"{operation}: {seen[operation]} atomic changes, locks and shared lines, "
                   f"at most {allowed[operation]} allowed")


def publish(results):
    rows = write_report(results)
    page = PAGE.read_text()
    page = put(page, "conditions", conditions(results))
    page = put(page, "table", (results / "table.md").read_text())
    page = put(page, "costs", costs_text(results, rows))
    page = put(page, "sizes", f"{sizes_text(results)}\n\n{held_text(rows)}")
    PAGE.write_text(page)
    comparison.update()
    shutil.copytree(results / "plots", PAGE.parent / "performance", dirs_exist_ok=True)


def baseline_counts(results):
    counts = {name: round(count) for name, count in read_counts(results).items()
              if split(name)[3] == OURS}
    if not counts:
        sys.exit("No instructions were counted")
    return counts


def allocation_problems(results, limits):
    for (case, size, threads), entries in read_times(results).items():
        allowed = limits_of(case, limits).get("allocations")
        seen = entries[OURS]["allocations"]
        if allowed is not None and seen > allowed:
            yield (f"{case}, {size}, threads {threads}: {seen:g} allocations "
                   f"for an operation, at most {allowed} allowed")


def baseline_problems(counts):
    baseline = json.loads(BASELINE.read_text())
    for name, recorded in baseline.items():
        seen = counts.get(name)
        if seen is None:
            yield f"{name}: no longer counted"
        elif seen > recorded * (1 + TOLERANCE):
            yield f"{name}: {seen} instructions for an operation, {recorded} recorded"
    for name in counts.keys() - baseline.keys():
        yield f"{name}: counted, but not recorded"


def ratio_problems(counts, limits):
    """Each case is compared with its cheapest floor."""
    floors = defaultdict(list)
    for name, count in counts.items():
        if is_floor(split(name)[3]):
            floors[split(name)[:3]].append(count)
    for row, of_row in floors.items():
        case, size, threads = row
        allowed = limits_of(case, limits).get("ratio")
        seen = ratio(counts.get(f"{case}/{OURS}/{size}/{threads}"), min(of_row))
        if allowed is not None and seen is not None and seen > allowed:
            yield f"{case}, {size}: {seen:.2f} times the floor's instructions, {allowed} allowed"
    for entry in limits:
        if not any(case.startswith(entry) for case, _, _ in floors):
            yield f"{entry}: has limits, but nothing was counted"


def check(results):
    limits = json.loads(LIMITS.read_text())
    counts = baseline_counts(results)
    problems = [*allocation_problems(results, limits), *baseline_problems(counts),
                *ratio_problems(read_counts(results), limits), *cost_problems(results)]
    print("\n".join(problems) or f"Allocations, instructions and costs are within their limits "
          f"({len(counts)} counted)")
    return 1 if problems else 0


def record(results):
    BASELINE.write_text(json.dumps(baseline_counts(results), indent=1, sort_keys=True) + "\n")


def main(arguments):
    actions = {"report": write_report, "publish": publish, "check": check, "record": record}
    if len(arguments) != 2 or arguments[1] not in actions:
        print(__doc__, file=sys.stderr)
        return 2
    failed = actions[arguments[1]](Path(arguments[0]))
    return 1 if failed == 1 else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
