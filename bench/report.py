#!/usr/bin/env python3
"""report.py LINES_DIRECTORY OUTPUT: gathers what the benchmarks printed, prints it as a table and writes it as JSON."""
import json
import pathlib
import platform
import statistics
import subprocess
import sys

GROUPS = ("instructions", "roundtrips", "links", "load", "in_process", "startup", "size")

# What a figure must reach: at most (<=) or at least (>=) this. A name ending in * stands for all that begin with it.
GOALS = {
    "instructions_read_10": ("<=", 1200),
    "instructions_read_125": ("<=", 1600),
    "roundtrip_ratio_bare": ("<=", 1.05),
    "load_ratio_sqlite_*": ("<=", 3.5),
    "links_1": (">=", 0.95),
    "links_2": (">=", 0.95),
    "links_8": (">=", 0.95),
    "links_64": (">=", 0.95),
    "size_plugin_stripped": ("<=", 95000),
}


def goal_of(name):
    for pattern, goal in GOALS.items():
        if name == pattern or (pattern.endswith("*") and name.startswith(pattern[:-1])):
            return "%s %g" % goal
    return None


def printed_figures(path):
    for line in path.read_text().splitlines():
        record = json.loads(line)
        yield record.pop("figure"), record


def figure(samples, unit, against=None):
    low, _, high = statistics.quantiles(samples, n=4) if len(samples) > 1 else (samples[0],) * 3
    record = {"value": float("%.6g" % statistics.median(samples)), "unit": unit, "spread": float("%.3g" % (high - low))}
    if against:
        record["against"] = against
    record["samples"] = len(samples)
    return record


def google_benchmark_figures(path):
    """The figures made from the processor times of each benchmark's repetitions, which are in nanoseconds."""
    times = {}
    for run in json.loads(path.read_text())["benchmarks"]:
        if run["run_type"] == "iteration":
            name = run["run_name"].split("/repeats")[0]
            times.setdefault(name, []).append(run["cpu_time"])

    peers = {"crc_16_block": ["crc_16_boost", "copy"], "crc_32_steps": ["crc_32_boost", "copy"],
             "swap_registers": ["copy"], "swap_double_words": ["copy"]}
    for name, samples in sorted(times.items()):
        step, _, length = name.partition("/")
        if length:
            yield f"{step}_{length}", figure([1000 * int(length) / sample for sample in samples], "MB/s")
        elif step.startswith("sparse_"):
            bits = int(step.split("_")[1])
            yield f"{step}_per_bit", figure([sample / bits for sample in samples], "ns")
        else:
            yield step, figure(samples, "ns")
        for peer in peers.get(step, []):
            pairs = zip(samples, times[f"{peer}/{length}"])
            against = peer if peer != "copy" else "plain copy"
            yield f"{step}_ratio_{peer}_{length}", figure([own / other for own, other in pairs], "ratio", against)


def processor():
    for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            return line.split(":", 1)[1].strip()
    return platform.machine()


def machine():
    commit = subprocess.run(["git", "describe", "--always", "--dirty", "--exclude=*"], capture_output=True, text=True,
                            check=False)
    compiler = subprocess.run(["c++", "--version"], capture_output=True, text=True, check=False)
    cores = len([line for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines() if line.startswith("processor")])
    return {"value": cores, "unit": "cores", "processor": processor(), "kernel": platform.release(),
            "compiler": compiler.stdout.splitlines()[0] if compiler.stdout else "", "commit": commit.stdout.strip()}


def gathered(directory):
    figures = {"machine": machine()}
    for group in GROUPS:
        path = directory / group
        if not path.exists():
            continue
        read = google_benchmark_figures if group == "in_process" else printed_figures
        for name, record in read(path):
            goal = goal_of(name)
            if goal:
                record["goal"] = goal
            figures[name] = record
    return figures


def is_reached(record):
    sign, limit = record["goal"].split()
    return record["value"] <= float(limit) if sign == "<=" else record["value"] >= float(limit)


def number(value):
    if value >= 1000:
        return f"{value:,.0f}"
    return f"{value:.3g}" if value < 100 else f"{value:.0f}"


def table(figures):
    rows = [("FIGURE", "VALUE", "UNIT", "SPREAD", "GOAL", "", "AGAINST")]
    for name, record in figures.items():
        if name == "machine":
            continue
        goal = record.get("goal", "")
        spread = number(record["spread"]) if record.get("spread") else ""
        verdict = ("reached" if is_reached(record) else "missed") if goal else ""
        rows.append((name, number(record["value"]), record["unit"], spread, goal, verdict, record.get("against", "")))
    widths = [max(len(row[column]) for row in rows) for column in range(len(rows[0]))]
    right = (1, 3)
    for row in rows:
        cells = [cell.rjust(width) if column in right else cell.ljust(width)
                 for column, (cell, width) in enumerate(zip(row, widths))]
        yield "  ".join(cells).rstrip()


def main():
    figures = gathered(pathlib.Path(sys.argv[1]))
    pathlib.Path(sys.argv[2]).write_text(json.dumps(figures, indent=1) + "\n")
    print("\n".join(table(figures)))


if __name__ == "__main__":
    main()
