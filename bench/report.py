#!/usr/bin/env python3
"""Prints the ratios of a torvex_bench JSON output against the targets.

Usage: report.py RESULT.json

Every figure is the benchmark's mean time per iteration (manual time: only the measured step);
with --benchmark_repetitions, the median of the repetitions.
"""

import json
import re
import sys

UNIT_NS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}

# Measured times of the library whose growth with the row count is checked.
SCALED = [
    "Torvex/Open",
    "Torvex/FirstEvaluation",
    "Torvex/SecondLanguageRead",
    "Torvex/WarmRead",
    "Torvex/SetValueRow",
    "Torvex/Close",
    "Torvex/CloseSave",
    "Torvex/OpenLoad",
]
TABLE = [
    "Baseline/Parse",
    "Baseline/ParseWalk",
    "Baseline/HostAlone",
    "Baseline/Free",
] + SCALED + ["Chains/Open", "Chains/FirstEvaluation"]


def load(path):
    with open(path, encoding="utf-8") as f:
        data = json.load(f)
    runs, medians = {}, {}
    for b in data.get("benchmarks", []):
        run_type = b.get("run_type", "iteration")
        if run_type == "aggregate" and b.get("aggregate_name") != "median":
            continue
        name = re.sub(r"/(iterations:\d+|manual_time|real_time|repeats:\d+)", "",
                      b.get("run_name", b["name"]))
        kind, _, rows = name.rpartition("/")
        if not rows.isdigit():
            continue
        entry = dict(b)
        entry["ns"] = b.get("real_time", 0.0) * UNIT_NS.get(b.get("time_unit", "ns"), 1.0)
        # With --benchmark_repetitions the median of the repetitions stands for the benchmark.
        (medians if run_type == "aggregate" else runs)[(kind, int(rows))] = entry
    runs.update(medians)
    return data, runs


def ms(ns):
    return ns / 1e6


def fmt_ms(ns):
    if ns is None:
        return "-"
    value = ms(ns)
    if value >= 100:
        return f"{value:.0f}"
    if value >= 1:
        return f"{value:.2f}"
    return f"{value:.4f}"


class Verdicts:
    def __init__(self):
        self.rows = []

    def add(self, what, value, target, unit="x", info=""):
        if value is None:
            verdict = "n/a"
            shown = "-"
        else:
            verdict = "PASS" if value <= target else "MISS"
            shown = f"{value:.2f}{unit}" if unit == "x" else f"{value:.3f} {unit}"
        limit = f"<= {target:g}{unit}" if unit == "x" else f"<= {target:g} {unit}"
        self.rows.append((what, shown, limit, verdict, info))

    def print(self):
        widths = [max(len(r[i]) for r in self.rows) for i in range(4)]
        header = ("Target", "Measured", "Limit", "Result")
        widths = [max(w, len(h)) for w, h in zip(widths, header)]
        line = "  ".join(h.ljust(w) for h, w in zip(header, widths))
        print(line)
        print("-" * len(line))
        for r in self.rows:
            text = "  ".join(c.ljust(w) for c, w in zip(r[:4], widths))
            print(text + (f"  ({r[4]})" if r[4] else ""))
        passed = sum(1 for r in self.rows if r[3] == "PASS")
        missed = sum(1 for r in self.rows if r[3] == "MISS")
        print(f"\n{passed} PASS, {missed} MISS, {len(self.rows) - passed - missed} n/a")


