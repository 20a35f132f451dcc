// Reports, channels, answers and repeated keys.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { test } from "node:test";
import { eventually, inPage, send, setStage, showPart, textOf } from "./stage.mjs";

const stage = setStage();
const incubator = (name, temperature, headers) =>
  send(stage.lab, "POST", "/vomd/system/incubatorStatus.action", { name, status: "running", temperature }, headers);
const cells = (page, place) => page.locator(`${place} tbody tr`).allInnerTexts();

test("Reports are a table that can be searched, and new ones appear", () =>
  inPage(stage, { part: "reports" }, async (page) => {
    await page.locator("#report-kind").selectOption("incubator-status");
    await page.getByText("Nothing here yet.").locator("visible=true").waitFor();
    await incubator("INC-1", 25);
    await incubator("INC-2", 60.5);
    await eventually(async () => (await cells(page, "#report-table")).length === 2, "both reports");
    const heads = await page.locator("#report-table th").allInnerTexts();
    assert.deepEqual(heads.sort(), ["First received", "No.", "name", "status", "temperature"]);
    assert.match(await textOf(page, "#report-count"), /^2 stored; shown: 1 to 2\.$/);
    await page.locator("#report-search").fill("inc-2");
    await eventually(async () => (await cells(page, "#report-table")).length === 1, "only what was searched");
    assert.match((await cells(page, "#report-table"))[0], /INC-2[^]*60\.5/);
  }));

