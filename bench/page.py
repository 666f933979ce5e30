"""The report as text, and as the generated parts of docs/performance.md with its plot."""

import math
import os
import platform
import re

DIMENSIONS = {"slices": "#1b6ca8", "chips": "#c0392b", "ports": "#27894f", "requests": "#8e44ad", "idle": "#b9770e"}
EVENTS = ["publication", "withdrawal", "insertion"]


def machine(program):
    with open("/proc/cpuinfo") as file:
        model = re.search(r"^model name\s*:\s*(.*)$", file.read(), re.MULTILINE)
    return {"processor": model.group(1) if model else platform.machine(), "cores": os.cpu_count(),
            "system": platform.freedesktop_os_release().get("PRETTY_NAME", platform.system()),
            **program.about()}


def machine_text(about):
    return (f"{about['processor']}, {about['cores']} cores; {about['system']}; {about['compiler']}, {about['flags']}; "
            f"{about['peers']}.")


def summary(rows):
    return f"{sum(one['met'] for one in rows)} of {len(rows)} targets met"


def number(value):
    return "" if value is None else f"{value:.0f}" if value >= 1000 else f"{value:.1f}" if value >= 10 else f"{value:.2f}"


def theirs(row):
    return row["peer"] if row["floor"] is None else row["floor"]


def in_time(row):
    return "" if row["timeRatio"] is None else f"{row['timeRatio']:.3g}"


def text_figures(figures):
    for mode, cases in figures.items():
        for name, figure in sorted(cases.items()):
            yield f"{mode:12} {name:42} {number(figure):>10}"


def text_table(rows):
    if not rows:
        yield "no target holds any of these"
        return
    yield (f"{'what':34} {'mode':12} {'case':31} {'ours':>10} {'against':12} {'theirs':>10} {'ratio':>8}"
           f" {'in time':>8}  target    met")
    for one in rows:
        yield (f"{one['what']:34} {one['mode']:12} {one['name']:31} {number(one['figure']):>10}"
               f" {one['against'] or '':12} {number(theirs(one)):>10} {one['ratio']:8.3g} {in_time(one):>8}"
               f"  {one['target']:9} {'yes' if one['met'] else 'NO'}")
    yield summary(rows)


def target_table(rows):
    yield "| what | measured in | case | ours | compared with | theirs | ratio | in time | target | met |"
    yield "| --- | --- | --- | ---: | --- | ---: | ---: | ---: | --- | --- |"
    for one in rows:
        yield (f"| {one['what']} | {one['mode']} | {one['name']} | {number(one['figure'])} | {one['against'] or ''} |"
               f" {number(theirs(one))} | {one['ratio']:.3g} | {in_time(one)} | {one['target']} |"
               f" {'yes' if one['met'] else '**no**'} |")
    yield ""
    yield summary(rows) + "."


def not_measured(failures):
    for failure in failures:
        yield f"Not measured: {failure}"


def by_case(figures):
    """figures["job.reset/4x4x32/ours"] -> cases["job.reset/4x4x32"]["ours"]"""
    cases = {}
    for name, figure in figures.items():
        if not name.startswith("growth."):
            case, who = name.rsplit("/", 1)
            cases.setdefault(case, {})[who] = figure
    return cases


def figure_table(figures, unit):
    yield f"| case ({unit}) | ours | others |"
    yield "| --- | ---: | --- |"
    for case, who in sorted(by_case(figures).items()):
        others = ", ".join(f"{name} {number(value)}" for name, value in who.items() if name != "ours")
        yield f"| {case} | {number(who.get('ours'))} | {others} |"


def growth(figures):
    """growth[event][dimension] = [(count, figure), ...]"""
    found = {}
    for name, figure in figures.items():
        if name.startswith("growth."):
            event, dimension, count = name.removeprefix("growth.").split("/")
            found.setdefault(event, {}).setdefault(dimension, []).append((int(count), figure))
    return {event: {what: sorted(points) for what, points in lines.items()} for event, lines in found.items()}


