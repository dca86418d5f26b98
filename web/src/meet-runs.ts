// The runs of a meet as its page lists them: sorting and searching.
import { Reason, sentenceOf } from "./check";
import { Figure } from "./document";
import { clockText } from "./head";
import { Units, metric } from "./units";

export interface MeetRun {
  name: string;
  page: string | null; // address of the run's page, relative to that of the meet
  script: string | null; // address of the script with the document
  verdict: "good" | "doubtful" | "unusable" | "failed" | null; // null when nothing was checked
  message: string; // why it failed
  reasons: Reason[];
  clock: string | null;
  course: string | null;
  metric: boolean;
  figures: Record<string, Figure>;
  bounded: string[]; // the figures of which only the bounds are known
}

// The value by which a column sorts; null comes last in ascending and in descending order.
export type SortKey = (run: MeetRun) => number | string | null;

const verdictOrder = { good: 0, doubtful: 1, unusable: 2, failed: 3 };

export const sortKeys: Record<"name" | "verdict" | "clock" | "course" | "reasons", SortKey> = {
  name: (run) => run.name,
  verdict: (run) => (run.verdict === null ? null : verdictOrder[run.verdict]),
  clock: (run) => run.clock,
  course: (run) => run.course,
  // In the same units for all runs, so that a change of units keeps the order.
  reasons: (run) => reasonTexts(run, metric).join(" ") || null,
};

// An unusable run comes after the others, as in the ranking.
export function figureKey(figure: string): SortKey {
  return (run) => (run.verdict === "unusable" ? null : (run.figures[figure]?.value ?? null));
}

const collator = new Intl.Collator("en", { numeric: true });

function compareKeys(a: number | string, b: number | string): number {
  return typeof a === "number" && typeof b === "number" ? a - b : collator.compare(String(a), String(b));
}

// Runs with equal keys are sorted by name.
export function sortRuns(runs: MeetRun[], key: SortKey, isDescending: boolean): MeetRun[] {
  return [...runs].sort((a, b) => {
    const [left, right] = [key(a), key(b)];
    if (left === null || right === null) return Number(left === null) - Number(right === null) || collator.compare(a.name, b.name);
    return compareKeys(left, right) * (isDescending ? -1 : 1) || collator.compare(a.name, b.name);
  });
}

export function reasonTexts(run: MeetRun, units: Units): string[] {
  if (run.message !== "") return [run.message];
  return run.reasons.filter((each) => each.severity !== "note").map((each) => sentenceOf(each, units));
}

// True when every word occurs in the text of the row.
export function matchesWords(run: MeetRun, words: string, units: Units): boolean {
  const text = [run.name, run.verdict ?? "", clockText(run.clock), run.course ?? "", ...reasonTexts(run, units)].join("\n").toLowerCase();
  return words.toLowerCase().split(/\s+/).every((word) => text.includes(word));
}

// "9 good, 2 doubtful, 1 failed"
export function tallyText(runs: MeetRun[]): string {
  const count = (verdict: MeetRun["verdict"]) => runs.filter((run) => run.verdict === verdict).length;
  const parts = (["good", "doubtful", "unusable", "failed"] as const).map((verdict) => [count(verdict), verdict] as const);
  const unchecked = count(null);
  const words = parts.filter(([number]) => number > 0).map(([number, verdict]) => `${number} ${verdict}`);
  if (unchecked > 0) words.push(`${unchecked} not checked`);
  return `${runs.length} ${runs.length === 1 ? "run" : "runs"}: ${words.join(", ")}`;
}

// The fragment of an address that asks for a comparison, with the names of its runs.
const comparePrefix = "#compare=";

export function compareAddress(names: string[]): string {
  return comparePrefix + names.map(encodeURIComponent).join("&");
}

// Only runs of this meet that have a document, since the address may come from anywhere.
export function comparedRuns(address: string, runs: MeetRun[]): MeetRun[] {
  if (!address.startsWith(comparePrefix)) return [];
  const wanted = address.slice(comparePrefix.length).split("&");
  const found = wanted.map((each) => runs.find((run) => run.script !== null && encodeURIComponent(run.name) === each));
  return found.filter((run): run is MeetRun => run !== undefined).slice(0, mostCompared);
}

export const mostCompared = 8;
