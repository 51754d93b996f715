// The page as a reader has it: opened in Chromium, logged in on, and looked at.
import {readFileSync} from "node:fs";
import {createRequire} from "node:module";
import {after, before} from "node:test";

import {chromium} from "playwright-core";

import {ACCOUNT, Blade, LONGEST, PASSWORD} from "./blade.mjs";

const AXE = readFileSync(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");

export function launch() {
  // The same engine without windows, which took more time than the pages in them; CHROMIUM=/usr/bin/chromium has them.
  // Chromium's own sandbox does not work for root; the blade is a box already.
  return chromium.launch({executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium-headless-shell", args: ["--no-sandbox"], timeout: LONGEST});
}

/** A blade in service and a browser for all tests of a file, with what else has to be done before them. */
export function sharedBlade(prepare = async () => {}) {
  const shared = {blade: new Blade(), browser: null};
  before(async () => {
    const up = shared.blade.up();
    shared.browser = await launch();
    await up;
    await prepare(shared);
  });
  after(async () => {
    await shared.browser?.close();
    await shared.blade.end();
  });
  return shared;
}

// An answer that is on its way to a route's handler when the page is left is nobody's error.
const LATE = {behavior: "ignoreErrors"};
const USUAL = {viewport: {width: 1280, height: 900}, colorScheme: null, reducedMotion: null};

async function newPage(browser, options) {
  const context = await browser.newContext({viewport: USUAL.viewport, ...options});
  context.setDefaultTimeout(LONGEST);
  return context.newPage();
}

/**
 * A page that has been used before, and nothing of that is left: most of what a test takes is a window of its own. It gets one when the
 * usual page is in use, or when it wants what only a new window can have.
 */
async function usualPage(t, browser, options) {
  if (browser.inUse || Object.keys(options).some((each) => !(each in USUAL))) return null;
  browser.inUse = true;
  browser.usual ??= await newPage(browser, {});
  const page = browser.usual;
  const {viewport, ...media} = {...USUAL, ...options};
  await page.setViewportSize(viewport);
  await page.emulateMedia(media);
  t.after(async () => {
    page.removeAllListeners();
    await page.unrouteAll(LATE);
    await page.goto("about:blank");
    browser.inUse = false;
  });
  return page;
}

/** A page at this address; what it complains of, or asks elsewhere, stands in its complaints. */
export async function visit(t, browser, url, options = {}) {
  let page = await usualPage(t, browser, options);
  if (page === null) {
    page = await newPage(browser, options);
    t.after(async () => {
      await page.unrouteAll(LATE);
      await page.context().close();
    });
  }
  page.complaints = [];
  page.on("pageerror", (error) => page.complaints.push(String(error)));
  page.on("console", (message) => { if (message.type() === "error") page.complaints.push(message.text()); });
  page.on("request", (request) => {
    if (new URL(request.url()).origin !== new URL(url).origin) page.complaints.push(`asks elsewhere: ${request.url()}`);
  });
  return page;
}

export async function live(page) {
  try {
    await page.locator("#link-text", {hasText: /^live$/}).waitFor();
  } catch (error) {
    const says = await page.locator("#link, #lost").allTextContents();
    throw new Error(`the page hears nothing; it says ${JSON.stringify(says)}, and complains of ${JSON.stringify(page.complaints)}`, {cause: error});
  }
}

/** A page that has heard the blade. */
export async function opened(t, browser, url, options = {}) {
  const page = await visit(t, browser, url, options);
  await page.goto(url);
  await live(page);
  return page;
}

export async function logIn(page, name = ACCOUNT) {
  await page.fill("#login-name", name);
  await page.fill("#login-password", PASSWORD);
  await page.press("#login-password", "Enter");
  await page.locator("#logged-in").waitFor({state: "visible"});
}

export const face = (page, bay) => page.locator(`.face[data-bay="${bay}"]`);

/** Fills in an order's form and gives it. */
export async function order(page, id, values) {
  const form = page.locator(`#${id}`);
  for (const [name, value] of Object.entries(values)) {
    const field = form.locator(`[name="${name}"]`);
    if (typeof value === "boolean") await field.setChecked(value);
    else if (await field.evaluate((each) => each.tagName) === "SELECT") await field.selectOption(value);
    else if (Array.isArray(value)) await field.setInputFiles({name: value[0], mimeType: "application/octet-stream", buffer: value[1]});
    else await field.fill(value);
  }
  await form.locator('button[type="submit"]').click();
  return form.locator(".outcome");
}

/** What axe finds, with the elements that it found it at. */
export async function findings(page) {
  if (!await page.evaluate("window.axe !== undefined")) await page.evaluate(AXE);
  // What it did not find wrong need not be told, which takes most of its time.
  return page.evaluate(async () => {
    const {violations, passes} = await window.axe.run(document, {resultTypes: ["violations"]});
    if (passes.length === 0) throw new Error("axe has looked at nothing");
    return violations.map((each) => [each.id, each.nodes.map((node) => node.html)]);
  });
}
