// The figures of the report: scores as tiles, phases as a table, and a table that compares several runs.
import { Check, checkOf, hasIntervals, intervalMeaning, intervalText, isBounded, verdictMark } from "./check";
import { Palette, runColour } from "./colours";
import { RunDocument, Figure } from "./document";
import { element } from "./dom";
import { Quantity, Units, signed } from "./units";

const quantities: Record<Figure["unit"], Quantity> = { m: "length", "m/s": "speed", s: "time", deg: "angle" };
const decimals: Record<Quantity, number> = { length: 0, speed: 1, time: 2, angle: 0, rate: 0, count: 0 };

export function quantityOf(figure: Figure): Quantity {
  return quantities[figure.unit];
}

// The figures before which the report prints no minus sign when they are rounded to 0.
const withoutMinusZero = new Set(["rollout_end_back", "rollout_end_offset"]);

// A figure as the report prints it in these units, without the unit: the text of the report when it is in these units.
export function figureText(key: string, figure: Figure, units: Units): string {
  if (figure.value === null) return "–";
  const quantity = quantityOf(figure);
  const isPrinted = quantity === "time" || quantity === "angle" || figure.text_unit === units.unit(quantity);
  const text = isPrinted ? figure.text.trim() : (figure.value * units.factor(quantity)).toFixed(decimals[quantity]);
  return text === "-0" && withoutMinusZero.has(key) ? "0" : text.replace("-", "−");
}

// The other run's figure less that of the first; empty when one of them has none, and for turns to different sides.
export function differenceText(first: Figure, other: Figure, units: Units): string {
  if (first.value === null || other.value === null || first.direction !== other.direction) return "";
  const quantity = quantityOf(first);
  return signed((other.value - first.value) * units.factor(quantity), decimals[quantity]);
}

interface Score {
  key: string;
  name: string;
  behind?: { key: string; text: string }; // a second figure, in words
}

const scores: Score[] = [
  { key: "entry_gate_speed", name: "Entry gate speed" },
  { key: "carve_time", name: "Speed carve time", behind: { key: "exit_gate_speed", text: "at the exit gate" } },
  { key: "stop_distance", name: "Distance to stop" },
  { key: "touchdown_distance", name: "Touchdown estimate", behind: { key: "touchdown_speed", text: "at touchdown" } },
  { key: "rotation", name: "Degrees of rotation" },
  { key: "turn_time", name: "Time to execute turn" },
  { key: "rollout_time", name: "Time during rollout" },
  { key: "aloft_time", name: "Time aloft during swoop" },
];

// The carve time is left out when no run has one.
function scoresOf(documents: RunDocument[]): Score[] {
  const hasCarve = documents.some((each) => each.figures?.carve_time.value != null);
  return scores.filter(({ key }) => key !== "carve_time" || hasCarve);
}

interface PhaseRow {
  name: string;
  key: string;
  speed?: string;
}

const phaseRows: PhaseRow[] = [
  { name: "Exited airplane", key: "exit" },
  { name: "Initiated turn", key: "turn" },
  { name: "Max vertical speed", key: "max_vertical_speed", speed: "max_vertical_speed" },
  { name: "Started rollout", key: "rollout_start", speed: "rollout_start_vertical_speed" },
  { name: "Finished rollout", key: "rollout_end" },
  { name: "Max total speed", key: "max_total_speed", speed: "max_total_speed" },
  { name: "Max horizontal speed", key: "max_horizontal_speed", speed: "max_horizontal_speed" },
];

// The figure as in the report; struck out when the check knows only its bounds.
function valueElement(check: Check | null, key: string, figure: Figure, units: Units): HTMLElement {
  const text = figureText(key, figure, units);
  return element(isBounded(check, key) ? "s" : "span", { "data-figure": key }, text);
}

// A table that scrolls when it is too wide, below a description that does not.
function described(label: string, words: string, table: HTMLElement): HTMLElement {
  const scroll = element("div", { class: "scroll", tabindex: 0, role: "region", "aria-label": label }, table);
  return element("div", { class: "described" }, element("p", { class: "note" }, words), scroll);
}

function intervalNote(check: Check | null, key: string, figure: Figure, units: Units): HTMLElement | null {
  const text = intervalText(check, key, figure, units);
  return text === "" ? null : element("span", { class: "interval" }, text);
}

function behindText(check: Check | null, key: string, figure: Figure, words: string, units: Units): HTMLElement {
  const value = valueElement(check, key, figure, units);
  return element("span", { class: "behind" }, value, `\u00a0${units.unit(quantityOf(figure))} ${words}`, intervalNote(check, key, figure, units));
}

export function scoreTiles(document: RunDocument, check: Check | null, units: Units): HTMLElement {
  const list = element("dl", { class: "tiles" });
  const figures = document.figures;
  if (!figures) return list;
  for (const { key, name, behind } of scoresOf([document])) {
    const figure = figures[key];
    const more = behind ? figures[behind.key] : undefined;
    const value = element("span", { class: "value" }, valueElement(check, key, figure, units));
    const unit = figure.value === null ? "" : units.unit(quantityOf(figure));
    list.append(
      element(
        "div",
        { class: "tile" },
        element("dt", {}, name),
        element(
          "dd",
          {},
          value,
          element("span", { class: "unit" }, unit.startsWith("°") ? unit : `\u00a0${unit}`),
          intervalNote(check, key, figure, units),
          figure.direction ? element("span", { class: "behind" }, figure.direction) : null,
          more && behind && more.value !== null ? behindText(check, behind.key, more, behind.text, units) : null,
        ),
      ),
    );
  }
  return list;
}

