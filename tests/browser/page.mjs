// The page as a reader has it: opened in Chromium, logged in on, and looked at.
import {readFileSync} from "node:fs";
import {createRequire} from "node:module";
import {after, before} from "node:test";

import {chromium} from "playwright-core";

import {ACCOUNT, Blade, LONGEST, PASSWORD} from "./blade.mjs";

const AXE = readFileSync(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");

export function launch() {
  // Chromium's own sandbox does not work for root; the blade is a box already.
  return chromium.launch({executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium", args: ["--no-sandbox"], timeout: LONGEST});
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

/** A page at this address; what it complains of, or asks elsewhere, stands in its complaints. */
export async function visit(t, browser, url, options = {}) {
  const context = await browser.newContext({viewport: {width: 1280, height: 900}, ...options});
  context.setDefaultTimeout(LONGEST);
  t.after(() => context.close());
  const page = await context.newPage();
  page.complaints = [];
  page.on("pageerror", (error) => page.complaints.push(String(error)));
  page.on("console", (message) => { if (message.type() === "error") page.complaints.push(message.text()); });
  page.on("request", (request) => {
    if (new URL(request.url()).origin !== new URL(url).origin) page.complaints.push(`asks elsewhere: ${request.url()}`);
  });
  return page;
}

export function live(page) {
  return page.locator("#link-text", {hasText: /^live$/}).waitFor();
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
