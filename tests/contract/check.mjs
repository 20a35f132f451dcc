#!/usr/bin/env node
// tests/contract/check.mjs FOLDER: holds docs/api/openapi.yaml, the library and the lab server against each other, with
// the programs in FOLDER. Needs what run.sh installs.
import path from "node:path";
import { checkAccepted } from "./accepted_check.mjs";
import { Agent, readCalls } from "./calls.mjs";
import { Contract } from "./contract.mjs";
import { checkMock } from "./mock_check.mjs";
import { checkPaths } from "./paths_check.mjs";
import { startLab } from "./programs.mjs";
import { checkRepeat } from "./repeat_check.mjs";
import { Report } from "./report.mjs";
import { checkByRespect, checkExchanges } from "./server_check.mjs";

const folder = path.resolve(process.argv[2]);
const report = new Report();
const contract = new Contract();
const calls = readCalls();
const agent = new Agent(path.join(folder, "ktsagent"));
const lab = await startLab(folder);
try {
  checkAccepted(report, contract, calls);
  await checkPaths(report, contract, agent);
  await checkMock(report, contract, agent, calls);
  await checkByRespect(report, contract, lab.port);
  await checkRepeat(report, contract, lab.port);
  await checkExchanges(report, contract, agent, calls, lab.port);
} finally {
  await lab.stop();
  agent.remove();
}
report.say(report.faults.length === 0 ? "all as described" : `${report.faults.length} FAILED`);
process.exit(report.faults.length === 0 ? 0 : 1);
