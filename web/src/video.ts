// A local video beside the run. It is played from the disk and not sent anywhere. It is synchronised by one frame and
// one moment of the run, which the user states to be the same.
import { Cursor } from "./cursor";
import { button, choose, element } from "./dom";
import { Run, findMark } from "./runs";
import { nearest } from "./axis";
import { fixed } from "./units";

const speeds = [
  { value: "1", text: "full speed" },
  { value: "0.5", text: "half speed" },
  { value: "0.25", text: "quarter speed" },
];

// Tests the name when the system does not know the type.
function isVideo(file: File): boolean {
  return file.type.startsWith("video/") || /\.(mp4|m4v|mov|webm|mkv|avi|mts)$/i.test(file.name);
}

export class VideoPanel {
  readonly root: HTMLElement;
  private readonly video = element("video", { controls: true, playsinline: true, preload: "auto", hidden: true });
  private readonly file = element("input", { type: "file", accept: "video/*", id: "tarvel-video" });
  private readonly message = element("p", { class: "note", role: "status" });
  private readonly tools: HTMLElement;
  private offset: number | null = null; // the video's time less the run's, s
  private address: string | null = null;
  private moment: string;
  private isOwnSeek = false;
  private wanted: number | null = null; // the time to seek when the present seek has ended

  constructor(
    private readonly run: Run,
    private readonly cursor: Cursor,
    signal: AbortSignal, // removes the panel's listeners from the document
  ) {
    const moments = run.marks.map((mark) => ({ value: mark.key, text: mark.name }));
    this.moment = findMark(run, "touchdown")?.key ?? moments[0]?.value ?? "";
    this.file.addEventListener("change", () => this.file.files?.[0] && this.open(this.file.files[0]));
    this.tools = element(
      "div",
      { class: "video-tools", hidden: true },
      choose("This frame is the", moments, this.moment, (value) => (this.moment = value)),
      button("Set", { class: "tool wide" }, () => this.setOffset()),
      button("−1 frame", { class: "tool wide" }, () => this.step(-1)),
      button("+1 frame", { class: "tool wide" }, () => this.step(1)),
      choose("Play at", speeds, "1", (value) => (this.video.playbackRate = Number(value))),
    );
    const label = element("label", { for: "tarvel-video", class: "drop" }, "Choose a video, or drop it on the page. It is played from your disk and sent nowhere.");
    this.root = element(
      "details",
      { class: "panel video" },
      element("summary", {}, element("h2", {}, "Video")),
      label,
      this.file,
      this.video,
      this.tools,
      this.message,
    );
    this.video.addEventListener("error", () => this.say("This browser cannot play the file."));
    this.video.addEventListener("seeked", () => this.seeked());
    this.video.addEventListener("play", () => this.watch());
    cursor.listen((sample, source) => source !== this && this.seek(sample));
    document.addEventListener("dragover", (event) => event.preventDefault(), { signal });
    document.addEventListener("drop", (event) => this.drop(event), { signal });
  }

  private say(text: string): void {
    this.message.textContent = text;
  }

  private drop(event: DragEvent): void {
    const file = event.dataTransfer?.files[0];
    if (!file || !isVideo(file)) return;
    event.preventDefault();
    (this.root as HTMLDetailsElement).open = true;
    this.open(file);
  }

  private open(file: File): void {
    if (this.address !== null) URL.revokeObjectURL(this.address);
    this.address = URL.createObjectURL(file);
    this.offset = null;
    this.video.src = this.address;
    this.video.hidden = false;
    this.tools.hidden = false;
    this.root.parentElement?.classList.add("with-video");
    this.say("Find the frame that shows a moment of the run, such as the touchdown, and press Set.");
  }

  private setOffset(): void {
    const time = findMark(this.run, this.moment)?.phase.time;
    if (time === undefined || time === null) return;
    this.offset = this.video.currentTime - time / 1000;
    this.say(`The run's ${findMark(this.run, this.moment)?.name} is at ${fixed(this.video.currentTime, 2)} s of the video.`);
    this.follow(this.video.currentTime);
  }

  // A page cannot find a video's frame rate: 30 a second are assumed.
  private step(frames: number): void {
    this.video.pause();
    this.video.currentTime = Math.max(0, this.video.currentTime + frames / 30);
  }

  // Moves the cursor to the time of the video's frame.
  private follow(time: number): void {
    if (this.offset === null) return;
    this.cursor.move(nearest(this.run.time, time - this.offset), this);
  }

  // Follows each frame of the video when the browser reports them, otherwise each frame of the screen.
  private watch(): void {
    const next = (time: number) => {
      if (this.video.paused || this.video.ended) return;
      this.follow(time);
      this.watch();
    };
    if ("requestVideoFrameCallback" in this.video) this.video.requestVideoFrameCallback((_, frame) => next(frame.mediaTime));
    else requestAnimationFrame(() => next(this.video.currentTime));
  }

  // Moves the video to the time of the cursor.
  private seek(sample: number): void {
    if (this.offset === null || !this.video.paused) return;
    const time = this.run.time[sample] + this.offset;
    if (!(time >= 0) || time > this.video.duration) return;
    if (this.isOwnSeek) {
      this.wanted = time;
      return;
    }
    this.isOwnSeek = true;
    this.video.currentTime = time;
  }

  private seeked(): void {
    if (!this.isOwnSeek) {
      this.follow(this.video.currentTime);
      return;
    }
    this.isOwnSeek = this.wanted !== null;
    if (this.wanted !== null) this.video.currentTime = this.wanted;
    this.wanted = null;
  }
}
