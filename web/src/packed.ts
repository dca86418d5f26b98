// A document as tarvel-page puts it into a page, where it takes less room: an interval is a list, and a column of the
// samples a text.
//
// The text of a column has the second differences of its values: how much the difference from the previous value
// exceeds the difference before it. For a smooth curve these are small. 0, -1, 1, -2, 2, ... are numbered 0, 1, 2, 3,
// 4, ..., and that number is written in base 32, the lowest digit first. The last digit of a number is one of the first
// 32 letters below, any other one of the second 32. A missing value is an underscore, and the differences pass over it.
// A point before a number says that so many second differences are 0: ".K" are 5 of them. Fewer than 3 are written out.
// For example, 100, 200, 310, missing, 420, 520 are "oGAU_AT": 100 is number 200 = 6 * 32 + 8, and 10 is number 20.
import { Column, RunDocument } from "./document";

export const packedLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

export function unpackColumn(text: string): Column {
  const column: Column = [];
  let [value, step, number, weight] = [0, 0, 0, 1];
  let isCount = false;
  for (const letter of text) {
    if (letter === "_") column.push(null);
    if (letter === ".") isCount = true;
    const digit = packedLetters.indexOf(letter);
    if (digit < 0) continue;
    number += (digit % 32) * weight;
    weight *= 32;
    if (digit >= 32) continue;
    const integer = number % 2 === 0 ? number / 2 : -(number + 1) / 2;
    if (!isCount) step += integer;
    for (let count = isCount ? integer : 1; count > 0; --count) column.push((value += step));
    [number, weight, isCount] = [0, 1, false];
  }
  return column;
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
