#!/usr/bin/env python3
"""report.py <results> <compiler> <docs>: writes performance.md and pictures/growth.svg from what
scripts/bench measured."""

import collections
import datetime
import json
import pathlib
import platform
import sys

SIZES = {
    "small": "20 trips, 10 updates, 20 stops, 30 milestones",
    "city": "50 trips, 40 updates, 40 stops, 60 milestones",
    "large": "200 trips, 150 updates, 60 stops, 100 milestones",
    "huge": "1,000 trips, 300 updates, 100 stops, 100 milestones",
}
CONTENDERS = ["twin", "portable", "sse2", "avx2", "avx512"]
TITLES = {"twin": "plain twin", "portable": "portable", "sse2": "SSE2", "avx2": "AVX2 + FMA",
          "avx512": "AVX-512"}


def read_times(path):
    """The shortest of the repetitions for each benchmark, in microseconds."""
    times = collections.defaultdict(lambda: float("inf"))
    for run in json.loads(path.read_text())["benchmarks"]:
        if run["run_type"] == "iteration":
            name = run["run_name"].split("/iterations:")[0]
            times[name] = min(times[name], run["real_time"] / 1000)
    return dict(times)


def table(header, rows):
    lines = [header, ["---"] + ["---:"] * (len(header) - 1)] + rows
    return "\n".join("| " + " | ".join(line) + " |" for line in lines) + "\n"


def with_ratio(time, twin):
    return f"{time:.2f} ({twin / time:.1f} ×)" if time < 100 else f"{time:.0f} ({twin / time:.1f} ×)"


def contender_table(times, kind, names, first, label):
    present = [c for c in CONTENDERS if f"{kind}/{names[0]}/{c}" in times]
    rows = []
    for name in names:
        twin = times[f"{kind}/{name}/twin"]
        row = [label(name), f"{twin:.1f}"]
        row += [with_ratio(times[f"{kind}/{name}/{c}"], twin) for c in present[1:]]
        rows.append(row)
    return table([first] + [TITLES[c] for c in present], rows)


def growth_names(times, quantity):
    names = {n.split("/")[1] for n in times if n.startswith(f"update/{quantity}:")}
    return sorted(names, key=lambda name: int(name.split(":")[1]))


def growth_picture(times, quantities):
    """One panel for each quantity, both axes from 0: the twin grey, the widest vectors blue."""
    best = [c for c in CONTENDERS if f"update/city/{c}" in times][-1]
    width, height, margin = 260, 200, 40
    parts = []
    for column, quantity in enumerate(quantities):
        names = growth_names(times, quantity)
        values = [int(name.split(":")[1]) for name in names]
        top = max(times[f"update/{name}/twin"] for name in names)
        left = margin + column * (width + margin)
        parts.append(f'<rect x="{left}" y="{margin}" width="{width}" height="{height}" fill="none" '
                     'stroke="#999"/>')
        parts.append(f'<text x="{left}" y="{margin - 10}">µs against {quantity}: to {top:.0f} µs, '
                     f'{values[-1]} {quantity}</text>')
        for contender, colour in (("twin", "#888"), (best, "#06c")):
            points = " ".join(
                f"{left + width * v / values[-1]:.1f},"
                f"{margin + height * (1 - times[f'update/{n}/{contender}'] / top):.1f}"
                for v, n in zip(values, names))
            parts.append(f'<polyline points="{points}" fill="none" stroke="{colour}" '
                         'stroke-width="2"/>')
    parts.append(f'<text x="{margin}" y="{height + 2 * margin - 15}">grey: {TITLES["twin"]}, '
                 f'blue: {TITLES[best]}</text>')
    total = margin + len(quantities) * (width + margin)
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {total} {height + 2 * margin}" '
            'font-family="sans-serif" font-size="12">\n' + "\n".join(parts) + "\n</svg>\n")


def journeys_table(times):
    groups = collections.defaultdict(dict)
    for name, time in times.items():
        journeys, reports, size, contender = name.split("/")
        key = (size, 0 if reports == "fetch" else int(reports.split(":")[1]), contender)
        groups[key][int(journeys.split(":")[1])] = time
    numbers = sorted(next(iter(groups.values())))
    rows = []
    for (size, reports, contender), by_number in sorted(groups.items()):
        if reports == 0:
            row = [f"memory of an update, {size}, fetched and not used"]
        else:
            row = [f"{TITLES[contender]}, {size}, " +
                   ("each report" if reports == 1 else f"one report in {reports}")]
        row += [f"{by_number[n]:.2f}" if reports == 0 else
                f"{by_number[n]:.2f} ({by_number[n] / by_number[numbers[0]]:.2f})" for n in numbers]
        rows.append(row)
    return table(["handed over at"] + [f"{n:,} journeys" for n in numbers], rows)


