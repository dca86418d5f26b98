// The bar with the values at the cursor: its position, the values of each run there, and a slider that moves it by
// keys.
import { cursorChannels } from "./channels";
import { Palette } from "./colours";
import { Cursor } from "./cursor";
import { button, element } from "./dom";
import { runName } from "./figures";
import { Matching } from "./matching";
import { Run } from "./runs";
import { momentOf } from "./axis";
import { Units, fixed, signed, withUnit } from "./units";

export function phaseAt(run: Run, sample: number): string {
  return run.marks
    .filter((mark) => mark.sample === sample)
    .map((mark) => mark.name)
    .join(", ");
}

// Seconds from a run's gate, in words.
function timeText(seconds: number): string {
  return withUnit(signed(seconds, 2), "s");
}

export class Readout {
  readonly root: HTMLElement;
  private readonly slider: HTMLInputElement;
  private readonly phase = element("span", { class: "phase" });
  private readonly cells: HTMLElement[][] = [];

  constructor(
    private readonly matching: Matching,
    private readonly cursor: Cursor,
    private readonly units: Units,
    origin: string,
    palette: Palette,
  ) {
    const first = matching.runs[0];
    this.slider = element("input", { type: "range", min: 0, max: first.count - 1, step: 1, value: cursor.sample, "aria-label": "Cursor along the run" });
    this.slider.addEventListener("input", () => cursor.move(Number(this.slider.value)));
    const previous = button("◂", { "aria-label": "Previous phase", class: "tool" }, () => this.jump(-1));
    const next = button("▸", { "aria-label": "Next phase", class: "tool" }, () => this.jump(1));
    this.root = element(
      "section",
      { class: "readout", "aria-label": "Values at the cursor" },
      element("div", { class: "readout-head" }, previous, this.slider, next, this.phase),
      matching.runs.length === 1 ? this.cells1(origin) : this.table(origin, palette),
    );
  }

  private columnNames(origin: string): [string, string][] {
    return [
      [`from the ${origin}`, "s"],
      ...cursorChannels.map((channel): [string, string] => [channel.name, this.units.unit(channel.quantity)]),
    ];
  }

  private cells1(origin: string): HTMLElement {
    const list = element("dl", { class: "values" });
    const row: HTMLElement[] = [];
    const keys = ["time", ...cursorChannels.map((channel) => channel.key)];
    this.columnNames(origin).forEach(([name], i) => {
      const cell = element("dd", { "data-channel": keys[i] });
      row.push(cell);
      list.append(element("div", {}, element("dt", {}, name), cell));
    });
    this.cells.push(row);
    return list;
  }

  private table(origin: string, palette: Palette): HTMLElement {
    const head = element("tr", {}, element("th", { scope: "col" }, "Run"));
    for (const [name, unit] of this.columnNames(origin)) {
      head.append(element("th", { scope: "col" }, name, element("span", { class: "unit" }, unit === "" ? "" : `, ${unit}`)));
    }
    const body = element("tbody");
    const keys = ["time", ...cursorChannels.map((channel) => channel.key)];
    this.matching.runs.forEach((run, i) => {
      const row = keys.map((key) => element("td", { "data-channel": key }));
      this.cells.push(row);
      body.append(element("tr", {}, element("th", { scope: "row" }, runName(run.label, i, palette)), ...row));
    });
    return element(
      "div",
      { class: "scroll", tabindex: 0, role: "region", "aria-label": "Values of all runs at the cursor" },
      element("table", { class: "values" }, element("thead", {}, head), body),
    );
  }

  show(matched: ArrayLike<number>): void {
    const { runs, alignment } = this.matching;
    const isTable = runs.length > 1;
    const spoken: string[] = [];
    runs.forEach((run, i) => {
      const sample = matched[i];
      const row = this.cells[i];
      const time = sample < 0 ? NaN : run.time[sample] - momentOf(run, alignment);
      setText(row[0], isTable ? signed(time, 2) : timeText(time));
      cursorChannels.forEach((channel, k) => {
        const value = sample < 0 ? NaN : channel.of(run)[sample] * this.units.factor(channel.quantity);
        const text = fixed(value, channel.decimals);
        const whole = Number.isFinite(value) ? withUnit(text, this.units.unit(channel.quantity)) : text;
        setText(row[k + 1], isTable ? text : whole);
        if (i === 0 && (k === 0 || k === 3)) spoken.push(`${k === 0 ? "horizontal speed" : channel.name} ${whole}`);
      });
      if (i === 0) spoken.unshift(timeText(time));
    });
    const phase = phaseAt(runs[0], matched[0]);
    setText(this.phase, phase === "" ? `sample ${runs[0].document.samples!.first + matched[0]}` : phase);
    this.phase.classList.toggle("named", phase !== "");
    this.slider.value = String(matched[0]);
    this.slider.setAttribute("aria-valuetext", [phase, ...spoken].filter((text) => text !== "").join(", "));
  }

  jump(direction: 1 | -1): void {
    const samples = this.matching.runs[0].marks.map((mark) => mark.sample);
    const here = this.cursor.sample;
    const ahead = direction > 0 ? samples.filter((sample) => sample > here) : samples.filter((sample) => sample < here);
    if (ahead.length > 0) this.cursor.move(direction > 0 ? Math.min(...ahead) : Math.max(...ahead));
  }
}

function setText(cell: HTMLElement, text: string): void {
  if (cell.textContent !== text) cell.textContent = text;
}
