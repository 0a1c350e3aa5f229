#!/usr/bin/python3
"""Makes the performance table of what scripts/bench has gathered.

The folder RESULTS holds a file for each run of a program, ROUND.BITS.VARIANT.tsv, with lines of
family, row, contestant and samples (nanoseconds or bytes, between blanks), between tabs; VARIANT is
"sha" for what was run with SHA instructions and "plain" for all else. Its file environment.tsv says
where that was: what and value, between tabs.

The table holds each time against a peer's. The ratio of their smallest times is the one that
counts: what disturbs a program makes it slower and never faster.
"""

import argparse
import pathlib
import statistics
from dataclasses import dataclass

import chart
import rows

# A ratio may be so much below its goal before that is more than noise.
NOISE = 0.10


@dataclass(frozen=True)
class Time:
    """What one contestant took for one call."""

    minimum: float
    median: float

    @property
    def spread(self):
        return self.median / self.minimum - 1


@dataclass(frozen=True)
class Comparison:
    """A line of the table: our time against one peer's."""

    row: rows.Row
    bits: int
    ours: Time
    peer: str
    peer_bits: int
    theirs: Time
    goal: float  # 0: none
    is_best: bool  # no peer is faster
    limit: tuple | None  # name and time

    @property
    def speed(self):
        return self.theirs.minimum / self.ours.minimum

    @property
    def median_speed(self):
        return self.theirs.median / self.ours.median

    @property
    def verdict(self):
        if self.goal == 0:
            return ""
        if self.speed >= self.goal:
            return "yes"
        return "nearly" if self.speed >= self.goal * (1 - NOISE) else "no"


# Reading


def parse_line(line):
    """Row, contestant and samples of one line."""
    _, row, contestant, samples = line.rstrip("\n").split("\t")
    return row, contestant, [float(sample) for sample in samples.split()]


def read_samples(folder):
    """All samples by row, pointer size and contestant."""
    samples = {}
    for path in sorted(folder.glob("*.*.*.tsv")):
        _, bits, variant, _ = path.name.split(".")
        suffix = rows.SHA_VARIANT if variant == "sha" else ""
        for line in path.read_text().splitlines():
            row, contestant, values = parse_line(line)
            samples.setdefault((row + suffix, int(bits), contestant), []).extend(values)
    return samples


def read_environment(folder):
    lines = (folder / "environment.tsv").read_text().splitlines()
    return [tuple(line.split("\t", 1)) for line in lines]


# Evaluation


def times_of(samples):
    """The time of a call by row, pointer size and contestant."""
    calls = {row.id: row.calls for row in rows.ROWS}
    unknown = sorted({row for row, _, _ in samples} - calls.keys())
    if unknown:
        raise SystemExit(f"report.py: rows.py does not know: {', '.join(unknown)}")
    return {
        key: Time(min(values) / calls[key[0]], statistics.median(values) / calls[key[0]])
        for key, values in samples.items()
    }


def contestants(times, row, bits):
    return {name: time for (of, size, name), time in times.items() if of == row.id and size == bits}


def is_peer(name):
    return name != rows.OURS and not name.startswith((rows.LIMIT, rows.REFERENCE))


def limit_of(present):
    for name, time in present.items():
        if name.startswith(rows.LIMIT):
            return name.removeprefix(rows.LIMIT), time
    return None


def best_peer(present):
    peers = {name: time for name, time in present.items() if is_peer(name)}
    return min(peers, key=lambda name: peers[name].minimum, default=None)


def compare(times, row, bits):
    """The lines of one row in one pointer size: one for each goal, and one for the best peer."""
    present = contestants(times, row, bits)
    if rows.OURS not in present:
        return []
    best = best_peer(present)
    wanted = [(goal.peer, goal.bits or bits, goal.speed) for goal in row.goals(bits)]
    if best is not None and (best, bits) not in [(peer, size) for peer, size, _ in wanted]:
        wanted.append((best, bits, 0))
    return [
        Comparison(
            row=row,
            bits=bits,
            ours=present[rows.OURS],
            peer=peer,
            peer_bits=size,
            theirs=times[row.id, size, peer],
            goal=speed,
            is_best=(peer, size) == (best, bits),
            limit=limit_of(present),
        )
        for peer, size, speed in wanted
        if (row.id, size, peer) in times
    ]