def growth_table(grown):
    yield "| event | what grows | first | second | last | last to first |"
    yield "| --- | --- | ---: | ---: | ---: | ---: |"
    for event in EVENTS:
        for dimension in DIMENSIONS:
            points = grown[event][dimension]
            costs = " | ".join(f"{number(figure)} ({count})" for count, figure in points)
            yield f"| {event} | {dimension} | {costs} | {points[-1][1] / points[0][1]:.2f} |"


def plot(grown):
    """One panel per event: cost relative to the smallest, over the growth; both axes logarithmic, 1 to 100."""
    side, gap, top, left = 200, 60, 40, 70
    width, height = left + len(EVENTS) * (side + gap), top + side + 80
    yield (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" font-family="sans-serif"'
           ' font-size="12">')
    yield f'<rect width="{width}" height="{height}" fill="white"/>'
    for panel, event in enumerate(EVENTS):
        x0 = left + panel * (side + gap)
        yield f'<text x="{x0}" y="{top - 14}" font-weight="bold">{event}</text>'
        yield (f'<text x="{x0 + side / 2:g}" y="{top + side + 34}" text-anchor="middle">count, relative to the first</text>'
               f'<text x="{x0 - 34}" y="{top + side / 2:g}" text-anchor="middle"'
               f' transform="rotate(-90 {x0 - 34} {top + side / 2:g})">cost, relative to the first</text>')
        for step in (0, 1, 2):
            at, label = side * step / 2, 10 ** step
            yield (f'<path d="M{x0} {top + side - at:g}h{side}M{x0 + at:g} {top}v{side}" stroke="#ddd" fill="none"/>'
                   f'<text x="{x0 - 6}" y="{top + side - at + 4:g}" text-anchor="end">{label}</text>'
                   f'<text x="{x0 + at:g}" y="{top + side + 16}" text-anchor="middle">{label}</text>')
        for dimension, colour in DIMENSIONS.items():
            points = grown[event][dimension]
            place = [(x0 + side * math.log10(count / points[0][0]) / 2,
                      top + side - side * max(0.0, math.log10(figure / points[0][1])) / 2) for count, figure in points]
            yield (f'<polyline points="{" ".join(f"{x:.1f},{y:.1f}" for x, y in place)}" fill="none" stroke="{colour}"'
                   ' stroke-width="2"/>')
    for index, (dimension, colour) in enumerate(DIMENSIONS.items()):
        x = left + index * 110
        yield (f'<path d="M{x} {height - 18}h20" stroke="{colour}" stroke-width="2"/>'
               f'<text x="{x + 26}" y="{height - 14}">{dimension}</text>')
    yield "</svg>"


def replaced(text, part, lines):
    """The text with what stands between the part's two marks replaced."""
    begin, end = f"<!-- {part}: written by scripts/bench -->", f"<!-- end of {part} -->"
    before, found, rest = text.partition(begin)
    if not found or end not in rest:
        raise RuntimeError(f"performance.md lacks the marks of {part}")
    return before + begin + "\n\n" + "\n".join(lines) + "\n\n" + end + rest.partition(end)[2]


def write(folder, about, rows, figures, notes, how_timed):
    path = os.path.join(folder, "performance.md")
    with open(path) as file:
        text = file.read()
    text = replaced(text, "machine", [machine_text(about)])
    text = replaced(text, "targets", [*target_table(rows), *("\n" + line for line in notes)])
    if "instructions" in figures:
        text = replaced(text, "figures", figure_table({**figures["instructions"], **figures["count"]},
                                                      "instructions; heap: bytes"))
        grown = growth(figures["instructions"])
        text = replaced(text, "growth", growth_table(grown))
        with open(os.path.join(folder, "growth.svg"), "w") as file:
            file.write("\n".join(plot(grown)) + "\n")
    if "time" in figures:
        timed = {**figures["time"], **figures.get("program", {})}
        text = replaced(text, "times", [how_timed, "", *figure_table(timed, "nanoseconds; memory: MiB")])
    with open(path, "w") as file:
        file.write(text)
