// The x axis of the curves: which samples of a run are on it, and at which values.
import { Mark, Run, findMark } from "./runs";

export type AxisKind = "time" | "distance" | "height";
export type Alignment = "entry_gate" | "turn" | "rollout_start" | "touchdown";

// The samples of a run that are on the axis, in ascending order of their values, of which no two are equal.
export interface AxisSamples {
  samples: Int32Array;
  values: Float64Array; // s from the moment of the alignment, m to the gate along the course, or m above the gate
  places: Int32Array; // for each sample of the run its index in samples and values, or -1
}

// The phase at which a run is aligned: that of the alignment, or its gate or its stop where it has none. A run without
// any of them is aligned at its first sample.
export function originOf(run: Run, alignment: Alignment): Mark | undefined {
  return [alignment, "entry_gate", "stop"].map((key) => findMark(run, key)).find((mark) => mark && mark.phase.time !== null);
}

// The moment at which a run is aligned, in seconds of its own time.
export function momentOf(run: Run, alignment: Alignment): number {
  const time = originOf(run, alignment)?.phase.time ?? null;
  return time === null ? run.time[0] : time / 1000;
}

function gather(run: Run, ascending: number[], values: Float64Array): AxisSamples {
  const places = new Int32Array(run.count).fill(-1);
  ascending.forEach((sample, place) => (places[sample] = place));
  return {
    samples: Int32Array.from(ascending),
    values: Float64Array.from(ascending, (sample) => values[sample]),
    places,
  };
}

// The samples whose value is greater than that of all samples before them.
function rising(values: Float64Array): number[] {
  const kept: number[] = [];
  let highest = -Infinity;
  values.forEach((value, i) => {
    if (value > highest) {
      highest = value;
      kept.push(i);
    }
  });
  return kept;
}

// The stretch around the gate in which the run moves along the course. Farther back it turns and passes places twice.
function forwards(run: Run): number[] {
  let from = findMark(run, "entry_gate")?.sample ?? run.x.findIndex((x) => x >= 0);
  if (from < 0) from = findMark(run, "rollout_end")?.sample ?? 0;
  let to = from;
  while (from > 0 && run.x[from - 1] < run.x[from]) --from;
  while (to + 1 < run.count && run.x[to + 1] > run.x[to]) ++to;
  return Array.from({ length: to - from + 1 }, (_, i) => from + i);
}

export function axisSamples(run: Run, kind: AxisKind, alignment: Alignment): AxisSamples {
  switch (kind) {
    case "time": {
      const moment = momentOf(run, alignment);
      const values = run.time.map((time) => time - moment);
      return gather(run, rising(values), values);
    }
    case "distance":
      return gather(run, forwards(run).filter((i) => Number.isFinite(run.x[i])), run.x);
    case "height":
      // Only samples that are lower than all before them, so that each height occurs once.
      return gather(run, rising(run.height.map((height) => -height)).reverse(), run.height);
  }
}

// The index of the nearest value, the first of two equally near ones; -1 without values.
export function nearest(values: Float64Array, value: number): number {
  let low = 0;
  let high = values.length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (values[middle] < value) low = middle + 1;
    else high = middle;
  }
  if (low === values.length) return values.length - 1;
  return low > 0 && value - values[low - 1] <= values[low] - value ? low - 1 : low;
}
