// Server-Sent Events read by fetch: what EventSource cannot do is to tell why it has lost the server, and when.
import {newsText} from "./words.js";

/** What of a stream has not made an event yet. */
export function newParser() {
  return {rest: "", kind: "", data: [], id: "", lastId: "", retry: null, first: true, afterReturn: false};
}

function takeField(parser, line, events) {
  if (line === "") {
    parser.lastId = parser.id;
    if (parser.data.length > 0) {
      events.push({id: parser.lastId, kind: parser.kind || "message", data: parser.data.join("\n")});
    }
    parser.kind = "";
    parser.data = [];
    return;
  }
  if (line.startsWith(":")) return;
  const colon = line.indexOf(":");
  const name = colon < 0 ? line : line.slice(0, colon);
  let value = colon < 0 ? "" : line.slice(colon + 1);
  if (value.startsWith(" ")) value = value.slice(1);
  if (name === "event") parser.kind = value;
  else if (name === "data") parser.data.push(value);
  else if (name === "id" && !value.includes("\0")) parser.id = value;
  else if (name === "retry" && /^[0-9]+$/.test(value)) parser.retry = Number(value);
}

/** Takes a piece of the stream, and gives the events that are whole now. */
export function feed(parser, piece) {
  const events = [];
  let text = piece;
  if (parser.first && text !== "") {
    parser.first = false;
    if (text.startsWith("\ufeff")) text = text.slice(1);
  }
  if (parser.afterReturn && text.startsWith("\n")) text = text.slice(1);
  if (text !== "") parser.afterReturn = text.endsWith("\r");
  const lines = (parser.rest + text).split(/\r\n|\r|\n/);
  parser.rest = lines.pop();
  for (const line of lines) takeField(parser, line, events);
  return events;
}

/** How long to wait before the next attempt, in milliseconds. */
export function pauseAfter(failures, retry) {
  if (failures === 0) return retry ?? 500;
  return Math.min(15000, 500 * 2 ** Math.min(failures, 5));
}

export const SILENCE = 40000; // a server that is there sends a comment every 15 s

/**
 * Follows the stream for ever: after an end it connects again, and goes on after the last event.
 * @param on {opened(), event(event), lost(reason)}
 * @param tools {fetch, wait(ms), setTimer(f, ms), clearTimer(t)}, for tests
 */
export async function follow(url, on, tools = {}) {
  const fetchIt = tools.fetch ?? ((...all) => fetch(...all));
  const wait = tools.wait ?? ((ms) => new Promise((done) => setTimeout(done, ms)));
  const setTimer = tools.setTimer ?? ((f, ms) => setTimeout(f, ms));
  const clearTimer = tools.clearTimer ?? ((timer) => clearTimeout(timer));
  let lastId = "";
  let retry = null;
  let failures = 0;
  for (;;) {
    const abort = new AbortController();
    let silent = false;
    let timer = null;
    const heard = () => {
      if (timer !== null) clearTimer(timer);
      timer = setTimer(() => { silent = true; abort.abort(); }, SILENCE);
    };
    try {
      heard();
      const headers = {Accept: "text/event-stream"};
      if (lastId !== "") headers["Last-Event-ID"] = lastId;
      const answer = await fetchIt(lastId === "" ? `${url}?after=0` : url,
        {headers, cache: "no-store", signal: abort.signal});
      if (!answer.ok) throw new Error(await reasonOf(answer));
      on.opened();
      const parser = newParser();
      parser.id = lastId;
      parser.lastId = lastId;
      const reader = answer.body.pipeThrough(new TextDecoderStream()).getReader();
      for (;;) {
        const {done, value} = await reader.read();
        if (done) break;
        heard();
        failures = 0;
        const events = feed(parser, value);
        retry = parser.retry ?? retry;
        lastId = parser.lastId;
        for (const event of events) on.event(event);
      }
      on.lost("the server has ended the stream");
    } catch (error) {
      on.lost(silent ? `nothing heard for ${SILENCE / 1000} s` : String(error?.message ?? error));
      ++failures;
    }
    if (timer !== null) clearTimer(timer);
    abort.abort();
    if (await wait(pauseAfter(failures, retry)) === "stop") return;
  }
}

/** Why the server has refused something, in its own words. */
export async function reasonOf(answer) {
  try {
    const body = await answer.json();
    const extended = body?.error?.["@Message.ExtendedInfo"]?.[0]?.Message;
    const reason = body?.error?.reason ?? extended ?? body?.error?.message;
    if (reason) return String(reason);
  } catch {
    // no JSON: the status has to do
  }
  return `status ${answer.status}${answer.statusText ? ` ${answer.statusText}` : ""}`;
}

export const MOST_EVENTS = 1000;

/** The list with one more, the newest first; changes of the picture are no news for people. */
export function withEvent(list, event, heardAt) {
  if (event.kind === "picture") return list;
  let data = {};
  try {
    data = JSON.parse(event.data);
  } catch {
    data = {text: event.data};
  }
  if (data === null || typeof data !== "object") data = {text: String(data)};
  const entry = {id: event.id, kind: event.kind, time: typeof data.time === "string" ? data.time : heardAt, text: newsText(event.kind, data)};
  return [entry, ...list].slice(0, MOST_EVENTS);
}

/** Those of a kind ("" is every kind) that have all words of the filter in them, in any case. */
export function filtered(list, kind, words) {
  const wanted = words.toLowerCase().split(/\s+/).filter((word) => word !== "");
  return list.filter((entry) => (kind === "" || entry.kind === kind)
    && wanted.every((word) => `${entry.kind} ${entry.text}`.toLowerCase().includes(word)));
}
