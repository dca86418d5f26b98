// The table of a meet's runs.
import { verdictMark } from "./check";
import { element, button } from "./dom";
import { figureText, quantityOf } from "./figures";
import { clockText } from "./head";
import { MeetRun, SortKey, compareAddress, figureKey, matchesWords, mostCompared, reasonTexts, sortKeys, sortRuns, tallyText } from "./meet-runs";
import { Units } from "./units";

interface Column {
  title: string;
  key: SortKey;
  kind: string; // the class of its cells
  cell(run: MeetRun, units: Units): Node | string;
  figure?: string;
}

function figureColumn(figure: string, title: string): Column {
  const cell = (run: MeetRun, units: Units) => {
    const shown = run.figures[figure];
    const text = shown ? figureText(figure, shown, units) : "–";
    return run.bounded.includes(figure) ? element("s", {}, text) : text;
  };
  return { title, key: figureKey(figure), kind: "figure", cell, figure };
}

function reasonList(run: MeetRun, units: Units): Node | string {
  const texts = reasonTexts(run, units);
  return texts.length === 0 ? "" : element("ul", {}, ...texts.map((text) => element("li", {}, text)));
}

const columns: Column[] = [
  { title: "Run", key: sortKeys.name, kind: "words", cell: (run) => (run.page === null ? run.name : element("a", { href: run.page }, run.name)) },
  { title: "Verdict", key: sortKeys.verdict, kind: "words", cell: (run) => (run.verdict === null ? "–" : verdictMark(run.verdict)) },
  { title: "Time", key: sortKeys.clock, kind: "words clock", cell: (run) => (run.clock === null ? "–" : clockText(run.clock)) },
  figureColumn("entry_gate_speed", "Entry gate"),
  figureColumn("carve_time", "Carve time"),
  figureColumn("exit_gate_speed", "Exit gate"),
  figureColumn("stop_distance", "Stop"),
  figureColumn("touchdown_distance", "Touchdown"),
  figureColumn("rotation", "Rotation"),
  figureColumn("turn_time", "Turn"),
  { title: "Course", key: sortKeys.course, kind: "words", cell: (run) => run.course ?? "–" },
  { title: "Reasons", key: sortKeys.reasons, kind: "reasons-cell", cell: reasonList },
];

export class MeetTable {
  readonly root = element("main");
  private readonly ticked = new Set<string>();
  private sorted = columns[0];
  private isDescending = false;
  private words = "";
  private readonly head = element("tr");
  private readonly rows = element("tbody");
  private readonly shown = element("span", { role: "status", class: "note" });
  private readonly compare: HTMLButtonElement;

  constructor(
    private readonly runs: MeetRun[],
    private units: Units,
  ) {
    const filter = element("input", { type: "search", autocomplete: "off" });
    filter.addEventListener("input", () => {
      this.words = filter.value;
      this.fill();
    });
    this.compare = button("Compare", { class: "tool wide" }, () => {
      location.hash = compareAddress(this.names());
    });
    const table = element("table", { class: "runs" }, element("thead", {}, this.head), this.rows);
    this.root.append(
      element("p", { class: "tally" }, tallyText(runs)),
      element("div", { class: "meet-tools" }, element("label", {}, "Filter by words", filter), this.compare, this.shown),
      element("div", { class: "scroll", tabindex: 0, role: "region", "aria-label": "Runs of the meet" }, table),
    );
    this.fill();
    this.changeTicks();
  }

  setUnits(units: Units): void {
    this.units = units;
    this.fill();
  }

  // The ticked runs in the order of the table.
  private names(): string[] {
    return sortRuns(this.runs, this.sorted.key, this.isDescending).map((run) => run.name).filter((name) => this.ticked.has(name));
  }

  private fill(): void {
    this.head.replaceChildren(element("th", { scope: "col", class: "tick" }, element("span", { class: "note" }, "Pick")), ...columns.map((column) => this.headCell(column)));
    const runs = sortRuns(this.runs, this.sorted.key, this.isDescending).filter((run) => matchesWords(run, this.words, this.units));
    this.rows.replaceChildren(...runs.map((run) => this.row(run)));
    this.shown.textContent = runs.length === this.runs.length ? "" : `${runs.length} of ${this.runs.length} shown`;
  }

  private unitOf({ figure }: Column): string {
    const run = figure ? this.runs.find((each) => each.figures[figure]) : undefined;
    return run && figure ? this.units.unit(quantityOf(run.figures[figure])) : "";
  }

  private headCell(column: Column): HTMLElement {
    const isSorted = column === this.sorted;
    const arrow = isSorted ? (this.isDescending ? " ▼" : " ▲") : "";
    const unit = this.unitOf(column);
    const sort = button(unit === "" ? column.title : `${column.title}, ${unit}`, {}, () => this.sortBy(column));
    sort.append(element("span", { "aria-hidden": "true" }, arrow));
    const order = this.isDescending ? "descending" : "ascending";
    return element("th", { scope: "col", class: column.kind, ...(isSorted ? { "aria-sort": order } : {}) }, sort);
  }

  // The button is made again, and gets the focus back.
  private sortBy(column: Column): void {
    this.isDescending = column === this.sorted && !this.isDescending;
    this.sorted = column;
    this.fill();
    this.head.querySelectorAll("button")[columns.indexOf(column)].focus();
  }

  private row(run: MeetRun): HTMLElement {
    const tick = element("input", { type: "checkbox", "aria-label": `Compare ${run.name}`, disabled: run.script === null });
    tick.checked = this.ticked.has(run.name);
    tick.addEventListener("change", () => {
      if (tick.checked) this.ticked.add(run.name);
      else this.ticked.delete(run.name);
      this.changeTicks();
    });
    const cells = columns.map((column, i) =>
      i === 0
        ? element("th", { scope: "row", class: column.kind }, column.cell(run, this.units))
        : element("td", { class: column.kind }, column.cell(run, this.units)),
    );
    const row = element("tr", {}, element("td", { class: "tick" }, tick), ...cells);
    row.addEventListener("click", (event) => {
      const target = event.target as Element;
      if (run.page !== null && !target.closest("a, .tick")) location.assign(run.page);
    });
    return row;
  }

  private changeTicks(): void {
    const count = this.ticked.size;
    this.compare.disabled = count < 2 || count > mostCompared;
    this.compare.textContent = count < 2 ? "Compare: pick two runs" : count > mostCompared ? `Compare: pick at most ${mostCompared}` : `Compare ${count} runs`;
  }
}