test("The CSV file opens", () =>
  inPage(stage, { part: "reports" }, async (page) => {
    await incubator('with "quotes", and\na line', 1);
    await incubator("=1+1", 2);
    await page.locator("#report-kind").selectOption("incubator-status");
    await eventually(async () => /incubator-status/.test(await page.locator("#report-csv").getAttribute("href")), "its link");
    const [download] = await Promise.all([page.waitForEvent("download"), page.locator("#report-csv").click()]);
    assert.match(download.suggestedFilename(), /incubator-status.*\.csv$/);
    const text = readFileSync(await download.path(), "utf8");
    assert.match(text, /^\uFEFF[^\r\n]*name[^\r\n]*\r\n/);
    assert.match(text, /"with ""quotes"", and\na line"/);
    assert.match(text, /'=1\+1/);
  }));

test("Lists are shown an element a row, a hundred reports at a time", () =>
  inPage(stage, { part: "reports" }, async (page) => {
    for (let number = 1; number <= 101; ++number) {
      await send(stage.lab, "POST", "/open/test-cabinet/add/kostrel/cycle", [{ cycle: number }, { cycle: -number, more: [1] }]);
    }
    await page.locator("#report-kind").selectOption("cycle-data");
    await eventually(async () => (await cells(page, "#report-table")).length === 200, "the latest hundred");
    assert.match(await textOf(page, "#report-count"), /^101 stored; shown: 2 to 101\.$/);
    assert.match((await cells(page, "#report-table")).at(-1), /-101\s+\[1\]/);
    await page.locator("#report-first").click();
    await page.getByText("101 stored; shown: 1 to 100.").waitFor();
    await page.locator("#report-next").click();
    await page.getByText("101 stored; shown: 101 to 101.").waitFor();
    assert.ok(await page.locator("#report-next").isDisabled());
    await page.locator("#report-latest").click();
    await page.getByText("101 stored; shown: 2 to 101.").waitFor();
  }));

test("A channel is shown with its last status", () =>
  inPage(stage, { part: "channels" }, async (page) => {
    const status = (chl, step_state) => send(stage.lab, "POST", "/vomd/system/addstatuslog.action?t=1.0.0", channelStatus(chl, step_state));
    assert.equal((await status("1", "charging")).status, 200);
    await status("2", "resting");
    await status("1", "discharging");
    await eventually(async () => (await cells(page, "#channel-table")).join().includes("discharging"), "the last status");
    const rows = await cells(page, "#channel-table");
    assert.equal(rows.length, 2);
    assert.ok(!rows.join().includes("\tcharging"), "and no other");
  }));

/** A channel's status with every member. */
function channelStatus(chl, step_state) {
  const texts = ["com", "ver", "PEXAVer", "retentionUnder", "stepStatus", "stopTime", "cMax", "errorParam", "errorTime", "dxtm",
    "backup_dir", "hostname", "action", "action_desc", "reason_desc", "deviceModelType", "deviceRange", "dczt"];
  const numbers = ["box", "disch_retention", "cycle", "disch_capacity", "voltage", "current", "chlType", "reason", "wtNumId", "xmNameId"];
  return {
    ...Object.fromEntries(texts.map((name) => [name, "-"])),
    ...Object.fromEntries(numbers.map((name) => [name, 1])),
    deviceId: "KTS-1",
    chl,
    step_state,
  };
}

test("Rules are added and deleted, and decide", () =>
  inPage(stage, { part: "answers" }, async (page) => {
    const ask = async () =>
      JSON.parse((await send(stage.lab, "GET", "/vomd/system/channelCheckData.action?deviceId=KTS-77&chl=1&wtNumId=1&xmNameId=1&dxtm=C&purpose=p")).text).result.allowBoot;
    const form = page.getByRole("form", { name: "Which channels may start" });
    const values = { deviceId: "KTS-77", chl: "1", allowBoot: "no", reason: "planted here" };
    for (const [name, value] of Object.entries(values)) {
      await form.locator(`[name=${name}]`).fill(value);
    }
    await form.getByRole("button").click();
    await page.getByText("Added: KTS-77").waitFor();
    assert.match((await cells(page, "#channel-rules-table")).join(), /KTS-77\s+1\s+no\s+planted here/);
    assert.equal(await ask(), "no");
    await page.getByRole("button", { name: "Delete KTS-77" }).click();
    await page.getByText("Deleted: KTS-77").waitFor();
    assert.ok(!(await cells(page, "#channel-rules-table")).join().includes("planted here"));
    assert.equal(await ask(), "yes");
  }));

test("Barcodes and versions are added and deleted", () =>
  inPage(stage, { part: "answers" }, async (page) => {
    const common = async () => JSON.parse((await send(stage.lab, "GET", "/vomd/system/whetherInCommon.action?dxtm=CELL-NEW")).text).common;
    const barcodes = page.getByRole("form", { name: "Barcodes in common" });
    await barcodes.locator("[name=dxtm]").fill("CELL-NEW");
    await barcodes.getByRole("button").click();
    await page.getByText("Added: CELL-NEW").waitFor();
    assert.equal(await common(), true);
    await page.getByRole("button", { name: "Delete CELL-NEW" }).click();
    await page.getByText("Deleted: CELL-NEW").waitFor();
    assert.equal(await common(), false);
    const versions = page.getByRole("form", { name: "Supported versions" });
    for (const name of ["t", "com", "ver"]) {
      await versions.locator(`[name=${name}]`).fill("9.9");
    }
    await versions.locator("[name=supported]").uncheck();
    await versions.getByRole("button").click();
    await page.getByText("Added: 9.9").waitFor();
    assert.match((await cells(page, "#supported-versions-table")).join(), /9\.9\s+9\.9\s+9\.9\s+false/);
  }));

test("Keys that came again are counted", () =>
  inPage(stage, { part: "repeats" }, async (page) => {
    for (let time = 0; time < 3; ++time) {
      await incubator("INC-3", 20, { "Idempotency-Key": '"key-of-three"' });
    }
    await incubator("INC-4", 20, { "Idempotency-Key": '"key-of-one"' });
    await eventually(async () => /key-of-three\s+2/.test((await cells(page, "#repeat-table")).join()), "the repeats");
    assert.ok(!(await cells(page, "#repeat-table")).join().includes("key-of-one"));
    await showPart(page, "reports");
    await page.locator("#report-kind").selectOption("incubator-status");
    await page.locator("#report-table").getByText("key-of-one").waitFor();
  }));
