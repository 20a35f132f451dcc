// Runs the library's operations against Prism, which answers with the document's examples.
import { isDeepStrictEqual } from "node:util";
import { program } from "./packages.mjs";
import { freePort, start } from "./programs.mjs";
import { startRelay } from "./relay.mjs";

/**
 * Prism chooses an example by the header Prefer, which the library does not send. And it can't read the library's
 * labels: "charset=utf-8/gb2312" is against the grammar of the header, and asynchronous cycle data has none.
 */
function forPrism(headers, example) {
  const label = headers["content-length"] ? { "content-type": "application/json" } : {};
  return { ...headers, ...label, prefer: `example=${example}` };
}

function checkAnswer(report, where, printed, expected) {
  const [kind, answer] = Object.entries(expected)[0];
  if (!isDeepStrictEqual(printed[kind], answer)) {
    report.fault(where, `the host gets ${JSON.stringify(printed[kind])}, not ${JSON.stringify(answer)}`);
  }
}

function checkExchanges(report, where, exchanges, expected) {
  if (exchanges.length !== expected) {
    report.fault(where, `${exchanges.length} requests are sent, not ${expected}`);
  }
  for (const { status, replyHeaders } of exchanges) {
    if (status !== 200 || replyHeaders["sl-violations"]) {
      report.fault(where, `Prism answers ${status}, and reports ${replyHeaders["sl-violations"]}`);
    }
  }
}

export async function checkMock(report, contract, agent, calls) {
  const port = await freePort();
  const args = ["mock", "--errors", "--port", String(port), contract.file];
  const prism = await start(program("prism"), args, /Prism is listening/);
  let example;
  const relay = await startRelay(port, (headers) => forPrism(headers, example));
  let answers = 0;
  for (const row of calls) {
    const examples = contract.examples(row.operation);
    const expected = row.answers ?? {};
    if (!isDeepStrictEqual(Object.keys(expected).sort(), examples.sort())) {
      report.fault(row.operation, `has the examples ${examples}, and calls.yaml ${Object.keys(expected)}`);
    }
    for (example of examples.length > 0 ? examples : ["none"]) {
      const where = `Prism, ${row.interface} ${row.call}, example ${example}`;
      const printed = await agent.call(row, row.arguments, relay.port);
      checkAnswer(report, where, printed, expected[example] ?? { signal: null });
      checkExchanges(report, where, relay.take(), examples.length > 0 ? 1 : 0);
      answers += 1;
    }
  }
  relay.stop();
  await prism.stop();
  report.say(`${answers} requests to Prism checked, and what the library makes of the answers`);
}
