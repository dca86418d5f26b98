// Tarvel in a browser: files are dropped on the page, and a worker surveys, splits, analyses and checks them.
import { RunDocument } from "../src/document";
import { button, choose, element } from "../src/dom";
import { Shown, show } from "../src/main";
import { rememberedSystem, rememberedTheme } from "../src/settings";
import { applyTheme, darkSystem, themeList, unitSwitch } from "../src/switches";
import { System, unitsOf } from "../src/units";
import { Courses } from "./engine";
import { Collection, TooMuch, collectChosen, collectDropped, isCourseFile } from "./files";
import { Queue } from "./queue";
import { Row, forgetResult, isSound, makeRow, parseDocument, settleRow, verdictOf } from "./rows";
import { pageName, pageOf, saveFile, withExtension } from "./saved";
import { Order, fileTable } from "./table";
import { Job, RunResult } from "./work";

interface CourseFile {
  name: string;
  bytes: Uint8Array;
}

const noCourse = "";
const byCourse = "no course: the gate is worked out from each run";
const largestCourse = 1e6;
const longestAloft = 1000; // s

class App {
  private readonly rows: Row[] = [];
  private readonly courses: CourseFile[] = [];
  private course = noCourse;
  private isCourseChosen = false; // by the user, not from the dropped files
  private order: Order = { key: "", isDescending: false };
  private system: System = rememberedSystem("imperial");
  private words = "";
  private shown: Shown | null = null;
  private shownRow: Row | null = null; // the only run in the view, until the user presses a key or a button there
  private openings = 0;
  private isDrawing = false;
  private isPressed = false;
  private drawnChoices = "";
  private toDo = 0;
  private done = 0;
  private count = 0;

  private readonly home = element("div", { class: "tarvel home" });
  private readonly bar = element("div", { class: "bar", role: "group", "aria-label": "Files of this run", hidden: true });
  private readonly view = element("div", { hidden: true });
  private readonly drop = element("section", { class: "dropping", "aria-label": "Files" });
  private readonly status = element("p", { class: "note", role: "status" });
  private readonly progress = element("progress", { "aria-label": "Files done", hidden: true });
  private readonly choices = element("div", { class: "controls choices" });
  private readonly list = element("div");

  constructor(
    root: HTMLElement,
    private readonly queue: Queue,
    private readonly template: () => Promise<string>,
  ) {
    this.addDropping();
    this.home.append(this.header(), element("main", {}, this.drop, this.progress, this.status, this.choices, this.list));
    root.append(this.home, this.bar, this.view);
    darkSystem.addEventListener("change", () => applyTheme(rememberedTheme()));
    for (const touch of ["pointerdown", "keydown"]) this.view.addEventListener(touch, () => (this.shownRow = null));
    addEventListener("pointerdown", () => (this.isPressed = true));
    for (const end of ["pointerup", "pointercancel"]) addEventListener(end, () => setTimeout(() => (this.isPressed = false)));
    applyTheme(rememberedTheme());
    this.draw();
  }

  private header(): HTMLElement {
    const units = unitSwitch(unitsOf(this.system), ({ system }) => {
      this.system = system;
      this.draw();
    });
    const theme = themeList(applyTheme);
    return element(
      "header",
      {},
      element("div", { class: "title" }, element("h1", {}, "Tarvel"), element("div", { class: "controls" }, units, theme)),
      element("p", { class: "promise" }, "Analyses the GPS tracks of canopy-piloting runs in this browser. ", element("strong", {}, "Nothing leaves this computer:"), " the page cannot load or send anything, and works without a network."),
    );
  }

  private addDropping(): void {
    const input = (attributes: Record<string, string | boolean>) => {
      const made = element("input", { type: "file", multiple: true, hidden: true, ...attributes });
      made.addEventListener("change", () => {
        void this.take(async () => collectChosen(made.files ?? []));
        made.value = "";
      });
      return made;
    };
    const files = input({ id: "files", "aria-label": "Files" });
    const folder = input({ id: "folder", webkitdirectory: true, "aria-label": "Folder" });
    this.drop.append(
      element("p", { class: "invitation" }, "Drop tracks, a walked course, course files or a whole folder here"),
      element("div", { class: "controls" }, button("Choose files", { class: "primary" }, () => files.click()), button("Choose a folder", {}, () => folder.click())),
      element("p", { class: "note" }, "Tracks as .csv or .tvl; matrix.txt for the course. A track of several jumps is split."),
      files,
      folder,
    );
    const over = (event: DragEvent, isOver: boolean) => {
      event.preventDefault();
      this.drop.classList.toggle("over", isOver);
    };
    addEventListener("dragover", (event) => over(event, true));
    addEventListener("dragleave", (event) => over(event, false));
    addEventListener("drop", (event) => {
      // The panel of a run has taken a video that was dropped on it.
      if (event.defaultPrevented) return;
      over(event, false);
      const data = event.dataTransfer;
      if (!data) return;
      this.close();
      void this.take(() => collectDropped(data));
    });
  }

