// A document as tarvel-page puts it into a page: each column of the samples holds its first value, and then what each value is
// more than the one before it, which are short numbers; an interval is a list.
import { Column, RunDocument } from "./document";

// A missing value is null, and the next one counts from the last that is there.
export function sums(differences: Column): Column {
  let value = 0;
  return differences.map((difference) => (difference === null ? null : (value += difference)));
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
    ...(samples ? { samples: mapped({ ...samples }, (column) => (Array.isArray(column) ? sums(column) : column)) } : {}),
  } as RunDocument;
}
