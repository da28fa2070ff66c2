"""Writes docs/performance.md and its drawing from the figures of a run of qex_peers. scripts/bench.sh calls it.

usage: bench_report.py FIGURES.json LIBQEX_SO DOCUMENT.md DRAWING.svg
"""

import datetime
import json
import os
import re
import subprocess
import sys
import tempfile
from xml.sax.saxutils import escape

TEXT = """\
# Performance

libqex compared with other libraries at the same jobs: digests, and the way of a token from its octets to a verdict. The
figures are of one run of `scripts/bench.sh` on {date}, which wrote this page.

![Time of libqex as a share of the fastest peer's time]({drawing})

## How it is measured

One process contains libqex, called through its exports, and every peer ([bench/peers/](../bench/peers/)). All do the
same job on the same octets. Before a row is measured, the results are compared: another digest, another field or
another octet of a message fails the run, and so does a verification that accepts a damaged token. Each
implementation then runs for about a millisecond per round, in changing order, so that changes of processor speed affect
all alike. A figure is the median of all rounds, in processor time of the thread. The ratio is libqex's time to that of
the fastest peer that does the whole job, in the same round, and again the median; below 1 libqex is faster.

| | |
|---|---|
| machine | {machine} |
| instructions | {instructions} |
| system | {system} |
| compiler of libqex | {compiler} |
| size of libqex.so, stripped | {size} KiB |
{makers}

```
scripts/bench.sh                             # installs the peers, builds, measures, writes this page
scripts/bench.sh --only 'RSA 2048'           # some rows
scripts/bench.sh --once                      # compares the results of all rows, and measures nothing
```

"""

INSTRUCTIONS = {"sha_ni": "SHA", "avx2": "AVX2", "bmi2": "BMI2", "adx": "ADX", "avx512f": "AVX-512F",
                "avx512vl": "AVX-512VL", "avx512ifma": "AVX-512 IFMA"}


def shown(nanoseconds):
    for size, unit in ((1e6, "ms"), (1e3, "µs"), (1, "ns")):
        value = nanoseconds / size
        if value >= 1 or size == 1:
            return f"{value:.{2 if value < 10 else 1 if value < 100 else 0}f} {unit}"
    raise AssertionError


def processor():
    facts = {}
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        for line in file:
            name, _, value = line.partition(":")
            facts.setdefault(name.strip(), value.strip())
    flags = facts.get("flags", "").split()
    return (f"{facts.get('model name', 'unknown')}, {os.cpu_count()} processors",
            ", ".join(text for flag, text in INSTRUCTIONS.items() if flag in flags))


def system():
    facts = {}
    with open("/etc/os-release", encoding="utf-8") as file:
        for line in file:
            name, _, value = line.strip().partition("=")
            facts[name] = value.strip('"')
    return f"{facts.get('PRETTY_NAME', 'unknown')}, {os.uname().sysname} {os.uname().release}"


def stripped_size(library):
    with tempfile.TemporaryDirectory() as folder:
        stripped = os.path.join(folder, "stripped")
        subprocess.run(["strip", "-o", stripped, library], check=True)
        return (os.path.getsize(stripped) + 1023) // 1024


def groups_of(rows):
    groups = {}
    for row in rows:
        groups.setdefault(row["group"], []).append(row)
    return groups


def cell(row, maker):
    """The time of a maker: of the fastest of its ways."""
    figures = [figure for figure in row["figures"] if figure["maker"] == maker]
    if not figures:
        return "–"
    fastest = min(figures, key=lambda figure: figure["ns"])
    return shown(fastest["ns"]) if fastest["whole"] else f"({shown(fastest['ns'])})"


def table(rows, makers):
    present = [maker for maker in makers if any(cell(row, maker) != "–" for row in rows)]
    lines = ["| | " + " | ".join(present) + " | ratio |", "|---" * (len(present) + 1) + "|--:|"]
    for row in rows:
        ratio = f"**{row['ratio']:.2f}**" if row["fastest"] else "–"
        lines.append(f"| {row['row']} | " + " | ".join(cell(row, maker) for maker in present) + f" | {ratio} |")
    return lines


def marked(text):
    """Names of functions as code."""
    return re.sub(r"\w+(?:_|::)\w+", r"`\g<0>`", text)


def calls_of(row):
    """What each maker does in a row."""
    makers = list(dict.fromkeys(figure["maker"] for figure in row["figures"]))
    return [f"- {maker}: " + "; or ".join(marked(figure["does"]) for figure in row["figures"] if figure["maker"] == maker)
            for maker in makers]


