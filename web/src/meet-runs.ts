// The runs of a meet as its page lists them: what sorts and what is found by words.
import { Reason } from "./check";
import { Figure } from "./document";
import { clockText } from "./head";

export interface MeetRun {
  name: string;
  page: string | null; // address of its page, relative to the meet's
  script: string | null; // of the document
  verdict: "good" | "doubtful" | "unusable" | "failed" | null; // null when nothing was checked
  message: string; // why it failed
  reasons: Reason[];
  clock: string | null;
  course: string | null;
  metric: boolean;
  figures: Record<string, Figure>;
}

// What a column sorts by; null stands last, whichever way it is sorted.
export type SortKey = (run: MeetRun) => number | string | null;

const verdictOrder = { good: 0, doubtful: 1, unusable: 2, failed: 3 };

export const sortKeys: Record<"name" | "verdict" | "clock" | "course" | "reasons", SortKey> = {
  name: (run) => run.name,
  verdict: (run) => (run.verdict === null ? null : verdictOrder[run.verdict]),
  clock: (run) => run.clock,
  course: (run) => run.course,
  reasons: (run) => reasonTexts(run).join(" ") || null,
};

// An unusable run stands behind the others, as in the ranking.
export function figureKey(figure: string): SortKey {
  return (run) => (run.verdict === "unusable" ? null : (run.figures[figure]?.value ?? null));
}

const collator = new Intl.Collator("en", { numeric: true });

function compareKeys(a: number | string, b: number | string): number {
  return typeof a === "number" && typeof b === "number" ? a - b : collator.compare(String(a), String(b));
}

// Runs with equal keys stand in order of name.
export function sortRuns(runs: MeetRun[], key: SortKey, isDescending: boolean): MeetRun[] {
  return [...runs].sort((a, b) => {
    const [left, right] = [key(a), key(b)];
    if (left === null || right === null) return Number(left === null) - Number(right === null) || collator.compare(a.name, b.name);
    return compareKeys(left, right) * (isDescending ? -1 : 1) || collator.compare(a.name, b.name);
  });
}

export function reasonTexts(run: MeetRun): string[] {
  if (run.message !== "") return [run.message];
  return run.reasons.filter((each) => each.severity !== "note").map((each) => each.text);
}

// Every word occurs somewhere in what the row says.
export function matchesWords(run: MeetRun, words: string): boolean {
  const text = [run.name, run.verdict ?? "", clockText(run.clock), run.course ?? "", ...reasonTexts(run)].join("\n").toLowerCase();
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

// The part of an address that asks for a comparison, and the runs that it names.
const comparePrefix = "#compare=";

export function compareAddress(names: string[]): string {
  return comparePrefix + names.map(encodeURIComponent).join("&");
}

// Only runs of this meet that have a document: an address may come from anywhere.
export function comparedRuns(address: string, runs: MeetRun[]): MeetRun[] {
  if (!address.startsWith(comparePrefix)) return [];
  const wanted = address.slice(comparePrefix.length).split("&");
  const found = wanted.map((each) => runs.find((run) => run.script !== null && encodeURIComponent(run.name) === each));
  return found.filter((run): run is MeetRun => run !== undefined).slice(0, mostCompared);
}

export const mostCompared = 8;