def instructions_table(path):
    counts = collections.defaultdict(dict)
    for line in path.read_text().splitlines():
        size, contender, count = line.split()
        counts[size][contender] = int(count)
    contenders = list(next(iter(counts.values())))
    rows = []
    for size, by_contender in counts.items():
        twin = by_contender["twin"]
        rows.append([size] + [f"{by_contender[c]:,} ({twin / by_contender[c]:.1f} ×)"
                              for c in contenders])
    return table(["size"] + [TITLES[c] for c in contenders], rows)


def processor():
    for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            return line.split(":")[1].strip()
    return platform.machine()


def main():
    results, compiler, docs = pathlib.Path(sys.argv[1]), sys.argv[2], pathlib.Path(sys.argv[3])
    updates = read_times(results / "updates.json")
    journeys = read_times(results / "journeys.json")
    journeys_large_pages = read_times(results / "journeys_large_pages.json")
    processors = json.loads((results / "updates.json").read_text())["context"]["num_cpus"]
    quantities = ["trips", "updates", "stops"]
    sizes = list(SIZES)
    text = f"""# Performance of the forecasting library

Measured by `scripts/bench`, which writes this page.

- machine: {processor()}, {processors} processors
- compiler: {compiler}; every contender with -O2, in a shared library of its own
- date: {datetime.date.today().isoformat()}

Times are microseconds of the thread's own processor time, the shortest of five repetitions that are
mixed at random with those of the other contenders. In brackets: how many times the plain twin
(`tests/twin`) takes as long. Before it is timed, every contender's answers are compared with the
twin's, bit by bit. The vehicle is half way along the route.

## An update

{contender_table(updates, "update", sizes, "size", lambda n: f"{n}: {SIZES[n]}")}
## The weights of the earlier trips alone

{contender_table(updates, "kernel", sizes, "size", lambda n: n)}
## Growth

An update of the city's size, with one quantity changed.

![Time of an update against earlier trips, updates and stops](pictures/growth.svg)

"""
    for quantity in quantities:
        names = growth_names(updates, quantity)
        text += contender_table(updates, "update", names, quantity, lambda n: n.split(":")[1]) + "\n"
    text += f"""## Number of journeys

2,000 vehicles report at random; at each report, or at one in forty, the vehicle is handed over to
another journey at random. In brackets: relative to ten journeys.

{journeys_table(journeys)}
The twin asks every journey at every report. The library asks one, and finds it without a walk: its
instructions for a report do not grow with the number of journeys. What still grows is the time that
they wait for memory: the trips and rows of ten journeys stay in the processor's caches, those of
thousands do not. So the library remembers where the memory of an update lies, and asks for all of it
at once. What it costs to fetch that alone is in the first row: as many bytes as an update of the
city's size touches, side by side, asked for and not used. "Each report" makes a vehicle and deletes
one each time; its vehicles have one report behind them, the others half a trip's.

With large pages for the C library's allocator (`GLIBC_TUNABLES=glibc.malloc.hugetlb=1`, as the
units of systemd have it):

{journeys_table(journeys_large_pages)}
## Instructions

Of an update, counted by callgrind, which knows no AVX-512.

{instructions_table(results / "instructions.txt")}
## Memory

10,000 patterns with 60 milestones and 40 stops each, 100 trips stored for each, 40 reports for each
of 10,000 vehicles, as the C library's allocator counts:

```text
{(results / "memory.txt").read_text().strip()}
```

A stored trip is kept twice: as the vector that `History::operator[]` hands out, with its header and
the allocator's, and in the tiles that the sums are made from
([decision](decisions/0002-the-same-bits-in-vectors.md)). A vehicle is its two map entries, its names
and its queue of reports, which grows in blocks of 32.
"""
    (docs / "pictures").mkdir(exist_ok=True)
    (docs / "pictures" / "growth.svg").write_text(growth_picture(updates, quantities))
    (docs / "performance.md").write_text(text)


if __name__ == "__main__":
    main()
