#!/usr/bin/env python3
# SPDX-FileCopyrightText: LibZelmo contributors
# SPDX-License-Identifier: GPL-3.0-or-later
"""Makes docs/benchmarks.md of what the benchmarks wrote.

usage: benchmark_table.py ROOM.json... > docs/benchmarks.md

Each file is the JSON output of one room's program and named after the room. benchmarks/contest.h says
what a row's counters and label hold.
"""

import json
import math
import pathlib
import re
import sys
import textwrap

ORDER = ["feature", "simplex", "curvefit", "lmfit", "measure", "guidedfit", "extract", "model",
         "export", "registration", "mesh", "display"]

# What a reader of a room's rows would otherwise wonder about.
NOTES = {
    "feature": "A point record is twice as long as three floats: records of all kinds have a type that "
               "can be asked for.",
    "simplex": "Ceres' solver takes derivatives and a dozen passes where a descent takes hundreds of "
               "evaluations; `lmfit` is the room that fits by derivatives, and `docs/which-fit.md` says "
               "when. Of 100 points the decomposition takes more time than the sums: OpenCV's, whose "
               "signs and order are part of the result, beside closed forms.",
    "lmfit": "The plain loops walk the points as often as the solver does. A filtered fit starts with "
             "PCL's consensus, so it can't be faster than that.",
    "guidedfit": "The descents of the cylinder start where the spread of the points says, which the "
                 "plain loop only gets near: the evaluations differ.",
    "extract": "PCL's radius search finds the neighbourhood only. The results of LibZelmo are sorted by "
               "distance, as PCL's sorted search gives them; the unsorted one shows what the order costs.",
    "mesh": "`getSection2` and the trims hand out one triangle at a time under a lock, which is most "
            "of their time: the row's last peer does that alone, under a mutex that sleeps where LibZelmo's "
            "tasks give their turn away. `getSection` hands out nothing.",
    "display": "Flat outlines write the steps of their alignment on the standard output, which is most "
               "of the time of 100 points.",
}

HEAD = """# Benchmarks

Measured by `./run bench`, which writes this page. Ratios hold for the machine below and travel better
than the times; run it on yours.

{machine}

## How to read it

- LibZelmo, a peer and what is attainable do the same work on the same data, in turn, round after round,
  each at least {rounds} times. A time is the median of the rounds for one call.
- *Ratio* is LibZelmo's time over the peer's in the same round: below 1, LibZelmo is the faster one. It
  is the median, with the middle half of the rounds in brackets; where that is wide the machine was
  busy, or the memory was. A ratio above 1.1 stands in bold.
- *An evaluation*: descents of LibZelmo and of a plain loop part where their sums differ in the last
  place, and then take more or fewer evaluations. The ratio for one evaluation leaves that out.
- *Attainable* is the least that the same work asks for, as its name says: a bare loop, one square root
  a point, one read of the memory. In brackets: LibZelmo's time over it. It is a mark to measure by, not
  a thing that could replace the operation.
- A peer does what a host would write or call instead. Where it does less than LibZelmo (no filter, no
  choice of the shape's points, no compensation of the probe) its name says what it does.
- Times are those of all processors that the process used; rows with tasks or threads of their own
  (sections of meshes, trims, elimination, two threads) take the time that passes.

In {count} comparisons with peers the median ratio is {median}; LibZelmo is the slower one, by more than
a tenth, in {slower}.
"""


def text_of_time(seconds):
    """Three digits and a unit."""
    for unit, scale in (("s", 1.0), ("ms", 1e-3), ("µs", 1e-6), ("ns", 1e-9)):
        value = seconds / scale
        if value >= 0.9995 or unit == "ns":
            digits = max(0, 2 - int(math.floor(math.log10(value)))) if value > 0 else 0
            return f"{value:.{digits}f} {unit}"
    raise AssertionError


def text_of_ratio(ratio):
    return f"{ratio:.2f}" if ratio < 10 else f"{ratio:.0f}"


def names_of(label):
    """"peer: A; attainable: B" as a dictionary."""
    return dict(part.split(": ", 1) for part in label.split("; ") if ": " in part)


def ratio_cell(row, number):
    ratio = row["ratio" + number]
    middle = f"{text_of_ratio(row['ratio_low' + number])}–{text_of_ratio(row['ratio_high' + number])}"
    text = text_of_ratio(ratio)
    cell = f"**{text}** ({middle})" if ratio > 1.1 else f"{text} ({middle})"
    if "per_evaluation" + number in row:
        cell += f"; {text_of_ratio(row['per_evaluation' + number])} an evaluation"
    return cell


def lines_of(row):
    """The lines of one benchmark: one for each peer, at least one."""
    name = re.sub(r"/iterations:\d+|/manual_time", "", row["name"])
    operation, size = name.split("/", 1)
    names = names_of(row.get("label", ""))
    attainable = "–"
    if "attainable" in row:
        over = text_of_ratio(row["library"] / row["attainable"])
        attainable = f"{text_of_time(row['attainable'])} (×{over}): {names['attainable']}"
    peers = [number for number in ("", "2") if "peer" + number in row]
    first = [f"`{operation}`", size, text_of_time(row["library"])]
    if not peers:
        return [first + ["–", "–", attainable]]
    lines = []
    for number in peers:
        peer = f"{text_of_time(row['peer' + number])}: {names['peer' + number]}"
        head, tail = (first, attainable) if number == "" else (["", "", ""], "")
        lines.append(head + [peer, ratio_cell(row, number), tail])
    return lines


def table_of(rows):
    cells = [["Operation", "Size", "LibZelmo", "Peer", "Ratio", "Attainable"], ["---"] * 6]
    for row in rows:
        cells += lines_of(row)
    return "\n".join("| " + " | ".join(line) + " |" for line in cells)


def machine_of(context):
    versions = [f"{name} {context[name]}" for name in
                ("LibZelmo", "PCL", "OpenCV", "OpenCASCADE", "GSL", "Eigen", "Ceres", "CGAL", "VTK")
                if name in context]
    return "\n".join([
        f"- Date: {context['date'][:10]}",
        f"- Processor: {context.get('processor', 'unknown')}, {context['num_cpus']} cores, "
        f"{context['mhz_per_cpu'] / 1000:.1f} GHz; vectors: {context.get('vectors') or 'unknown'}",
        f"- Compiler: {context['compiler']}, preset `bench` (`-O3`; the library's loops choose AVX2 "
        "where they find it)",
        f"- Versions: {', '.join(versions)}",
    ])


def main(paths):
    rooms = {pathlib.Path(path).stem: json.loads(pathlib.Path(path).read_text()) for path in paths}
    unknown = set(rooms) - set(ORDER)
    if not rooms or unknown:
        sys.exit(f"benchmark_table.py: no room's result: {', '.join(sorted(unknown)) or 'no file'}")
    ratios = [row["ratio" + number] for room in rooms.values() for row in room["benchmarks"]
              for number in ("", "2") if "ratio" + number in row]
    newest = max((room["context"] for room in rooms.values()), key=lambda context: context["date"])
    print(HEAD.format(machine=machine_of(newest), rounds="five", count=len(ratios),
                      median=text_of_ratio(sorted(ratios)[len(ratios) // 2]),
                      slower=sum(ratio > 1.1 for ratio in ratios)))
    for name in ORDER:
        if name in rooms:
            print(f"## {name}\n")
            if name in NOTES:
                print(textwrap.fill(NOTES[name], 104, break_on_hyphens=False) + "\n")
            print(table_of(rooms[name]["benchmarks"]) + "\n")


if __name__ == "__main__":
    main(sys.argv[1:])
