// The facts about a run: name, clock time, course, track and program.
import { RunDocument } from "./document";
import { element } from "./dom";

// 2026-05-16T13:08:48.661 as 2026-05-16 13:08:48.
export function clockText(clock: string | null | undefined): string {
  return clock ? clock.replace("T", " ").replace(/\.\d+$/, "") : "unknown";
}

// When the run was flown, with the name of that moment. A track may begin long before it, with other jumps.
function flownAt({ phases, track }: RunDocument): [string, string | null] {
  if (phases?.entry_gate?.clock) return ["Through the gate", phases.entry_gate.clock];
  if (phases?.turn?.clock) return ["Turn begins", phases.turn.clock];
  return ["Track begins", track.first_clock];
}

export function clockOf(document: RunDocument): string | null {
  return flownAt(document)[1];
}

export function courseText({ course, program }: RunDocument): string {
  if (course.gate === null && course.file === null) return program.options.implicit_gate ? "none" : "unknown";
  if (course.gate === "implicit") return "none; the gate is worked out from the run itself";
  const words = [course.file ?? "unknown"];
  if (course.carve) words.push(`speed carve to the ${course.carve}`);
  if (course.reversed) words.push("flown against the course");
  return words.join(", ");
}

export function factList(document: RunDocument): HTMLElement {
  const { track, program } = document;
  const [moment, clock] = flownAt(document);
  const rate = track.rate === null ? "" : `, ${Number(track.rate.toPrecision(3))} a second`;
  const aloft = program.options.time_aloft;
  const facts: [string, string][] = [
    [moment, clockText(clock)],
    ["Course", courseText(document)],
    ["Track", `${track.name}, ${track.count} ${track.count === 1 ? "sample" : "samples"}${rate}`],
    ...(aloft === null ? [] : [["Time aloft given", `${aloft / 1000} s`] as [string, string]]),
    ["Analysed by", `Tarvel ${program.version}`],
    ["SHA-256 of the track", track.sha256 ?? "unknown"],
  ];
  const list = element("dl", { class: "facts" });
  for (const [name, value] of facts) {
    const isDigest = name.startsWith("SHA");
    list.append(element("div", { class: isDigest ? "digest" : "" }, element("dt", {}, name), element("dd", {}, value)));
  }
  return list;
}

export function failurePanel(document: RunDocument): HTMLElement | null {
  const failure = document.failure;
  if (!failure) return null;
  return element(
    "section",
    { class: "verdict unusable", role: "alert" },
    element("p", {}, element("span", { class: "sign", "aria-hidden": "true" }, "✕"), element("strong", {}, "The run could not be analysed: "), failure.message),
  );
}

// The warnings of all runs; of several runs, each with the run's label.
export function warningList(documents: RunDocument[], labels: string[]): HTMLElement | null {
  const about = (i: number) => (documents.length === 1 ? "" : ` about ${labels[i]}`);
  const texts = documents.flatMap(({ warnings }, i) => warnings.map((text) => `Warning${about(i)}: ${text}`));
  return texts.length === 0 ? null : element("ul", { class: "warnings" }, ...texts.map((text) => element("li", {}, text)));
}
