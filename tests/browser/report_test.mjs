// Opens reports from disk in Chromium: node report_test.mjs PAGES [--gtest_output=json:FILE]. The
// result is written in the form of a GoogleTest report, which counts its cases.
import assert from "node:assert/strict";
import { mkdirSync, readFileSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { dirname, resolve } from "node:path";
import { pathToFileURL } from "node:url";
import { chromium } from "playwright-core";

const axeSource = readFileSync(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");
const [folder, output] = process.argv.slice(2);
const samples = ["failing", "hostile", "preview", "restore"];
const phone = { width: 360, height: 740 };
const desk = { width: 1280, height: 900 };

// Root may not use Chromium's sandbox; the pages are ours.
const browser = await chromium.launch({
  executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
  args: process.getuid?.() === 0 ? ["--no-sandbox"] : [],
});

// Opens a sample and has whatever the browser complains of, or asks the network for, fail the test.
async function open(name, options = {}) {
  const page = await browser.newPage({ viewport: desk, ...options });
  page.setDefaultTimeout(5000);
  page.complaints = [];
  page.on("console", (message) => page.complaints.push(`${message.type()}: ${message.text()}`));
  page.on("pageerror", (error) => page.complaints.push(`error: ${error.message}`));
  page.on("request", (request) => {
    if (!request.url().startsWith("file:")) page.complaints.push(`request: ${request.url()}`);
  });
  await page.goto(pathToFileURL(resolve(folder, `${name}.html`)).href);
  return page;
}

const shownCommands = (page) => page.locator("article.unit:visible").count();
const shownChanges = (page) => page.locator(".change:visible").count();
const status = (page) => page.locator("#shown").textContent();
const isWide = (page) =>
  page.evaluate(() => document.documentElement.scrollWidth > document.documentElement.clientWidth);

async function axeViolations(page) {
  // The page's policy admits no other script, so axe comes through the debugger, not as an element.
  await page.evaluate(axeSource);
  const result = await page.evaluate(() =>
    window.axe.run(document, {
      runOnly: ["wcag2a", "wcag2aa", "wcag21a", "wcag21aa", "wcag22aa", "best-practice"],
    }));
  return result.violations.map((violation) =>
    `${violation.id}: ${violation.nodes.map((node) => node.target.join(" ")).slice(0, 5).join(", ")}`);
}

// Presses Tab until the element has the focus, so that nothing but the keyboard is needed.
async function tabTo(page, selector) {
  for (let i = 0; i < 100; i += 1) {
    if (await page.evaluate((wanted) => document.activeElement?.matches(wanted) ?? false, selector)) {
      return;
    }
    await page.keyboard.press("Tab");
  }
  assert.fail(`Tab never reaches ${selector}`);
}

const cases = {};

for (const name of samples) {
  cases[`${name}: LoadsWithoutAComplaint`] = async () => {
    const page = await open(name);
    assert.deepEqual(page.complaints, []);
    assert.equal(await page.locator("h1").count(), 1);
  };

  for (const colorScheme of ["light", "dark"]) {
    cases[`${name}: IsAccessible, ${colorScheme}`] = async () => {
      const page = await open(name, { colorScheme });
      await page.evaluate(() => document.querySelectorAll("details").forEach((fold) => {
        fold.open = true;
      }));
      assert.deepEqual(await axeViolations(page), []);
    };
  }

  cases[`${name}: NeverScrollsSidewaysOnAPhone`] = async () => {
    const page = await open(name, { viewport: phone });
    assert.equal(await isWide(page), false);
    await page.evaluate(() => document.querySelectorAll("details").forEach((fold) => {
      fold.open = true;
    }));
    assert.equal(await isWide(page), false);
  };

  cases[`${name}: HasHeadingsInOrder`] = async () => {
    const page = await open(name);
    const levels = await page.locator("h1, h2, h3, h4, h5, h6").evaluateAll((headings) =>
      headings.map((heading) => Number(heading.tagName[1])));
    assert.equal(levels[0], 1);
    levels.slice(1).forEach((level, i) => assert.ok(level <= levels[i] + 1, `${levels}`));
  };

  cases[`${name}: ReadsWithoutScript`] = async () => {
    const page = await open(name, { javaScriptEnabled: false });
    assert.equal(await page.locator("#filters").isVisible(), false);
    assert.ok(await page.locator(".unit").count() > 0);
    for (const unit of await page.locator(".unit").all()) assert.ok(await unit.isVisible());
  };
}

cases["failing: ShowsItsFailureAtTheTop"] = async () => {
  const page = await open("failing");
  for (const text of ["1 of 8 commands failed", "did not respond to the start request"]) {
    const box = await page.getByText(text).first().boundingBox();
    assert.ok(box && box.y + box.height < desk.height, text);
  }
  assert.match(await page.title(), /^1 of 8 commands failed/);
};

cases["failing: LeadsFromTheSummaryToTheCommand"] = async () => {
  const page = await open("failing");
  await page.keyboard.press("Tab");
  assert.ok(await page.getByText("Skip to the details").isVisible());
  await tabTo(page, 'a[href="#command-6"]');
  await page.keyboard.press("Enter");
  assert.equal(await page.evaluate(() => document.activeElement.id), "command-6");
};

cases["failing: FiltersByOutcomeWithTheKeyboard"] = async () => {
  const page = await open("failing");
  assert.equal(await shownCommands(page), 8);
  await tabTo(page, 'input[value="failed"]');
  await page.keyboard.press("Space");
  assert.equal(await shownCommands(page), 1);
  assert.match(await status(page), /^1 of 8 commands, 4 of \d+ changes shown$/);
  await tabTo(page, 'button[type="reset"]');
  await page.keyboard.press("Enter");
  await page.waitForFunction(() => document.querySelector("#shown").textContent.startsWith("8 of 8"));
  assert.equal(await shownCommands(page), 8);
};

cases["failing: TellsTroubleThatTheLogPassesOver"] = async () => {
  const page = await open("failing");
  const command = page.locator("#command-5");
  assert.ok(await command.getByText("tools\\helper.exe is not absolute").isVisible());
  assert.equal(await command.locator(".troubles li").count(), 1);
};

cases["failing: TellsWhichOptionLeftACommandNothingToDo"] = async () => {
  const page = await open("failing");
  await page.getByLabel(/^\s*nothing to do/).check();
  assert.equal(await shownCommands(page), 1);
  assert.ok(await page.locator("#command-8").getByText("isStartMenuShortcutRequested is false").isVisible());
};

cases["failing: FiltersByKindOfChange"] = async () => {
  const page = await open("failing");
  await page.getByLabel(/^\s*Registry/).check();
  assert.equal(await shownCommands(page), 2);
  assert.equal(await page.locator('.change:visible:not([data-kind="registry"])').count(), 0);
  await page.getByLabel(/^\s*Tasks/).check();
  assert.equal(await shownCommands(page), 3);
};

cases["failing: FindsTextInCommandsAndChanges"] = async () => {
  const page = await open("failing");
  await tabTo(page, "#search");
  await page.keyboard.type("session manager");
  assert.equal(await shownCommands(page), 1);
  assert.equal(await shownChanges(page), 1);
  await page.keyboard.press("Escape");
  assert.equal(await shownCommands(page), 8);
  await page.keyboard.type("DESKTOPSHORTCUTS");
  assert.equal(await shownCommands(page), 1);
  await page.keyboard.press("Escape");
  await page.keyboard.type("nothing has this");
  assert.equal(await shownCommands(page), 0);
  assert.match(await status(page), /^0 of 8 commands, 0 of/);
};

cases["failing: TellsTheCountPolitely"] = async () => {
  const page = await open("failing");
  assert.equal(await page.locator("#shown").getAttribute("aria-live"), "polite");
  assert.equal(await status(page), "8 of 8 commands, 14 of 14 changes shown");
};

cases["failing: PrintsEverythingWithoutFilters"] = async () => {
  const page = await open("failing");
  await page.getByLabel(/^\s*failed/).check();
  assert.equal(await shownCommands(page), 1);
  await page.emulateMedia({ media: "print" });
  assert.equal(await page.locator("#filters").isVisible(), false);
  assert.equal(await shownCommands(page), 8);
  // By the style alone: the browser's own printing opens folds by script as well.
  for (const text of ["Successfully set registry key", "toolbox/part3", "isDesktopShortcutRequested"]) {
    const box = await page.getByText(text, { exact: true }).first().boundingBox();
    assert.ok(box && box.height > 0, text);
  }
};

cases["failing: OpensFoldsForPaperAndClosesThem"] = async () => {
  const page = await open("failing");
  const openFolds = () => page.locator("details[open]").count();
  const before = await openFolds();
  await page.evaluate(() => window.dispatchEvent(new Event("beforeprint")));
  assert.equal(await openFolds(), await page.locator("details").count());
  await page.evaluate(() => window.dispatchEvent(new Event("afterprint")));
  assert.equal(await openFolds(), before);
};

cases["failing: HasBothColourSchemes"] = async () => {
  const backgroundOf = async (colorScheme) => {
    const page = await open("failing", { colorScheme });
    const colour = await page.evaluate(() => getComputedStyle(document.body).backgroundColor);
    return colour.match(/\d+/g).slice(0, 3).reduce((sum, part) => sum + Number(part), 0);
  };
  assert.ok(await backgroundOf("light") > 600);
  assert.ok(await backgroundOf("dark") < 150);
};

cases["failing: ShowsWhereTheFocusIs"] = async () => {
  const page = await open("failing");
  for (const selector of ["#search", ".worst a", "summary", 'button[type="reset"]']) {
    await tabTo(page, selector);
    const width = await page.evaluate(() => getComputedStyle(document.activeElement).outlineWidth);
    assert.equal(width, "3px", selector);
  }
};

cases["failing: MovesNothingWhereLessMotionIsWanted"] = async () => {
  const page = await open("failing", { reducedMotion: "reduce" });
  assert.equal(await page.evaluate(() => getComputedStyle(document.documentElement).scrollBehavior),
    "auto");
};

cases["hostile: NoTextBecomesAnElement"] = async () => {
  const page = await open("hostile");
  assert.equal(await page.locator("img, iframe, object, b > i").count(), 0);
  assert.equal(await page.locator("script").count(), 1);
  assert.notEqual(await page.title(), "owned");
  assert.ok(await page.getByText("<script>document.title='owned'</script>").count() > 0);
};

cases["hostile: WhatCannotBeSeenIsMarked"] = async () => {
  const page = await open("hostile");
  const marks = new Set(await page.locator(".odd").allTextContents());
  for (const mark of ["U+202E", "U+2066", "U+200B", "U+001B", "U+000A", "U+D800"]) {
    assert.ok(marks.has(mark), mark);
  }
};

cases["restore: PutsWhatFailedFirst"] = async () => {
  const page = await open("restore");
  assert.match(await page.locator(".unit").first().textContent(), /failed/);
  await page.getByLabel(/^\s*left as it is/).check();
  assert.equal(await page.locator(".unit:visible").count(), 1);
  assert.equal(await status(page), "1 of 7 items shown");
};

cases["preview: SaysWhatIsHandedOver"] = async () => {
  const page = await open("preview");
  await page.getByText(/what it does is not in this list/).first().waitFor();
  assert.match(await page.locator("h1").textContent(), /^Preview of/);
};

const results = [];
for (const [name, check] of Object.entries(cases)) {
  const failures = [];
  try {
    await check();
  } catch (error) {
    failures.push({ failure: error.message });
    console.log(`failed: ${name}\n${error.message}`);
  } finally {
    for (const context of browser.contexts()) await context.close();
  }
  results.push({ name, result: "COMPLETED", ...(failures.length > 0 ? { failures } : {}) });
}
await browser.close();

const failed = results.filter((result) => result.failures).length;
console.log(`${results.length - failed} passed, ${failed} failed`);
if (output) {
  const file = output.replace("--gtest_output=json:", "");
  mkdirSync(dirname(resolve(file)), { recursive: true });
  writeFileSync(file, JSON.stringify({ testsuites: [{ name: "Report", testsuite: results }] }));
}
process.exitCode = failed === 0 ? 0 : 1;