def main():
    if len(sys.argv) != 2:
        print(__doc__, file=sys.stderr)
        return 2
    data, runs = load(sys.argv[1])
    sizes = sorted({rows for (kind, rows) in runs
                    if kind != "Memory" and not kind.startswith(("Graph/", "PairedGraph/"))})
    graph_sizes = sorted({rows for (kind, rows) in runs if kind.startswith("Graph/")})
    shapes = [kind.split("/")[1] for kind in dict.fromkeys(
        kind for (kind, rows) in runs if kind.startswith("Graph/"))]

    def t(kind, rows):
        entry = runs.get((kind, rows))
        if entry is None or entry.get("error_occurred"):
            return None
        return entry["ns"]

    def counter(kind, rows, name):
        entry = runs.get((kind, rows))
        return None if entry is None else entry.get(name)

    ctx = data.get("context", {})
    print(f"torvex_bench on {ctx.get('num_cpus', '?')} CPUs, {ctx.get('date', '')}, "
          f"load average {ctx.get('load_avg', ['?'])[0]}; steps timed by "
          f"{ctx.get('torvex_clock', 'wall clock')}")
    errors = [f"{k}/{r}: {e.get('error_message', '')}" for (k, r), e in runs.items()
              if e.get("error_occurred")]
    for error in errors:
        print(f"ERROR {error}")

    # Raw figures.
    print("\nMean time per iteration, ms (SetValueRow: one edit and the row read back)")
    print("".ljust(24) + "".join(f"N={n}".rjust(12) for n in sizes))
    for kind in TABLE:
        print(kind.ljust(24) + "".join(fmt_ms(t(kind, n)).rjust(12) for n in sizes))
    print("Derived".ljust(24))
    for label, kind, name in (("  cache save", "Torvex/CloseSave", "save_ms"),
                              ("  cache load", "Torvex/OpenLoad", "load_ms")):
        cells = []
        for n in sizes:
            value = counter(kind, n, name)
            cells.append("-" if value is None else fmt_ms(value * 1e6))
        print(label.ljust(24) + "".join(c.rjust(12) for c in cells))
    print("  (save = closing with a cache folder - closing without; load = opening with the"
          " file - opening without;\n   both measured in the same iterations, in alternating"
          " order)")

    if graph_sizes:
        print("\nGraph shapes, one row of N columns: open + first evaluation (every cell read in "
              "document order, from the top of the graph), ms")
        print("".ljust(24) + "".join(f"N={n}".rjust(12) for n in graph_sizes))
        for shape in shapes:
            print(f"Graph/{shape}".ljust(24)
                  + "".join(fmt_ms(t(f"Graph/{shape}", n)).rjust(12) for n in graph_sizes))

    # Several families evaluated on one thread and shared out among two, in the same iterations.
    for (kind, n), entry in sorted(runs.items()):
        if kind != "Threads/Families":
            continue
        if entry.get("error_occurred"):
            print(f"\nSeveral families on threads, N={n}: {entry.get('error_message', '')}")
            continue
        one, two = entry.get("one_thread_ms"), entry.get("two_threads_ms")
        if one and two:
            print(f"\nSeveral families on threads: {entry.get('families', 0):.0f} families of "
                  f"{n} rows, each opened, evaluated and closed (wall clock)")
            load_avg = ctx.get("load_avg", [None])[0]
            load_avg = f"{load_avg:.2f}" if isinstance(load_avg, (int, float)) else "?"
            print(f"  one thread {fmt_ms(one * 1e6)} ms, two threads {fmt_ms(two * 1e6)} ms: "
                  f"speedup {one / two:.2f}x on {ctx.get('num_cpus', '?')} CPUs (load average "
                  f"{load_avg} at the start)")
            baseline = entry.get("baseline_speedup")
            if baseline:
                print(f"  libxml2 alone parsing and walking the same texts, same iterations: "
                      f"speedup {baseline:.2f}x (what the machine gave two threads)")
            cpu_ratio = entry.get("cpu_ratio")
            if cpu_ratio:
                print(f"  CPU time on two threads / on one: {cpu_ratio:.2f} (the extra work of "
                      "running side by side)")

    for n in sizes:
        cells = counter("Torvex/FirstEvaluation", n, "cells")
        failed = counter("Torvex/FirstEvaluation", n, "failed")
        mismatch = counter("Torvex/FirstEvaluation", n, "unit_mismatch")
        updated = counter("Torvex/SetValueRow", n, "dependants_updated")
        if cells:
            note = (f"N={n}: {cells:.0f} cells, {failed:.0f} without a value, "
                    f"{mismatch:.0f} with unit mismatch")
            if updated is not None:
                note += f"; dependants updated after an edit: {updated * 100:.0f}%"
            print(note)

    verdicts = Verdicts()
    for prefix, label in (("Torvex", ""), ("Chains", " chains")):
        for n in sizes:
            open_ns, parse_ns = t(f"{prefix}/Open", n), t("Baseline/Parse", n)
            paired = counter(f"{prefix}/Open", n, "paired_parse_ms")
            separate = open_ns / parse_ns if open_ns and parse_ns and prefix == "Torvex" else None
            info = f"separate benchmarks {separate:.2f}x" if separate else ""
            if open_ns and paired:
                ratio = open_ns / (paired * 1e6)
            else:
                ratio, info = separate, ""
            if ratio is not None or prefix == "Torvex":
                verdicts.add(f"Opening{label} N={n} (Open / bare parse)", ratio, 1.3, info=info)
    for prefix, label in (("Torvex", ""), ("Chains", " chains")):
        for n in sizes:
            evaluation = t(f"{prefix}/FirstEvaluation", n)
            open_ms = counter(f"{prefix}/FirstEvaluation", n, "open_ms")
            base_ms = counter(f"{prefix}/FirstEvaluation", n, "paired_baseline_ms")
            if evaluation and open_ms is not None and base_ms:
                base = base_ms * 1e6
                ratio = (open_ms * 1e6 + evaluation) / base
                info = f"evaluation alone {evaluation / base:.2f}x"
            else:
                ratio, info = None, ""
            if ratio is not None or prefix == "Torvex":
                verdicts.add(f"First evaluation{label} N={n} ((open + eval) / (parse+walk + host))",
                             ratio, 2, info=info)
    # Reading the table in the second language should cost no more than in the first.
    # Against the first-language read timed in the same iterations; the first evaluation's own
    # benchmark, run apart, is shown beside it.
    for n in sizes:
        second, first = t("Torvex/SecondLanguageRead", n), t("Torvex/FirstEvaluation", n)
        paired = counter("Torvex/SecondLanguageRead", n, "paired_first_ms")
        if second and paired:
            info = f"separate benchmarks {second / first:.2f}x" if first else ""
            verdicts.add(f"Second language N={n} (second-language read / first evaluation)",
                         second / (paired * 1e6), 1.0, info=info)
        elif second and first:
            verdicts.add(f"Second language N={n} (second-language read / first evaluation)",
                         second / first, 1.0)
    for n in sizes:
        warm, cells = t("Torvex/WarmRead", n), counter("Torvex/WarmRead", n, "cells")
        per_cell = warm / cells / 1e3 if warm and cells else None
        if n == 10000:
            verdicts.add(f"Warm re-read N={n} (per cell)", per_cell, 0.05, unit="us")
        # The evaluated export against the first evaluation timed in the same iterations.
        export = t("Torvex/EvaluatedExport", n)
        first_ms = counter("Torvex/EvaluatedExport", n, "first_evaluation_ms")
        if export and first_ms:
            verdicts.add(f"Evaluated export N={n} (export / first evaluation)",
                         export / (first_ms * 1e6), 1.5)
    # Growth: from the pair benchmark where it ran (both sizes timed in the same iterations),
    # with the growth between the separate benchmarks beside it; else from those alone.
    for kind in SCALED:
        step = kind.split('/')[1]
        for lo, hi, limit in ((1000, 10000, 12), (10000, 50000, 6), (10000, 100000, 12)):
            if lo not in sizes or hi not in sizes:
                continue
            a, b = t(kind, lo), t(kind, hi)
            separate = b / a if a and b else None
            lo_ms, hi_ms = (counter(f"Paired/{step}", hi, "lo_ms"),
                            counter(f"Paired/{step}", hi, "hi_ms"))
            if lo_ms and hi_ms:
                info = f"separate benchmarks {separate:.2f}x" if separate else ""
                verdicts.add(f"Scaling {step} {lo}->{hi} (paired)", hi_ms / lo_ms, limit,
                             info=info)
            else:
                verdicts.add(f"Scaling {step} {lo}->{hi}", separate, limit)
    for kind in ("Chains/Open", "Chains/FirstEvaluation"):
        for lo, hi, limit in ((1000, 10000, 12), (10000, 50000, 6), (10000, 100000, 12)):
            a, b = t(kind, lo), t(kind, hi)
            if a and b:
                verdicts.add(f"Scaling {kind} {lo}->{hi}", b / a, limit)
    # The graph shapes grow with the columns as the row counts do.
    for shape in shapes:
        for lo, hi, limit in ((1000, 10000, 12), (10000, 50000, 6)):
            if lo not in graph_sizes or hi not in graph_sizes:
                continue
            a, b = t(f"Graph/{shape}", lo), t(f"Graph/{shape}", hi)
            separate = b / a if a and b else None
            lo_ms, hi_ms = (counter(f"PairedGraph/{shape}", hi, "lo_ms"),
                            counter(f"PairedGraph/{shape}", hi, "hi_ms"))
            if lo_ms and hi_ms:
                info = f"separate benchmarks {separate:.2f}x" if separate else ""
                verdicts.add(f"Scaling graph {shape} {lo}->{hi} columns (paired)", hi_ms / lo_ms,
                             limit, info=info)
            else:
                verdicts.add(f"Scaling graph {shape} {lo}->{hi} columns", separate, limit)
    for (kind, n), entry in sorted(runs.items()):
        if kind != "Memory":
            continue
        lib, tvx = entry.get("libxml2_kb"), entry.get("torvex_kb")
        reset = "peak reset" if entry.get("peak_reset") else "minus idle child"
        info = (f"torvex {tvx / 1024:.1f} MiB, libxml2 {lib / 1024:.1f} MiB, {reset}"
                if lib and tvx else "")
        verdicts.add(f"Memory N={n} (open+evaluated / libxml2 document)",
                     tvx / lib if lib and tvx and not entry.get("error_occurred") else None, 1.25,
                     info=info)

    print()
    verdicts.print()

    # The baselines grow on the same machine too: a growth that the bare parse shares is the
    # machine's (caches, memory), not the library's.
    growth = []
    for kind in ("Baseline/Parse", "Baseline/ParseWalk", "Baseline/HostAlone", "Baseline/Free"):
        steps = []
        for lo, hi in ((1000, 10000), (10000, 50000)):
            a, b = t(kind, lo), t(kind, hi)
            if a and b:
                steps.append(f"{lo}->{hi} {b / a:.2f}x")
        if steps:
            growth.append(f"  {kind}: " + ", ".join(steps))
    if growth:
        print("\nGrowth of the baselines on this machine, for comparison:")
        print("\n".join(growth))
    return 0


if __name__ == "__main__":
    sys.exit(main())
