// One exchange: its line in the list, and all of it once it is opened.
import { get } from "./api.js";
import { make } from "./dom.js";
import { openFaultForm } from "./faults.js";

const milliseconds = (ms) => `${ms.toFixed(ms < 100 ? 1 : 0)} ms`;

function timeOf(iso) {
  const time = new Date(iso);
  const two = (number) => String(number).padStart(2, "0");
  const clock = [time.getHours(), time.getMinutes(), time.getSeconds()].map(two).join(":");
  const thousandths = String(time.getMilliseconds()).padStart(3, "0");
  return make("time", { datetime: iso, title: iso }, `${clock}.${thousandths}`);
}

function lineOf(exchange) {
  const { time, method, path, status, outcome, durationMs, host } = exchange;
  const result = make("span", { class: `outcome ${outcome}`, say: [`outcome-${outcome}`] });
  return make(
    "summary",
    {},
    timeOf(time),
    make("b", {}, method),
    make("span", { class: "path foreign" }, path),
    make("span", { class: "status" }, status ? `${status} ` : "", result),
    make("span", { class: "number" }, milliseconds(durationMs)),
    make("span", { class: "host foreign" }, host),
  );
}

function facts(pairs) {
  const known = pairs.filter(([, value]) => value !== undefined);
  return make("dl", {}, ...known.flatMap(([said, value]) => [make("dt", { say: [said] }), make("dd", { class: "foreign" }, value)]));
}

function headersOf(headers) {
  return make("pre", { class: "foreign", tabindex: 0 }, headers.map(([name, value]) => `${name}: ${value}`).join("\n"));
}

function bodyOf(body, isCut) {
  return [
    body ? make("pre", { class: "foreign", tabindex: 0 }, body) : make("p", { class: "hint", say: ["emptyBody"] }),
    ...(isCut ? [make("p", { class: "hint", say: ["bodyCut"] })] : []),
  ];
}

function replyOf({ status, replyHeaders, replyBody, replyBodyCut }) {
  return status
    ? [make("p", {}, `${status}`), headersOf(replyHeaders), ...bodyOf(replyBody, replyBodyCut)]
    : [make("p", { class: "hint", say: ["noReplySent"] })];
}

function wholeOf(exchange) {
  const { time, durationMs, host, port, method, target, requestBytes, replyBytes, fault, tls } = exchange;
  return [
    facts([
      ["began", time],
      ["duration", milliseconds(durationMs)],
      ["from", `${host} : ${port}`],
      ["bytes", `${requestBytes}, ${replyBytes}`],
      ["overTls", make("span", { say: [tls ? "yes" : "no"] })],
      ["fault", fault && (typeof fault === "string" ? fault : JSON.stringify(fault))],
    ]),
    make("h3", { say: ["request"] }),
    make("p", { class: "foreign" }, `${method} ${target}`),
    headersOf(exchange.requestHeaders),
    ...bodyOf(exchange.requestBody, exchange.requestBodyCut),
    make("h3", { say: ["reply"] }),
    ...replyOf(exchange),
    make("p", {}, make("button", { type: "button", say: ["faultForPath"], onclick: () => openFaultForm(exchange.path) })),
  ];
}

async function fill(place, id) {
  try {
    place.replaceChildren(...wholeOf(await get(`/lab/exchanges/${id}`)));
  } catch (error) {
    const gone = make("p", { say: error.status === 404 ? ["gone"] : ["failed", error.message] });
    place.replaceChildren(gone);
  }
}

/** @param exchange a summary */
export function exchangeItem(exchange) {
  const place = make("div", { class: "whole" });
  const details = make("details", {}, lineOf(exchange), place);
  details.addEventListener("toggle", () => (details.open ? fill(place, exchange.id) : place.replaceChildren()));
  return make("li", {}, details);
}
