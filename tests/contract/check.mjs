#!/usr/bin/env node
// tests/contract/check.mjs FOLDER: checks docs/api/openapi.yaml, the library and the lab server against each other, with
// the programs in FOLDER. ./dev contract installs what this needs.
import path from "node:path";
import { Agent, readCalls } from "./calls.mjs";
import { Contract } from "./contract.mjs";
import { checkMock } from "./mock_check.mjs";
import { checkPaths } from "./paths_check.mjs";
import { start } from "./programs.mjs";
import { Report } from "./report.mjs";
import { checkByRespect, checkExchanges } from "./server_check.mjs";

const folder = path.resolve(process.argv[2]);
const report = new Report();
const contract = new Contract();
const calls = readCalls();
const agent = new Agent(path.join(folder, "ktsagent"));
const lab = await start(path.join(folder, "ktslabserver"), ["--port", "0", "--end-with-input"], /listening on http:\/\/[^:]+:(\d+)/);
try {
  const server = Number(lab.match[1]);
  await checkPaths(report, contract, agent);
  await checkMock(report, contract, agent, calls);
  await checkByRespect(report, server);
  await checkExchanges(report, contract, agent, calls, server);
} finally {
  await lab.stop();
  agent.remove();
}
process.exit(report.faults.length === 0 ? 0 : 1);
