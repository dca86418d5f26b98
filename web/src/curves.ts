// Panels of curves over one x axis, which are zoomed together.
import uPlot from "../vendor/uplot/uPlot.esm.js";
import { AxisKind } from "./axis";
import { Palette } from "./colours";
import { element } from "./dom";
import { listenToGestures } from "./gestures";
import { Panel } from "./panels";
import { Units, fixed, withUnit } from "./units";

// The visible part of the x axis, in s or m. Panels that share a stretch show the same part.
export class Stretch {
  from: number;
  to: number;
  private readonly listeners: (() => void)[] = [];

  // whole: the limits of zooming and panning. first: what is shown at first, and after "Fit".
  constructor(
    private readonly whole: [number, number],
    private readonly first: [number, number],
  ) {
    [this.from, this.to] = first;
  }

  get isZoomed(): boolean {
    return this.to - this.from < (this.whole[1] - this.whole[0]) * 0.999;
  }

  set(from: number, to: number): void {
    const [least, greatest] = this.whole;
    const width = Math.min(Math.max(to - from, (greatest - least) / 500), greatest - least);
    this.from = Math.max(least, Math.min(greatest - width, from));
    this.to = this.from + width;
    for (const listener of this.listeners) listener();
  }

  // The value stays in its place.
  zoom(factor: number, value: number): void {
    this.set(value - (value - this.from) / factor, value + (this.to - value) / factor);
  }

  fit(): void {
    this.set(...this.first);
  }

  listen(listener: () => void): void {
    this.listeners.push(listener);
  }

  forget(): void {
    this.listeners.length = 0;
  }
}

export interface AxisMark {
  name: string;
  value: number;
  isGate: boolean;
}

export interface CurvesOptions {
  kind: AxisKind;
  axisTitle: string;
  stretch: Stretch;
  units: Units;
  palette: Palette;
  marks: AxisMark[]; // of the first run's phases
  pick(value: number): void;
}

interface Plot {
  panel: Panel;
  uplot: uPlot;
  line: HTMLElement;
  dots: HTMLElement[];
  area: HTMLElement;
  size: { width: number; height: number };
}

const font = '11px "Segoe UI", system-ui, "Helvetica Neue", Arial, sans-serif';

// The decimals that a tick step needs: one for 2.5.
function axisDecimals(step: number): number {
  let decimals = 0;
  while (decimals < 4 && Math.abs(step * 10 ** decimals - Math.round(step * 10 ** decimals)) > 1e-6) ++decimals;
  return decimals;
}

export class Curves {
  readonly root = element("div", { class: "panels" });
  private readonly plots: Plot[];
  private readonly xFactor: number;
  private matched: ArrayLike<number> = [];
  private isWaiting = false;

  constructor(
    panels: Panel[],
    private readonly options: CurvesOptions,
  ) {
    this.xFactor = options.kind === "time" ? 1 : options.units.factor("length");
    this.plots = panels.map((panel) => this.makePlot(panel));
    this.root.classList.toggle("three", panels.length === 3);
    options.stretch.listen(() => this.applyStretch());
  }

  // Call it when the panels are in the page, and after each change of their size; resize() draws them in that size. All
  // drawings of a page are measured before the first is drawn, since drawing makes the browser compute the layout
  // again.
  measure(): void {
    for (const plot of this.plots) plot.size = { width: plot.area.clientWidth, height: plot.area.clientHeight };
  }

  resize(): void {
    for (const { uplot, size } of this.plots) {
      // Without waiting for the next frame: the browser prints a sheet as soon as it has been made.
      if (size.width > 0 && (size.width !== uplot.width || size.height !== uplot.height)) {
        uplot.batch(() => uplot.setSize(size));
      }
    }
  }

  // The value of the axis at which buttons and keys zoom: the cursor's, or the middle when it is outside.
  private centre(): number {
    const { from, to } = this.options.stretch;
    const { axis } = this.plots[0].panel.curves[0];
    const value = axis.values[axis.places[this.matched[0] ?? -1] ?? -1];
    return value >= from && value <= to ? value : (from + to) / 2;
  }

  zoom(factor: number): void {
    this.options.stretch.zoom(factor, this.centre());
  }

  destroy(): void {
    for (const { uplot } of this.plots) uplot.destroy();
  }

  // matched: the sample of each run that corresponds to the cursor.
  showCursor(matched: ArrayLike<number>): void {
    this.matched = matched;
    for (const plot of this.plots) this.placeCursor(plot);
  }

  private applyStretch(): void {
    // Once for all movements before the next frame.
    if (this.isWaiting) return;
    this.isWaiting = true;
    requestAnimationFrame(() => {
      this.isWaiting = false;
      const { from, to } = this.options.stretch;
      for (const { uplot } of this.plots) uplot.setScale("x", { min: from * this.xFactor, max: to * this.xFactor });
    });
  }

