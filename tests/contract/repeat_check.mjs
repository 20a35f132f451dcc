// The reply to a report that comes again while the server works on it, which the library's own calls don't provoke.
import { randomUUID } from "node:crypto";

const PATH = "/vomd/system/incubatorStatus.action";
const BODY = { name: "INC-01", status: "idle", temperature: 25.5 };
const WORK_MS = 3000;

function post(server, target, body, headers = {}) {
  return fetch(`http://127.0.0.1:${server}${target}`, {
    method: "POST",
    headers: { "Content-Type": "application/json", ...headers },
    body: JSON.stringify(body),
  });
}

export async function checkRepeat(report, contract, server) {
  const where = "a report that comes again while the server works on it";
  await post(server, "/lab/faults", { path: PATH, delayMs: WORK_MS });
  const key = { "Idempotency-Key": `"${randomUUID()}"` };
  const send = () => post(server, PATH, BODY, key);
  const replies = await Promise.all([send(), send()]); // the fault delays the one that comes first
  const statuses = replies.map(({ status }) => status).sort();
  if (String(statuses) !== "200,409") {
    report.fault(where, `is answered ${statuses}`);
  }
  for (const { status, headers, text } of await Promise.all(replies.map(whole))) {
    const reply = { status, replyHeaders: headers, replyBody: text };
    report.faultsOf(`${where}: the reply ${text}`, contract.faultsOfReply("ReportIncubatorStatus", reply));
    if (!contract.hasStatus("ReportIncubatorStatus", status)) {
      report.fault(where, `the status ${status} is not described`);
    }
  }
  report.say("a report that comes again while the server works on it compared with the description");
}

async function whole(reply) {
  return { status: reply.status, headers: Object.fromEntries(reply.headers), text: await reply.text() };
}
