// Each answer in docs/api/accepted.yaml is against docs/api/openapi.yaml: its status is described as a failure there,
// or its body is not as described.
import path from "node:path";
import { readYaml, root } from "./packages.mjs";

const ACCEPTED = path.join(root, "docs/api/accepted.yaml");

export function readAccepted() {
  return readYaml(ACCEPTED).replies;
}

export function checkAccepted(report, contract, calls, rows = readAccepted()) {
  for (const { name, call, status = 200, body } of rows) {
    const { operation } = calls.find((known) => known.call === call);
    const reply = { status, replyHeaders: { "content-type": "application/json" }, replyBody: body };
    if (contract.hasStatus(operation, status) && contract.faultsOfReply(operation, reply).length === 0) {
      report.fault(`accepted.yaml, ${name}`, "the answer is as described");
    }
  }
  report.say(`${rows.length} answers that hosts accept all the same compared with the description`);
}
