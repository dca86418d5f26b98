// Translates wheel, pinch, drag, hover and keys over a drawing to calls.

export interface Handlers {
  point(x: number, y: number): void; // the mouse over it, or one finger on it
  pan(dx: number, dy: number): void;
  zoom(factor: number, x: number, y: number): void;
  fit(): void;
  isZoomed(): boolean;
  centre(): [number, number]; // what stays in its place when keys zoom
  fingerPans: boolean; // one finger moves what is zoomed, instead of the cursor
}

// While the page is being scrolled, a drawing that comes under the pointer does not take the wheel.
const scrollPause = 350; // ms
let lastScroll = -Infinity;
window.addEventListener("scroll", () => (lastScroll = performance.now()), { passive: true });

function wheelFactor(event: WheelEvent): number {
  const pixels = event.deltaY * (event.deltaMode === WheelEvent.DOM_DELTA_LINE ? 33 : 1);
  return Math.exp(-Math.max(-240, Math.min(240, pixels)) / 400);
}

export function listenToGestures(area: HTMLElement, handlers: Handlers): void {
  const pointers = new Map<number, PointerEvent>();
  let moved = false;
  const place = (event: MouseEvent): [number, number] => {
    const box = area.getBoundingClientRect();
    return [event.clientX - box.left, event.clientY - box.top];
  };
  const pair = () => {
    const [a, b] = [...pointers.values()];
    return {
      x: (a.clientX + b.clientX) / 2,
      y: (a.clientY + b.clientY) / 2,
      apart: Math.max(1, Math.hypot(a.clientX - b.clientX, a.clientY - b.clientY)),
    };
  };
  // Up and down still scroll the page, except where a finger moves the drawing.
  const claim = () => {
    area.style.touchAction = handlers.fingerPans && handlers.isZoomed() ? "none" : "pan-y";
  };
  claim();

  area.addEventListener(
    "wheel",
    (event) => {
      const factor = wheelFactor(event);
      const isOut = factor < 1 && !handlers.isZoomed();
      if (isOut || performance.now() - lastScroll < scrollPause) return;
      event.preventDefault();
      handlers.zoom(factor, ...place(event));
      claim();
    },
    { passive: false },
  );
  area.addEventListener("pointerdown", (event) => {
    if (event.button !== 0) return;
    pointers.set(event.pointerId, event);
    moved = false;
    if (event.pointerType === "mouse") area.setPointerCapture(event.pointerId);
    else if (!(handlers.fingerPans && handlers.isZoomed())) handlers.point(...place(event));
  });
  area.addEventListener("pointermove", (event) => {
    const before = pointers.get(event.pointerId);
    if (!before) {
      if (event.pointerType === "mouse") handlers.point(...place(event));
      return;
    }
    const dx = event.clientX - before.clientX;
    const dy = event.clientY - before.clientY;
    if (dx === 0 && dy === 0) return;
    moved = true;
    if (pointers.size === 2) {
      const old = pair();
      pointers.set(event.pointerId, event);
      const now = pair();
      const box = area.getBoundingClientRect();
      handlers.zoom(now.apart / old.apart, now.x - box.left, now.y - box.top);
      handlers.pan(now.x - old.x, now.y - old.y);
      return;
    }
    pointers.set(event.pointerId, event);
    const pans = event.pointerType === "mouse" || (handlers.fingerPans && handlers.isZoomed());
    if (pans) handlers.pan(dx, dy);
    else handlers.point(...place(event));
  });
  const release = (event: PointerEvent) => {
    if (pointers.delete(event.pointerId) && !moved && event.type === "pointerup") handlers.point(...place(event));
    claim();
  };
  area.addEventListener("pointerup", release);
  area.addEventListener("pointercancel", release);
  area.addEventListener("dblclick", () => {
    handlers.fit();
    claim();
  });
  area.addEventListener("keydown", (event) => {
    if (event.ctrlKey || event.metaKey || event.altKey) return;
    if (event.key === "+" || event.key === "=") handlers.zoom(1.25, ...handlers.centre());
    else if (event.key === "-") handlers.zoom(0.8, ...handlers.centre());
    else if (event.key === "0") handlers.fit();
    else return;
    event.preventDefault();
    claim();
  });
}
