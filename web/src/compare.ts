// Compares runs at the same place of the course. Since the lengths of the paths differ, a place is a distance to the
// gate along the course; the values of another run there are interpolated between two of its samples.
import { AxisSamples } from "./axis";

// The value of a column at a value of the axis, interpolated between the two samples around it; NaN outside.
export function valueAt(axis: AxisSamples, column: Float64Array, value: number): number {
  const { values, samples } = axis;
  let low = 0;
  let high = values.length - 1;
  if (high < 0 || value < values[0] || value > values[high]) return NaN;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (values[middle] < value) low = middle + 1;
    else high = middle;
  }
  if (values[low] === value) return column[samples[low]];
  const before = values[low - 1];
  const part = (value - before) / (values[low] - before);
  const first = column[samples[low - 1]];
  return first + part * (column[samples[low]] - first);
}
