#!/usr/bin/python3
"""Turns vek_bench's JSON output into docs/benchmarks.md and its chart.

usage: report.py OUT.md CHART.png RUN.json...
       report.py --summary VEK_BENCH [ARG...]

Each RUN.json is one run of vek_bench with repetitions (one per compiler).
With --summary it runs VEK_BENCH itself, with the given arguments and its
console output silenced (shown only if it fails), and prints one line per row instead: the
library's ratio to the fastest peer and each goal's verdict.
Every row's contenders were timed in turn within each iteration, so a ratio
is taken within each repetition first and the report gives the median of
those ratios; times are medians over the repetitions. The chart needs
gnuplot; without it the tables are still written. Standard library only.
"""
import json
import os
import statistics
import subprocess
import sys
import tempfile
from collections import defaultdict

FAMILIES = {
    "W1": "W1: appending",
    "W2": "W2: many small strings",
    "W3": "W3: substring search",
    "W4": "W4: find-and-replace-all",
    "W5": "W5: hashing",
    "W6": "W6: Unicode conversion",
    "W7": "W7: formatted appends",
    "W8": "W8: character-set search",
    "W9": "W9: parsing a log",
    "S": "S: short strings",
}
# The short-string family: one row per operation and length, named
# S_Operation/length, reported as one line per operation with a column per
# length. Its S_Noise rows time one peer against itself.
SHORT = "S"
NOISE = "S_Noise"
ROLES = ("lib", "peer", "aside", "bound")


def load_rows(path):
    """Returns (context, rows): rows in program order, each with its
    contenders' times per repetition."""
    with open(path) as f:
        data = json.load(f)
    rows = {}
    for entry in data["benchmarks"]:
        if entry.get("run_type") != "iteration" or entry.get("error_occurred"):
            continue
        name = entry["run_name"].removesuffix("/manual_time")
        row = rows.setdefault(name, {"name": name, "title": entry.get("label", name),
                                     "order": entry.get("family_index", 0),
                                     "bytes": entry.get("bytes", 0), "times": defaultdict(list),
                                     "faults": defaultdict(list), "roles": {}, "goals": {}})
        for key, value in entry.items():
            kind, _, who = key.partition(":")
            if kind in ROLES:
                row["roles"][who] = kind
                row["times"][who].append(value)
            elif kind == "faults":
                row["faults"][who].append(value)
            elif kind in ("goal", "faultgoal"):
                row["goals"][(kind, who)] = value
    return data.get("context", {}), sorted(
        rows.values(), key=lambda r: (family(r) == SHORT, r["name"][:2], r["order"]))


def family(row):
    return row["name"].split("_")[0]


def short_parts(row):
    """("S_Equal", 8) for the row S_Equal/8."""
    base, _, length = row["name"].partition("/")
    return base, int(length)


def who(row, role):
    return [c for c, r in row["roles"].items() if r == role]


def median_ratio(row, series, num, den):
    """Median over repetitions of num's value over den's; den may be a list,
    of which each repetition takes the smallest (the fastest peer)."""
    dens = den if isinstance(den, list) else [den]
    ratios = [series[num][i] / min(series[d][i] for d in dens)
              for i in range(len(series[num]))]
    return statistics.median(ratios)


def fmt_time(seconds):
    for unit, scale in (("s", 1), ("ms", 1e-3), ("µs", 1e-6), ("ns", 1e-9)):
        if seconds >= scale:
            return f"{seconds / scale:.3g} {unit}"
    return f"{seconds * 1e9:.3g} ns"


def fmt_ratio(r, digits=2):
    return f"{r:.{digits}f}×"


def goals(row, lib):
    """(kind, target, limit, measured) for each goal whose peer ran."""
    out = []
    for (kind, target), limit in row["goals"].items():
        series = row["faults"] if kind == "faultgoal" else row["times"]
        peers = who(row, "peer") if target == "fastest peer" else target
        if isinstance(peers, str) and peers not in series:
            continue
        out.append((kind, target, limit, median_ratio(row, series, lib, peers)))
    return out


def goal_lines(row, lib):
    lines = []
    for kind, target, limit, measured in goals(row, lib):
        what = "page faults" if kind == "faultgoal" else "time"
        verdict = "met" if measured <= limit else "**missed**"
        lines.append(f"{what} at most {fmt_ratio(limit)} {target}'s: {verdict} "
                     f"({fmt_ratio(measured, 3)})")
    return lines


