#!/usr/bin/env python3
"""Measures the library against floors and peers, prints a table of ratios, and writes report.json.

The wanted ratios are in targets.json: a figure, what it is compared with, and the bound. A "*" in the name of a figure
stands for a part of it, a size for example, which is then the same in what it is compared with. A target without "other"
bounds the figure itself.

report.json has one row for each target and size: `figure` is ours, `floor` or `peer` what it is compared with, and
`against` who that is. `ratio` is ours to theirs; a bound from below is on theirs to ours. `timeRatio` is the same ratio
in time, beside one that is held in instructions, where the run measured both. The floor of growth is the same event where
the least stands around it. `timeSpread` has the coefficient of variation of each time, as a fraction.
"""

import argparse
import fnmatch
import json
import os
import subprocess
import sys

import lttng_session
import page
import programs
from measure import Program

TOLERANCE = 0.10
# Not held to the baseline: that table seeds its hashes with an address, so that the places of a few members, and with
# them the cost of a walk and of a miss, change from build to build.
UNSTEADY = {"keyed.iterate/8 / abseil", "keyed.miss/8 / abseil"}


def sizes(pattern, names):
    """The names that match, each with what the pattern's "*" stands for."""
    before, star, after = pattern.partition("*")
    for name in sorted(names):
        if fnmatch.fnmatchcase(name, pattern):
            yield name, name[len(before):len(name) - len(after)] if star else ""


def pairs(targets, names):
    """(target, figure, other) for each target and size; other is None where the figure itself is bound."""
    for target in targets:
        for name, size in sizes(target["figure"], names):
            other = target["other"].replace("*", size) if "other" in target else None
            if other is None or other in names:
                yield target, name, other


def quotient(value, base):
    return value / base if base else float("inf")


def time_ratio(mode, name, other, figures):
    timed = figures.get("time", {})
    if mode == "instructions" and name in timed and other in timed:
        return quotient(timed[name], timed[other])
    return None


def row(target, name, other, figures):
    measured = figures[target["mode"]]
    value, base = measured[name], measured[other] if other else 1.0
    ratio = quotient(value, base)
    met, text, case = True, "", name.removesuffix("/ours")
    ours, theirs, against = value, base, other and other.rsplit("/", 1)[1]
    if "atMost" in target:
        met, text = ratio <= target["atMost"], f"<= {target['atMost']:g}"
    elif "atLeast" in target:
        met, text = ratio >= target["atLeast"], f">= {target['atLeast']:g}"
        ours, theirs, (case, against) = base, value, name.rsplit("/", 1)
    # Floors are named so; "plain" does the same without what is measured, and a number is a smaller size of the same.
    is_floor = against is not None and (against.startswith("floor") or against == "plain" or against.isdigit())
    return {"what": target["what"], "mode": target["mode"], "name": case, "figure": ours, "against": against,
            "floor": theirs if is_floor else None, "peer": theirs if against and not is_floor else None,
            "ratio": ratio, "timeRatio": time_ratio(target["mode"], name, other, figures), "target": text, "met": met}


def untargeted(rows, figures):
    """Rows of all that ours is compared with and has no target for: what they are may be seen to change, too."""
    covered = {(one["name"], one["against"]) for one in rows}
    for mode in ("instructions", "count"):
        for name in sorted(figures.get(mode, {})):
            case, who = name.rsplit("/", 1)
            if who != "ours" and f"{case}/ours" in figures[mode] and (case, who) not in covered:
                yield row({"what": case, "mode": mode}, f"{case}/ours", name, figures)


def directions(figures):
    """Of each pair that was measured in both modes, ours to theirs in both."""
    for name in sorted(figures.get("time", {}).keys() & figures.get("instructions", {}).keys()):
        ours = name.rsplit("/", 1)[0] + "/ours"
        if name != ours and ours in figures["time"] and ours in figures["instructions"]:
            yield name, *(figures[mode][ours] / figures[mode][name] for mode in ("instructions", "time"))


def is_even(ratio):
    return 1 / (1 + TOLERANCE) <= ratio <= 1 + TOLERANCE


def agreement(figures):
    """Says where one mode finds ours ahead and the other does not, and where neither finds a clear winner."""
    both = list(directions(figures))
    even = [one for one in both if is_even(one[1]) and is_even(one[2])]
    opposed = [one for one in both if one not in even and (one[1] - 1) * (one[2] - 1) <= 0]
    if both:
        agreed = len(both) - len(even) - len(opposed)
        yield (f"Of {len(both)} pairs measured in both modes, {agreed} agree in who is ahead"
               + named("even within 10 % in both", even) + named("opposed", opposed) + ".")


