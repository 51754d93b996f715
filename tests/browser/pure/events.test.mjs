// The stream of events: whole events of any pieces, and going on where it broke.
import assert from "node:assert/strict";
import test from "node:test";

import {SILENCE, feed, filtered, follow, newParser, pauseAfter, withEvent} from "../../../host/web/page/files/events.js";

const stream = "\ufeff: hello\r\n\r\nid: 7\nevent: health\ndata: {\"a\":1}\n\nid: 8\rdata:one\rdata: two\r\rdata: cut";

test("events are the same however they are cut", () => {
  const wanted = [{id: "7", kind: "health", data: '{"a":1}'}, {id: "8", kind: "message", data: "one\ntwo"}];
  for (let size = 1; size <= stream.length; ++size) {
    const parser = newParser();
    const events = [];
    for (let at = 0; at < stream.length; at += size) events.push(...feed(parser, stream.slice(at, at + size)));
    assert.deepEqual(events, wanted, `pieces of ${size}`);
    assert.equal(parser.lastId, "8");
  }
});

test("an event that was cut off is not taken, and its id neither", () => {
  const parser = newParser();
  feed(parser, "id: 1\ndata: x\n\nid: 2\ndata: y\n");
  assert.equal(parser.lastId, "1");
});

test("the server says when to come again", () => {
  const parser = newParser();
  feed(parser, "retry: 100\n\n");
  assert.equal(parser.retry, 100);
  assert.equal(pauseAfter(0, parser.retry), 100);
  assert.ok(pauseAfter(1, 100) < pauseAfter(4, 100));
  assert.equal(pauseAfter(50, 100), pauseAfter(49, 100));
});

function answerOf(text) {
  return new Response(text, {headers: {"Content-Type": "text/event-stream"}});
}

test("it connects again and goes on after the last event", async () => {
  const asked = [];
  const told = [];
  const answers = [
    () => answerOf("id: 4\ndata: a\n\n"),
    () => { throw new Error("refused"); },
    () => new Response('{"error":{"reason":"busy"}}', {status: 503}),
    () => answerOf("id: 5\ndata: b\n\n"),
  ];
  await follow("/v1/events", {
    opened: () => told.push("opened"), event: (event) => told.push(event.data), lost: (reason) => told.push(`lost: ${reason}`),
  }, {
    fetch: async (url, options) => {
      asked.push([url, options.headers["Last-Event-ID"]]);
      return answers[asked.length - 1]();
    },
    wait: async () => (asked.length === answers.length ? "stop" : ""),
  });
  assert.deepEqual(asked, [["/v1/events?after=0", undefined], ["/v1/events", "4"], ["/v1/events", "4"], ["/v1/events", "4"]]);
  assert.deepEqual(told, ["opened", "a", "lost: the server has ended the stream", "lost: refused", "lost: busy", "opened", "b",
    "lost: the server has ended the stream"]);
});

test("a server that says nothing is lost", async () => {
  const told = [];
  let fire = null;
  await follow("/v1/events", {opened: () => { told.push("opened"); fire(); }, event: () => {}, lost: (reason) => told.push(reason)}, {
    fetch: async (url, {signal}) => new Response(new ReadableStream({
      start(controller) { signal.addEventListener("abort", () => controller.error(new Error("aborted"))); },
    })),
    setTimer: (f, ms) => { assert.equal(ms, SILENCE); fire = f; return 1; },
    clearTimer: () => {},
    wait: async () => "stop",
  });
  assert.deepEqual(told, ["opened", `nothing heard for ${SILENCE / 1000} s`]);
});

test("the list has the newest first, and can be filtered", () => {
  let list = withEvent([], {id: "1", kind: "health", data: '{"state":"monitored","time":"2026-11-22T10:00:00.000Z"}'}, null);
  list = withEvent(list, {id: "2", kind: "picture", data: "{}"}, null);
  list = withEvent(list, {id: "3", kind: "call", data: '{"op":"start","result":1}'}, "2026-11-22T10:00:01.000Z");
  list = withEvent(list, {id: "4", kind: "odd", data: "no json"}, null);
  assert.deepEqual(list.map((each) => each.kind), ["odd", "call", "health"]);
  assert.equal(list[0].time, null, "nobody knows when that was");
  assert.deepEqual(filtered(list, "call", "").map((each) => each.id), ["3"]);
  assert.deepEqual(filtered(list, "", "MONITORED health").map((each) => each.id), ["1"]);
  assert.deepEqual(filtered(list, "", "nothing like it"), []);
  for (let i = 0; i < 1100; ++i) list = withEvent(list, {id: String(i), kind: "call", data: "{}"}, null);
  assert.equal(list.length, 1000);
});
