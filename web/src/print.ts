// One sheet of paper: head, figures, both views and four curves. It is made when the browser is about to print, and
// removed afterwards.
import { axisTitle } from "./curves";
import { checkOf, sentenceOf, verdictPanels } from "./check";
import { paletteOf } from "./colours";
import { RunDocument } from "./document";
import { element } from "./dom";
import { makeCurves, makeViews, speedLegend, stretchOf } from "./drawings";
import { comparisonTable, phaseTable, scoreTiles } from "./figures";
import { clockOf, clockText, courseText, failurePanel } from "./head";
import { Matching, originName } from "./matching";
import { flightPanels } from "./panels";
import { Units } from "./units";

const look = { pixelRatio: 3, textSize: 10 }; // about 300 dots an inch

// The height of a letter page without its margins, in CSS pixels; A4 is higher.
const sheetHeight = 972;
const aroundDrawings = 118; // the heads, notes and gaps of the drawings, the legend, and the last line
const leastDrawings = 400;
const leastZoom = 0.3;

export interface SheetSource {
  documents: RunDocument[];
  labels: string[];
  colours: number[]; // for each document the colour of its run, -1 for one that failed
  matching: Matching | null;
  units: Units;
}

// The verdict of a single run, with the reasons; of several runs, a line for each that is not good.
function verdictLines(documents: RunDocument[], labels: string[], units: Units): HTMLElement[] {
  if (documents.length === 1) return verdictPanels(documents, labels, units);
  return documents.flatMap((document, i) => {
    const check = checkOf(document);
    if (!check || check.verdict === "good") return [];
    const doubts = check.reasons.filter(({ severity }) => severity !== "note");
    const reasons = doubts.map((each) => sentenceOf(each, units).replace(/[^.?!]$/, "$&."));
    return [element("p", { class: "note" }, `${labels[i]} is ${check.verdict}: ${reasons.join(" ")}`)];
  });
}

// Reduces the size of everything when the text leaves too little height for the drawings. Returns the height for them.
function fitWords(paper: HTMLElement, sheet: HTMLElement): number {
  for (let zoom = 1; ; zoom -= 0.05) {
    sheet.style.setProperty("zoom", String(zoom));
    const left = (sheetHeight - paper.offsetHeight) / zoom - aroundDrawings;
    if (left >= leastDrawings || zoom < leastZoom) return Math.max(left, leastDrawings);
  }
}

// Adds the sheet to the page, and returns the function that removes it.
export function addSheet(root: HTMLElement, { documents, labels, colours, matching, units }: SheetSource): () => void {
  const [first] = documents;
  const line = (text: string) => element("p", {}, text);
  const sheet = element(
    "div",
    { class: documents.length > 1 ? "several" : "" },
    element("h1", {}, labels[0]),
    documents.length > 1 ? line(`compared with ${labels.slice(1).join(", ")}`) : null,
    line(`${clockText(clockOf(first))} · course: ${courseText(first)} · Tarvel ${first.program.version}`),
    failurePanel(first),
  );
  const paper = element("div", { class: "sheet" }, sheet);
  root.append(paper);
  const palette = paletteOf(paper);
  const check = checkOf(first);
  sheet.append(...verdictLines(documents, labels, units));
  if (documents.length > 1) sheet.append(comparisonTable(documents, labels, colours, palette, units));
  else if (first.figures) sheet.append(scoreTiles(first, check, units), phaseTable(first, labels[0], check, units));
  if (!matching) return () => paper.remove();

  // The drawings get the rest of the height: a row of views takes half of it, two rows of curves a quarter each.
  const left = fitWords(paper, sheet);
  sheet.style.setProperty("--view-height", `${Math.floor(left * 0.5)}px`);
  sheet.style.setProperty("--plot-height", `${Math.floor(left * 0.25)}px`);
  const views = makeViews(matching, units, palette, look, null);
  sheet.append(element("div", { class: "views" }, ...views.map((view) => view.root)));
  if (matching.runs.length === 1) sheet.append(speedLegend(matching.runs[0], units, palette));
  const panels = flightPanels(matching, palette);
  const four = matching.runs.length === 1 ? panels : panels.filter(({ title }) => !/^(Total|Heading)/.test(title));
  const curves = makeCurves(four.slice(0, 4), matching, stretchOf(matching.axes, matching.runs, matching.kind), units, palette, null);
  sheet.append(curves.root);
  for (const drawing of [...views, curves]) drawing.measure();
  for (const drawing of [...views, curves]) drawing.resize();
  const axis = axisTitle(matching.kind, originName(matching), units);
  sheet.append(line(`Curves over ${axis}. SHA-256 of the track: ${first.track.sha256 ?? "unknown"}`));
  return () => {
    curves.destroy();
    paper.remove();
  };
}