def family_table(rows):
    """One table for a family: a column per contender, the library first."""
    columns = []
    for role in ROLES:
        for row in rows:
            for c in who(row, role):
                if c not in columns:
                    columns.append(c)
    out = ["| Workload | " + " | ".join(columns) + " | vs fastest peer | vs bound | Goals |",
           "|---" * (len(columns) + 4) + "|"]
    for row in rows:
        lib = who(row, "lib")[0]
        peers = who(row, "peer")
        bound = who(row, "bound")
        cells = []
        for c in columns:
            if c not in row["times"]:
                cells.append("")
                continue
            t = statistics.median(row["times"][c])
            cell = fmt_time(t)
            if c == lib and row["bytes"]:
                cell += f" ({row['bytes'] / t / 1e9:.2f} GB/s)"
            if c != lib:
                cell += f" ({fmt_ratio(median_ratio(row, row['times'], lib, c))})"
            cells.append(cell)
        vs_peers = fmt_ratio(median_ratio(row, row["times"], lib, peers)) if peers else ""
        vs_bound = fmt_ratio(median_ratio(row, row["times"], lib, bound[0])) if bound else ""
        goals = "<br>".join(goal_lines(row, lib))
        out.append(f"| {row['title']} | " + " | ".join(cells) +
                   f" | {vs_peers} | {vs_bound} | {goals} |")
    return out


def faults_table(rows):
    rows = [r for r in rows if r["faults"]]
    if not rows:
        return []
    out = ["", "Page faults per run (median):", ""]
    for row in rows:
        parts = [f"{c} {statistics.median(v):,.0f}" for c, v in row["faults"].items()]
        out.append(f"- {row['title']}: " + ", ".join(parts))
    return out


def short_verdict(row):
    """(ratio, target, limit, met) of a short-string row's goal: the
    library's time over the fastest peer's, or over the peer the goal names."""
    lib = who(row, "lib")[0]
    for _, target, limit, measured in goals(row, lib):
        return measured, target, limit, measured <= limit
    return median_ratio(row, row["times"], lib, who(row, "peer")), "fastest peer", None, True


def short_cell(row):
    ratio, target, limit, met = short_verdict(row)
    text = fmt_ratio(ratio)
    if target != "fastest peer":
        text += f" {target} (goal {fmt_ratio(limit, 1)})"
    return text if met else f"**{text}**"


def fastest_peers(row):
    """The peers in the order of their median time, fastest first."""
    return sorted(who(row, "peer"), key=lambda p: statistics.median(row["times"][p]))


def short_table(rows):
    """One line per operation: the library's time over the fastest peer's at
    each length, the goal verdicts, and which peer was fastest."""
    by_base = defaultdict(dict)
    for row in rows:
        if not row["name"].startswith(NOISE):
            base, length = short_parts(row)
            by_base[base][length] = row
    lengths = sorted({n for cells in by_base.values() for n in cells})
    out = ["| Operation | " + " | ".join(f"{n} B" for n in lengths) + " | fastest peer |",
           "|---" * (len(lengths) + 2) + "|"]
    met = total = 0
    for cells in by_base.values():
        first = cells[min(cells)]
        for row in cells.values():
            met += short_verdict(row)[3]
            total += 1
        peers = []
        for row in cells.values():
            if who(row, "peer") and fastest_peers(row)[0] not in peers:
                peers.append(fastest_peers(row)[0])
        out.append(f"| {first['title']} | " +
                   " | ".join(short_cell(cells[n]) if n in cells else "" for n in lengths) +
                   f" | {', '.join(peers)} |")
    return [f"{met} of {total} rows at or below their goal (bold: missed). A cell is the "
            "library's time over the fastest peer's (goal: at most 1); where the goal is set "
            "against a named peer instead, the ratio to that peer and the goal.", ""] + out


def noise_lines(rows):
    """What the A/A rows say about the noise: their median ratio and the
    spread of the ratio over the repetitions."""
    out = []
    noise = [row for row in rows if row["name"].startswith(NOISE)]
    for row in noise:
        lib, peer = who(row, "lib")[0], who(row, "peer")[0]
        ratios = sorted(a / b for a, b in zip(row["times"][lib], row["times"][peer]))
        out.append(f"{short_parts(row)[1]} B: median {fmt_ratio(statistics.median(ratios), 3)}, "
                   f"repetitions from {fmt_ratio(ratios[0], 3)} to {fmt_ratio(ratios[-1], 3)}")
    if not out:
        return []
    return ["", f"Noise: {noise[0]['title']}, two contenders doing the same work: "
            + "; ".join(out) + ". A ratio within that spread of 1 is a tie.", ""]


