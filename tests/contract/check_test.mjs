#!/usr/bin/env node
// tests/contract/check_test.mjs FOLDER: shows that each check of check.mjs, and the one of the document, can fail.
// Copies of the document, or what the lab server answers, are changed in ways that must be told.
import { mkdtempSync, rmSync } from "node:fs";
import os from "node:os";
import path from "node:path";
import { checkAccepted } from "./accepted_check.mjs";
import { Agent, readCalls } from "./calls.mjs";
import { Contract } from "./contract.mjs";
import { checkMock } from "./mock_check.mjs";
import { here, program, writeYaml } from "./packages.mjs";
import { checkPaths } from "./paths_check.mjs";
import { run, startLab } from "./programs.mjs";
import { checkRepeat } from "./repeat_check.mjs";
import { Report } from "./report.mjs";
import { checkByRespect, checkExchanges } from "./server_check.mjs";

const folder = path.resolve(process.argv[2]);
const temporary = mkdtempSync(path.join(os.tmpdir(), "ktscontract-"));
const agent = new Agent(path.join(folder, "ktsagent"));
const lab = await startLab(folder);

async function checkDocument(report, { file }) {
  const result = await run(program("redocly"), ["lint", "--config", path.join(here, "redocly.yaml"), file]);
  if (result.status !== 0) {
    report.fault("Redocly", result.stdout + result.stderr);
  }
}

/** Makes the lab server answer a question otherwise, for as long as a check runs. */
async function withReply(body, check) {
  const faults = `http://127.0.0.1:${lab.port}/lab/faults`;
  const headers = { "Content-Type": "application/json" };
  const path = "/vomd/system/whetherInCommon.action";
  const fault = { path, status: 200, body: JSON.stringify(body), contentType: "application/json" };
  const added = await fetch(faults, { method: "POST", headers, body: JSON.stringify(fault) });
  if (!added.ok) {
    throw new Error(await added.text());
  }
  await check();
  await fetch(faults, { method: "DELETE" });
}

const question = (document, name) => Object.entries(document.paths).find(([path]) => path.endsWith(name))[1].get;
const examples = (operation) => operation.responses["200"].content["application/json"].examples;
const calls = (...names) => readCalls().filter(({ call }) => names.includes(call));
const SOME = ["in-common", "report-incubator", "support-ver", "upload-data"];
const exchanges = (report, contract) => checkExchanges(report, contract, agent, calls(...SOME), lab.port);
const respect = (report, contract) => checkByRespect(report, contract, lab.port);
const withoutSuccess = (check) => (report, contract) =>
  withReply({ message: "checked", common: true }, () => check(report, contract));
const unchanged = () => {};

// Each check, and what it must tell: what it is, its words, and the change to the document. The changes of one check
// are made together, since most of a check's time is the start of its tool.
const ROWS = [
  [checkDocument, [
    ["an example against its schema", /must be boolean/, (document) => {
      examples(question(document, "/whetherInCommon.action")).yes.value.common = "true";
    }],
    ["a word that OpenAPI does not know", /operationid/, (document) => {
      question(document, "/GetDxzt.action").operationid = "Wrong";
    }],
  ]],
  [(report, contract) => checkAccepted(report, contract, readCalls()), [
    ["an accepted answer that is as described", /UserWithoutCode: the answer is as described/, (document) => {
      document.components.schemas.User.required = [];
    }],
  ]],
  [(report, contract) => checkPaths(report, contract, agent), [
    ["another path", /GetUserInfo: has the path/, (document) => {
      document.paths["/other/{userId}"] = document.paths["/posts/{userId}"];
      delete document.paths["/posts/{userId}"];
    }],
    ["a request that is not described", /request 3105: 0 operations/, (document) => {
      delete document.paths["/vomd/system/GetDxzt.action"];
    }],
  ]],
  [(report, contract) => checkMock(report, contract, agent, calls("batt-status", "in-common", "support-ver")), [
    ["a parameter that the library does not send", /support-ver.*Prism .*required property 'more'/, (document) => {
      const more = { name: "more", in: "query", required: true, schema: { type: "string" } };
      question(document, "/GetSupportVer.action").parameters.push(more);
    }],
    ["an example that the library reads otherwise", /the host gets \{"bSucc":true,"bIsCommon":false/, (document) => {
      examples(question(document, "/whetherInCommon.action")).yes.value.common = false;
    }],
    ["an example that nobody expects", /GetBattStatus: has the examples .*maybe/, (document) => {
      examples(question(document, "/GetDxzt.action")).maybe = { value: { success: false } };
    }],
  ]],
  [respect, [
    ["a member that the lab server does not send", /required property 'since'/, (document) => {
      document.components.schemas.InCommon.required.push("since");
    }],
    ["a status that is not described", /✗ status code check/, (document) => {
      const [incubator] = Object.keys(document.paths).filter((name) => name.endsWith("/incubatorStatus.action"));
      const { responses } = document.paths[incubator].post;
      delete responses["422"];
      delete responses.default;
    }],
  ]],
  [(report, contract) => checkRepeat(report, contract, lab.port), [
    ["a repeated report's status that is not described", /the status 409 is not described/, (document) => {
      const [incubator] = Object.keys(document.paths).filter((name) => name.endsWith("/incubatorStatus.action"));
      delete document.paths[incubator].post.responses["409"];
    }],
  ]],
  [withoutSuccess(respect), [["a reply of the lab server without a member", /required property 'success'/, unchanged]]],
  [withoutSuccess(exchanges), [["the same to the library", /the reply .*required property 'success'/, unchanged]]],
  [exchanges, [
    ["a member that the library does not send", /request: .*required property 'more'/, (document) => {
      document.components.schemas.IncubatorStatus.required.push("more");
    }],
    ["a member that is not described", /request: .*additional properties.*temperature/, (document) => {
      delete document.components.schemas.IncubatorStatus.properties.temperature;
    }],
    ["a parameter that is not described", /request: t is not described/, (document) => {
      question(document, "/GetSupportVer.action").parameters = [];
    }],
    ["a parameter of another type", /request: dxtm: .*more than 0 items/, (document) => {
      document.components.parameters.Dxtm.schema = { type: "array", maxItems: 0 };
    }],
    ["a key of another form", /request: Idempotency-Key: .*must match pattern/, (document) => {
      document.components.parameters.IdempotencyKey.schema.pattern = "^[0-9]+$";
    }],
    ["another label", /is labelled application\/json; charset=utf-8\/gb2312, not application\/json$/, (document) => {
      const [saveData] = Object.keys(document.paths).filter((name) => name.endsWith("/saveData"));
      document.paths[saveData].post["x-sent-by"].asynchronous = "application/json";
    }],
    ["an interface that sends nothing", /GetSupportVer: is not sent by the blocking interface/, (document) => {
      question(document, "/GetSupportVer.action")["x-sent-by"].blocking = "none";
    }],
  ]],
];

let failures = 0;
for (const [index, [check, changes]] of ROWS.entries()) {
  const { document } = new Contract();
  changes.forEach(([, , change]) => change(document));
  const file = path.join(temporary, `${index}.yaml`);
  writeYaml(file, document);
  const report = new Report(true);
  await check(report, new Contract(file));
  for (const [what, words] of changes) {
    if (report.faults.some((fault) => words.test(fault))) {
      console.log(`contract: told: ${what}`);
    } else {
      console.error(`contract: FAILED: '${what}' is not told:\n${report.faults.join("\n")}`);
      failures += 1;
    }
  }
}
await lab.stop();
agent.remove();
rmSync(temporary, { recursive: true });
process.exit(failures === 0 ? 0 : 1);
