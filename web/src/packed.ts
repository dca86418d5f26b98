// A document as tarvel-page puts it into a page: each column of the samples holds its first value, and then what each value is
// more than the one before it. Such numbers are short.
import { Column, RunDocument } from "./document";

// A missing value is null, and the next one counts from the last that is there.
export function sums(differences: Column): Column {
  let value = 0;
  return differences.map((difference) => (difference === null ? null : (value += difference)));
}

export function unpack(document: RunDocument): RunDocument {
  if (!document.samples) return document;
  const columns = Object.entries(document.samples).map(([name, column]) => [name, Array.isArray(column) ? sums(column) : column]);
  return { ...document, samples: Object.fromEntries(columns) };
}
