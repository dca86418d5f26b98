// A document as tarvel-page puts it into a page, a third shorter: an interval is a list, and a column of the samples a text.
//
// The text of a column holds for each value by how much its difference from the value before it is more than the difference
// before that: a smooth curve gives short numbers. They are in base 36 and separated by commas. 0 is empty, a missing value is
// an underscore and counts as not there, and before a minus sign that does not follow a comma there is no comma:
// 100, 200, 310, missing, 420, 520 are "2s,,a,_,,-a", since 100 is 2s, and 10 is a.
import { Column, RunDocument } from "./document";

export function unpackColumn(text: string): Column {
  let value = 0;
  let step = 0;
  return text.split(/,|(?=-)/).map((part) => {
    if (part === "_") return null;
    step += part === "" ? 0 : parseInt(part, 36);
    return (value += step);
  });
}

// Both ends, and as printed; or why there is none; or both bounds, and as printed, and why there is no interval.
type PackedInterval = [number, number, string, string] | [number, number, string, string, string] | string;

function unpackInterval(packed: PackedInterval): object {
  const none = { low: null, high: null, low_text: null, high_text: null };
  if (typeof packed === "string") return { ...none, why: packed, bounds: null };
  const [low, high, low_text, high_text, why] = packed;
  const ends = { low, high, low_text, high_text };
  return why === undefined ? { ...ends, why: null, bounds: null } : { ...none, why, bounds: ends };
}

function mapped<T, U>(record: Record<string, T>, change: (value: T) => U): Record<string, U> {
  return Object.fromEntries(Object.entries(record).map(([name, value]) => [name, change(value)]));
}

export function unpack(document: RunDocument): RunDocument {
  const { samples, check } = document as RunDocument & { check?: { intervals: Record<string, PackedInterval> } | null };
  return {
    ...document,
    ...(check ? { check: { ...check, intervals: mapped(check.intervals, unpackInterval) } } : {}),
    ...(samples ? { samples: mapped({ ...samples }, (column) => (typeof column === "string" ? unpackColumn(column) : column)) } : {}),
  } as RunDocument;
}
