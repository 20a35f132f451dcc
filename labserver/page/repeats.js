// Reports whose key came more than once: an outbox sent them again because it got no acknowledgement.
import { get } from "./api.js";
import { byId } from "./dom.js";
import { text } from "./language.js";
import { KINDS } from "./reports.js";
import { Table } from "./table.js";

const LOOKED_AT = 1000; // the latest reports of each kind
const COLUMNS = [
  { name: "kind", said: "kind" },
  { name: "id", said: "number" },
  { name: "key", said: "key" },
  { name: "repeats", said: "came" },
  { name: "receivedAt", said: "received" },
];
const table = new Table(byId("repeat-table"), "repeatedKeys");
let repeated = [];

async function repeatedOf(kind) {
  const path = `/lab/reports/${kind}`;
  const { count } = await get(path, { limit: 0 });
  const { reports } = await get(path, { after: Math.max(0, count - LOOKED_AT), limit: LOOKED_AT });
  return reports.filter(({ repeats }) => repeats > 0).map((report) => ({ kind, ...report }));
}

export function showRepeats() {
  const items = repeated.map(({ kind, id, key, repeats, receivedAt }) => ({
    key: `${kind} ${id}`,
    cells: [text(`kind-${kind}`), id, key, repeats, receivedAt],
  }));
  table.show(COLUMNS, items);
}

export async function loadRepeats() {
  repeated = (await Promise.all(KINDS.map(repeatedOf))).flat();
  showRepeats();
}