def evaluate(samples):
    times = times_of(samples)
    return [line for row in rows.ROWS for bits in (64, 32) for line in compare(times, row, bits)]


# Text


def three_digits(value):
    return f"{value:.0f}" if value >= 99.95 else f"{value:#.3g}"


def amount(value, unit):
    """A time or a size as a person reads it."""
    if unit == "B":
        return f"{value / 1024:.0f} KiB"
    for factor, name in ((1e9, "s"), (1e6, "ms"), (1e3, "us")):
        if value >= factor:
            return f"{three_digits(value / factor)} {name}"
    return f"{three_digits(value)} ns"


def factor_text(factor):
    return f"{factor:.2f}" if factor < 10 else f"{factor:.1f}"


def peer_text(line):
    size = f" ({line.peer_bits}-bit)" if line.peer_bits != line.bits else ""
    return line.peer + size + (" *" if line.is_best else "")


def spread_text(line):
    return f"{line.ours.spread:.0%} / {line.theirs.spread:.0%}"


def limit_text(line):
    if line.limit is None:
        return ""
    name, time = line.limit
    return f"{amount(time.minimum, line.row.unit)} ({name})"


HEADINGS = (
    *("", "bits", "ours", "peer", "theirs"),
    *("speed", "of medians", "spread", "goal", "reached", "limit"),
)
ALIGNMENT = "<>><>>>>><<"


def cells(line):
    return (
        line.row.title,
        str(line.bits),
        amount(line.ours.minimum, line.row.unit),
        peer_text(line),
        amount(line.theirs.minimum, line.row.unit),
        factor_text(line.speed),
        factor_text(line.median_speed),
        spread_text(line),
        factor_text(line.goal) if line.goal else "",
        line.verdict,
        limit_text(line),
    )


def without_repetition(table):
    """Leaves out what a line has in common with the one above: the row, then the size and ours."""
    previous = (None,) * len(HEADINGS)
    for line in table:
        shown = list(line)
        if line[0] == previous[0]:
            shown[0] = ""
            if line[1] == previous[1]:
                shown[1] = shown[2] = shown[10] = ""
        previous = line
        yield tuple(shown)


def text_table(lines):
    table = [HEADINGS, *without_repetition(map(cells, lines))]
    widths = [max(map(len, column)) for column in zip(*table)]
    return "\n".join(
        "  ".join(map("{:{}{}}".format, row, ALIGNMENT, widths)).rstrip() for row in table
    )


def markdown_row(row):
    cells_as_text = (cell.replace("<", "&lt;").replace("|", "\\|") for cell in row)
    return f"| {' | '.join(cells_as_text)} |"


def markdown_table(lines):
    rule = ["---:" if side == ">" else "---" for side in ALIGNMENT]
    body = without_repetition(map(cells, lines))
    return "\n".join(map(markdown_row, [HEADINGS, rule, *body]))


def summary(lines):
    verdicts = [line.verdict for line in lines if line.verdict]
    return (
        f"{len(verdicts)} goals: {verdicts.count('yes')} reached, {verdicts.count('nearly')} "
        f"nearly (within {NOISE:.0%}), {verdicts.count('no')} not"
    )


# The document

BEGIN = "<!-- scripts/bench writes what follows -->\n"
END = "<!-- scripts/bench writes what precedes -->\n"


def generated_section(lines, environment):
    table = [("measured on", ""), ("---", "---"), *environment]
    where = "\n".join(map(markdown_row, table))
    return f"\n{where}\n\n{summary(lines)}.\n\n{markdown_table(lines)}\n\n"


def with_section(document, section):
    """The document with another generated section."""
    before, rest = document.split(BEGIN)
    _, after = rest.split(END)
    return before + BEGIN + section + END + after


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("results", type=pathlib.Path, metavar="RESULTS")
    parser.add_argument(
        "--docs", type=pathlib.Path, help="folder of performance.md and .svg to renew"
    )
    options = parser.parse_args()

    lines = evaluate(read_samples(options.results))
    environment = read_environment(options.results)
    print(text_table(lines))
    print(f"\n* the fastest peer of the same pointer size\n{summary(lines)}")
    if options.docs:
        document = options.docs / "performance.md"
        section = generated_section(lines, environment)
        document.write_text(with_section(document.read_text(), section))
        (options.docs / "performance.svg").write_text(chart.draw(lines))


if __name__ == "__main__":
    main()
