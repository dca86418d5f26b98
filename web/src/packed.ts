// A document as tarvel-page puts it into a page, a third shorter: an interval is a list, and a column of the samples a
// text.
//
// The text of a column has the second differences of its values: how much the difference from the previous value
// exceeds the difference before it. For a smooth curve these are short numbers. They are written in base 36 and
// separated by commas; 0 is written as nothing. A missing value is an underscore, and the differences pass over it. The
// comma before a minus sign is left out, except after a number that is written as nothing. For example, 100, 200, 310,
// missing, 420, 520 are "2s,,a,_,,-a": 100 is 2s and 10 is a in base 36.
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

// Both ends as numbers and as printed; or the reason why there is no interval; or both bounds, as numbers and as
// printed, and that reason.
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
