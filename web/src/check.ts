// The check of a run: intervals, the verdict and its reasons. A document has it when tarvel-json was called with
// --check.
import { Figure, RunDocument } from "./document";
import { element } from "./dom";
import { Units, fixed, show } from "./units";

export interface Interval {
  low: number; // in the unit of the figure's value
  high: number;
  lowText: string; // as the report would print it, in the unit of the figure's text
  highText: string;
}

export interface Reason {
  code: string;
  severity: "note" | "doubtful" | "unusable";
  value: number | null;
  unit: string | null; // of the value: m, m/s, s; null for a count and for a part of 1
  text: string; // begins with the value in the units of the document
}

export interface Check {
  verdict: "good" | "doubtful" | "unusable";
  intervals: Record<string, Interval>; // by figure
  bounds: Record<string, Interval>; // by figure, at a gate that was crossed while samples were missing
  missing: string[]; // the reasons why other figures have no interval
  reasons: Reason[];
}

type Unchecked = Record<string, unknown>;

const isRecord = (value: unknown): value is Unchecked => typeof value === "object" && value !== null && !Array.isArray(value);
const verdicts = ["good", "doubtful", "unusable"] as const;

// The interval with these ends; null unless both are numbers.
function endsOf({ low, high, low_text, high_text }: Unchecked): Interval | null {
  if (typeof low !== "number" || typeof high !== "number") return null;
  return { low, high, lowText: String(low_text ?? ""), highText: String(high_text ?? "") };
}

// The check of a document; null without one.
export function checkOf(document: RunDocument): Check | null {
  const source = (document as unknown as Unchecked).check;
  if (!isRecord(source)) return null;
  const verdict = verdicts.find((each) => each === source.verdict);
  if (!verdict) return null;
  const check: Check = { verdict, intervals: {}, bounds: {}, missing: [], reasons: [] };
  for (const [key, value] of Object.entries(isRecord(source.intervals) ? source.intervals : {})) {
    if (!isRecord(value)) continue;
    const { why } = value;
    const interval = endsOf(value);
    const bounds = isRecord(value.bounds) ? endsOf(value.bounds) : null;
    if (bounds) check.bounds[key] = bounds;
    else if (interval) check.intervals[key] = interval;
    else if (typeof why === "string" && !check.missing.includes(why)) check.missing.push(why);
  }
  for (const value of Array.isArray(source.reasons) ? source.reasons : []) {
    if (!isRecord(value)) continue;
    const severity = value.severity === "doubtful" || value.severity === "unusable" ? value.severity : "note";
    const measured = typeof value.value === "number" ? value.value : null;
    const unit = typeof value.unit === "string" ? value.unit : null;
    check.reasons.push({ code: String(value.code ?? ""), severity, value: measured, unit, text: String(value.text ?? "") });
  }
  return check;
}

const decimalsOfUnit: Record<Figure["unit"], number> = { m: 0, "m/s": 1, s: 2, deg: 0 };
const quantityOfUnit = { m: "length", "m/s": "speed", s: "time", deg: "angle" } as const;

// Both ends, rounded outward: the texts of the document when they are in these units.
function endTexts(interval: Interval, figure: Figure, units: Units): [string, string] {
  const quantity = quantityOfUnit[figure.unit];
  const isPrinted = quantity === "time" || quantity === "angle" || figure.text_unit === units.unit(quantity);
  if (isPrinted && interval.lowText !== "" && interval.highText !== "") {
    return [interval.lowText.replace(/-/g, "−"), interval.highText.replace(/-/g, "−")];
  }
  const decimals = decimalsOfUnit[figure.unit];
  const factor = units.factor(quantity);
  const steps = 10 ** decimals;
  const low = Math.floor(interval.low * factor * steps) / steps;
  const high = Math.ceil(interval.high * factor * steps) / steps;
  return [fixed(low, decimals), fixed(high, decimals)];
}

// The interval or the bounds of a figure as text; empty when there are neither.
export function intervalText(check: Check | null, key: string, figure: Figure, units: Units): string {
  const interval = check?.intervals[key];
  const bounds = check?.bounds[key];
  if (figure.value === null) return "";
  if (bounds) return `between ${endTexts(bounds, figure, units).join(" and ")}`;
  return interval ? endTexts(interval, figure, units).join(" … ") : "";
}

// True when only the bounds of the figure are known.
export function isBounded(check: Check | null, key: string): boolean {
  return check?.bounds[key] !== undefined;
}

