// The script of a page: shows the documents that the HTML file contains.
import { RunDocument } from "./document";
import { show } from "./main";
import { unpack } from "./packed";

const source = document.getElementById("tarvel-documents");
const root = document.getElementById("tarvel-page");
if (source && root) show(root, (JSON.parse(source.textContent ?? "[]") as RunDocument[]).map(unpack));
