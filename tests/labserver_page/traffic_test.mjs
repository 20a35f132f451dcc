// The list of exchanges, and the plots.
import assert from "node:assert/strict";
import { test } from "node:test";
import { eventually, inPage, send, setStage, textOf } from "./stage.mjs";

const stage = setStage();
const lines = (page) => page.locator("#exchanges > li");
const lineOf = (page, path) => lines(page).filter({ has: page.getByText(path, { exact: true }) });

test("An exchange appears within a second", () =>
  inPage(stage, {}, async (page) => {
    const times = [];
    for (const path of ["/posts/1", "/posts/2", "/posts/3"]) {
      const began = performance.now();
      await send(stage.lab, "GET", path);
      await lineOf(page, path).waitFor();
      times.push(performance.now() - began);
    }
    // The quickest one: on a busy machine one may have to wait for the processor.
    assert.ok(Math.min(...times) < 1000, `it took ${times} ms`);
    assert.match(await lines(page).first().innerText(), /GET[^]*\/posts\/3[^]*200 answered/);
  }));

test("What came before the page was opened is there, the newest first", async () => {
  await send(stage.lab, "GET", "/posts/101");
  await send(stage.lab, "GET", "/posts/102");
  await inPage(stage, {}, async (page) => {
    await lineOf(page, "/posts/102").waitFor();
    assert.match(await lines(page).nth(0).innerText(), /\/posts\/102/);
    assert.match(await lines(page).nth(1).innerText(), /\/posts\/101/);
  });
});

test("An exchange can be opened: request, reply, headers, times", () =>
  inPage(stage, {}, async (page) => {
    const report = { name: "INC-9", status: "running", temperature: 25.5 };
    await send(stage.lab, "POST", "/vomd/system/incubatorStatus.action?why=test", report, { "X-Of-Host": "seen" });
    const line = lineOf(page, "/vomd/system/incubatorStatus.action").first();
    await line.locator("summary").click();
    const whole = line.locator(".whole");
    await whole.locator("h3").first().waitFor();
    const text = await whole.innerText();
    assert.match(text, /POST \/vomd\/system\/incubatorStatus\.action\?why=test/);
    assert.match(text, /x-of-host: seen/i);
    assert.match(text, /"name":"INC-9"/);
    assert.match(text, /Content-Type: application\/json/i);
    assert.match(text, /"success":true/);
    assert.match(text, /\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d+Z/);
    assert.match(text, /\d ms/);
    await line.locator("summary").click();
    await whole.locator("h3").first().waitFor({ state: "detached" });
  }));

test("The list is filtered by path, host and outcome", () =>
  inPage(stage, {}, async (page) => {
    await send(stage.lab, "GET", "/posts/7");
    await send(stage.lab, "GET", "/no/such/path");
    const isOnly = (words) => async () => {
      const texts = await lines(page).allInnerTexts();
      return texts.length > 0 && texts.every((text) => text.includes(words));
    };
    await page.locator("#filter-path").fill("such");
    await eventually(isOnly("/no/such/path"), "only that path");
    await send(stage.lab, "GET", "/posts/7");
    await send(stage.lab, "GET", "/no/such/path/either");
    await lineOf(page, "/no/such/path/either").waitFor();
    assert.ok(await isOnly("/no/such/path")(), "new exchanges are filtered too");
    await page.locator("#filter-path").fill("");
    await page.locator("#filter-outcome").selectOption("refused");
    await eventually(isOnly("404 refused"), "only what was refused");
    await page.locator("#filter-outcome").selectOption("");
    await page.locator("#filter-host").fill("192.0.2.1");
    await eventually(async () => (await lines(page).count()) === 0, "nothing of another host");
    await page.locator("#filter-host").fill("127.0.0.1");
    await eventually(isOnly("127.0.0.1"), "only that host");
  }));

test("It can be paused, and then tells how many are new", () =>
  inPage(stage, {}, async (page) => {
    await page.locator("#pause").click();
    await send(stage.lab, "GET", "/posts/201");
    await send(stage.lab, "GET", "/posts/202");
    await page.getByText("2 new while paused.").waitFor();
    assert.equal(await lineOf(page, "/posts/202").count(), 0);
    await page.locator("#pause").click();
    await lineOf(page, "/posts/202").waitFor();
    await eventually(async () => (await textOf(page, "#exchange-more")) === "", "none is waiting");
  }));

test("The list has at most 500 exchanges", () =>
  inPage(stage, {}, async (page) => {
    for (let of50 = 0; of50 < 12; ++of50) {
      await Promise.all(Array.from({ length: 50 }, (_, at) => send(stage.lab, "GET", `/posts/${1000 + 50 * of50 + at}`)));
    }
    await page.reload();
    await eventually(async () => (await lines(page).count()) === 500, "500 lines");
    await lines(page).last().locator("summary").click();
    await send(stage.lab, "GET", "/posts/2000");
    await lineOf(page, "/posts/2000").waitFor();
    assert.equal(await lines(page).count(), 500);
    assert.ok(await lines(page).last().locator("details").evaluate((details) => details.open), "the open one stays");
  }));

test("Rates and latencies are drawn and told", () =>
  inPage(stage, {}, async (page) => {
    await eventually(async () => /In five minutes: [1-9]/.test(await textOf(page, "#rate-words")), "the rate in words");
    assert.match(await textOf(page, "#latency-words"), /half within [\d.]+ ms/);
    for (const line of ["count", "failed", "p50", "p99", "most"]) {
      assert.match(await page.locator(`.line.${line}`).getAttribute("d"), /^M[\d.]+ [\d.]+[vLh]/, line);
    }
  }));