const words: Record<Check["verdict"], string> = {
  good: "Good: this run can be scored.",
  doubtful: "Doubtful: read the reasons before you score this run.",
  unusable: "Unusable: do not score this run.",
};
const signs = { good: "✓", doubtful: "?", unusable: "✕", note: "i" };

// Why figures have no interval, by the document's codes. Figures that the run does not have are not mentioned.
const whyWords: Record<string, string> = {
  "touchdown-is-stop": "the touchdown is not marked, and the stop is taken for it",
  "times-out-of-order": "the samples' times are not in order",
  gap: "samples are missing",
  contradiction: "positions and speeds contradict each other",
  "white-noise": "the errors of the speeds are new in each sample",
  "sparse-samples": "the samples are too far apart",
  "too-many-samples": "the run has too many samples",
  unsolvable: "some samples have numbers that no flight can have",
  "missing-in-all-draws": "none of the tracks drawn with the same noise has the figure",
};

export const intervalMeaning = "the interval that holds its true value in about 95 of 100 runs";

export function hasIntervals(check: Check | null): boolean {
  return check !== null && Object.keys(check.intervals).length > 0;
}

// Of several runs, the table says what an interval is.
function intervalWords(check: Check, isOneOfSeveral: boolean): string {
  const given = hasIntervals(check) && !isOneOfSeveral ? `Below a figure: ${intervalMeaning}.` : "";
  const causes = check.missing.filter((why) => why !== "not-found").map((why) => whyWords[why] ?? why);
  const where = hasIntervals(check) ? "Where a figure has no interval" : "No figure has an interval";
  const left = causes.length === 0 ? "" : `${where}: ${causes.join("; ")}.`;
  const struck = Object.keys(check.bounds).length > 0 ? "Struck out: a gate was crossed while samples were missing, and only the bounds are known." : "";
  return [given, left, struck].filter((each) => each !== "").join(" ");
}

// The text of a reason, which begins with its value in these units.
export function sentenceOf({ value, unit, text }: Reason, units: Units): string {
  const quantity = unit === "m" ? "length" : unit === "m/s" ? "speed" : null;
  const printed = /^-?\d+(?:\.(\d+))? (ft|m|mph|km\/h) /.exec(text);
  if (quantity === null || value === null || !printed || printed[2] === units.unit(quantity)) return text;
  return `${show(value, quantity, printed[1]?.length ?? 0, units)} ${text.slice(printed[0].length)}`;
}

// The verdict as one word with a sign, for tables.
export function verdictMark(verdict: Check["verdict"] | "failed"): HTMLElement {
  const sign = verdict === "failed" ? signs.unusable : signs[verdict];
  return element("span", { class: `mark ${verdict}` }, element("span", { class: "sign", "aria-hidden": "true" }, sign), verdict);
}

function reasonItem(reason: Reason, units: Units): HTMLElement {
  const { code, severity } = reason;
  return element(
    "li",
    { class: severity },
    element("span", { class: "sign", "aria-hidden": "true" }, signs[severity]),
    element("span", {}, element("strong", {}, severity), `: ${sentenceOf(reason, units)} `, element("code", {}, `(${code})`)),
  );
}

function verdictPanel(check: Check, units: Units, label = ""): HTMLElement {
  const note = intervalWords(check, label !== "");
  const name = label === "" ? [] : [element("span", { class: "whose" }, `${label}:`), " "];
  return element(
    "section",
    { class: `verdict ${check.verdict}`, "aria-label": label === "" ? "Verdict" : `Verdict on ${label}` },
    element("p", {}, element("span", { class: "sign", "aria-hidden": "true" }, signs[check.verdict]), element("span", {}, ...name, element("strong", {}, words[check.verdict]))),
    check.reasons.length > 0 ? element("ul", { class: "reasons" }, ...check.reasons.map((each) => reasonItem(each, units))) : null,
    note === "" ? null : element("p", { class: "note" }, note),
  );
}

// The verdict of a single run; of several runs, the verdicts that are not good. The table shows the others.
export function verdictPanels(documents: RunDocument[], labels: string[], units: Units): HTMLElement[] {
  const panels: HTMLElement[] = [];
  documents.forEach((document, i) => {
    const check = checkOf(document);
    if (!check) return;
    if (documents.length === 1) panels.push(verdictPanel(check, units));
    else if (check.verdict !== "good") panels.push(verdictPanel(check, units, labels[i]));
  });
  return panels;
}
