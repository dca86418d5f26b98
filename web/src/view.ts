// A view of the runs on a canvas, from above or from the side, with one scale.
import { Palette, runColour, runDash, speedColour } from "./colours";
import { button, element } from "./dom";
import { listenToGestures } from "./gestures";
import { placeLabels } from "./labels";
import { Extent, Projection, niceStep } from "./projection";
import { Path, Point, Scene, Shape } from "./scene";
import { Units, fixed } from "./units";

export interface ViewOptions {
  units: Units;
  palette: Palette;
  pixelRatio: number;
  textSize: number; // px
  pick(run: number, sample: number): void;
}

const pickDistance = 60; // px
const font = '"Segoe UI", system-ui, "Helvetica Neue", Arial, sans-serif';
const gridSpace = 64; // px between lines, at the least
const numbersLeft = 42; // px, where the numbers of the grid stand and no line of it
const numbersBelow = 18;

// The least and the greatest speed of a path between the turn and the stop.
export function speedRange(path: Path): [number, number] {
  let least = Infinity;
  let greatest = -Infinity;
  for (let i = path.from; i <= path.to; ++i) {
    if (!Number.isFinite(path.speed[i])) continue;
    least = Math.min(least, path.speed[i]);
    greatest = Math.max(greatest, path.speed[i]);
  }
  return least < greatest ? [least, greatest] : [0, 1];
}

function extentOf(scene: Scene): Extent {
  const extent = { left: Infinity, right: -Infinity, bottom: Infinity, top: -Infinity };
  const include = (x: number, y: number) => {
    if (!Number.isFinite(x) || !Number.isFinite(y)) return;
    extent.left = Math.min(extent.left, x);
    extent.right = Math.max(extent.right, x);
    extent.bottom = Math.min(extent.bottom, y);
    extent.top = Math.max(extent.top, y);
  };
  for (const path of scene.paths) {
    for (let i = path.from; i <= path.to; ++i) include(path.x[i], path.y[i]);
  }
  for (const shape of scene.shapes) {
    if (shape.kind === "gate" || shape.kind === "corridor") for (const [x, y] of shape.points) include(x, y);
  }
  return extent.left <= extent.right ? extent : { left: -100, right: 100, bottom: -50, top: 50 };
}

export class View {
  readonly root: HTMLElement;
  private readonly area = element("div", { class: "view-area", tabindex: 0, role: "group" });
  private readonly canvas = element("canvas", { role: "img" });
  private readonly projection = new Projection();
  private readonly dots: HTMLElement[];
  private readonly palette: Palette;
  private samples: number[] = [];
  private measured: [number, number] = [0, 0];
  private width = 0;
  private height = 0;

  constructor(
    private readonly scene: Scene,
    private readonly options: ViewOptions,
  ) {
    this.palette = options.palette;
    this.area.setAttribute("aria-label", `${scene.name}. Arrow keys move the cursor; plus, minus and 0 zoom.`);
    this.canvas.setAttribute("aria-label", `Flight path ${scene.name.toLowerCase()}, with the course and the phases`);
    this.dots = scene.paths.map(() => element("div", { class: "dot", hidden: true }));
    // The dot of the first run is above the others.
    this.area.append(this.canvas, ...[...this.dots].reverse());
    const zoomBy = (factor: number) => () => this.zoom(factor, ...this.centre());
    const closer = button("+", { "aria-label": `Zoom in: ${scene.name}`, class: "tool" }, zoomBy(1.5));
    const away = button("−", { "aria-label": `Zoom out: ${scene.name}`, class: "tool" }, zoomBy(1 / 1.5));
    const whole = button("Fit", { "aria-label": `Fit: ${scene.name}`, class: "tool" }, () => this.fit());
    const tools = element("div", { class: "tools" }, closer, away, whole);
    const axes = `${scene.upwards} over distance to the gate, ${options.units.unit("length")}`;
    const title = element("div", {}, element("h2", {}, scene.name), element("p", { class: "note" }, axes));
    const head = element("div", { class: "panel-head" }, title, tools);
    this.root = element("section", { class: "panel view" }, head, this.area);
    listenToGestures(this.area, {
      point: (x, y) => this.pickAt(x, y),
      pan: (dx, dy) => this.pan(dx, dy),
      zoom: (factor, x, y) => this.zoom(factor, x, y),
      fit: () => this.fit(),
      isZoomed: () => this.projection.isCloser,
      centre: () => this.centre(),
      fingerPans: true,
    });
  }

