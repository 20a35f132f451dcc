// Lets the lab server be tested by Redocly Respect, and holds what the library and the lab server send each other
// against the document.
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import os from "node:os";
import path from "node:path";
import { here, program } from "./packages.mjs";
import { run } from "./programs.mjs";
import { startRelay } from "./relay.mjs";

const REQUESTS = "lab_server.arazzo.yaml";

/** Respect sends the requests of lab_server.arazzo.yaml, and checks each reply against the document. */
export async function checkByRespect(report, contract, server) {
  const folder = mkdtempSync(path.join(os.tmpdir(), "ktscontract-"));
  const requests = path.join(folder, REQUESTS);
  // The document that is checked may be another one than the requests name.
  writeFileSync(requests, readFileSync(path.join(here, REQUESTS), "utf8").replace(/url: .*/, `url: ${contract.file}`));
  const where = `contract=http://127.0.0.1:${server}`;
  const result = await run(program("redocly"), ["respect", requests, "--server", where]);
  rmSync(folder, { recursive: true });
  const text = result.stdout.replace(/\u001b\[[0-9;]*m/g, ""); // without colours
  if (result.status !== 0) {
    report.fault("Respect", `${text}${result.stderr}`);
  }
  report.say(`Respect: ${/Steps: .*/.exec(text)?.[0]}; ${/Checks: .*/.exec(text)?.[0]}`);
}

/** Makes every call, and further ones that are answered otherwise. @return the exchanges, each with its row */
async function recorded(agent, calls, server) {
  const relay = await startRelay(server);
  const exchanges = [];
  for (const row of calls) {
    const isReport = !row.sync && row.operation.match(/^(Report|Post)/);
    for (const outbox of isReport ? [false, true] : [false]) {
      for (const args of [row.arguments, ...row.also]) {
        await agent.call(row, args, relay.port, { outbox });
        exchanges.push(...relay.take().map((exchange) => ({ ...exchange, row, outbox })));
      }
    }
  }
  relay.stop();
  return exchanges;
}

function checkExchange(report, contract, exchange) {
  const { row, outbox, headers } = exchange;
  const where = `${row.interface} ${row.call}, ${exchange.method} ${exchange.target}`;
  const id = contract.match(exchange)?.operation.operationId;
  if (id !== row.operation) {
    report.fault(where, `is a request for ${id}, not for ${row.operation}`);
    return;
  }
  report.faultsOf(`${where}: the request`, contract.faultsOfRequest(exchange));
  report.faultsOf(`${where}: the reply ${exchange.replyBody}`, contract.faultsOfReply(id, exchange));
  const label = contract.operation(id)["x-sent-by"][row.interface];
  if ((headers["content-type"] ?? "none") !== label) {
    report.fault(where, `is labelled ${headers["content-type"]}, not ${label}`);
  }
  if ((headers["idempotency-key"] !== undefined) !== outbox) {
    report.fault(where, `has the key ${headers["idempotency-key"]}, ${outbox ? "with" : "without"} an outbox`);
  }
}

/** Each interface of each operation must have been seen, and nothing of those that are never sent. */
function checkAllSeen(report, contract, exchanges) {
  for (const operation of contract.operations) {
    for (const name of ["asynchronous", "blocking"]) {
      const seen = exchanges.some(({ row }) => row.operation === operation.operationId && row.interface === name);
      if (seen !== name in operation["x-sent-by"]) {
        report.fault(operation.operationId, `${seen ? "is" : "is not"} sent by the ${name} interface`);
      }
    }
  }
}

export async function checkExchanges(report, contract, agent, calls, server) {
  const exchanges = await recorded(agent, calls, server);
  exchanges.forEach((exchange) => checkExchange(report, contract, exchange));
  checkAllSeen(report, contract, exchanges);
  const withKey = exchanges.filter(({ outbox }) => outbox).length;
  report.say(`${exchanges.length} exchanges of the library with the lab server checked, ${withKey} with a key`);
}