// The position and speed of each phase, with the differences from the first run unless that is null.
export function phaseTable(
  document: RunDocument,
  label: string,
  check: Check | null,
  units: Units,
  reference: { document: RunDocument; label: string } | null = null,
): HTMLElement {
  const figures = document.figures;
  const heads = [`Height, ${units.unit("length")}`, `Back, ${units.unit("length")}`, `Offset, ${units.unit("length")}`, `Speed, ${units.unit("speed")}`];
  const table = element(
    "table",
    { class: "figures" },
    element("thead", {}, element("tr", {}, element("th", { scope: "col" }, "Phase"), ...heads.map((head) => element("th", { scope: "col" }, head)))),
  );
  const body = element("tbody");
  for (const row of figures ? phaseRows : []) {
    const keys = [`${row.key}_altitude`, `${row.key}_back`, `${row.key}_offset`, row.speed ?? ""];
    const line = element("tr", {}, element("th", { scope: "row" }, row.name));
    for (const key of keys) {
      const figure = figures?.[key];
      const text = figure ? element("span", { "data-figure": key }, figureText(key, figure, units)) : "";
      const other = reference?.document.figures?.[key];
      const difference = figure && other ? element("span", { class: "difference" }, differenceText(other, figure, units)) : null;
      line.append(element("td", {}, text, difference, figure ? intervalNote(check, key, figure, units) : null));
    }
    body.append(line);
  }
  table.append(body);
  const differences = reference ? `; below each, how it differs from ${reference.label}` : "";
  const words = `Phases: height above the gate, distance back from it, offset to the right of the centre line${differences}`;
  return described(`Phases of ${label}`, words, table);
}

function swatch(run: number, palette: Palette): HTMLElement {
  const made = element("span", { class: "swatch", "aria-hidden": "true" });
  made.style.backgroundColor = runColour(run, palette);
  return made;
}

export function runName(label: string, run: number, palette: Palette): HTMLElement {
  return element("span", { class: "run-name" }, swatch(run, palette), element("span", {}, label));
}

// The run that the others are compared with: the first that did not fail, -1 where all failed.
export function referenceOf(documents: RunDocument[]): number {
  return documents.findIndex(({ figures }) => figures !== null);
}

// A line for each run; the figures of each run but the first are followed by their differences from the first.
export function comparisonTable(documents: RunDocument[], labels: string[], colours: number[], palette: Palette, units: Units): HTMLElement {
  const shown = [
    ...scoresOf(documents),
    { key: "exit_gate_speed", name: "Exit gate speed" },
    { key: "touchdown_speed", name: "Touchdown speed" },
  ].filter(({ key }) => documents.some((each) => each.figures && each.figures[key].value !== null));
  const head = element("tr", {}, element("th", { scope: "col" }, "Run"));
  for (const { key, name } of shown) {
    const sample = documents.find((each) => each.figures)?.figures?.[key];
    const unit = sample ? units.unit(quantityOf(sample)) : "";
    head.append(element("th", { scope: "col" }, unit === "" ? name : `${name}, ${unit}`));
  }
  const body = element("tbody");
  const reference = referenceOf(documents);
  const first = documents[reference]?.figures ?? null;
  documents.forEach((document, i) => {
    const name = colours[i] < 0 ? element("span", { class: "run-name" }, labels[i]) : runName(labels[i], colours[i], palette);
    const check = checkOf(document);
    const mark = document.failure ? "failed" : check?.verdict;
    const line = element("tr", {}, element("th", { scope: "row" }, name, mark ? verdictMark(mark) : null));
    if (document.failure) line.append(element("td", { colspan: shown.length, class: "failed" }, document.failure.message));
    for (const { key } of document.failure ? [] : shown) {
      const figure = document.figures?.[key];
      const difference = figure && first && i !== reference ? differenceText(first[key], figure, units) : "";
      line.append(
        element(
          "td",
          {},
          figure ? valueElement(check, key, figure, units) : element("span", { "data-figure": key }, "–"),
          figure?.direction ? element("span", { class: "side" }, figure.direction) : null,
          difference === "" ? null : element("span", { class: "difference" }, difference),
          figure ? intervalNote(check, key, figure, units) : null,
        ),
      );
    }
    body.append(line);
  });
  const table = element("table", { class: "figures comparison" }, element("thead", {}, head), body);
  const hasDifferences = documents.some(({ figures }, i) => figures && i !== reference);
  const below = [
    ...(hasDifferences ? [`how it differs from that of ${labels[reference]}`] : []),
    ...(documents.some((each) => hasIntervals(checkOf(each))) ? [intervalMeaning] : []),
  ];
  return described("Runs compared", below.length === 0 ? "Figures" : `Below a figure: ${below.join(", and ")}.`, table);
}
