// Saves files under the names that the programs would use.
import { Column, RunDocument } from "../src/document";
import { packedLetters } from "../src/packed";

export function saveFile(name: string, content: BlobPart, type: string): void {
  const address = URL.createObjectURL(new Blob([content], { type }));
  const link = document.createElement("a");
  link.href = address;
  link.download = name.replace(/^.*\//, "");
  link.click();
  setTimeout(() => URL.revokeObjectURL(address), 60000);
}

// The name of an output of tarvel: the three characters after the point are replaced. An extension is added to a name
// without one, which tarvel refuses.
export function withExtension(name: string, extension: string): string {
  return /.\..{3}$/.test(name) ? name.slice(0, -3) + extension : `${name}.${extension}`;
}

// The name of the output of tarvel-page.
export function pageName(name: string): string {
  return `${name.replace(/([^/])\.[^./]*$/, "$1")}.html`;
}

const shownChart = "overhead";
const shownStyles = new Set(["open_circle", "solid", "thick_dashed"]);
const unusedColumns = new Set(["turn_angle", "fix"]);
const unusedOfPhase = new Set(["horizontal_speed", "vertical_speed", "total_speed"]);
const placeOfPhase = new Set(["x", "y", "z"]);

const largestPacked = 2 ** 50; // so that second differences are exact in a double

const isPackable = (value: number | null) => value === null || (Number.isInteger(value) && Math.abs(value) <= largestPacked);

function packNumber(number: number): string {
  let rest = number >= 0 ? 2 * number : -2 * number - 1;
  let letters = "";
  for (; rest >= 32; rest = Math.floor(rest / 32)) letters += packedLetters[32 + (rest % 32)];
  return letters + packedLetters[rest];
}

// No other number has an A for its last digit, which is its highest one.
const zeros = /AAA+/g;

// The text that unpackColumn reads; the column itself when it has other values than integers.
export function packColumn(column: Column): Column | string {
  if (column.length === 0 || !column.every(isPackable)) return column;
  let last = 0;
  let step = 0;
  const parts = column.map((value) => {
    if (value === null) return "_";
    const change = value - last - step;
    step = value - last;
    last = value;
    return packNumber(change);
  });
  return parts.join("").replace(zeros, ({ length }) => `.${packNumber(length)}`);
}

function without(record: object, names: Set<string>): Record<string, unknown> {
  return Object.fromEntries(Object.entries(record).filter(([name]) => !names.has(name)));
}

function mapValues(record: object, change: (value: any, name: string) => unknown): Record<string, unknown> {
  return Object.fromEntries(Object.entries(record).map(([name, value]) => [name, change(value, name)]));
}

// The phase with its place rounded to a tenth of a millimetre.
function packedPhase(phase: object | null): unknown {
  return phase && mapValues(without(phase, unusedOfPhase), (value, name) =>
    placeOfPhase.has(name) && value !== null ? Number(value.toFixed(4)) : value);
}

// A PackedInterval of packed.ts; its ends are rounded outward to a millionth of the unit.
function packedInterval({ bounds, why, ...interval }: any): unknown {
  const { low, high, low_text, high_text } = bounds ?? interval;
  if (low === null || high === null) return why;
  const packed = [Math.floor(low * 1e6) / 1e6, Math.ceil(high * 1e6) / 1e6, low_text, high_text];
  return bounds ? [...packed, why] : packed;
}

// The part of a document that tarvel-page puts into a page.
export function shownPart(document: RunDocument): Record<string, unknown> {
  const kept = without(document, new Set(["overview"]));
  kept.course = without(document.course, new Set(["frame", "pond"]));
  if (document.charts) {
    const chart = document.charts[shownChart];
    kept.charts = { [shownChart]: { title: chart.title, series: chart.series.filter(({ style }) => shownStyles.has(style)) } };
  }
  if (document.phases) kept.phases = mapValues(document.phases, packedPhase);
  const { check } = document as { check?: { intervals: object } | null };
  if (check) kept.check = { ...check, intervals: mapValues(check.intervals, packedInterval) };
  if (document.samples) {
    const columns = Object.entries(without(document.samples, unusedColumns));
    kept.samples = Object.fromEntries(columns.map(([name, column]) => [name, Array.isArray(column) ? packColumn(column) : column]));
  }
  return kept;
}

// JSON in ASCII without less-than signs, so that it cannot end the element that contains it.
export function embedded(documents: unknown): string {
  const escaped = (letter: string) => `\\u${letter.charCodeAt(0).toString(16).padStart(4, "0")}`;
  return JSON.stringify(documents).replace(/[<\u007f-\uffff]/g, escaped);
}

// The template is a page of tarvel-page that has this text in the place of the documents.
export const documentsMark = "TARVEL DOCUMENTS";

export function pageOf(template: string, documents: RunDocument[]): string {
  const [before, after] = template.split(documentsMark);
  return before + embedded(documents.map(shownPart)) + after;
}
