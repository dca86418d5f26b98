// Finds the sample of each run that corresponds to the cursor's sample of the first run: the nearest on the x axis of
// the curves.
import { Alignment, AxisKind, AxisSamples, axisSamples, nearest, originOf } from "./axis";
import { Run } from "./runs";

export class Matching {
  readonly axes: AxisSamples[];
  private readonly times: AxisSamples[];

  constructor(
    readonly runs: Run[],
    readonly kind: AxisKind,
    readonly alignment: Alignment,
  ) {
    this.axes = runs.map((run) => axisSamples(run, kind, alignment));
    this.times = kind === "time" ? this.axes : runs.map((run) => axisSamples(run, "time", alignment));
  }

  // The matching sample of each run, -1 for one without samples. A sample that is not on the axis is matched by its
  // time.
  of(sample: number): Int32Array {
    const place = this.axes[0].places[sample];
    const axes = place < 0 ? this.times : this.axes;
    const value = axes[0].values[axes[0].places[sample]];
    return Int32Array.from(axes, (axis, run) => {
      if (run === 0) return sample;
      const index = value === undefined ? -1 : nearest(axis.values, value);
      return index < 0 ? -1 : axis.samples[index];
    });
  }

  // The sample of the first run that is nearest to a value of the axis.
  sampleAt(value: number): number {
    return this.axes[0].samples[nearest(this.axes[0].values, value)] ?? 0;
  }

  // The sample of the first run that corresponds to a sample of another one.
  sampleFor(run: number, sample: number): number {
    if (run === 0) return sample;
    const axes = this.axes[run].places[sample] < 0 ? this.times : this.axes;
    const place = axes[run].places[sample];
    return place < 0 ? 0 : axes[0].samples[nearest(axes[0].values, axes[run].values[place])];
  }
}

export const alignments: { value: Alignment; text: string }[] = [
  { value: "entry_gate", text: "gate" },
  { value: "turn", text: "start of turn" },
  { value: "rollout_start", text: "start of rollout" },
  { value: "touchdown", text: "touchdown" },
];

function originText(run: Run, alignment: Alignment): string {
  const origin = originOf(run, alignment);
  return origin ? (alignments.find(({ value }) => value === origin.key)?.text ?? origin.name) : "first sample";
}

// From where the seconds of the runs are counted.
export function originName({ runs, alignment }: Matching): string {
  const name = originText(runs[0], alignment);
  const others = runs.filter((run) => originText(run, alignment) !== name).map((run) => `${run.label}: ${originText(run, alignment)}`);
  return others.length === 0 ? name : `${name} (${others.join(", ")})`;
}