  // Call it when the view is in the page, and after each change of its size; resize() draws it in that size.
  measure(): void {
    this.measured = [this.area.clientWidth, this.area.clientHeight];
  }

  resize(): void {
    const [width, height] = this.measured;
    if (width === 0 || (width === this.width && height === this.height)) return;
    this.width = width;
    this.height = height;
    this.canvas.width = Math.round(width * this.options.pixelRatio);
    this.canvas.height = Math.round(height * this.options.pixelRatio);
    for (const [run, dot] of this.dots.entries()) {
      dot.style.borderColor = this.scene.paths.length === 1 ? this.palette.text : runColour(run, this.palette);
    }
    if (this.projection.isMoved) this.draw();
    else this.fit();
  }

  fit(): void {
    this.projection.fit(extentOf(this.scene), this.width, this.height, { left: 44, right: 16, top: 20, bottom: this.scene.roomBelow });
    this.draw();
  }

  // samples: one for each run, -1 for none.
  showCursor(samples: ArrayLike<number>): void {
    this.samples = Array.from(samples);
    this.placeDots();
  }

  private pan(dx: number, dy: number): void {
    this.projection.pan(dx, dy);
    this.draw();
  }

  private zoom(factor: number, x: number, y: number): void {
    this.projection.zoom(factor, x, y);
    this.draw();
  }

  // Picks the sample of any run that is nearest on the screen.
  private pickAt(x: number, y: number): void {
    let least = pickDistance * pickDistance;
    let found: [number, number] | null = null;
    this.scene.paths.forEach((path, run) => {
      for (let i = 0; i < path.x.length; ++i) {
        const dx = this.projection.x(path.x[i]) - x;
        const dy = this.projection.y(path.y[i]) - y;
        const square = dx * dx + dy * dy;
        if (square < least) {
          least = square;
          found = [run, i];
        }
      }
    });
    if (found) this.options.pick(...(found as [number, number]));
  }

  // Of the cursor on this run; null outside of the view.
  private dotPlace(run: number): Point | null {
    const sample = this.samples[run] ?? -1;
    if (sample < 0) return null;
    const x = this.projection.x(this.scene.paths[run].x[sample]);
    const y = this.projection.y(this.scene.paths[run].y[sample]);
    return x >= 0 && x <= this.width && y >= 0 && y <= this.height ? [x, y] : null;
  }

  // Buttons and keys zoom at the cursor: by keys, each place of the run can be reached that way.
  private centre(): Point {
    return this.dotPlace(0) ?? [this.width / 2, this.height / 2];
  }

  private placeDots(): void {
    this.dots.forEach((dot, run) => {
      const place = this.dotPlace(run);
      dot.hidden = place === null;
      if (place) dot.style.transform = `translate(${place[0]}px, ${place[1]}px)`;
    });
  }

  private draw(): void {
    const context = this.canvas.getContext("2d");
    if (!context || this.width === 0) return;
    const ratio = this.options.pixelRatio;
    context.setTransform(ratio, 0, 0, ratio, 0, 0);
    context.fillStyle = this.palette.surface;
    context.fillRect(0, 0, this.width, this.height);
    context.lineJoin = "round";
    context.lineCap = "round";
    this.drawGrid(context);
    for (const shape of this.scene.shapes) this.drawShape(context, shape);
    for (let run = this.scene.paths.length; run-- > 0; ) this.drawPath(context, run);
    this.drawMarks(context);
    this.placeDots();
  }

