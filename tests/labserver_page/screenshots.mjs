// Makes the pictures of the page in docs/images anew.
import path from "node:path";
import { eventually, inPage, root, send, showPart, startBrowser, startLab } from "./stage.mjs";

const SECONDS = 25; // of traffic, so that the plots show something
const stage = { lab: await startLab(), browser: await startBrowser() };
const lab = stage.lab;

/** Sends what hosts send, for a while. */
async function work() {
  await send(lab, "POST", "/lab/faults", { path: "vomd/system/GetDxzt.action", status: 502, count: 40 });
  await send(lab, "POST", "/lab/faults", { path: "vomd/system/GetSupportVer.action", delayMs: 120, count: 10 });
  const end = performance.now() + SECONDS * 1000;
  for (let cycle = 1; performance.now() < end; ++cycle) {
    const burst = 1 + Math.round(4 + 4 * Math.sin(cycle / 6));
    for (let channel = 1; channel <= burst; ++channel) {
      const key = { "Idempotency-Key": `"KTS-0007-${channel}-${cycle}"` };
      await send(lab, "POST", "/open/test-cabinet/add/kostrel/cycle",
        [{ cellCode: `CELL-000${channel}`, cycle, chargeCapacity: (3200 - cycle) / 1000, dischargeCapacity: (3100 - cycle) / 1000 }], key);
    }
    await send(lab, "GET", "/vomd/system/channelCheckData.action?deviceId=KTS-0007&chl=3&wtNumId=1201&xmNameId=107&dxtm=CELL-0001&purpose=DVT");
    if (cycle % 4 === 0) {
      await send(lab, "GET", "/vomd/system/GetSupportVer.action?t=1.1.0");
    }
    if (cycle % 10 === 0) {
      await send(lab, "GET", "/vomd/system/GetDxzt.action?t=1");
    }
    await new Promise((done) => setTimeout(done, 120));
  }
}

async function shoot(page, name) {
  await page.locator("#message").evaluate((line) => line.replaceChildren());
  await page.screenshot({ path: path.join(root, `docs/images/lab-${name}.png`) });
}

const window = (height) => ({ viewport: { width: 1100, height } });
try {
  await work();
  await inPage(stage, window(1250), async (page) => {
    await eventually(async () => (await page.locator("#exchanges > li").count()) > 20, "the traffic");
    await page.locator("#exchanges > li").filter({ hasText: "kostrel/cycle" }).first().locator("summary").click();
    await page.locator(".whole h3").first().waitFor();
    await shoot(page, "traffic");
    await page.setViewportSize(window(1080).viewport);
    await showPart(page, "faults");
    await page.getByRole("button", { name: "Start: Gateway error for a minute" }).click();
    await page.locator("#scenario-list li.on").waitFor();
    await eventually(async () => (await page.locator("#fault-table tbody tr").count()) > 1, "the faults");
    await shoot(page, "faults");
    await page.locator("#scenarios-end").click();
    await page.getByText("All scenarios are ended.").waitFor();
  });
  await inPage(stage, { ...window(640), colorScheme: "dark", locale: "zh-CN", part: "reports" }, async (page) => {
    await page.locator("#report-kind").selectOption("cycle-data");
    await page.locator("#report-search").fill("CELL-0003");
    await eventually(async () => /CELL-0003/.test(await page.locator("#report-table tbody tr").first().innerText()), "the reports");
    await page.locator("#report-search").blur();
    await shoot(page, "reports-dark-chinese");
  });
} finally {
  await stage.browser.close();
  await lab.stop();
}
