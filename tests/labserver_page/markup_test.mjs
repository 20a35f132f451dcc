// Nothing that a host sends becomes markup, and the page's policy forbids it besides.
import assert from "node:assert/strict";
import { createServer } from "node:http";
import { once } from "node:events";
import { test } from "node:test";
import { eventually, inPage, send, setStage, showPart } from "./stage.mjs";

const stage = setStage();
const EVIL = '<script>window.taken=1</script><img src=x onerror="window.taken=1"><b>&lt;\u202e"\'';
const wholeText = (page) => page.locator("main").evaluate((main) => main.textContent);
const elements = (page) => page.locator("main script, main img, main b:not(summary b)").count();

/** A report with markup in every text that its table has, and in names too where names are free. */
function evilStatus() {
  const texts = ["com", "ver", "PEXAVer", "deviceId", "retentionUnder", "stepStatus", "stopTime", "cMax", "errorParam", "errorTime",
    "chl", "dxtm", "step_state", "backup_dir", "hostname", "action", "action_desc", "reason_desc", "deviceModelType", "deviceRange", "dczt"];
  const numbers = ["box", "disch_retention", "cycle", "disch_capacity", "voltage", "current", "chlType", "reason", "wtNumId", "xmNameId"];
  return Object.fromEntries([...texts.map((name) => [name, EVIL]), ...numbers.map((name) => [name, 1])]);
}

test("A report with markup in every field stays text, wherever it is shown", async () => {
  const key = { "Idempotency-Key": '"<script>window.taken=1</script>"', "X-Evil": "<script>window.taken=1</script>" };
  const target = `/vomd/system/addstatuslog.action?t=${encodeURIComponent(EVIL)}`;
  await send(stage.lab, "POST", target, evilStatus(), key);
  assert.equal((await send(stage.lab, "POST", target, evilStatus(), key)).status, 200);
  await send(stage.lab, "POST", "/open/test-cabinet/add/kostrel/cycle", [{ [EVIL]: EVIL, deep: { [EVIL]: [EVIL] } }, EVIL]);
  await send(stage.lab, "GET", `/no/${encodeURIComponent(EVIL)}`);
  await send(stage.lab, "POST", "/lab/shared-barcodes", { dxtm: EVIL, common: true });
  await send(stage.lab, "POST", "/lab/channel-rules", { deviceId: EVIL, chl: EVIL, allowBoot: EVIL, reason: EVIL });
  await send(stage.lab, "POST", "/lab/faults", { path: "posts", status: 500, body: EVIL, contentType: "text/html" });
  const scenario = { name: "evil", title: EVIL, description: EVIL, steps: [{ afterMs: 0, forMs: 60000, faults: [{ path: "posts", status: 500, untilCleared: true }] }] };
  await send(stage.lab, "POST", "/lab/scenarios", scenario);

  await inPage(stage, {}, async (page) => {
    const shows = async (part, fill) => {
      await showPart(page, part);
      await fill?.();
      await eventually(async () => (await wholeText(page)).includes("<script>window.taken=1</script>"), `${part} shows it`);
      assert.equal(await elements(page), 0, `elements of a host in ${part}`);
      assert.equal(await page.evaluate(() => window.taken), undefined);
    };
    await shows("traffic", async () => {
      for (const summary of await page.locator("#exchanges summary").all()) {
        await summary.click();
      }
      await eventually(async () => (await page.locator(".whole h3").count()) >= 8, "all are open");
    });
    await shows("reports");
    await shows("reports", () => page.locator("#report-kind").selectOption("cycle-data"));
    await shows("channels");
    await shows("answers");
    await shows("faults");
    await shows("repeats");
  });
});

test("The policy refuses texts as markup, and requests to somebody else", async () => {
  const abroad = createServer((request, response) => response.end());
  let requests = 0;
  abroad.on("request", () => ++requests);
  abroad.listen(0, "127.0.0.1");
  await once(abroad, "listening");
  const url = `http://127.0.0.1:${abroad.address().port}/`;
  try {
    await inPage(stage, { expected: /Content Security Policy|TrustedHTML/ }, async (page) => {
      const isRefused = (action, argument) => page.evaluate(action, argument).then(() => false, () => true);
      assert.ok(await isRefused(() => { document.body.innerHTML = "<b>"; }));
      assert.ok(await isRefused((there) => fetch(there, { mode: "no-cors" }), url));
      assert.ok(await isRefused(loadImage, url));
    });
    assert.equal(requests, 0);
  } finally {
    abroad.close();
  }
});

const loadImage = (url) => new Promise((resolve, reject) => Object.assign(new Image(), { onload: resolve, onerror: reject, src: url }));