  private drawGrid(context: CanvasRenderingContext2D): void {
    const factor = this.options.units.factor("length");
    const step = niceStep((gridSpace / this.projection.pixelsPerMetre) * factor);
    const decimals = step < 1 ? Math.ceil(-Math.log10(step)) : 0;
    context.font = `${this.options.textSize - 1}px ${font}`;
    context.fillStyle = this.palette.muted;
    context.strokeStyle = this.palette.grid;
    context.lineWidth = 1;
    const from = (value: number) => Math.ceil((value * factor) / step);
    const to = (value: number) => Math.floor((value * factor) / step);
    const p = this.projection;
    context.textAlign = "center";
    context.textBaseline = "bottom";
    for (let k = from(p.metresX(0)); k <= to(p.metresX(this.width)); ++k) {
      const x = Math.round(p.x((k * step) / factor)) + 0.5;
      if (x < numbersLeft) continue;
      strokeLine(context, [x, 0], [x, this.height - numbersBelow]);
      if (x < this.width - 16) context.fillText(fixed(k * step, decimals), x, this.height - 3);
    }
    context.textAlign = "left";
    context.textBaseline = "middle";
    for (let k = from(p.metresY(this.height)); k <= to(p.metresY(0)); ++k) {
      const y = Math.round(p.y((k * step) / factor)) + 0.5;
      if (y > this.height - numbersBelow) continue;
      strokeLine(context, [numbersLeft, y], [this.width, y]);
      if (y > 8 && y < this.height - numbersBelow - 4) context.fillText(fixed(k * step, decimals), 4, y);
    }
  }

  // Draws text with a rim in the background's colour, so that it is legible over lines.
  private text(context: CanvasRenderingContext2D, text: string, x: number, y: number, colour: string): void {
    context.strokeStyle = this.palette.surface;
    context.lineWidth = 3;
    context.strokeText(text, x, y);
    context.fillStyle = colour;
    context.fillText(text, x, y);
  }

  private trace(context: CanvasRenderingContext2D, points: Point[], isClosed: boolean): void {
    context.beginPath();
    points.forEach(([x, y], i) => {
      if (i === 0) context.moveTo(this.projection.x(x), this.projection.y(y));
      else context.lineTo(this.projection.x(x), this.projection.y(y));
    });
    if (isClosed) context.closePath();
  }

  private drawShape(context: CanvasRenderingContext2D, shape: Shape): void {
    const { palette } = this;
    switch (shape.kind) {
      case "ground": {
        const y = this.projection.y(0);
        context.strokeStyle = palette.muted;
        context.lineWidth = 1.5;
        strokeLine(context, [numbersLeft, y], [this.width, y]);
        return;
      }
      case "pond":
        this.trace(context, shape.points, shape.points.length > 2);
        context.fillStyle = palette.pond;
        context.strokeStyle = palette.pond;
        context.lineWidth = shape.points.length > 2 ? 1 : 6;
        context.lineCap = "butt";
        if (shape.points.length > 2) context.fill();
        context.stroke();
        context.lineCap = "round";
        return;
      case "corridor":
        this.trace(context, shape.points, true);
        context.fillStyle = palette.shade;
        context.fill();
        return;
      case "outline":
        this.trace(context, shape.points, false);
        context.strokeStyle = palette.course;
        context.lineWidth = 1;
        context.stroke();
        return;
      case "gate":
        this.trace(context, shape.points, false);
        context.strokeStyle = palette.course;
        context.lineWidth = 1.5;
        context.stroke();
        if (shape.poleRadius !== undefined) for (const pole of shape.points) this.drawPole(context, pole, shape.poleRadius);
    }
  }

  private drawPole(context: CanvasRenderingContext2D, [x, y]: Point, radius: number): void {
    context.beginPath();
    context.arc(this.projection.x(x), this.projection.y(y), Math.max(2, radius * this.projection.pixelsPerMetre), 0, 7);
    context.fillStyle = this.palette.surface;
    context.fill();
    context.stroke();
  }

  private drawPath(context: CanvasRenderingContext2D, run: number): void {
    const path = this.scene.paths[run];
    const faint = (from: number, to: number) => {
      context.strokeStyle = this.palette.muted;
      context.globalAlpha = 0.45;
      context.lineWidth = 1.5;
      this.strokeSamples(context, path, from, to);
      context.globalAlpha = 1;
    };
    if (this.scene.paths.length > 1) {
      context.strokeStyle = runColour(run, this.palette);
      context.lineWidth = 2.5;
      context.setLineDash(runDash(run));
      this.strokeSamples(context, path, path.from, path.to);
      context.setLineDash([]);
      return;
    }
    faint(0, path.from);
    faint(path.to, path.x.length - 1);
    const [least, greatest] = speedRange(path);
    context.lineWidth = 4;
    for (let i = path.from; i < path.to; ++i) {
      context.strokeStyle = speedColour((path.speed[i] - least) / (greatest - least), this.palette);
      this.strokeSamples(context, path, i, i + 1);
    }
  }

