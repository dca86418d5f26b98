// The script that the pages of a meet share: the table of its runs, a run, and a comparison of runs. A page from the
// disk cannot read other files, but can load scripts: each document is the argument of a call in a script of its own.
import { RunDocument } from "./document";
import { element } from "./dom";
import { Shown, show } from "./main";
import { MeetRun, comparedRuns } from "./meet-runs";
import { MeetTable } from "./meet-table";
import { unpack } from "./packed";
import { rememberedSystem, rememberedTheme } from "./settings";
import { applyTheme, darkSystem, themeList, unitSwitch } from "./switches";
import { unitsOf } from "./units";

let receive: (document: RunDocument) => void;
Object.assign(window, { tarvelRun: (document: RunDocument) => receive(unpack(document)) });

// The content policy admits scripts with the nonce of this one.
const nonce = (document.currentScript as HTMLScriptElement).nonce;

function loadRun(run: MeetRun): Promise<RunDocument> {
  return new Promise((resolve, reject) => {
    let received: RunDocument | null = null;
    receive = (document) => (received = document);
    const script = element("script", { src: run.script! });
    script.nonce = nonce;
    script.onload = () => (received ? resolve(received) : reject());
    script.onerror = reject;
    document.head.append(script);
    script.remove();
  });
}

class MeetPage {
  private readonly table: MeetTable;
  private readonly home: HTMLElement;
  private comparison: Shown | null = null;

  constructor(
    private readonly root: HTMLElement,
    private readonly runs: MeetRun[],
  ) {
    const units = unitsOf(rememberedSystem(runs[0]?.metric ? "metric" : "imperial"));
    this.table = new MeetTable(runs, units);
    this.home = element(
      "div",
      { class: "tarvel meet" },
      element(
        "header",
        { class: "title" },
        element("h1", {}, "Runs of the meet"),
        element("div", { class: "controls" }, unitSwitch(units, (chosen) => this.table.setUnits(chosen)), themeList(applyTheme)),
      ),
      this.table.root,
    );
    applyTheme(rememberedTheme());
    darkSystem.addEventListener("change", () => applyTheme(rememberedTheme()));
    window.addEventListener("hashchange", () => void this.follow());
    void this.follow();
  }

  // Shows the comparison for which the address asks, otherwise the table.
  private async follow(): Promise<void> {
    const address = location.hash;
    const chosen = comparedRuns(address, this.runs);
    this.comparison?.close();
    this.comparison = null;
    if (chosen.length < 2) {
      document.title = "Runs of the meet";
      this.root.replaceChildren(this.home);
      return;
    }
    const place = element("div", { class: "tarvel" });
    this.root.replaceChildren(element("nav", { class: "meet-nav" }, element("a", { href: "#" }, "All runs of the meet")), place);
    const documents: RunDocument[] = [];
    for (const run of chosen) {
      const document = await loadRun(run).catch(() => null);
      if (location.hash !== address) return;
      if (!document) {
        place.replaceChildren(element("p", { role: "alert" }, `cannot read ${run.script}; call tarvel-meet again`));
        return;
      }
      documents.push(document);
    }
    // Tracks may have equal names; the names of runs differ.
    const areNamed = new Set(documents.map(({ track }) => track.name)).size === documents.length;
    const named = documents.map((each, i) => ({ ...each, track: { ...each.track, name: chosen[i].name } }));
    this.comparison = show(place, areNamed ? documents : named);
  }
}

const root = document.getElementById("tarvel-page");
const list = document.getElementById("tarvel-runs");
if (root && list) new MeetPage(root, JSON.parse(list.textContent ?? "[]") as MeetRun[]);
else if (root) receive = (document) => void show(root, [document]);