  private async take(collect: () => Promise<Collection>): Promise<void> {
    this.words = "";
    try {
      await this.add(await collect());
    } catch (error) {
      this.words = error instanceof TooMuch ? error.message : `The files cannot be read: ${(error as Error).message}`;
    }
    this.draw();
  }

  private async add({ files, leftOut }: Collection): Promise<void> {
    const added: Row[] = [];
    let others = leftOut;
    for (const { path, file } of files) {
      const isText = /\.txt$/i.test(path) && file.size <= largestCourse;
      const bytes = isText ? new Uint8Array(await file.arrayBuffer()) : null;
      if (bytes && isCourseFile(path, new TextDecoder().decode(bytes))) this.addCourse({ name: path, bytes });
      // Among several files, other texts are reports, not tracks.
      else if (isText && files.length > 1) ++others;
      else added.push(this.addRow(path, file, false));
    }
    if (others > 0) this.words = `${others} other ${others === 1 ? "file was" : "files were"} left out.`;
    await this.analyse(added, false);
    if (added.length === 1 && this.rows.length === 1 && isSound(added[0])) await this.open([added[0]]);
  }

  private addRow(path: string, file: Blob, isPart: boolean): Row {
    const known = this.rows.findIndex((row) => row.path === path);
    const row = makeRow(++this.count, path, file, isPart);
    if (known < 0) this.rows.push(row);
    else {
      forgetResult(this.rows[known]);
      this.rows[known] = row;
    }
    return row;
  }

  private addCourse(course: CourseFile): void {
    const known = this.courses.findIndex(({ name }) => name === course.name);
    if (known < 0) this.courses.push(course);
    else this.courses[known] = course;
    const isDefault = /(^|\/)matrix\.txt$/.test(course.name);
    if (!this.isCourseChosen && (this.course === noCourse || isDefault)) this.course = course.name;
  }

