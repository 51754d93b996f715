// What the page says, by its pure functions alone: `node --test tests/browser/pure`.
import assert from "node:assert/strict";
import test from "node:test";

import {
  ageText, durationText, known, ledShape, ledShows, newsText, printable, shortTimeText, timeText, verdictOf,
} from "../../../host/web/page/files/words.js";

test("nothing that a reader cannot see stays in a text of the hardware", () => {
  assert.equal(printable("a\u0000b\u001b[31m\u0085\u202ec"), "a?b?[31m??c");
  assert.equal(printable("two\r\nlines"), "two lines");
  assert.equal(printable("<b>Müller</b>"), "<b>Müller</b>");
  assert.equal(printable(undefined), "");
});

test("what is not heard is not claimed", () => {
  assert.equal(known("running (4)", true), "running (4)");
  assert.equal(known("running (4)", false), "unknown (was running (4))");
});

test("durations", () => {
  assert.equal(durationText(-5), "0 s");
  assert.equal(durationText(59_999), "59 s");
  assert.equal(durationText(61_000), "1 min 1 s");
  assert.equal(durationText(2 * 3_600_000 + 5 * 60_000), "2 h 5 min");
  assert.equal(durationText(72 * 3_600_000), "3 days");
  assert.equal(ageText(999), "just now");
  assert.equal(ageText(7_000), "7 s ago");
});

test("times are in the reader's zone", () => {
  const time = "2026-11-22T23:30:00.125Z";
  assert.match(timeText(time, "Asia/Tokyo", "en-GB"), /23\/11\/2026, 08:30:00/);
  assert.match(timeText(time, "UTC", "en-GB"), /22\/11\/2026, 23:30:00/);
  assert.equal(timeText(null), "-");
  assert.equal(timeText("no time"), "-");
});

test("a short time is the clock alone, on the reader's own day", () => {
  const time = "2026-11-22T23:30:00.125Z";
  const short = (now, zone) => shortTimeText(time, Date.parse(now), zone, "en-GB");
  assert.equal(short("2026-11-22T23:59:00Z", "UTC"), "23:30:00");
  assert.equal(short("2026-11-23T00:00:00Z", "UTC"), "22/11/2026, 23:30:00");
  assert.equal(short("2026-11-23T00:00:00Z", "Asia/Tokyo"), "08:30:00");
  assert.equal(shortTimeText(null, 0), "-");
  assert.equal(shortTimeText("no time", 0), "-");
});

test("the verdict names what is wrong, and claims nothing that is not heard", () => {
  const faults = [1, 2, 3, 4].map((bay) => ({place: `AMC bay ${bay}`, what: "health LED\u0000red"}));
  assert.deepEqual(verdictOf({faults: []}, true), {text: "✓ Nothing is wrong", mood: "good"});
  assert.deepEqual(verdictOf({faults: faults.slice(0, 1)}, true), {text: "✕ AMC bay 1: health LED?red", mood: "bad"});
  assert.equal(verdictOf({faults}, true).text, "✕ AMC bay 1: health LED?red; AMC bay 2: health LED?red; and 2 more");
  assert.deepEqual(verdictOf({faults: []}, false), {text: "? unknown (nothing was wrong)", mood: ""});
  assert.deepEqual(verdictOf({faults}, false), {text: "? unknown (something was wrong)", mood: ""});
  assert.deepEqual(verdictOf(null, false), {text: "", mood: ""});
});

test("an LED in words and in its shape", () => {
  const blink = {result: 1, state: "blink", color: "red", on_ms: 200, off_ms: 800};
  assert.equal(ledShows(blink), "blink red (200 ms on, 800 ms off)");
  assert.equal(ledShape(blink, true), "blink");
  assert.equal(ledShape(blink, false), "unknown");
  assert.equal(ledShows({result: 1, state: "on", color: "green"}), "on green");
  const unread = {result: 4, result_name: "key missing or unknown"};
  assert.equal(ledShows(unread), "not read: key missing or unknown (4)");
  assert.equal(ledShape(unread, true), "unknown");
  const stale = {result: 195, result_name: "time out", state: "on", color: "green"};
  assert.equal(ledShape(stale, true), "unknown", "its last good reading is no state of now");
  assert.match(ledShows(stale), /^on green; the last reading failed: time out/);
});

test("news in words", () => {
  assert.equal(newsText("health", {state: "fault", reasons: ["a", "b"]}),
    "health: fault: a; b; no longer monitored, until the next start");
  assert.equal(newsText("call", {op: "order", order: "led-set", place: "AMC bay 3", result: 0, good: true, changed: true, asker: "carla"}),
    "order led-set, AMC bay 3: done (0), changed; asked by carla");
  assert.equal(newsText("call", {op: "start", result: 1, reasons: []}), "start: 1 (success)");
  assert.equal(newsText("host", {reachable: false, reason: "gone"}), "the resident host does not answer: gone");
  assert.equal(newsText("event", {text: "a\nb"}), "a b");
  assert.equal(newsText("new kind", {x: 1}), 'new kind: {"x":1}');
});