def named(what, pairs_in_both):
    each = [f"{name} ({counted:.2f} in instructions, {timed:.2f} in time)" for name, counted, timed in pairs_in_both]
    return f"; {len(each)} {what}: " + ", ".join(each) if each else ""


def spread_text(spreads, targets):
    """How much the least steady of the times varies that a target in time goes by."""
    deciding = held([one for one in targets if one["mode"] == "time"], spreads)
    if deciding:
        name = max(deciding, key=spreads.get)
        yield (f"Of the times that targets are held in, {name} varies most between the repetitions: its coefficient of "
               f"variation is {100 * spreads[name]:.1f} %.")


def worsened(baseline, rows):
    """What is worse than the baseline by more than the tolerance, or stands in only one of the two."""
    ratios = {key(one): one for one in rows}
    for name in sorted(baseline.keys() ^ ratios.keys()):
        yield f"{name}: only in {'the baseline' if name in baseline else 'this run'}; write a new baseline"
    for name in sorted((baseline.keys() & ratios.keys()) - UNSTEADY):
        now, known = ratios[name]["ratio"], baseline[name]
        change = known / now if ratios[name]["target"].startswith(">") else now / known
        if change > 1 + TOLERANCE:
            yield f"{name}: {now:.4g}, baseline {known:.4g}"


def key(row):
    return f"{row['name']} / {row['against']}" if row["against"] else row["name"]


def ratios(rows):
    return {key(one): float(f"{one['ratio']:.4g}") for one in rows}


def is_checked(name, targeted):
    """What --check measures: the mechanisms, the main job on the small device, and of growth what has a target."""
    if name.startswith("growth."):
        return name in targeted
    size = name.split("/")[1]
    return size == "4x4x32" if name.startswith("job.") else size != "65536"


