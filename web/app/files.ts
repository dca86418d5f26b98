// The files and folders that the user drops or chooses.

export interface Given {
  path: string; // relative to the folder that was dropped
  file: File;
}

export interface Collection {
  files: Given[];
  leftOut: number; // number of files in folders that are neither tracks nor course files
}

const mostAtOnce = 1e9;
const mostInOne = 300e6;

export class TooMuch extends Error {}

function sizeText(size: number): string {
  return size >= 1e9 ? `${(size / 1e9).toFixed(1)} GB` : `${Math.ceil(size / 1e6)} MB`;
}

export class Collector {
  readonly files: Given[] = [];
  leftOut = 0;
  private size = 0;

  // Takes every file that the user named, but of a folder only files with the extensions of tracks and course files.
  add(path: string, file: File, isNamed: boolean): void {
    this.size += file.size;
    if (this.size > mostAtOnce) {
      throw new TooMuch(`That is more than ${sizeText(mostAtOnce)}, which is too much at once. Nothing of it was read; choose fewer files.`);
    }
    if (!isNamed && !/\.(csv|tvl|txt)$/i.test(path)) {
      ++this.leftOut;
    } else if (file.size > mostInOne) {
      throw new TooMuch(`${path} has ${sizeText(file.size)}; a file may have ${sizeText(mostInOne)}. Nothing was read.`);
    } else {
      this.files.push({ path, file });
    }
  }
}

function fileOf(entry: FileSystemFileEntry): Promise<File> {
  return new Promise((done, failed) => entry.file(done, failed));
}

// All entries of a folder; a reader returns at most a hundred at a time.
async function entriesOf(folder: FileSystemDirectoryEntry): Promise<FileSystemEntry[]> {
  const reader = folder.createReader();
  const all: FileSystemEntry[] = [];
  for (;;) {
    const some = await new Promise<FileSystemEntry[]>((done, failed) => reader.readEntries(done, failed));
    if (some.length === 0) return all.sort((a, b) => (a.name < b.name ? -1 : 1));
    all.push(...some);
  }
}

async function addEntry(entry: FileSystemEntry, path: string, isNamed: boolean, into: Collector): Promise<void> {
  if (entry.isFile) return into.add(path, await fileOf(entry as FileSystemFileEntry), isNamed);
  for (const inner of await entriesOf(entry as FileSystemDirectoryEntry)) {
    await addEntry(inner, isNamed ? inner.name : `${path}/${inner.name}`, false, into);
  }
}

export async function collectDropped(data: DataTransfer): Promise<Collection> {
  // Both lists are copied, since the browser empties them after the first await.
  const entries = [...data.items].map((item) => item.webkitGetAsEntry?.() ?? null);
  const files = [...data.files];
  const into = new Collector();
  if (entries.some((entry) => entry?.isDirectory)) {
    for (const entry of entries) {
      if (entry) await addEntry(entry, entry.name, true, into);
    }
  } else {
    for (const file of files) into.add(file.name, file, true);
  }
  return into;
}

// The files of an <input>; those of one for folders have paths.
export function collectChosen(files: Iterable<File>): Collection {
  const into = new Collector();
  for (const file of files) {
    const inFolder = file.webkitRelativePath.replace(/^[^/]*\//, "");
    into.add(inFolder === "" ? file.name : inFolder, file, inFolder === "");
  }
  return into;
}

// True for a text with rows of a matrix, or with index entries that refer to other files. Reports are .txt files, too.
export function isCourseFile(path: string, text: string): boolean {
  return /(^|\/)matrix\.txt$/.test(path) || /^(\[|[*0-9]\S* - \S)/m.test(text);
}