  private makePlot(panel: Panel): Plot {
    const { units, axisTitle } = this.options;
    const area = element("div", { class: "plot", tabindex: 0, role: "group" });
    area.setAttribute("aria-label", `${panel.title} over ${axisTitle}. Arrow keys move the cursor; plus, minus and 0 zoom.`);
    const unit = units.unit(panel.quantity);
    const title = element("h3", {}, unit === "" ? panel.title : `${panel.title}, ${unit}`);
    const key = element("ul", { class: "key" });
    if (panel.hasKey) for (const curve of panel.curves) key.append(keyEntry(curve.name, curve.colour, curve.dash));
    const head = element("div", { class: "panel-head" }, title, key);
    this.root.append(
      element("section", { class: "panel" }, head, area, panel.note ? element("p", { class: "note" }, panel.note) : null),
    );

    const uplot = new uPlot(this.plotOptions(panel), this.dataOf(panel), area);
    const line = element("div", { class: "cursor-line", hidden: true });
    const dots = panel.curves.map((curve) => {
      const dot = element("div", { class: "dot small", hidden: true });
      dot.style.borderColor = curve.colour;
      return dot;
    });
    uplot.over.append(line, ...[...dots].reverse());
    const plot = { panel, uplot, line, dots, area, size: { width: 0, height: 0 } };
    const valueAt = (x: number) => uplot.posToVal(x - uplot.over.offsetLeft, "x") / this.xFactor;
    listenToGestures(area, {
      point: (x) => this.options.pick(valueAt(x)),
      pan: (dx) => this.pan(valueAt(0) - valueAt(dx)),
      zoom: (factor, x) => this.options.stretch.zoom(factor, valueAt(x)),
      fit: () => this.options.stretch.fit(),
      isZoomed: () => this.options.stretch.isZoomed,
      centre: () => [uplot.over.offsetLeft + uplot.valToPos(this.centre() * this.xFactor, "x"), 0],
      fingerPans: false,
    });
    return plot;
  }

  private pan(by: number): void {
    const { stretch } = this.options;
    stretch.set(stretch.from + by, stretch.to + by);
  }

  private dataOf(panel: Panel): uPlot.AlignedData {
    const factor = this.options.units.factor(panel.quantity);
    const values = (column: Float64Array) => Array.from(column, (value) => (Number.isFinite(value) ? value * factor : null));
    const places = (column: Float64Array) => Array.from(column, (value) => value * this.xFactor);
    const isOneAxis = panel.curves.every((curve) => curve.axis === panel.curves[0].axis);
    if (isOneAxis) return [places(panel.curves[0].axis.values), ...panel.curves.map((curve) => values(curve.y))];
    return uPlot.join(panel.curves.map((curve): uPlot.AlignedData => [places(curve.axis.values), values(curve.y)]));
  }

  private plotOptions(panel: Panel): uPlot.Options {
    const { palette, stretch, kind } = this.options;
    const axis = {
      stroke: palette.muted,
      font,
      grid: { stroke: palette.grid, width: 1 },
      ticks: { show: false },
      values: (_: uPlot, splits: number[], __: number, ___: number, step: number) =>
        splits.map((value) => (value === null ? "" : fixed(value, axisDecimals(step)))),
    };
    return {
      width: 300,
      height: 180,
      padding: [16, 10, 0, 0],
      legend: { show: false },
      cursor: { show: false },
      series: [
        {},
        ...panel.curves.map((curve) => ({
          label: curve.name,
          stroke: curve.colour,
          width: 2,
          dash: curve.dash,
          points: { show: false },
        })),
      ],
      scales: {
        x: {
          time: false,
          dir: kind === "height" ? -1 : 1,
          range: () => [stretch.from * this.xFactor, stretch.to * this.xFactor],
        },
        y: { range: (_, least, greatest) => this.rangeOf(panel, least, greatest) },
      },
      axes: [
        { ...axis, size: 26, space: 56, gap: 4 },
        { ...axis, size: 44, space: 28, gap: 4 },
      ],
      hooks: { drawAxes: [(uplot) => this.drawBehind(uplot, panel)], draw: [(uplot) => this.cursorAfterDrawing(uplot)] },
    };
  }

  private rangeOf(panel: Panel, least: number | null, greatest: number | null): [number, number] {
    const limit = panel.limit * this.options.units.factor(panel.quantity);
    let low = Math.max(-limit, least ?? 0);
    let high = Math.min(limit, greatest ?? 1);
    if (panel.isOnBase) {
      low = Math.min(low, 0);
      high = Math.max(high, 0);
    }
    const rim = Math.max((high - low) * 0.06, 0.5 * 10 ** -panel.decimals);
    return [panel.isOnBase && low === 0 ? 0 : low - rim, high + rim];
  }

