// The page of a file: shows the documents that are in it.
import { RunDocument } from "./document";
import { show } from "./main";
import { unpack } from "./packed";

const source = document.getElementById("tarvel-documents");
const root = document.getElementById("tarvel-page");
if (source && root) show(root, (JSON.parse(source.textContent ?? "[]") as RunDocument[]).map(unpack));
