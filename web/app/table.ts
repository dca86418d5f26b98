// The table of all files: runs with their scores, walks with their course files, failed files with the program's
// message.
import { checkOf, isBounded, verdictMark } from "../src/check";
import { clockOf, clockText } from "../src/head";
import { button, element } from "../src/dom";
import { figureText } from "../src/figures";
import { Quantity, Units } from "../src/units";
import { Row, isSound, verdictOf } from "./rows";

interface Column {
  key: string;
  name: string;
  quantity?: Quantity; // of a figure
}

const columns: Column[] = [
  { key: "name", name: "File" },
  { key: "clock", name: "Time" },
  { key: "verdict", name: "Verdict" },
  { key: "entry_gate_speed", name: "Entry gate speed", quantity: "speed" },
  { key: "carve_time", name: "Carve time", quantity: "time" },
  { key: "stop_distance", name: "Distance to stop", quantity: "length" },
  { key: "touchdown_distance", name: "Touchdown", quantity: "length" },
  { key: "rotation", name: "Rotation", quantity: "angle" },
  { key: "turn_time", name: "Turn", quantity: "time" },
  { key: "rollout_time", name: "Rollout", quantity: "time" },
];
const figureColumns = columns.filter(({ quantity }) => quantity !== undefined);

export interface Order {
  key: string;
  isDescending: boolean;
}

const severities: Record<string, number> = { good: 0, doubtful: 1, unusable: 2 };

function sortValue(row: Row, key: string): number | string | null {
  if (key === "name") return row.path;
  if (key === "clock") return row.run ? clockOf(row.run) : null;
  if (key === "verdict") return severities[verdictOf(row) ?? ""] ?? null;
  return verdictOf(row) === "unusable" ? null : (row.run?.figures?.[key]?.value ?? null);
}

const byName = new Intl.Collator("en", { numeric: true });

// Rows without a value come last, also an unusable run where a figure sorts.
export function sortRows(rows: Row[], { key, isDescending }: Order): Row[] {
  return [...rows].sort((a, b) => {
    const [first, second] = [sortValue(a, key), sortValue(b, key)];
    if (first === null || second === null) return Number(first === null) - Number(second === null) || a.number - b.number;
    const order = typeof first === "number" ? first - (second as number) : byName.compare(first, second as string);
    return (isDescending ? -order : order) || a.number - b.number;
  });
}

export interface Actions {
  sort(key: string): void;
  open(row: Row): void;
  tick(row: Row, isTicked: boolean): void;
  saveCourse(row: Row): void;
  saveMap(row: Row): void;
  saveLog(row: Row): void;
}

function headCell({ key, name, quantity }: Column, order: Order, units: Units, sort: (key: string) => void): HTMLElement {
  const unit = quantity ? units.unit(quantity) : "";
  const isSorted = order.key === key;
  const sorted = isSorted ? (order.isDescending ? "descending" : "ascending") : "none";
  const sign = isSorted ? (order.isDescending ? " ▼" : " ▲") : "";
  const words = element("span", {}, unit === "" ? name : `${name}, ${unit}`, element("span", { "aria-hidden": "true" }, sign));
  const pressed = button("", { class: "sorter", "data-key": key }, () => sort(key));
  pressed.append(words);
  return element("th", { scope: "col", "aria-sort": sorted, class: `column-${key}` }, pressed);
}

function tickCell(row: Row, actions: Actions): HTMLElement {
  if (!isSound(row)) return element("td");
  const box = element("input", { type: "checkbox", "aria-label": `Compare ${row.path}`, checked: row.isTicked });
  box.addEventListener("change", () => actions.tick(row, box.checked));
  return element("td", { class: "tick" }, element("label", {}, box));
}

function nameCell(row: Row, actions: Actions): HTMLElement {
  const canOpen = row.state === "done" && row.run !== null && (isSound(row) || row.run.track.count > 0);
  const name = canOpen ? button(row.path, { class: "link" }, () => actions.open(row)) : row.path;
  return element("th", { scope: "row" }, name);
}

function walkCells(row: Row, actions: Actions): HTMLElement {
  const cell = element("td", { colspan: columns.length - 1, class: "walk" }, "a walked course, surveyed ");
  cell.append(button("Course file", { class: "tool" }, () => actions.saveCourse(row)));
  if (row.walk?.map) cell.append(" ", button("Map", { class: "tool" }, () => actions.saveMap(row)));
  if (row.walk?.log) cell.append(" ", button("Survey", { class: "tool" }, () => actions.saveLog(row)));
  return cell;
}

function verdictCell(row: Row): HTMLElement {
  const verdict = verdictOf(row);
  return element("td", {}, verdict ? verdictMark(verdict) : element("span", { class: "note" }, "…"));
}

function runCells(row: Row, units: Units): HTMLElement[] {
  const run = row.run!;
  const check = checkOf(run);
  const cells = [element("td", { class: "clock" }, clockText(clockOf(run))), verdictCell(row)];
  for (const { key } of figureColumns) {
    const figure = run.figures?.[key];
    const text = figure ? figureText(key, figure, units) : "–";
    cells.push(element("td", { "data-figure": key }, isBounded(check, key) ? element("s", {}, text) : text));
  }
  return cells;
}

function lineOf(row: Row, units: Units, actions: Actions): HTMLElement {
  const line = element("tr", { "data-path": row.path }, tickCell(row, actions), nameCell(row, actions));
  if (row.state === "waiting") line.append(element("td", { colspan: columns.length - 1, class: "walk note" }, "waiting"));
  else if (row.walk) line.append(walkCells(row, actions));
  else if (isSound(row)) line.append(...runCells(row, units));
  else line.append(element("td", { colspan: columns.length - 1, class: "failed" }, row.message ?? ""));
  return line;
}

export function fileTable(rows: Row[], order: Order, units: Units, actions: Actions): HTMLElement {
  const head = element("tr", {}, element("td", {}, element("span", { class: "hidden-words" }, "Compare")));
  for (const column of columns) head.append(headCell(column, order, units, actions.sort));
  const body = element("tbody", {}, ...sortRows(rows, order).map((row) => lineOf(row, units, actions)));
  const table = element("table", { class: "figures files" }, element("thead", {}, head), body);
  return element("div", { class: "scroll panel", tabindex: 0, role: "region", "aria-label": "All files" }, table);
}
