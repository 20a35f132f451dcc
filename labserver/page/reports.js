// The stored reports of a kind as a table.
import { get, queryOf } from "./api.js";
import { byId, option } from "./dom.js";
import { say, text } from "./language.js";
import { Table } from "./table.js";

export const KINDS = ["channel-status", "incubator-status", "battery-data", "cycle-data", "step-data", "orn-step-data"];
const PAGE = 100; // reports
const MOST_ROWS = 1000; // a report can be a list of any length

const kind = byId("report-kind");
const search = byId("report-search");
const table = new Table(byId("report-table"), "storedReports");
let after; // the id before the first one shown; undefined: the latest are shown
let shown = [];

const isObject = (value) => typeof value === "object" && value !== null && !Array.isArray(value);

/** The members of a report, or of one element of a list; what is no object has one without a name. */
const membersOf = (element) => (isObject(element) ? element : { "": element });

/** A row for each report, or for each element of a report that is a list. */
function rowsOf({ id, receivedAt, key, repeats, report }) {
  const elements = Array.isArray(report) ? report : [report];
  return elements.map((element, at) => ({ key: `${id} ${at}`, id, receivedAt, outbox: { key, repeats }, members: membersOf(element) }));
}

function showReports(reports) {
  const rows = reports.flatMap(rowsOf).slice(0, MOST_ROWS);
  const names = [...new Set(rows.flatMap(({ members }) => Object.keys(members)))];
  const hasKeys = rows.some(({ outbox }) => outbox.key !== undefined);
  const columns = [
    { name: "id", said: "number" },
    { name: "receivedAt", said: "received" },
    ...names.map((name) => ({ name })),
    ...(hasKeys ? [{ name: "key", said: "key" }, { name: "repeats", said: "came" }] : []),
  ];
  const items = rows.map(({ key, id, receivedAt, outbox, members }) => ({
    key,
    cells: [id, receivedAt, ...names.map((name) => members[name]), ...(hasKeys ? [outbox.key, outbox.repeats] : [])],
  }));
  table.show(columns, items);
}

function showRange(count) {
  const range = () =>
    shown.length ? text("reportRange", shown[0].id, shown.at(-1).id) : text("reportNone");
  say(byId("report-count"), "reportCount", count, range);
  byId("report-next").disabled = shown.length < PAGE;
}

/** The latest ones: ids are given without gaps, and listed from the oldest. */
async function latest(path) {
  const { count } = await get(path, { limit: 0 });
  return Math.max(0, count - PAGE);
}

export async function loadReports() {
  const path = `/lab/reports/${kind.value}`;
  const searched = { search: search.value };
  byId("report-csv").href = `${path}.csv${queryOf(searched)}`;
  const from = after ?? (search.value ? 0 : await latest(path));
  const { count, reports } = await get(path, { ...searched, after: from, limit: PAGE });
  shown = reports;
  showReports(reports);
  showRange(count);
}

/** @param reload loads and shows what is asked for */
export function startReports(reload) {
  const show = (from) => {
    after = from;
    reload();
  };
  kind.replaceChildren(...KINDS.map((name) => option(name, `kind-${name}`)));
  kind.addEventListener("change", () => show(undefined));
  search.addEventListener("input", () => show(undefined));
  byId("report-form").addEventListener("submit", (event) => event.preventDefault());
  byId("report-first").addEventListener("click", () => show(0));
  byId("report-next").addEventListener("click", () => show(shown.at(-1)?.id));
  byId("report-latest").addEventListener("click", () => show(undefined));
}

export const isShownKind = (name) => name === kind.value;
