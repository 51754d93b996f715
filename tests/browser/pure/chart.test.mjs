// Requests over time.
import assert from "node:assert/strict";
import test from "node:test";

import {chartPath, chartText, countsOf, niceTop, ratesOf, withSample} from "../../../host/web/page/files/chart.js";
import {blinkOf} from "../../../host/web/page/files/panel.js";

const sample = (at, all, bad = 0, since = "a") => ({at, all, bad, since, waiting: 0});

test("counts become rates", () => {
  const counts = countsOf({time: "2026-11-22T10:00:00.000Z", since: "a", requests: {
    under_way: 1, read: {good: 5, refused: 1, failed: 0}, write: {good: 2, refused: 0, failed: 3}}});
  assert.equal(counts.all, 11);
  assert.equal(counts.bad, 4);
  const rates = ratesOf([sample(0, 0), sample(5000, 50, 5), sample(60000, 60), sample(65000, 60)]);
  assert.deepEqual(rates, [{from: 0, to: 5000, all: 10, bad: 1}, {from: 60000, to: 65000, all: 0, bad: 0}], "a gap stays one");
});

test("another host's counts begin anew", () => {
  assert.equal(withSample([sample(0, 10)], sample(1000, 5)).length, 1);
  assert.equal(withSample([sample(0, 10)], sample(1000, 15, 0, "b")).length, 1);
  assert.equal(withSample([sample(0, 10)], sample(1000, 15)).length, 2);
  assert.equal(withSample([sample(1000, 10)], sample(1000, 10)).length, 1, "the same answer again");
  let many = [];
  for (let i = 0; i < 500; ++i) many = withSample(many, sample(i * 1000, i));
  assert.equal(many.length, 121);
});

test("the path stays in its box, and is cut where nothing was heard", () => {
  const rates = [{from: 0, to: 10, all: 0, bad: 0}, {from: 10, to: 20, all: 99, bad: 0}, {from: 90, to: 100, all: 5, bad: 0}];
  assert.equal(chartPath(rates, "all", {x: 0, y: 0, width: 100, height: 10, top: 10}),
    "M0.0 10.0L10.0 10.0L10.0 0.0L20.0 0.0M90.0 5.0L100.0 5.0");
  assert.equal(chartPath([], "all", {}), "");
});

test("scales and words", () => {
  assert.deepEqual([0, 0.3, 1, 3, 12, 60].map(niceTop), [1, 0.5, 1, 5, 20, 100]);
  assert.equal(chartText([]), "not enough heard yet");
  assert.equal(chartText([{from: 0, to: 1, all: 20, bad: 0}, {from: 1, to: 2, all: 2.5, bad: 0}]),
    "2.5 requests a second now, 20 at most in this time; none refused or failed");
});

test("an LED blinks in its own times", () => {
  const led = {result: 1, state: "blink", color: "red", on_ms: 200, off_ms: 800};
  const blink = blinkOf(led, true);
  assert.equal(blink.duration, 1000);
  assert.deepEqual(blink.frames.map((frame) => frame.offset), [0, 0.2, 0.2, 1]);
  assert.equal(blinkOf(led, false), null, "nothing blinks that is not heard");
  assert.equal(blinkOf({...led, state: "on"}, true), null);
});