def calls(rows):
    """The calls of a group; row by row where they differ."""
    whole = max(rows, key=lambda row: len(row["figures"]))
    if all(set(calls_of(row)) <= set(calls_of(whole)) for row in rows):
        return calls_of(whole)
    lines = []
    for row in rows:
        names = [other["row"] for other in rows if calls_of(other) == calls_of(row)]
        if names[0] == row["row"]:
            lines += [f"{'; '.join(names)}:", "", *calls_of(row), ""]
    return lines[:-1]


def threads_lines(rows):
    """Verifications on several threads, by the clock too: waiting for each other takes no processor time."""
    lines = ["", "Wall-clock time, which would show threads waiting for each other; the smallest of all rounds, as",
             "other programs use the processors too:", ""]
    makers = [figure["maker"] for figure in rows[0]["figures"] if figure["whole"]]
    makers = list(dict.fromkeys(makers))
    lines += ["| | " + " | ".join(makers) + " |", "|---" * (len(makers) + 1) + "|"]
    for row in rows:
        times = [min(f["least_clock_ns"] for f in row["figures"] if f["maker"] == maker) for maker in makers]
        lines.append(f"| {row['row']} | " + " | ".join(shown(time) for time in times) + " |")
    return lines


def sections(figures):
    lines = []
    for group, rows in groups_of(figures["rows"]).items():
        lines += [f"## {group}", "", *table(rows, list(figures["makers"]))]
        lines += threads_lines(rows) if rows[0]["threads"] != rows[-1]["threads"] else ["", *calls(rows)]
        if any(not figure["whole"] for row in rows for figure in row["figures"]):
            lines += ["", "Times in parentheses cover only the signature and are not counted."]
        lines.append("")
    return lines


def drawing(figures):
    """Bars: one for each row, of the length of its ratio; a line marks the fastest peer."""
    rows = [row for row in figures["rows"] if row["fastest"] and row["threads"] == 1]
    left, width, height, top = 330, 440, 18, 46
    longest = max([1.25, *(row["ratio"] for row in rows)])
    scale = width / longest
    out = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {left + width + 70} {top + height * len(rows) + 16}" '
           'font-family="sans-serif" font-size="12">',
           '<rect width="100%" height="100%" fill="white"/>',
           '<text x="12" y="20" font-size="14">Time of libqex, as a share of the fastest peer\'s time</text>']
    one = left + scale
    out.append(f'<line x1="{one:.1f}" y1="{top - 4}" x2="{one:.1f}" y2="{top + height * len(rows) + 4}" '
               'stroke="#444" stroke-dasharray="4 3"/>')
    for i, row in enumerate(rows):
        y = top + i * height
        length = max(1.0, row["ratio"] * scale)
        colour = "#2f7d4f" if row["ratio"] <= 1 else "#b3541e"
        out.append(f'<text x="{left - 8}" y="{y + 13}" text-anchor="end">'
                   f'{escape(row["group"])}: {escape(row["row"])}</text>')
        out.append(f'<rect x="{left}" y="{y + 3}" width="{length:.1f}" height="{height - 6}" fill="{colour}"/>')
        # White around the figure, where the line of the fastest peer crosses it.
        out.append(f'<text x="{left + length + 5:.1f}" y="{y + 13}" paint-order="stroke" stroke="white" '
                   f'stroke-width="4">{row["ratio"]:.2f}</text>')
    out.append(f'<text x="{one:.1f}" y="{top - 8}" text-anchor="middle">1: the fastest peer</text>')
    return "\n".join(out + ["</svg>", ""])


def main(source, library, document, picture):
    with open(source, encoding="utf-8") as file:
        figures = json.load(file)
    machine, instructions = processor()
    makers = "\n".join(f"| {name} | {version} |" for name, version in figures["makers"].items())
    text = TEXT.format(date=datetime.date.today().strftime("%-d %B %Y"), drawing=os.path.basename(picture),
                       machine=machine, instructions=instructions, system=system(), compiler=figures["compiler"],
                       makers=makers, size=stripped_size(library))
    with open(document, "w", encoding="utf-8") as file:
        file.write(text + "\n".join(sections(figures)).rstrip() + "\n")
    with open(picture, "w", encoding="utf-8") as file:
        file.write(drawing(figures))


if __name__ == "__main__":
    if len(sys.argv) != 5:
        sys.exit(__doc__)
    main(*sys.argv[1:])
