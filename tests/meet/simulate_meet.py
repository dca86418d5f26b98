#!/usr/bin/env python3
# Makes the tracks of a meet out of the example runs: simulate_meet.py EXAMPLES FOLDER COUNT [SEED]
#
# Each run is one of the examples on another day, moved by up to a metre or two and flown up to one per cent faster, in
# five samples a second. Every twelfth track is broken in one of several ways. The same seed gives the same meet.
import pathlib
import random
import sys

# Of each example, every how many samples are kept.
EXAMPLES = {"straight": 2, "carve": 2, "reversed": 2, "tagged": 4}
BROKEN_EVERY = 12


class Example:
    """The lines before the samples, and the samples' fields."""

    def __init__(self, path, step):
        lines = path.read_text().splitlines()
        if lines[0].startswith("$"):
            names = next(line for line in lines if line.startswith("$COL,GNSS,")).split(",")[1:]
            samples = [line.split(",") for line in lines if line.startswith("$GNSS,")]
            self.head = [line for line in lines if line.startswith(("$VER", "$NOTE", "$COL"))] + ["$DATA"]
        else:
            names = lines[0].split(",")
            samples = [line.split(",") for line in lines[2:]]
            self.head = lines[:2]
        self.column = {name: names.index(name) for name in ("time", "lat", "lon", "hMSL", "velN", "velE", "velD")}
        self.samples = samples[::step]

    def varied(self, random_numbers, far_away=False):
        day = f"2026-{random_numbers.randint(4, 10):02}-{random_numbers.randint(1, 28):02}"
        shift = {"lat": random_numbers.uniform(-1e-5, 1e-5) + far_away, "lon": random_numbers.uniform(-1e-5, 1e-5),
                 "hMSL": random_numbers.uniform(-0.5, 0.5)}
        faster = random_numbers.uniform(0.99, 1.01)
        decimals = {"lat": 7, "lon": 7, "hMSL": 3}
        lines = list(self.head)
        for sample in self.samples:
            fields = list(sample)
            time = self.column["time"]
            fields[time] = day + fields[time][10:]
            for name, amount in shift.items():
                fields[self.column[name]] = f"{float(fields[self.column[name]]) + amount:.{decimals[name]}f}"
            for name in ("velN", "velE", "velD"):
                fields[self.column[name]] = f"{float(fields[self.column[name]]) * faster:.2f}"
            lines.append(",".join(fields))
        return "\n".join(lines) + "\n"


def broken_tracks(examples, random_numbers):
    """Name endings and contents of broken tracks, again and again."""
    while True:
        example = random_numbers.choice(list(examples.values()))
        track = example.varied(random_numbers).encode()
        yield "empty.csv", b""
        yield "head.csv", track[:60]
        yield "short.csv", track[:len(track) // 3]
        yield "noise.csv", random_numbers.randbytes(5000)
        yield "far.csv", example.varied(random_numbers, far_away=True).encode()
        yield "ext.data.csv.gps4", track
        yield "cut.tvl", b"uTVL" + random_numbers.randbytes(30)


def simulate(source, folder, count, seed=1):
    """Returns the paths of the tracks, the broken ones by themselves."""
    random_numbers = random.Random(seed)
    examples = {name: Example(pathlib.Path(source) / f"{name}.csv", step) for name, step in EXAMPLES.items()}
    broken = broken_tracks(examples, random_numbers)
    good_paths, broken_paths = [], []
    folder = pathlib.Path(folder)
    folder.mkdir(parents=True, exist_ok=True)
    for number in range(count):
        if number % BROKEN_EVERY == BROKEN_EVERY - 1:
            ending, content = next(broken)
            path = folder / f"{number:04}_{ending}"
            path.write_bytes(content)
            broken_paths.append(path)
        else:
            name = random_numbers.choice(list(examples))
            path = folder / f"{number:04}_{name}.csv"
            path.write_text(examples[name].varied(random_numbers))
            good_paths.append(path)
    return good_paths, broken_paths


if __name__ == "__main__":
    good, bad = simulate(sys.argv[1], sys.argv[2], int(sys.argv[3]), *map(int, sys.argv[4:5]))
    print(f"{len(good)} tracks and {len(bad)} broken ones in {sys.argv[2]}")