  // The line is interrupted at samples without a position.
  private strokeSamples(context: CanvasRenderingContext2D, path: Path, from: number, to: number): void {
    context.beginPath();
    let isDown = false;
    for (let i = from; i <= to; ++i) {
      const x = this.projection.x(path.x[i]);
      const y = this.projection.y(path.y[i]);
      if (!Number.isFinite(x) || !Number.isFinite(y)) {
        isDown = false;
        continue;
      }
      if (isDown) context.lineTo(x, y);
      else context.moveTo(x, y);
      isDown = true;
    }
    context.stroke();
  }

  private drawMarks(context: CanvasRenderingContext2D): void {
    const isSingle = this.scene.paths.length === 1;
    const isInside = ([x, y]: Point) => x >= 0 && x <= this.width && y >= 0 && y <= this.height;
    const onScreen = this.scene.marks
      .map((mark) => ({ ...mark, at: [this.projection.x(mark.at[0]), this.projection.y(mark.at[1])] as Point }))
      .filter((mark) => isInside(mark.at));
    const named = onScreen.filter((mark) => mark.run === 0).sort((a, b) => a.rank - b.rank);
    const { textSize } = this.options;
    context.font = `600 ${textSize}px ${font}`;
    const boxes = placeLabels(
      named.map(({ name, at }) => ({ x: at[0], y: at[1], width: context.measureText(name).width + 6, height: textSize + 5 })),
      this.screenPath(),
      { x: 40, y: 2, width: this.width - 44, height: this.height - 22 },
    );
    named.forEach((mark, i) => {
      const box = boxes[i];
      if (box) this.drawLeader(context, mark.at, box.x + box.width / 2, box.y + box.height / 2, box);
    });
    for (const { at, run } of onScreen) {
      context.beginPath();
      context.arc(at[0], at[1], run === 0 ? 4.5 : 3, 0, 7);
      context.fillStyle = this.palette.surface;
      context.fill();
      context.strokeStyle = isSingle ? this.palette.text : runColour(run, this.palette);
      context.lineWidth = 2;
      context.stroke();
    }
    context.textAlign = "left";
    context.textBaseline = "middle";
    named.forEach((mark, i) => {
      const box = boxes[i];
      if (box) this.text(context, mark.name, box.x + 3, box.y + box.height / 2 + 1, this.palette.text);
    });
  }

  // The points that names should not cover.
  private screenPath(): Point[] {
    const points: Point[] = [];
    if (this.scene.shapes.some(({ kind }) => kind === "ground")) {
      for (let x = 0; x < this.width; x += 12) points.push([x, this.projection.y(0)]);
    }
    for (const path of this.scene.paths) {
      const stride = Math.max(1, Math.floor((path.to - path.from) / 250));
      for (let i = path.from; i <= path.to; i += stride) points.push([this.projection.x(path.x[i]), this.projection.y(path.y[i])]);
    }
    return points;
  }

  // Draws a line from the mark to the nearest point of the label's box, unless the box is beside the mark.
  private drawLeader(context: CanvasRenderingContext2D, [x, y]: Point, cx: number, cy: number, box: { width: number; height: number }): void {
    const toX = Math.max(cx - box.width / 2 + 2, Math.min(cx + box.width / 2 - 2, x));
    const toY = Math.max(cy - 6, Math.min(cy + 6, y));
    if (Math.hypot(toX - x, toY - y) < 12) return;
    context.strokeStyle = this.palette.muted;
    context.lineWidth = 1;
    strokeLine(context, [x, y], [toX, toY]);
  }
}

function strokeLine(context: CanvasRenderingContext2D, from: Point, to: Point): void {
  context.beginPath();
  context.moveTo(...from);
  context.lineTo(...to);
  context.stroke();
}
