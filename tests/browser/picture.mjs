// A picture of a report's summary and its first commands, without what was asked and the filters
// between them: node picture.mjs REPORT PICTURE.
import { resolve } from "node:path";
import { pathToFileURL } from "node:url";
import { chromium } from "playwright-core";

const [report, picture] = process.argv.slice(2);
// Root may not use Chromium's sandbox; the page is ours.
const browser = await chromium.launch({
  executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
  args: process.getuid?.() === 0 ? ["--no-sandbox"] : [],
});
const page = await browser.newPage({
  viewport: { width: 1100, height: 1500 },
  colorScheme: "light",
});
await page.goto(pathToFileURL(resolve(report)).href);
await page.evaluate(() => {
  const asked = [...document.querySelectorAll("h2")].find((title) => title.textContent === "What was asked");
  for (const part of [asked.closest("section"), document.querySelector("#filters")]) part.hidden = true;
});
await page.screenshot({ path: picture });
await browser.close();