def parse():
    parser = argparse.ArgumentParser(prog="bench", usage="see scripts/bench --help", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program", help="the benchmark program")
    parser.add_argument("--lttng", metavar="PROGRAM", help="the program that measures LTTng-UST, in the time mode only")
    parser.add_argument("--programs", metavar="FOLDER", help="where oru-agent and oru-launcher are, to measure them too, "
                        "in the time mode only")
    parser.add_argument("--filter", metavar="PATTERN", default="*", help="figures by name, with * and ? (default: all)")
    parser.add_argument("--mode", choices=["instructions", "time", "both"], default="both")
    parser.add_argument("--repetitions", type=int, default=9, help="of the time mode (default: 9)")
    parser.add_argument("--output", help="the machine-readable report")
    parser.add_argument("--page", help="folder of performance.md, whose tables and plot are written anew")
    parser.add_argument("--check", metavar="BASELINE",
                        help="count instructions of the mechanisms, of the small device and of growth, and heap; fails "
                             "when a ratio is more than 10 %% worse than in this file")
    parser.add_argument("--write-baseline", metavar="BASELINE", help="write what --check measures to this file")
    arguments = parser.parse_args()
    if (arguments.page or arguments.check or arguments.write_baseline) and (
            arguments.mode != "both" or arguments.filter != "*"):
        parser.error("a page, a check and a baseline want all their figures: neither --mode nor --filter goes with them")
    if arguments.repetitions < 2:
        parser.error("--repetitions: a median is of two at least")
    if arguments.check or arguments.write_baseline:
        arguments.mode = "instructions"
    return arguments


def matching(names, arguments):
    return [name for name in names if fnmatch.fnmatchcase(name, arguments.filter)]


def held(targets, names):
    return {name for _, *both in pairs(targets, names) for name in both if name}


def refuse_unmatched(targets, program):
    """A target that holds no case holds nothing."""
    known = {"instructions": program.operations, "time": program.operations, "count": program.counts,
             "program": programs.FIGURES}
    empty = [f"{one['figure']} to {one['other']}" if "other" in one else one["figure"]
             for one in targets if not list(pairs([one], known[one["mode"]]))]
    if empty:
        raise RuntimeError("no case matches the target of " + "; of ".join(empty))


def counted_cases(program, targets, arguments):
    names = matching(program.operations, arguments)
    if not arguments.check and not arguments.write_baseline:
        return names
    targeted = held(targets, names)
    return [name for name in names if is_checked(name, targeted)]


def timed_cases(program, targets, arguments):
    """What the filter asks for; without one, what has a target, and every trace record."""
    names = matching(program.operations, arguments)
    if arguments.filter != "*":
        return names
    targeted = held(targets, names)
    return [name for name in names if name.startswith("record.") or name in targeted]


def measure(program, targets, arguments):
    """The figures by mode and name, how much each time varies, and what could not be measured, in words."""
    figures, spreads, failures = {}, {}, []
    if arguments.mode != "time":
        cases = counted_cases(program, targets, arguments)
        print(f"counting the instructions of {len(cases)} cases", file=sys.stderr)
        figures["instructions"] = program.instructions(cases)
        figures["count"] = program.counted(matching(sorted(program.counts), arguments))
    if arguments.mode != "instructions":
        cases = timed_cases(program, targets, arguments)
        print(f"timing {len(cases)} cases, {arguments.repetitions} repetitions", file=sys.stderr)
        figures["time"], spreads = program.times(cases, arguments.repetitions)
        try:
            times, varying = lttng_times(arguments)
            figures["time"].update(times)
            spreads.update(varying)
        except (OSError, RuntimeError, subprocess.CalledProcessError) as error:
            failures.append(f"LTTng-UST: {error}")
        try:
            figures["program"] = program_figures(arguments)
        except Exception as error:  # whatever goes wrong there, the other figures are not to be lost
            failures.append(f"the programs: {type(error).__name__}: {error}")
    return figures, spreads, failures


def time_text(program, figures, arguments):
    """How the times were taken: repetitions, and what one is where that is a fixed number."""
    lives = {name.split("/")[1]: count for name, count in program.batches.items() if name in figures.get("time", {})}
    fixed = ", ".join(f"{count} of {device}" for device, count in lives.items())
    return (f"Medians of {arguments.repetitions} repetitions. A repetition of the main job is a number of lives of the "
            f"device ({fixed}), of everything else as many batches as take 50 ms.")


def lttng_times(arguments):
    tracer = Program(arguments.lttng) if arguments.lttng else None
    cases = matching(tracer.operations, arguments) if tracer else []
    if not cases:
        return {}, {}
    with lttng_session.session():
        return tracer.times(cases, arguments.repetitions)


def program_figures(arguments):
    names = matching(programs.FIGURES, arguments) if arguments.programs else []
    if names:
        print("measuring the programs", file=sys.stderr)
    return programs.measure(arguments.programs, os.path.dirname(arguments.program), names)


def load(path):
    with open(path) as file:
        return json.load(file)


def main():
    arguments = parse()
    targets = load(os.path.join(os.path.dirname(os.path.abspath(__file__)), "targets.json"))
    baseline = load(arguments.check) if arguments.check else None
    program = Program(arguments.program)
    refuse_unmatched(targets, program)

    figures, spreads, failures = measure(program, targets, arguments)
    if not failures and not any(figures.values()):
        sys.exit(f"bench: {arguments.filter} matches nothing that is measured in mode {arguments.mode}")
    measured = {name for mode in figures.values() for name in mode}
    rows = [row(*pair, figures) for pair in pairs(targets, measured)
            if pair[1] in figures.get(pair[0]["mode"], {})]
    notes = [*agreement(figures), *spread_text(spreads, targets), *page.not_measured(failures)]
    listed = page.text_figures(figures) if arguments.filter != "*" else []
    for line in [*listed, *page.text_table(rows), *notes]:
        print(line)

    about = page.machine(program)
    if arguments.output:
        with open(arguments.output, "w") as file:
            json.dump({"version": 2, "machine": about, "repetitions": arguments.repetitions, "batches": program.batches,
                       "figures": figures, "timeSpread": spreads, "notMeasured": failures,
                       "agreement": list(agreement(figures)), "rows": rows}, file, indent=1)
    if arguments.page:
        page.write(arguments.page, about, rows, figures, notes, time_text(program, figures, arguments))
    compared = [*rows, *untargeted(rows, figures)]
    if arguments.write_baseline:
        with open(arguments.write_baseline, "w") as file:
            json.dump(ratios(compared), file, indent=1)
            file.write("\n")
    if arguments.check:
        worse = list(worsened(baseline, compared))
        if worse:
            sys.exit("bench: worse than the baseline by more than 10 %:\n  " + "\n  ".join(worse))
        print("no ratio is more than 10 % worse than the baseline")
    if failures:
        sys.exit(1)


if __name__ == "__main__":
    try:
        main()
    except (OSError, RuntimeError, subprocess.CalledProcessError) as failure:
        sys.exit(f"bench: {failure}")