def compiler_section(context, rows):
    out = [f"## Built with {context.get('compiler', 'an unknown compiler')}", ""]
    by_family = defaultdict(list)
    for row in rows:
        by_family[family(row)].append(row)
    for name, family_rows in by_family.items():
        out += [f"### {FAMILIES.get(name, name)}", ""]
        if name == SHORT:
            out += short_table(family_rows) + noise_lines(family_rows)
            out += ["<details><summary>Every contender of every row</summary>", ""]
            out += family_table(family_rows) + ["", "</details>", ""]
        else:
            out += family_table(family_rows) + faults_table(family_rows) + [""]
    return out


def chart_bars(runs):
    """One bar per row and peer of the 1 MiB families, labelled and with the
    library's time over that peer's."""
    lines = []
    for context, rows in runs:
        compiler = context.get("compiler", "").split(" ")[0]
        for row in rows:
            if family(row) == SHORT:
                continue
            lib = who(row, "lib")[0]
            for peer in who(row, "peer"):
                r = median_ratio(row, row["times"], lib, peer)
                lines.append((f"{family(row)} {row['title']} vs {peer} ({compiler})", r, r <= 1))
    return lines


def short_chart_bars(runs):
    """One bar per short-string row: the library's time over the fastest
    peer's, or over the peer its goal names; green where the goal is met."""
    lines = []
    for _, rows in runs:
        for row in rows:
            if family(row) != SHORT or row["name"].startswith(NOISE):
                continue
            for _, target, limit, measured in goals(row, who(row, "lib")[0]):
                label = f"{row['title']}, {short_parts(row)[1]} B vs {target}"
                lines.append((label, measured, measured <= limit))
    return lines


def chart(lines, path, title):
    """Horizontal bars of (label, ratio, good) on a log scale, green where
    good."""
    lines = [(label.replace("\\", "\\\\").replace('"', "'"), r, good)
             for label, r, good in lines]
    if not lines:
        return False
    data = path + ".dat"
    with open(data, "w") as f:
        for label, r, good in reversed(lines):
            f.write(f'"{label}" {r:.4f} {0x2e8b57 if good else 0xcd3333}\n')
    height = 120 + 22 * len(lines)
    ratios = [r for _, r, _ in lines]
    low, high = min(min(ratios), 0.5) / 1.6, max(max(ratios), 2) * 1.6
    script = f"""
set terminal pngcairo size 1500,{height} font "sans,9"
set output "{path}"
set title "{title}"
set logscale x 2
set termoption noenhanced
set xrange [{low}:{high}]
set yrange [-0.7:{len(lines) - 0.3}]
set grid xtics
set format x "%g×"
set key off
set lmargin 92
set arrow from 1, graph 0 to 1, graph 1 nohead lc rgb "black"
plot "{data}" using (($2 < 1) ? $2 : 1):0:(($2 < 1) ? $2 : 1):(($2 < 1) ? 1 : $2):($0 - 0.35):($0 + 0.35):3:ytic(1) \\
         with boxxyerror fs solid 0.8 lc rgb variable, \\
     "" using ($2 * 1.08):0:(sprintf("%.2f×", $2)) with labels left font "sans,8"
"""
    try:
        subprocess.run(["gnuplot"], input=script, text=True, check=True)
    except (OSError, subprocess.CalledProcessError) as e:
        print(f"report.py: no chart ({e})", file=sys.stderr)
        return False
    finally:
        os.remove(data)
    return True


def cpu_model():
    try:
        with open("/proc/cpuinfo") as f:
            for line in f:
                if line.startswith("model name"):
                    return line.split(":", 1)[1].strip()
    except OSError:
        pass
    return "unknown processor"


