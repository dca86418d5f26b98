// One sheet of paper: head, figures, both views and four curves. It is made when the browser is about to print, and gone
// afterwards.
import { axisTitle } from "./curves";
import { checkOf, verdictPanels } from "./check";
import { paletteOf } from "./colours";
import { RunDocument } from "./document";
import { element } from "./dom";
import { alignmentName, makeCurves, makeViews, stretchOf } from "./drawings";
import { comparisonTable, phaseTable, scoreTiles } from "./figures";
import { clockText, courseText, failurePanel } from "./head";
import { Matching } from "./matching";
import { flightPanels } from "./panels";
import { Units } from "./units";

const pixelRatio = 3; // about 300 dots an inch

// Letter less its margins, in CSS pixels: A4 is higher.
const sheetHeight = 972;
const aroundDrawings = 150; // their heads, notes and gaps, and the last line

export interface SheetSource {
  documents: RunDocument[];
  labels: string[];
  colours: number[]; // of each document: its run's, or -1 for one that failed
  matching: Matching | null;
  units: Units;
}

// Draws into the page, and returns what takes it away again.
export function addSheet(root: HTMLElement, { documents, labels, colours, matching, units }: SheetSource): () => void {
  const [first] = documents;
  const gate = first.phases?.entry_gate?.clock ?? first.track.first_clock;
  const line = (text: string) => element("p", {}, text);
  const sheet = element(
    "div",
    { class: documents.length > 1 ? "sheet several" : "sheet" },
    element("h1", {}, labels.join(", ")),
    line(`${clockText(gate)} · course: ${courseText(first)} · Tarvel ${first.program.version}`),
    failurePanel(first),
  );
  root.append(sheet);
  const palette = paletteOf(sheet);
  const check = checkOf(first);
  sheet.append(...verdictPanels(documents, labels));
  if (documents.length > 1) sheet.append(comparisonTable(documents, labels, colours, palette, units));
  else if (first.figures) sheet.append(scoreTiles(first, check, units), phaseTable(first, labels[0], check, units));
  if (!matching) return () => sheet.remove();

  // The drawings take what the text leaves: two rows of curves below one of views.
  const left = Math.max(330, sheetHeight - aroundDrawings - sheet.offsetHeight);
  sheet.style.setProperty("--view-height", `${Math.floor(left * 0.44)}px`);
  sheet.style.setProperty("--plot-height", `${Math.floor(left * 0.28)}px`);
  const views = makeViews(matching, units, palette, pixelRatio, null);
  sheet.append(element("div", { class: "views" }, ...views.map((view) => view.root)));
  const panels = flightPanels(matching, palette);
  const four = matching.runs.length === 1 ? panels : panels.filter(({ title }) => !/^(Total|Heading)/.test(title));
  const curves = makeCurves(four.slice(0, 4), matching, stretchOf(matching.axes, matching.runs, matching.kind), units, palette, null);
  sheet.append(curves.root);
  for (const drawing of [...views, curves]) drawing.measure();
  for (const drawing of [...views, curves]) drawing.resize();
  const axis = axisTitle(matching.kind, alignmentName(matching.alignment), units);
  sheet.append(line(`Curves over ${axis}. SHA-256 of the track: ${first.track.sha256 ?? "unknown"}`));
  return () => {
    curves.destroy();
    sheet.remove();
  };
}
