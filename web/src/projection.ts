// Projects metres to the pixels of a view, with the same scale in both directions.

export interface Extent {
  left: number;
  right: number;
  bottom: number;
  top: number;
}

export interface Margins {
  left: number;
  right: number;
  top: number;
  bottom: number;
}

const leastScale = 1 / 50; // pixels per metre; a telephone then shows 20 km
const greatestScale = 200; // pixels per metre

export class Projection {
  private scale = 1; // pixels per metre
  private originX = 0; // pixels, position of (0, 0)
  private originY = 0;
  private fittedScale = 1;
  private isFitted = true;

  fit(extent: Extent, width: number, height: number, margins: Margins): void {
    const across = Math.max(extent.right - extent.left, 1);
    const upwards = Math.max(extent.top - extent.bottom, 1);
    const innerWidth = Math.max(width - margins.left - margins.right, 20);
    const innerHeight = Math.max(height - margins.top - margins.bottom, 20);
    this.scale = Math.min(innerWidth / across, innerHeight / upwards);
    this.originX = margins.left + innerWidth / 2 - (this.scale * (extent.left + extent.right)) / 2;
    this.originY = margins.top + innerHeight / 2 + (this.scale * (extent.bottom + extent.top)) / 2;
    this.fittedScale = this.scale;
    this.isFitted = true;
  }

  get pixelsPerMetre(): number {
    return this.scale;
  }

  get isMoved(): boolean {
    return !this.isFitted;
  }

  get isCloser(): boolean {
    return this.scale > this.fittedScale * 1.001;
  }

  x(metres: number): number {
    return this.originX + metres * this.scale;
  }

  y(metres: number): number {
    return this.originY - metres * this.scale;
  }

  metresX(pixel: number): number {
    return (pixel - this.originX) / this.scale;
  }

  metresY(pixel: number): number {
    return (this.originY - pixel) / this.scale;
  }

  pan(dx: number, dy: number): void {
    this.originX += dx;
    this.originY += dy;
    this.isFitted = false;
  }

  // Zooms around the pixel (x, y), which keeps its place.
  zoom(factor: number, x: number, y: number): void {
    const wanted = Math.max(leastScale, Math.min(greatestScale, this.scale * factor));
    const ratio = wanted / this.scale;
    this.originX = x + (this.originX - x) * ratio;
    this.originY = y + (this.originY - y) * ratio;
    this.scale = wanted;
    this.isFitted = false;
  }
}

// The least number of the form 1, 2 or 5 times a power of ten that is not less than this.
export function niceStep(least: number): number {
  const power = 10 ** Math.floor(Math.log10(least));
  for (const factor of [1, 2, 5]) {
    if (factor * power >= least) return factor * power;
  }
  return 10 * power;
}
