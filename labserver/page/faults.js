// The faults that are on, and a form for a new one.
import { get, post, remove } from "./api.js";
import { byId, make, option } from "./dom.js";
import { text } from "./language.js";
import { attempt } from "./message.js";
import { Table } from "./table.js";
import { showTab } from "./tabs.js";

const KINDS = ["reply", "delay", "reset", "silence", "truncate"];
const CAN_STORE = ["reply", "reset", "silence"]; // the others store anyway
const COLUMNS = [
  { name: "path", said: "path" },
  { name: "what", said: "what" },
  { name: "delayMs", said: "delay" },
  { name: "count", said: "left" },
  { name: "scenario", said: "fromScenario" },
];

const table = new Table(byId("fault-table"), "faults");
const form = byId("fault-form");
const field = (name) => byId(`fault-${name}`);
let faults = [];

const kindOf = (fault) => KINDS.find((kind) => fault[kind]) ?? ("status" in fault ? "reply" : "delay");
const nameOf = ({ path }) => (path === "" || path === "/" ? text("everyPath") : path);

function whatOf(fault) {
  const kind = kindOf(fault);
  const status = kind === "reply" ? `: ${fault.status}` : "";
  const stored = fault.stored ? ` (${text("storedAllTheSame")})` : "";
  return text(`fault-${kind}`) + status + stored;
}

function button(id) {
  const name = nameOf(faults.find((fault) => fault.id === id));
  const onclick = () => attempt(() => switchOff(id), "switchedOff", name);
  return make("button", { type: "button", say: ["switchOff"], label: ["switchOffItem", name], onclick });
}

export function showFaults() {
  const items = faults.map((fault) => ({
    key: fault.id,
    cells: [
      nameOf(fault),
      whatOf(fault),
      fault.delayMs || "",
      fault.untilCleared ? text("untilCleared") : fault.count,
      fault.scenario,
    ],
  }));
  table.show(COLUMNS, items, (id) => [button(id)]);
}

export async function loadFaults() {
  ({ faults } = await get("/lab/faults"));
  showFaults();
}

async function switchOff(id) {
  await remove(`/lab/faults/${id}`);
  await loadFaults();
}

/** What the form describes, as the server reads it. */
function faultOfForm() {
  const kind = field("kind").value;
  const fault = { path: field("path").value.trim() };
  if (kind === "reply") {
    Object.assign(fault, { status: field("status").valueAsNumber });
    Object.assign(fault, field("body").value && { body: field("body").value });
    Object.assign(fault, field("type").value && { contentType: field("type").value });
  } else if (kind !== "delay") {
    fault[kind] = true;
  }
  Object.assign(fault, field("delay").value && { delayMs: field("delay").valueAsNumber });
  Object.assign(fault, CAN_STORE.includes(kind) && field("stored").checked && { stored: true });
  const lasts = field("until-cleared").checked ? { untilCleared: true } : { count: field("count").valueAsNumber };
  return Object.assign(fault, lasts);
}

/** Only fields that mean something can be filled in. */
function fitForm() {
  const kind = field("kind").value;
  const show = (selector, isShown) => {
    for (const place of form.querySelectorAll(selector)) {
      place.hidden = !isShown;
      place.querySelector("input, textarea").disabled = !isShown;
    }
  };
  show(".for-reply", kind === "reply");
  show(".for-stored", CAN_STORE.includes(kind));
  field("delay").required = kind === "delay";
  field("count").disabled = field("until-cleared").checked;
}

async function switchOn() {
  await post("/lab/faults", faultOfForm());
  await loadFaults();
}

async function clear() {
  await remove("/lab/faults");
  await loadFaults();
}

/** The paths that hosts use, as the server lists them. */
async function offerPaths() {
  const { paths } = await get("/lab/");
  const ofHosts = paths.map(({ path }) => path).filter((path) => !path.startsWith("/lab"));
  byId("fault-paths").replaceChildren(...ofHosts.map((value) => make("option", { value })));
}

/** Shows the form, with a path filled in. */
export function openFaultForm(path) {
  showTab("faults");
  field("path").value = path;
  field("kind").focus();
}

export function startFaults() {
  field("kind").replaceChildren(...KINDS.map((kind) => option(kind, `fault-${kind}`)));
  form.addEventListener("change", fitForm);
  form.addEventListener("submit", (event) => {
    event.preventDefault();
    attempt(switchOn, "switchedOn", nameOf({ path: field("path").value }));
  });
  byId("faults-clear").addEventListener("click", () => attempt(clear, "allSwitchedOff"));
  fitForm();
  offerPaths().catch(() => {}); // paths can be typed too
}
