#!/usr/bin/env python3
"""Turns what the benchmark programs measured into one table, one page and one JSON file.

usage: bench/report.py BUILD RESULT.json...

A benchmark is named <work>/<who>[/variant], "zun" being ours; it is compared with everybody else who did the same
work. What a comparison has to reach stands in bench/aims.json. Written are bench/report.json (all measurements, and
the machine), bench/report.html, and the table on standard output.
"""

import datetime
import html
import json
import pathlib
import platform
import re
import statistics
import subprocess
import sys

HERE = pathlib.Path(__file__).parent
OURS = "zun"
# How far a ratio may be beyond its aim and still be taken for noise.
TOLERANCE = 0.05
NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}


def output_of(*command):
    try:
        return subprocess.run(command, capture_output=True, text=True, check=True).stdout.strip()
    except (OSError, subprocess.CalledProcessError):
        return ""


def processor():
    if platform.system() == "Darwin":
        return output_of("sysctl", "-n", "machdep.cpu.brand_string")
    found = re.search(r"^Model name:\s*(.*)$", output_of("lscpu"), re.MULTILINE)
    return found[1] if found else platform.machine()


def compiler(build):
    cache = (build / "CMakeCache.txt").read_text()
    found = re.search(r"^CMAKE_CXX_COMPILER:\w+=(.*)$", cache, re.MULTILINE)
    return output_of(found[1], "--version").split("\n")[0] if found else "unknown"


def describe_machine(build, results):
    first = results[0]["context"]
    return {
        "date": datetime.datetime.now().astimezone().isoformat(timespec="minutes"),
        "processor": processor(),
        "processors": first["num_cpus"],
        "system": f"{platform.system()} {platform.release()} {platform.machine()}",
        "compiler": compiler(build),
        "load_at_start": first["load_avg"][0] if first.get("load_avg") else None,
    }


class Measurement:
    """The repetitions of one benchmark: nanoseconds an iteration, or bytes where the clock is "size"."""

    def __init__(self, clock):
        self.clock = clock
        self.times = []

    @property
    def median(self):
        return statistics.median(self.times)

    @property
    def spread(self):
        return (max(self.times) - min(self.times)) / self.median


def collect(results):
    """{work: {who: Measurement}}, in the order in which the works stand in the programs."""
    works = {}
    for result in results:
        entries = [entry for entry in result["benchmarks"] if entry["run_type"] == "iteration"]
        for entry in sorted(entries, key=lambda entry: (entry["family_index"], entry["per_family_instance_index"])):
            if entry.get("error_occurred"):
                print(f"{entry['name']}: {entry['error_message']}", file=sys.stderr)
                continue
            parts = entry["run_name"].split("/")
            # The processor's time, the kernel's part included, is the same on a busy machine; but threads that wait
            # for each other take none.
            clock = "real" if "real_time" in parts or entry["threads"] > 1 else "cpu"
            if "bytes" in entry:
                clock = "size"
            variant = [part for part in parts[2:] if part != "real_time" and not part.startswith("iterations:")]
            work = "/".join(parts[:1] + variant)
            who = parts[1] if len(parts) > 1 else OURS
            measurement = works.setdefault(work, {}).setdefault(who, Measurement(clock))
            measurement.times.append(entry["bytes"] if clock == "size"
                                     else entry[clock + "_time"] * NANOSECONDS[entry["time_unit"]])
    return works


def duration(nanoseconds):
    for unit in ("s", "ms", "us"):
        if nanoseconds >= NANOSECONDS[unit]:
            return f"{nanoseconds / NANOSECONDS[unit]:.4g} {unit}"
    return f"{nanoseconds:.3g} ns"


def amount(value, clock):
    return f"{value / 1024:.4g} KiB" if clock == "size" else duration(value)


def verdict(ratio, aim):
    if aim is None:
        return ""
    if ratio <= aim["at_most"]:
        return "met"
    return "within noise" if ratio <= aim["at_most"] * (1 + TOLERANCE) else "MISSED"


def is_for(aim, work, who):
    """An aim without a variant is for all of them."""
    return aim["peer"] == who and aim["work"] in (work, work.split("/")[0])


def compare(works, aims):
    """A row a peer; works without a peer have one row."""
    rows = []
    for work, measurements in works.items():
        ours = measurements.get(OURS)
        for who, theirs in measurements.items():
            if who == OURS and len(measurements) > 1:
                continue
            aim = next((aim for aim in aims if is_for(aim, work, who)), None)
            ratio = ours.median / theirs.median if ours and who != OURS else None
            rows.append({
                "work": work,
                "clock": theirs.clock,
                "zun": ours.median if ours else None,
                "peer": who if who != OURS else None,
                "theirs": theirs.median if who != OURS else None,
                "ratio": ratio,
                "aim": aim["at_most"] if aim else None,
                "verdict": verdict(ratio, aim) if ratio else "",
                "spread": max(theirs.spread, ours.spread if ours else 0),
                "note": aim.get("note", "") if aim else "",
            })
    return rows


COLUMNS = ("work", "clock", "zun", "peer", "theirs", "ratio", "aim", "", "spread")


def cells(row):
    def optional(value, form):
        return "" if value is None else form(value)

    def shown(value):
        return amount(value, row["clock"])

    return (row["work"], row["clock"], optional(row["zun"], shown), row["peer"] or "",
            optional(row["theirs"], shown), optional(row["ratio"], "{:.2f}".format),
            optional(row["aim"], "<= {:.2f}".format), row["verdict"], f"{row['spread']:.0%}")


