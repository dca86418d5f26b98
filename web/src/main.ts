// The page of one run, or of several compared with the first.
import { Alignment, AxisKind, originOf } from "./axis";
import { checkOf, verdictPanels } from "./check";
import { Palette, paletteOf, runColour, runDash } from "./colours";
import { Cursor } from "./cursor";
import { Curves, Stretch, axisTitle, keyEntry } from "./curves";
import { RunDocument } from "./document";
import { button, choose, element, segments } from "./dom";
import { makeCurves, makeViews, speedLegend, stretchOf } from "./drawings";
import { comparisonTable, phaseTable, referenceOf, runName, scoreTiles } from "./figures";
import { factList, failurePanel, warningList } from "./head";
import { Matching, alignments, originName } from "./matching";
import { accuracyPanels, differencePanels, flightPanels } from "./panels";
import { addSheet } from "./print";
import { Readout } from "./readout";
import { Run, labelsOf, makeRun } from "./runs";
import { applyTheme, darkSystem, themeList, unitSwitch } from "./switches";
import { Theme, rememberedSystem, rememberedTheme } from "./settings";
import { Units, unitsOf } from "./units";
import { VideoPanel } from "./video";
import { View } from "./view";

export interface Shown {
  // Removes the page from its root, and its listeners from the window.
  close(): void;
}

const axisChoices: { value: AxisKind; text: string }[] = [
  { value: "time", text: "time" },
  { value: "distance", text: "distance to the gate" },
  { value: "height", text: "height" },
];

class RunPage {
  private readonly runs: Run[];
  private readonly labels: string[];
  private readonly colours: number[];
  private readonly cursor: Cursor | null;
  private units: Units;
  private kind: AxisKind = "time";
  private alignment: Alignment = "entry_gate";
  private matching: Matching | null = null;
  private views: View[] = [];
  private curves: Curves[] = [];
  private readout: Readout | null = null;
  private stretch: Stretch | null = null;
  private showsAccuracies = false;
  private removeSheet: (() => void) | null = null;
  private readonly body = element("div", { class: "body" });
  private readonly closing = new AbortController();

  constructor(
    private readonly root: HTMLElement,
    private readonly documents: RunDocument[],
  ) {
    this.labels = labelsOf(documents.map((each) => each.track.name));
    const made = documents.map((each, i) => makeRun(each, this.labels[i]));
    this.runs = made.filter((run): run is Run => run !== null);
    this.colours = made.map((run) => (run ? this.runs.indexOf(run) : -1));
    this.units = unitsOf(rememberedSystem(documents[0].program.options.metric ? "metric" : "imperial"));
    const first = this.runs[0];
    this.cursor = first ? new Cursor(first.count, originOf(first, "entry_gate")?.sample ?? 0) : null;
    this.cursor?.listen((sample) => this.showCursor(sample));

    applyTheme(rememberedTheme());
    root.classList.add("tarvel");
    root.replaceChildren(this.header(), element("main", {}, this.body, first && this.cursor ? new VideoPanel(first, this.cursor, this.closing.signal).root : null));
    document.title = this.labels.join(", ");
    this.addWords();
    // The figures are shown before anything is drawn.
    afterPaint(() => this.closing.signal.aborted || this.addDrawings());

    const { signal } = this.closing;
    const resized = new ResizeObserver(() => this.resize());
    for (const each of [root, this.body]) resized.observe(each);
    signal.addEventListener("abort", () => resized.disconnect());
    darkSystem.addEventListener("change", () => this.changeTheme(rememberedTheme()), { signal });
    window.addEventListener("beforeprint", () => this.makeSheet(), { signal });
    window.addEventListener("afterprint", () => this.endSheet(), { signal });
    root.addEventListener("keydown", (event) => this.pressed(event), { signal });
  }

  close(): void {
    this.closing.abort();
    this.endSheet();
    for (const group of this.curves) group.destroy();
    this.root.replaceChildren();
  }

  private changeTheme(theme: Theme): void {
    applyTheme(theme);
    this.refresh();
  }

