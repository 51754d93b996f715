// What the page looks like, compared with kept pictures: tests/browser/screenshots, written anew by ./dev browser --renew.
import assert from "node:assert/strict";
import {existsSync, mkdirSync, readFileSync, writeFileSync} from "node:fs";
import path from "node:path";
import test from "node:test";

import pixelmatch from "pixelmatch";
import {PNG} from "pngjs";

import {bmhost} from "./blade.mjs";
import {opened, sharedBlade} from "./page.mjs";

const KEPT = path.join(import.meta.dirname ?? path.dirname(new URL(import.meta.url).pathname), "screenshots");
const MOST = 0.001; // of all pixels: a bay that shows nothing is 0.0015, the time in a line of evidence less than 0.0005

// Times, ages and counts are those of this run: they are not looked at. Letters are the same everywhere.
const STEADY = `
  * { font-family: "DejaVu Sans" !important; caret-color: transparent !important; }
  .age, #heard, #zone, time, #filter-count, #host dd, #chart-text, #chart-span, #chart-top, #chart path { visibility: hidden !important; }
  .age, #heard, #chart-text, #chart-span { display: inline-block; width: 10rem; height: 1.2rem; overflow: hidden; white-space: nowrap; }
  #events { display: none; }
`;

const shared = sharedBlade(async () => {
  // What a panel shows in service: one LED on, one that blinks.
  await bmhost("led", "set", "board", "4", "on", "--color", "green");
  await bmhost("led", "set", "board", "3", "blink", "--color", "amber", "--on", "500", "--off", "500");
});

async function matches(page, name) {
  await page.addStyleTag({content: STEADY});
  const shot = await page.screenshot({animations: "disabled", caret: "hide"});
  const file = path.join(KEPT, `${name}.png`);
  if (process.env.RENEW) {
    mkdirSync(KEPT, {recursive: true});
    writeFileSync(file, shot);
    return;
  }
  assert.ok(existsSync(file), `${file} is missing: ./dev browser --renew`);
  const seen = PNG.sync.read(shot);
  const kept = PNG.sync.read(readFileSync(file));
  assert.deepEqual([seen.width, seen.height], [kept.width, kept.height]);
  const different = new PNG({width: kept.width, height: kept.height});
  const count = pixelmatch(seen.data, kept.data, different.data, kept.width, kept.height, {threshold: 0.2});
  const share = count / (kept.width * kept.height);
  const folder = process.env.SEEN;
  if (share > MOST) {
    writeFileSync(path.join(folder, `${name}-seen.png`), shot);
    writeFileSync(path.join(folder, `${name}-different.png`), PNG.sync.write(different));
  }
  assert.ok(share <= MOST, `${(share * 100).toFixed(2)} % of ${name}.png differ: see ${folder}`);
}

const LOOKS = {full: [["light", 1280, 900]], typical: [["dark", 1280, 900], ["light", 360, 900]]};

for (const [colorScheme, width, height] of LOOKS[process.env.BLADE]) {
  const name = `${process.env.BLADE}-${colorScheme}-${width}`;
  test(`${name} looks as it did`, async (t) => {
    const page = await opened(t, shared.browser, shared.blade.url, {viewport: {width, height}, colorScheme, reducedMotion: "reduce", bypassCSP: true, timezoneId: "UTC", locale: "en-GB"});
    await matches(page, name);
  });
}
