// How sure the figures are: intervals, the verdict and its reasons. A document has them when tarvel-json was asked for them.
import { Figure, RunDocument } from "./document";
import { element } from "./dom";
import { Units, fixed } from "./units";

export interface Interval {
  low: number; // in the unit of the figure's value
  high: number;
}

export interface Reason {
  code: string;
  weight: "note" | "doubtful" | "unusable";
  text: string;
}

export interface Check {
  verdict: "good" | "doubtful" | "unusable";
  intervals: Record<string, Interval>;
  reasons: Reason[];
}

type Unchecked = Record<string, unknown>;

const isRecord = (value: unknown): value is Unchecked => typeof value === "object" && value !== null && !Array.isArray(value);
const verdicts = ["good", "doubtful", "unusable"] as const;

// Null for a document without a check.
export function checkOf(document: RunDocument): Check | null {
  const source = (document as unknown as Unchecked).check;
  if (!isRecord(source)) return null;
  const verdict = verdicts.find((each) => each === source.verdict);
  if (!verdict) return null;
  const intervals: Record<string, Interval> = {};
  for (const [key, value] of Object.entries(isRecord(source.intervals) ? source.intervals : {})) {
    if (isRecord(value) && typeof value.low === "number" && typeof value.high === "number") {
      intervals[key] = { low: value.low, high: value.high };
    }
  }
  const reasons: Reason[] = [];
  for (const value of Array.isArray(source.reasons) ? source.reasons : []) {
    if (!isRecord(value)) continue;
    const weight = value.severity === "doubtful" || value.severity === "unusable" ? value.severity : "note";
    reasons.push({ code: String(value.code ?? ""), weight, text: String(value.text ?? "") });
  }
  return { verdict, intervals, reasons };
}

const decimalsOfUnit: Record<Figure["unit"], number> = { m: 0, "m/s": 1, s: 2, deg: 0 };
const quantityOfUnit = { m: "length", "m/s": "speed", s: "time", deg: "angle" } as const;

// Both ends, rounded outward. Empty where there is none.
export function intervalText(check: Check | null, key: string, figure: Figure, units: Units): string {
  const interval = check?.intervals[key];
  if (!interval || figure.value === null) return "";
  const decimals = decimalsOfUnit[figure.unit];
  const factor = units.factor(quantityOfUnit[figure.unit]);
  const steps = 10 ** decimals;
  const low = Math.floor(interval.low * factor * steps) / steps;
  const high = Math.ceil(interval.high * factor * steps) / steps;
  return `${fixed(low, decimals)} … ${fixed(high, decimals)}`;
}

const words: Record<Check["verdict"], string> = {
  good: "Good: the figures can be scored by.",
  doubtful: "Doubtful: read the reasons before you score this run.",
  unusable: "Unusable: do not score this run.",
};
const signs = { good: "✓", doubtful: "?", unusable: "✕", note: "i" };

export function verdictPanel(check: Check): HTMLElement {
  const list = element("ul", { class: "reasons" });
  for (const reason of check.reasons) {
    list.append(
      element(
        "li",
        { class: reason.weight },
        element("span", { class: "sign", "aria-hidden": "true" }, signs[reason.weight]),
        element("span", {}, element("strong", {}, reason.weight === "note" ? "note" : reason.weight), `: ${reason.text} `, element("code", {}, reason.code)),
      ),
    );
  }
  return element(
    "section",
    { class: `verdict ${check.verdict}`, "aria-label": "Verdict" },
    element("p", {}, element("span", { class: "sign", "aria-hidden": "true" }, signs[check.verdict]), element("strong", {}, words[check.verdict])),
    check.reasons.length > 0 ? list : null,
    Object.keys(check.intervals).length > 0 ? element("p", { class: "note" }, "With each figure: the interval that holds the truth in 95 of 100 runs.") : null,
  );
}
