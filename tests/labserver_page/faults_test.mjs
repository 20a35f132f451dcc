// Faults and scenarios, switched on and off by clicks.
import assert from "node:assert/strict";
import { test } from "node:test";
import { eventually, inPage, send, setStage, showPart, textOf } from "./stage.mjs";

const stage = setStage();
const PATH = "/vomd/system/GetDxzt.action";
const TARGET = `${PATH}?t=1`;
const statusNow = async (target = TARGET) => (await send(stage.lab, "GET", target)).status;
const rows = (page) => page.locator("#fault-table tbody tr");

async function fill(page, values) {
  for (const [name, value] of Object.entries(values)) {
    await page.locator(`#fault-${name}`).fill(value);
  }
}

const switchOn = (page) => page.locator("#fault-form button").click();

test("A fault switched on by a click changes the next reply, and is then over", () =>
  inPage(stage, { part: "faults" }, async (page) => {
    await fill(page, { path: PATH, status: "503", body: "a scripted body" });
    await switchOn(page);
    await rows(page).first().waitFor();
    assert.match(await rows(page).innerText(), /GetDxzt[^]*another reply: 503/);
    assert.equal(await textOf(page, "#message"), `Fault switched on for ${PATH}`);
    const reply = await send(stage.lab, "GET", TARGET);
    assert.equal(reply.status, 503);
    assert.equal(reply.text, "a scripted body");
    assert.equal(await statusNow(), 200);
    await eventually(async () => (await rows(page).count()) === 0, "the fault is gone from the list");
    await showPart(page, "traffic");
    await page.getByText("503 fault").waitFor();
  }));

test("A fault lasts until it is switched off", () =>
  inPage(stage, { part: "faults" }, async (page) => {
    await fill(page, { path: PATH });
    await page.locator("#fault-until-cleared").check();
    await switchOn(page);
    await rows(page).first().waitFor();
    assert.deepEqual([await statusNow(), await statusNow(), await statusNow()], [502, 502, 502]);
    await page.getByRole("button", { name: `Switch off the fault for ${PATH.slice(1)}` }).or(
      page.getByRole("button", { name: `Switch off the fault for ${PATH}` })).click();
    await eventually(async () => (await rows(page).count()) === 0, "the fault is gone");
    assert.equal(await statusNow(), 200);
  }));

test("Each kind of fault can be switched on", () =>
  inPage(stage, { part: "faults" }, async (page) => {
    const report = () => send(stage.lab, "POST", "/vomd/system/incubatorStatus.action", { name: "I", status: "S", temperature: 1 });
    const reports = async () => JSON.parse((await send(stage.lab, "GET", "/lab/reports/incubator-status")).text).count;
    await fill(page, { path: "/vomd/system/incubatorStatus.action" });
    await page.locator("#fault-kind").selectOption("reset");
    await page.locator("#fault-stored").check();
    await switchOn(page);
    await rows(page).getByText("the connection is reset (the report is stored all the same)").waitFor();
    await assert.rejects(report());
    assert.equal(await reports(), 1, "stored although its connection was reset");
    await page.locator("#fault-kind").selectOption("truncate");
    await switchOn(page);
    await rows(page).getByText("half of the reply").waitFor();
    await assert.rejects(report());
    await page.locator("#fault-kind").selectOption("delay");
    await fill(page, { delay: "300" });
    await switchOn(page);
    await rows(page).getByText("only a delay").waitFor();
    const began = performance.now();
    assert.equal((await report()).status, 200);
    assert.ok(performance.now() - began >= 299);
  }));

test("A fault that the server refuses says why", () =>
  inPage(stage, { part: "faults", expected: /status of 400/ }, async (page) => {
    await fill(page, { path: "/no/host/uses/this" });
    await switchOn(page);
    await page.locator("#message.bad").waitFor();
    assert.match(await textOf(page, "#message"), /^That failed: .*no\/host\/uses\/this/);
    assert.equal(await rows(page).count(), 0);
  }));

test("The form can be opened from an exchange", () =>
  inPage(stage, {}, async (page) => {
    await send(stage.lab, "GET", "/posts/7");
    await page.locator("#exchanges > li").filter({ hasText: "/posts/7" }).first().locator("summary").click();
    await page.getByRole("button", { name: "Fault for this path" }).click();
    assert.equal(await page.locator("#fault-path").inputValue(), "/posts/7");
    assert.ok(await page.locator("#fault-kind").evaluate((element) => element === document.activeElement));
  }));

test("All faults are switched off at once", () =>
  inPage(stage, { part: "faults" }, async (page) => {
    await send(stage.lab, "POST", "/lab/faults", { path: "posts", status: 500, count: 5 });
    await send(stage.lab, "POST", "/lab/faults", { path: PATH, silence: true, count: 5 });
    await eventually(async () => (await rows(page).count()) === 2, "faults of others are listed too");
    await page.locator("#faults-clear").click();
    await eventually(async () => (await rows(page).count()) === 0, "none is left");
    assert.equal(await statusNow(), 200);
  }));

test("A scenario runs until it is ended", () =>
  inPage(stage, { part: "faults" }, async (page) => {
    await page.getByRole("button", { name: "Start: Gateway error for a minute" }).click();
    await page.locator("#scenario-list li.on").waitFor();
    assert.match(await textOf(page, "#scenario-list li.on .state"), /^on, ends in \d+ s$/);
    assert.equal(await statusNow(), 502);
    await page.getByRole("button", { name: "End: Gateway error for a minute" }).click();
    await page.locator("#scenario-list li.on").waitFor({ state: "detached" });
    assert.equal(await statusNow(), 200);
  }));

test("A scenario of one's own runs", () =>
  inPage(stage, { part: "faults" }, async (page) => {
    const scenario = { name: "mine", title: "Mine", steps: [{ afterMs: 0, forMs: 60000, faults: [{ path: "posts", status: 418, untilCleared: true }] }] };
    await page.getByText("A scenario of your own").click();
    await page.locator("#scenario-json").fill(JSON.stringify(scenario));
    await page.getByRole("button", { name: "Start this scenario" }).click();
    await eventually(async () => (await statusNow("/posts/1")) === 418, "it acts");
    await page.locator("#scenarios-end").click();
    await page.getByText("All scenarios are ended.").waitFor();
    assert.equal(await statusNow("/posts/1"), 200);
    await page.locator("#scenario-json").fill("{");
    await page.getByRole("button", { name: "Start this scenario" }).click();
    await page.getByText("That failed: this is not JSON").waitFor();
  }));

test("A scenario that ends by itself is shown as ended", () =>
  inPage(stage, { part: "faults" }, async (page) => {
    const scenario = { name: "short", title: "Short", steps: [{ forMs: 1500, faults: [{ path: "posts", status: 500, untilCleared: true }] }] };
    await send(stage.lab, "POST", "/lab/scenarios", scenario);
    await page.locator("#scenario-list li.on").getByText("Short").waitFor();
    await page.locator("#scenario-list li.on").waitFor({ state: "detached" });
    assert.equal(await statusNow("/posts/1"), 200);
    await eventually(async () => (await rows(page).count()) === 0, "its faults are gone");
  }));