  // The job for a row's file, with the present course and units.
  private jobOf(row: Row, check: boolean, isKnown: boolean): Job {
    // An index names files relative to its own folder, which would be the working directory of a call of tarvel.
    const folder = this.course.replace(/[^/]*$/, "");
    const files = this.courses.filter(({ name }) => name.startsWith(folder)).map(({ name, bytes }) => ({ name: name.slice(folder.length), bytes }));
    const start = this.course === noCourse ? null : this.course.slice(folder.length);
    const courses: Courses = { start, files };
    const name = row.path.replace(/^.*\//, "");
    return { name, file: row.file, courses, options: { metric: this.system === "metric", timeAloft: row.timeAloft }, check, isKnown };
  }

  // Analyses the rows, and all runs again when one of the rows was a new course; then checks the runs.
  private async analyse(rows: Row[], isKnown: boolean): Promise<void> {
    const course = this.course;
    this.toDo += rows.length;
    await Promise.all(rows.map((row) => this.analyseRow(row, isKnown)));
    if (this.course !== course) return this.analyseAgain();
    if (this.toDo === this.done) this.toDo = this.done = 0;
    this.draw();
    void this.check(rows);
  }

  private async analyseRow(row: Row, isKnown: boolean): Promise<void> {
    const jumps: Row[] = [];
    try {
      const result = await this.queue.do(this.jobOf(row, false, isKnown), false);
      if (result.kind === "day") {
        const folder = row.path.replace(/[^/]*$/, "");
        const at = this.rows.indexOf(row);
        if (at >= 0) this.rows.splice(at, 1);
        for (const { name, bytes } of result.jumps) jumps.push(this.addRow(folder + name, new Blob([bytes]), true));
        this.words = `${this.words} ${row.path} holds ${result.jumps.length} jumps, which are listed one by one.`.trim();
      } else {
        settleRow(row, result);
        if (result.kind === "walk") this.addCourse({ name: withExtension(row.path, "txt"), bytes: result.course });
      }
    } catch (error) {
      row.state = "done";
      row.message = (error as Error).message;
    }
    ++this.done;
    this.draw();
    this.toDo += jumps.length;
    await Promise.all(jumps.map((jump) => this.analyseRow(jump, true)));
  }

  private analyseAgain(): Promise<void> {
    const runs = this.rows.filter((row) => row.run !== null);
    for (const row of runs) row.state = "waiting";
    this.draw();
    return this.analyse(runs, true);
  }

  private async check(rows: Row[]): Promise<void> {
    for (const row of this.rows.filter((each) => each.isPart || rows.includes(each))) {
      if (!isSound(row) || (row.result?.kind === "run" && row.result.isChecked)) continue;
      const { course } = this;
      try {
        const result = await this.queue.do(this.jobOf(row, true, true), false);
        if (course !== this.course) return;
        if (result.kind !== "day") settleRow(row, result);
        // The run is shown without its verdict: show it again.
        if (this.shownRow === row) await this.open([row], true);
      } catch {
        // The run keeps its figures, without a verdict.
      }
      this.draw();
    }
  }

  private async resultOf(row: Row): Promise<RunResult> {
    const metric = this.system === "metric";
    if (row.result?.kind === "run" && row.result.metric === metric) return row.result;
    const result = await this.queue.do(this.jobOf(row, verdictOf(row) !== null, true), true);
    if (result.kind !== "run") throw new Error("not a run");
    settleRow(row, result);
    return result;
  }

  private async documentsOf(rows: Row[]): Promise<RunDocument[]> {
    const documents: RunDocument[] = [];
    for (const row of rows) documents.push({ ...parseDocument(await this.resultOf(row)) });
    return documents;
  }

  // isUpdate: the runs are shown already, and their documents have changed.
  private async open(rows: Row[], isUpdate = false): Promise<void> {
    const opening = ++this.openings;
    const documents = await this.documentsOf(rows);
    if (opening !== this.openings) return;
    this.shown?.close();
    this.home.hidden = true;
    this.view.hidden = this.bar.hidden = false;
    if (!isUpdate) this.addSaving(rows);
    this.shown = show(this.view, documents);
    this.shownRow = rows.length === 1 ? rows[0] : null;
    if (!isUpdate) window.scrollTo(0, 0);
  }

  private close(): void {
    ++this.openings;
    this.shown?.close();
    this.shown = null;
    this.shownRow = null;
    this.system = rememberedSystem(this.system);
    this.view.hidden = this.bar.hidden = true;
    this.home.hidden = false;
    document.title = "Tarvel";
    this.home.firstElementChild?.replaceWith(this.header());
    this.draw();
  }

  // Uses the units that the page of the run shows, even when the browser stores no settings.
  private followUnits(): void {
    const pressed = this.view.querySelector<HTMLElement>('[aria-label="Units"] [aria-pressed="true"]');
    if (pressed) this.system = pressed.dataset.value as System;
  }

  private addSaving(rows: Row[]): void {
    const [row] = rows;
    const save = (text: string, name: string, type: string, content: () => Promise<BlobPart | null>) =>
      button(text, { class: "tool", title: name }, async () => {
        this.followUnits();
        const bytes = await content();
        if (bytes !== null) saveFile(name, bytes, type);
      });
    const page = save("Page", pageName(row.path), "text/html", async () => pageOf(await this.template(), await this.documentsOf(rows)));
    const ofOne = [
      save("Report", withExtension(row.path, "txt"), "text/plain", async () => (await this.resultOf(row)).report),
      save("Map", withExtension(row.path, "kml"), "application/vnd.google-earth.kml+xml", async () => (await this.resultOf(row)).map),
      save("JSON", withExtension(row.path, "json"), "application/json", async () => (await this.resultOf(row)).document),
      row.isPart ? save("Track", row.path, "text/csv", async () => row.file) : null,
    ];
    this.bar.replaceChildren(
      button("← All files", { class: "tool wide back" }, () => this.close()),
      rows.length === 1 ? this.timeAloftField(row) : "",
      element("span", { class: "note" }, "Save:"),
      ...(rows.length === 1 ? ofOne.filter((each): each is HTMLButtonElement => each !== null && (isSound(row) || each.textContent !== "Report")) : []),
      page,
    );
  }

  // The field for the seconds between gate and touchdown, as a judge measured them. A change analyses the run again.
  private timeAloftField(row: Row): HTMLElement {
    const value = row.timeAloft === 0 ? "" : String(row.timeAloft / 1000);
    const field = element("input", { type: "number", min: 0, max: longestAloft, step: "any", value, placeholder: "not given" });
    field.addEventListener("change", async () => {
      if (!field.reportValidity()) return;
      row.timeAloft = Math.trunc(Number(field.value) * 1000);
      forgetResult(row);
      await this.open([row]);
      this.bar.querySelector("input")?.focus();
      void this.check([row]);
    });
    return element("label", { class: "choice aloft" }, element("span", {}, "Time aloft (-t), s"), field);
  }

  // Draws once for all recent changes, but not while a button is pressed, since a button that is replaced gets no
  // click.
  private draw(): void {
    if (this.isDrawing) return;
    this.isDrawing = true;
    setTimeout(() => {
      this.isDrawing = false;
      if (this.isPressed) this.draw();
      else this.drawNow();
    }, 50);
  }

  private drawNow(): void {
    const { rows } = this;
    this.home.classList.toggle("has-files", rows.length > 0);
    this.progress.hidden = this.toDo === 0;
    this.progress.max = this.toDo;
    this.progress.value = this.done;
    const working = this.toDo > 0 ? `${this.done} of ${this.toDo} files. ` : "";
    this.status.textContent = working + this.words;
    this.drawChoices();
    if (rows.length === 0) return this.list.replaceChildren();

    const focused = this.list.contains(document.activeElement) ? document.activeElement : null;
    const key = focused?.getAttribute("data-key") ?? null;
    const label = focused?.getAttribute("aria-label") ?? null;
    const scroll = this.list.firstElementChild?.scrollLeft ?? 0;
    this.list.replaceChildren(
      fileTable(rows, this.order, unitsOf(this.system), {
        sort: (by) => {
          this.order = { key: by, isDescending: this.order.key === by && !this.order.isDescending };
          this.drawNow();
        },
        open: (row) => void this.open([row]),
        tick: (row, isTicked) => {
          row.isTicked = isTicked;
          this.drawChoices();
        },
        saveCourse: (row) => saveFile(withExtension(row.path, "txt"), row.walk!.course, "text/plain"),
        saveMap: (row) => saveFile(withExtension(row.path, "kml"), row.walk!.map!, "application/vnd.google-earth.kml+xml"),
        saveLog: (row) => saveFile(withExtension(row.path, "log"), row.walk!.log!, "text/plain"),
      }),
    );
    this.list.firstElementChild!.scrollLeft = scroll;
    const again = key ? `[data-key="${CSS.escape(key)}"]` : label ? `[aria-label="${CSS.escape(label)}"]` : null;
    if (again) this.list.querySelector<HTMLElement>(again)?.focus({ preventScroll: true });
  }

  private drawChoices(): void {
    this.choices.hidden = this.rows.length === 0 && this.courses.length === 0;
    const known = [...this.courses.map(({ name }) => ({ value: name, text: name })), { value: noCourse, text: byCourse }];
    const ticked = this.rows.filter((row) => row.isTicked && isSound(row));
    const drawn = JSON.stringify([known, this.course, ticked.map(({ path }) => path)]);
    if (drawn === this.drawnChoices) return;
    this.drawnChoices = drawn;
    const compare = button(ticked.length < 2 ? "Compare" : `Compare ${ticked.length} runs`, { class: "primary", disabled: ticked.length < 2 }, () => void this.open(ticked));
    const choice = choose("Course", known, this.course, (name) => {
      this.course = name;
      this.isCourseChosen = true;
      void this.analyseAgain();
    });
    this.choices.replaceChildren(choice, compare);
  }
}

function textOf(id: string): string {
  return document.getElementById(id)?.textContent ?? "";
}

const root = document.getElementById("tarvel-app");
if (root) {
  const source = URL.createObjectURL(new Blob([textOf("tarvel-worker")], { type: "text/javascript" }));
  const worker = new Worker(source);
  worker.postMessage({ engine: textOf("tarvel-engine") });
  new App(root, new Queue(worker), async () => JSON.parse(textOf("tarvel-template")) as string);
}