  // Draws the phases as lines, and the shaded stretches.
  private drawBehind(uplot: uPlot, panel: Panel): void {
    const { ctx: context, bbox } = uplot;
    context.save();
    context.beginPath();
    context.rect(bbox.left, bbox.top, bbox.width, bbox.height);
    context.clip();
    context.fillStyle = this.options.palette.shade;
    for (const [from, to] of panel.shades) {
      const a = uplot.valToPos(from * this.xFactor, "x", true);
      const b = uplot.valToPos(to * this.xFactor, "x", true);
      context.fillRect(Math.min(a, b), bbox.top, Math.max(Math.abs(b - a), 2), bbox.height);
    }
    for (const { value, isGate } of this.options.marks) {
      const x = Math.round(uplot.valToPos(value * this.xFactor, "x", true));
      context.strokeStyle = isGate ? this.options.palette.course : this.options.palette.muted;
      context.globalAlpha = isGate ? 1 : 0.5;
      context.lineWidth = uPlot.pxRatio * (isGate ? 1.5 : 1);
      context.setLineDash(isGate ? [] : [3 * uPlot.pxRatio, 3 * uPlot.pxRatio]);
      context.beginPath();
      context.moveTo(x, bbox.top);
      context.lineTo(x, bbox.top + bbox.height);
      context.stroke();
    }
    context.restore();
    if (uplot === this.plots?.[0]?.uplot) this.drawNames(uplot);
  }

  // Draws the names of the marks, above the first panel. A name that would touch another one is left out; the gate's
  // name is drawn first.
  private drawNames(uplot: uPlot): void {
    const { ctx: context, bbox } = uplot;
    const ratio = uPlot.pxRatio;
    context.save();
    context.font = font.replace("11px", `${Math.round(10 * ratio)}px`);
    context.fillStyle = this.options.palette.muted;
    context.textAlign = "center";
    context.textBaseline = "bottom";
    const taken: [number, number][] = [];
    const marks = [...this.options.marks].sort((a, b) => Number(b.isGate) - Number(a.isGate));
    for (const { name, value } of marks) {
      const place = uplot.valToPos(value * this.xFactor, "x", true);
      const half = context.measureText(name).width / 2 + 3 * ratio;
      const isOutside = place < bbox.left || place > bbox.left + bbox.width;
      const x = Math.min(place, context.canvas.width - half);
      if (isOutside || taken.some(([from, to]) => x + half > from && x - half < to)) continue;
      taken.push([x - half, x + half]);
      context.fillText(name, x, bbox.top - 2 * ratio);
    }
    context.restore();
  }

  private cursorAfterDrawing(uplot: uPlot): void {
    const plot = this.plots?.find((each) => each.uplot === uplot);
    if (plot) this.placeCursor(plot);
  }

  private placeCursor({ panel, uplot, line, dots }: Plot): void {
    const factor = this.options.units.factor(panel.quantity);
    // Not read from the element, since that would make the browser compute the layout.
    const width = uplot.bbox.width / uPlot.pxRatio;
    const height = uplot.bbox.height / uPlot.pxRatio;
    let lineAt = NaN;
    panel.curves.forEach((curve, i) => {
      const place = curve.axis.places[this.matched[curve.run] ?? -1] ?? -1;
      const x = place < 0 ? NaN : uplot.valToPos(curve.axis.values[place] * this.xFactor, "x");
      const y = place < 0 ? NaN : uplot.valToPos(curve.y[place] * factor, "y");
      if (curve.run === 0) lineAt = x;
      dots[i].hidden = !(x >= 0 && x <= width && y >= 0 && y <= height);
      if (!dots[i].hidden) dots[i].style.transform = `translate(${x}px, ${y}px)`;
    });
    line.hidden = !(lineAt >= 0 && lineAt <= width);
    if (!line.hidden) line.style.transform = `translateX(${lineAt}px)`;
  }
}

// An entry of a key: a piece of the line, and its name.
export function keyEntry(name: string, colour: string, dash: number[]): HTMLElement {
  const sample = element("canvas", { width: 36, height: 8, "aria-hidden": "true" });
  const context = sample.getContext("2d");
  if (context) {
    context.strokeStyle = colour;
    context.lineWidth = 4;
    context.setLineDash(dash.map((length) => length * 1.5));
    context.beginPath();
    context.moveTo(0, 4);
    context.lineTo(36, 4);
    context.stroke();
  }
  return element("li", {}, sample, element("span", {}, name));
}

export function axisTitle(kind: AxisKind, origin: string, units: Units): string {
  const length = withUnit("", units.unit("length")).trim();
  if (kind === "time") return `seconds from the ${origin}`;
  return kind === "distance" ? `distance to the gate along the course, ${length}` : `height above the gate, ${length}`;
}
