// Places names beside their marks, so that they cover neither each other nor the path.

export interface Box {
  x: number;
  y: number;
  width: number;
  height: number;
}

export interface Named {
  x: number;
  y: number;
  width: number;
  height: number;
}

type Point = [number, number];

const distances = [9, 20, 34, 52, 74, 100, 130, 165];
const directions = 16;

function overlaps(a: Box, b: Box): boolean {
  return a.x < b.x + b.width && b.x < a.x + a.width && a.y < b.y + b.height && b.y < a.y + a.height;
}

function contains(box: Box, [x, y]: Point): boolean {
  return x > box.x && x < box.x + box.width && y > box.y && y < box.y + box.height;
}

// The label's box in a direction from the mark: the side that faces the mark touches the circle around it.
function candidate(mark: Named, angle: number, distance: number): Box {
  const dx = Math.cos(angle);
  const dy = Math.sin(angle);
  return {
    x: mark.x + dx * distance + (dx - 1) * 0.5 * mark.width,
    y: mark.y + dy * distance + (dy - 1) * 0.5 * mark.height,
    width: mark.width,
    height: mark.height,
  };
}

// True when the line from the mark to its label crosses another label.
function crosses(mark: Named, box: Box, placed: Box[]): boolean {
  const steps = 12;
  const toX = box.x + box.width / 2;
  const toY = box.y + box.height / 2;
  for (let i = 0; i <= steps; ++i) {
    const point: Point = [mark.x + ((toX - mark.x) * i) / steps, mark.y + ((toY - mark.y) * i) / steps];
    if (contains(box, point)) return false;
    if (placed.some((other) => contains(other, point))) return true;
  }
  return false;
}

// A box for each mark, in their order; null for a mark without room for its label.
export function placeLabels(marks: Named[], path: Point[], area: Box): (Box | null)[] {
  const placed: Box[] = [];
  const circles = marks.map((mark): Box => ({ x: mark.x - 5, y: mark.y - 5, width: 10, height: 10 }));
  return marks.map((mark) => {
    let best: Box | null = null;
    let least = Infinity;
    for (const distance of distances) {
      // What is farther away costs more than that.
      if (distance >= least) break;
      for (let k = 0; k < directions; ++k) {
        const box = candidate(mark, (k * 2 * Math.PI) / directions, distance);
        const isInside =
          box.x >= area.x &&
          box.y >= area.y &&
          box.x + box.width <= area.x + area.width &&
          box.y + box.height <= area.y + area.height;
        if (!isInside || placed.some((other) => overlaps(box, other))) continue;
        const covered = path.reduce((sum, point) => sum + (contains(box, point) ? 1 : 0), 0);
        const hidden = circles.reduce((sum, circle) => sum + (overlaps(box, circle) ? 1 : 0), 0);
        const cost = distance + 16 * covered + 60 * hidden + (distance > 20 && crosses(mark, box, placed) ? 80 : 0);
        if (cost < least) {
          least = cost;
          best = box;
        }
      }
    }
    if (best) placed.push(best);
    return best;
  });
}