def explanation(machine, rows, aims, repetitions):
    verdicts = [row["verdict"] for row in rows if row["verdict"]]
    unmeasured = [f"{aim['work']} beside {aim['peer']}" for aim in aims
                  if not any(is_for(aim, row["work"], row["peer"]) for row in rows)]
    lines = [
        f"{machine['date']}, {machine['processor']} ({machine['processors']} processors), {machine['system']}, "
        f"{machine['compiler']}" + (f", load {machine['load_at_start']:.1f}" if machine["load_at_start"] else ""),
        f"Medians of {repetitions} repetitions; ratio: zun's time to the peer's; spread: slowest less fastest "
        "repetition, the wider of both.",
        "clock: processor time with the kernel's part, or real time where several threads may wait for each other; "
        "sizes have none.",
        f"{verdicts.count('met')} aims met, {verdicts.count('within noise')} within noise (up to {TOLERANCE:.0%} "
        f"beyond the aim), {verdicts.count('MISSED')} missed.",
    ]
    if unmeasured:
        lines.append("Aims without a measurement in this run: " + ", ".join(unmeasured) + ".")
    return lines


def print_table(rows):
    lines = [COLUMNS] + [cells(row) for row in rows]
    widths = [max(len(line[column]) for line in lines) for column in range(len(COLUMNS))]
    numbers = {2, 4, 5, 6, 8}
    before = None
    for line in lines:
        shown = list(line)
        if line[0] == before:
            shown[0:3] = "", "", ""
        before = line[0]
        print("  ".join(text.rjust(width) if column in numbers else text.ljust(width)
                        for column, (text, width) in enumerate(zip(shown, widths))).rstrip())


STYLE = """
:root { color-scheme: light dark; --ours: #2563eb; --theirs: #9ca3af; --met: #15803d; --missed: #dc2626; }
@media (prefers-color-scheme: dark) { :root { --ours: #60a5fa; --theirs: #6b7280; --met: #4ade80; --missed: #f87171; } }
body { font: 15px/1.5 system-ui, sans-serif; max-width: 60rem; margin: 2rem auto; padding: 0 1rem; }
h2 { font-size: 1rem; margin: 1.6rem 0 .3rem; }
table { border-collapse: collapse; width: 100%; font-variant-numeric: tabular-nums; }
td { padding: .1rem .6rem .1rem 0; white-space: nowrap; }
td:first-child { width: 13rem; } td:nth-child(2) { width: 40%; } td.number { text-align: right; }
rect { fill: var(--theirs); } .ours rect { fill: var(--ours); } .ours { font-weight: 600; }
.met { color: var(--met); } .missed { color: var(--missed); font-weight: 600; } small { opacity: .75; }
"""


def bar(share):
    return (f'<svg width="100%" height="14" role="img"><rect width="{max(share, 0.004):.2%}" height="14" rx="2"/>'
            "</svg>")


def page(works, rows, words):
    out = ['<!DOCTYPE html><html lang="en"><head><meta charset="utf-8"><title>zun: benchmarks</title>',
           '<meta name="viewport" content="width=device-width, initial-scale=1">',
           f"<style>{STYLE}</style></head><body><h1>zun beside its peers</h1>"]
    out += [f"<p>{html.escape(line)}</p>" for line in words]
    for work, measurements in works.items():
        of_work = {row["peer"]: row for row in rows if row["work"] == work}
        slowest = max(measurement.median for measurement in measurements.values())
        clock = next(iter(of_work.values()))["clock"]
        kind = "size" if clock == "size" else f"{clock} time"
        out.append(f"<h2>{html.escape(work)} <small>{kind}</small></h2><table>")
        for who, measurement in measurements.items():
            row = of_work.get(who)
            compared = ""
            if row and row["ratio"]:
                compared = f"ratio {row['ratio']:.2f}"
                if row["aim"] is not None:
                    kind = "missed" if row["verdict"] == "MISSED" else "met"
                    compared += (f' <span class="{kind}">aim {row["aim"]:.2f}: {row["verdict"].lower()}</span>'
                                 f" <small>{html.escape(row['note'])}</small>")
            out.append(f'<tr class="{"ours" if who == OURS else "peer"}"><td>{html.escape(who)}</td>'
                       f"<td>{bar(measurement.median / slowest)}</td>"
                       f'<td class="number">{amount(measurement.median, measurement.clock)}</td><td>{compared}</td></tr>')
        out.append("</table>")
    out.append("</body></html>")
    return "\n".join(out)


def main(arguments):
    build = pathlib.Path(arguments[0])
    results = [json.loads(pathlib.Path(name).read_text()) for name in arguments[1:]]
    aims = json.loads((HERE / "aims.json").read_text())
    works = collect(results)
    rows = compare(works, aims)
    machine = describe_machine(build, results)
    repetitions = max(len(measurement.times) for work in works.values() for measurement in work.values())
    words = explanation(machine, rows, aims, repetitions)

    (HERE / "report.json").write_text(
        json.dumps({"machine": machine, "comparisons": rows, "measurements": results}, indent=1))
    (HERE / "report.html").write_text(page(works, rows, words))
    print_table(rows)
    print()
    print("\n".join(words))
    print("The page: bench/report.html; the data: bench/report.json")


if __name__ == "__main__":
    main(sys.argv[1:])