  private header(): HTMLElement {
    const [first] = this.documents;
    const others = this.labels.slice(1);
    return element(
      "header",
      {},
      element(
        "div",
        { class: "title" },
        element("h1", {}, this.labels[0]),
        element(
          "div",
          { class: "controls" },
          unitSwitch(this.units, (units) => {
            this.units = units;
            this.refresh();
          }),
          themeList((theme) => this.changeTheme(theme)),
          button("Print", { class: "tool wide" }, () => window.print()),
        ),
      ),
      others.length > 0 ? element("p", { class: "others" }, `compared with ${others.join(", ")}`) : null,
      factList(first),
    );
  }

  // Makes everything again that depends on units, theme, axis or alignment.
  private refresh(): void {
    this.addWords();
    this.addDrawings();
  }

  private addWords(): void {
    for (const group of this.curves) group.destroy();
    this.curves = [];
    this.views = [];
    this.readout = null;
    this.body.replaceChildren();
    const { documents, units, body } = this;
    const [first] = documents;
    const palette = paletteOf(this.root);
    const parts = [failurePanel(first), warningList(documents, this.labels), ...verdictPanels(documents, this.labels, units)];
    body.append(...parts.filter((part): part is HTMLElement => part !== null));
    if (documents.length > 1) body.append(element("section", { class: "panel" }, comparisonTable(documents, this.labels, this.colours, palette, units)));
    else if (first.figures) body.append(scoreTiles(first, checkOf(first), units));
    this.matching = this.cursor ? new Matching(this.runs, this.kind, this.alignment) : null;
  }

  private addDrawings(): void {
    const { cursor, matching, documents, body, units } = this;
    const reference = referenceOf(documents);
    if (cursor && matching) this.addViewsAndCurves(cursor, matching, paletteOf(this.root));
    const phases = element("div", { class: "phase-tables" });
    documents.forEach((document, i) => {
      if (!document.figures) return;
      const name = documents.length > 1 ? element("h3", {}, runName(this.labels[i], this.colours[i], paletteOf(this.root))) : null;
      const other = i === reference ? null : { document: documents[reference], label: this.labels[reference] };
      const table = phaseTable(document, this.labels[i], checkOf(document), units, other);
      phases.append(element("section", { class: "panel" }, name, table));
    });
    body.append(phases);
    this.resize();
    if (cursor) this.showCursor(cursor.sample);
  }

  private addViewsAndCurves(cursor: Cursor, matching: Matching, palette: Palette): void {
    const { runs, units, body } = this;
    // A change of units keeps the zoomed stretch.
    this.stretch?.forget();
    const stretch = this.stretch ?? stretchOf(matching.axes, runs, this.kind);
    this.stretch = stretch;
    this.views = makeViews(matching, units, palette, { pixelRatio: Math.max(1, window.devicePixelRatio), textSize: 12 }, cursor);
    this.readout = new Readout(matching, cursor, units, originName(matching), palette);
    const flight = makeCurves(flightPanels(matching, palette), matching, stretch, units, palette, cursor);
    this.curves = [flight];

    body.append(
      element("div", { class: "views" }, ...this.views.map((view) => view.root)),
      runs.length === 1 ? speedLegend(runs[0], units, palette) : "",
      this.readout.root,
      this.curveTools(stretch, flight),
      flight.root,
    );
    if (runs.length > 1) this.addDifferences(cursor, stretch, palette);
    body.append(this.accuracies(() => makeCurves(accuracyPanels(matching, palette), matching, stretch, units, palette, cursor)));
  }

  // The curves are made when the section is first opened.
  private accuracies(make: () => Curves): HTMLElement {
    const details = element("details", { class: "more" }, element("summary", {}, element("h2", {}, "Accuracy and satellites")));
    const open = () => {
      this.showsAccuracies = details.open;
      if (details.childElementCount > 1) return;
      const made = make();
      this.curves.push(made);
      details.append(made.root);
      this.resize();
      if (this.cursor) this.showCursor(this.cursor.sample);
    };
    details.addEventListener("toggle", open);
    details.open = this.showsAccuracies;
    return details;
  }