def summary(vek_bench, args):
    """Runs vek_bench into a temporary JSON file and prints a line per row."""
    with tempfile.TemporaryDirectory() as tmp:
        out = os.path.join(tmp, "results.json")
        run = subprocess.run([vek_bench, *args, f"--benchmark_out={out}",
                              "--benchmark_out_format=json"],
                             stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
        if run.returncode != 0:
            sys.exit(f"{run.stderr}vek_bench failed with status {run.returncode}")
        context, rows = load_rows(out)
    print(f"VekString's time over the fastest peer's (below 1: VekString is faster), "
          f"built with {context.get('compiler', '?')}.\nA quick pass on a shared machine; "
          "scripts/bench measures at length and writes docs/benchmarks.md.")
    width = max((len(r["title"]) for r in rows), default=0) + 5
    for row in rows:
        if family(row) == SHORT:
            continue
        lib, peers = who(row, "lib")[0], who(row, "peer")
        ratio = fmt_ratio(median_ratio(row, row["times"], lib, peers)) if peers else "-"
        verdicts = "; ".join(g.replace("**", "") for g in goal_lines(row, lib))
        label = f"{row['name'][:2]} {row['title']}"
        print(f"  {label:<{width}} {ratio:>7}   {verdicts}")
    short_summary([r for r in rows if family(r) == SHORT])


def short_summary(rows):
    """One line per short-string operation: the ratio at each length, with
    a mark where a goal is missed; then the noise."""
    by_base = defaultdict(dict)
    for row in rows:
        base, length = short_parts(row)
        by_base[base][length] = row
    if not by_base:
        return
    print("Short strings, at " + ", ".join(f"{n}" for n in sorted(
        {n for cells in by_base.values() for n in cells})) + " bytes (! marks a missed goal; "
          "at 8 bytes the allocating rows against std::string):")
    width = max(len(r["title"]) for r in rows) + 3
    for base, cells in by_base.items():
        parts = []
        for n in sorted(cells):
            ratio, _, _, met = short_verdict(cells[n])
            parts.append(f"{fmt_ratio(ratio):>7}{' ' if met else '!'}")
        print(f"  S {cells[min(cells)]['title']:<{width}}" + " ".join(parts))


def main(argv):
    if len(argv) >= 3 and argv[1] == "--summary":
        return summary(argv[2], argv[3:])
    if len(argv) < 4:
        sys.exit(__doc__)
    out_md, out_png, inputs = argv[1], argv[2], argv[3:]
    runs = [load_rows(p) for p in inputs]
    context = runs[0][0]
    reps = max((len(v) for _, rows in runs for r in rows for v in r["times"].values()), default=0)
    md = ["# Benchmarks", "",
          "Written by `scripts/bench`; do not edit by hand. Machine: "
          f"{cpu_model()}, {context.get('num_cpus', '?')} cores, "
          f"{context.get('date', '')}. Each row runs every contender on the same input, in "
          "turn and in a fresh random order within each iteration, and Google Benchmark "
          f"repeats the rows {reps} times, randomly interleaved. A contender's time in a "
          "repetition is the median of its runs, so that a preemption landing in one run "
          "does not count; times are medians over the repetitions; a ratio is the library's time over another contender's (below 1: "
          "the library is faster), taken within each repetition and then the median. Only "
          "ratios mean much on a shared machine; the absolute times drift between runs. "
          "scripts/bench aligns functions and loops to 64 bytes, so that where code happens "
          "to be placed does not move a row.",
          "", "In a peer's column the figure in brackets is the library's ratio to that peer. "
          "*vs fastest peer* divides by the fastest peer of each repetition, *vs bound* by the "
          "physical bound of the work (the same bytes copied or scanned once). Contenders "
          "after the peers and before the bound are shown beside, not compared with.", ""]
    title = "VekString's time relative to each peer (below 1: VekString is faster)"
    if chart(chart_bars(runs), out_png, title):
        md += [f"![{title}]({os.path.basename(out_png)})", ""]
    short_png = out_png.replace(".png", "-short.png")
    short_title = ("Short strings: VekString's time relative to the fastest peer "
                   "(below 1: VekString is faster)")
    if chart(short_chart_bars(runs), short_png, short_title):
        md += [f"![{short_title}]({os.path.basename(short_png)})", ""]
    for run_context, rows in runs:
        md += compiler_section(run_context, rows)
    notes = os.path.join(os.path.dirname(os.path.abspath(__file__)), "notes.md")
    if os.path.exists(notes):
        with open(notes) as f:
            md += [f.read().rstrip(), ""]
    with open(out_md, "w") as f:
        f.write("\n".join(md))


if __name__ == "__main__":
    main(sys.argv)