  // The differences are over the distance to the gate, whatever the axis of the other curves is.
  private addDifferences(cursor: Cursor, stretch: Stretch, palette: Palette): void {
    const { runs, units, body } = this;
    const byPlace = this.kind === "distance" ? this.matching! : new Matching(runs, "distance", this.alignment);
    const shared = this.kind === "distance" ? stretch : stretchOf(byPlace.axes, runs, "distance");
    const group = makeCurves(differencePanels(runs, palette), byPlace, shared, units, palette, cursor);
    this.curves.push(group);
    body.append(
      element("h2", {}, "Differences at the same place"),
      element("p", { class: "note" }, `Each run minus ${runs[0].label}, over ${axisTitle("distance", "", units)}.`),
      group.root,
    );
  }

  private curveTools(stretch: Stretch, flight: Curves): HTMLElement {
    const zoomBy = (factor: number) => () => flight.zoom(factor);
    return element(
      "div",
      { class: "curve-tools" },
      element("h2", {}, "Curves"),
      segments("Curves over", axisChoices, this.kind, (kind) => {
        this.kind = kind;
        this.stretch = null;
        this.refreshKeeping(`[aria-label="Curves over"] [aria-pressed="true"]`);
      }),
      choose("Aligned at the", alignments, this.alignment, (alignment) => {
        this.alignment = alignment;
        this.stretch = null;
        this.refreshKeeping(".curve-tools select");
      }),
      element(
        "div",
        { class: "tools" },
        button("+", { class: "tool", "aria-label": "Zoom in: curves" }, zoomBy(1.5)),
        button("−", { class: "tool", "aria-label": "Zoom out: curves" }, zoomBy(1 / 1.5)),
        button("Fit", { class: "tool", "aria-label": "Fit: curves" }, () => stretch.fit()),
      ),
      this.runs.length > 1 ? this.key() : null,
      element("p", { class: "note axis-title" }, `x axis: ${axisTitle(this.kind, originName(this.matching!), this.units)}`),
    );
  }

  // The key of all panels of curves.
  private key(): HTMLElement {
    const palette = paletteOf(this.root);
    return element("ul", { class: "key" }, ...this.runs.map(({ label }, i) => keyEntry(label, runColour(i, palette), runDash(i))));
  }

  // Keeps the focus on the control that was used, which is made again as well, and keeps the scroll position.
  private refreshKeeping(selector: string): void {
    const top = window.scrollY;
    this.refresh();
    this.root.querySelector<HTMLElement>(selector)?.focus({ preventScroll: true });
    window.scrollTo(window.scrollX, top);
  }

  private resize(): void {
    const drawings = [...this.views, ...this.curves];
    for (const drawing of drawings) drawing.measure();
    for (const drawing of drawings) drawing.resize();
  }

  private showCursor(sample: number): void {
    if (!this.matching) return;
    const matched = this.matching.of(sample);
    for (const view of this.views) view.showCursor(matched);
    for (const group of this.curves) group.showCursor(matched);
    this.readout?.show(matched);
  }

  // Handles keys over a drawing. The slider and all other controls handle their own.
  private pressed(event: KeyboardEvent): void {
    const isDrawing = event.target instanceof Element && event.target.matches(".view-area, .plot");
    if (!isDrawing || !this.cursor || event.ctrlKey || event.metaKey || event.altKey) return;
    const by = event.shiftKey ? 10 : 1;
    if (event.key === "ArrowRight" || event.key === "ArrowUp") this.cursor.move(this.cursor.sample + by);
    else if (event.key === "ArrowLeft" || event.key === "ArrowDown") this.cursor.move(this.cursor.sample - by);
    else if (event.key === "Home") this.cursor.move(0);
    else if (event.key === "End") this.cursor.move(Infinity);
    else if (event.key === "PageDown") this.readout?.jump(1);
    else if (event.key === "PageUp") this.readout?.jump(-1);
    else return;
    event.preventDefault();
  }

  private makeSheet(): void {
    this.endSheet();
    const { documents, labels, colours, matching, units } = this;
    this.removeSheet = addSheet(this.root, { documents, labels, colours, matching, units });
  }

  private endSheet(): void {
    this.removeSheet?.();
    this.removeSheet = null;
  }
}

// A hidden page is not painted: its next frame would come only when it is shown.
function afterPaint(then: () => void): void {
  if (document.hidden) setTimeout(then);
  else requestAnimationFrame(() => setTimeout(then));
}

// Shows the first document in root, compared with the others.
export function show(root: HTMLElement, documents: RunDocument[]): Shown {
  return new RunPage(root, documents);
}
