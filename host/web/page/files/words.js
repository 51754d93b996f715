// What the page says, as pure functions: values in, texts out.

const WHAT_A_READER_CANNOT_SEE = /[\u0000-\u001f\u007f-\u009f\u00ad\u061c\u200b-\u200f\u2028-\u202e\u2060-\u206f\ufeff]/g;

/** A text of the hardware, or of a log: what would not be seen, or would turn the line around, is shown as "?". */
export function printable(text) {
  return String(text ?? "").replace(/[\r\n\t]+/g, " ").replace(WHAT_A_READER_CANNOT_SEE, "?");
}

/** What is known of now; of what was heard before the connection went, only what it was. */
export function known(text, heard) {
  return heard ? text : `unknown (was ${text})`;
}

/** "now", "7 s", "3 min", "2 h 5 min", "3 days". */
export function durationText(ms) {
  const seconds = Math.max(0, Math.floor(ms / 1000));
  if (seconds < 60) return `${seconds} s`;
  const minutes = Math.floor(seconds / 60);
  if (minutes < 60) return `${minutes} min ${seconds % 60} s`;
  const hours = Math.floor(minutes / 60);
  if (hours < 48) return `${hours} h ${minutes % 60} min`;
  return `${Math.floor(hours / 24)} days`;
}

export function ageText(ms) {
  return ms < 1000 ? "just now" : `${durationText(ms)} ago`;
}

/** In the reader's time zone and language; null and what is no time: "-". */
export function timeText(time, zone, language) {
  const date = new Date(time ?? NaN);
  if (Number.isNaN(date.getTime())) return "-";
  return new Intl.DateTimeFormat(language, {
    year: "numeric", month: "2-digit", day: "2-digit",
    hour: "2-digit", minute: "2-digit", second: "2-digit",
    hourCycle: "h23", timeZone: zone, timeZoneName: "short",
  }).format(date);
}

export function clockText(time, zone, language) {
  const date = new Date(time ?? NaN);
  if (Number.isNaN(date.getTime())) return "-";
  return new Intl.DateTimeFormat(language, {
    hour: "2-digit", minute: "2-digit", second: "2-digit", hourCycle: "h23", timeZone: zone,
  }).format(date);
}

/** A time of the reader's today as its clock alone, any other with its day. The zone is said once, elsewhere. */
export function shortTimeText(time, today, zone, language) {
  const date = new Date(time ?? NaN);
  if (Number.isNaN(date.getTime())) return "-";
  const day = new Intl.DateTimeFormat(language, {year: "numeric", month: "2-digit", day: "2-digit", timeZone: zone});
  const clock = clockText(time, zone, language);
  return day.format(date) === day.format(new Date(today)) ? clock : `${day.format(date)}, ${clock}`;
}

const MOST_NAMED = 2;

/** Whether the blade is well, in a line: {text, mood}. */
export function verdictOf(picture, heard) {
  if (!picture) return {text: "", mood: ""};
  const {faults} = picture;
  if (!heard) return {text: `? unknown (${faults.length === 0 ? "nothing" : "something"} was wrong)`, mood: ""};
  if (faults.length === 0) return {text: "✓ Nothing is wrong", mood: "good"};
  const named = faults.slice(0, MOST_NAMED).map((fault) => `${printable(fault.place)}: ${printable(fault.what)}`);
  if (faults.length > MOST_NAMED) named.push(`and ${faults.length - MOST_NAMED} more`);
  return {text: `✕ ${named.join("; ")}`, mood: "bad"};
}

/** What an LED shows: "on green", "blink red (500 ms on, 500 ms off)", "off". */
export function ledShows(led) {
  if (led.state === undefined) return `not read: ${printable(led.result_name)} (${led.result})`;
  const stale = led.result === 1 ? "" : `; the last reading failed: ${printable(led.result_name)} (${led.result})`;
  if (led.state === "on") return `on ${led.color}${stale}`;
  if (led.state === "blink") return `blink ${led.color} (${led.on_ms} ms on, ${led.off_ms} ms off)${stale}`;
  if (led.state === "lamp test") return `lamp test (${led.test_ms} ms)${stale}`;
  return `${led.state}${stale}`;
}

/** The shape of an LED, so that nobody needs its colour: also the name of its class. */
export function ledShape(led, heard) {
  if (!heard || led.state === undefined || led.result !== 1) return "unknown";
  if (led.state === "lamp test") return "test";
  return ["on", "blink"].includes(led.state) ? led.state : "off";
}

export function runStatusText(module) {
  if (module.run_status === undefined) return "";
  return `${module.run_status_name} (${module.run_status})`;
}

/** "good", "bad" or "" for a run status: 4 runs, 5 has failed. */
export function runStatusMood(status) {
  return status === 4 ? "good" : status === 5 ? "bad" : "";
}

export function portState(port) {
  if (port.enabled === null) return "not known";
  return port.enabled ? "enabled" : "disabled";
}

export function dspAddress(dsp) {
  if (!dsp.read && !dsp.stored) return "not read";
  return printable(dsp.ip) || "none";
}

const CODES = {1: "success"};

function resultText(result) {
  return CODES[result] ? `${result} (${CODES[result]})` : String(result);
}

function reasonsOf(data) {
  const reasons = Array.isArray(data.reasons) ? data.reasons : [];
  return reasons.length === 0 ? "" : `: ${reasons.join("; ")}`;
}

function askerOf(data) {
  return data.asker ? `; asked by ${data.asker}` : "";
}

/** A piece of news as one line. */
export function newsText(kind, data) {
  if (kind === "event" && data.text) return printable(data.text);
  if (kind === "health" && data.state) {
    if (data.state === "ended") return "health: no longer monitored";
    const line = `health: ${data.state}${reasonsOf(data)}`;
    return printable(data.state === "fault" ? `${line}; no longer monitored, until the next start` : line);
  }
  if (kind === "call" && data.op === "order") {
    const place = data.place ? `, ${data.place}` : "";
    const outcome = data.good
      ? `done (${data.result}), ${data.changed ? "changed" : "nothing changed"}`
      : `failed, result ${resultText(data.result)}${reasonsOf(data)}`;
    return printable(`order ${data.order}${place}: ${outcome}${askerOf(data)}`);
  }
  if (kind === "call" && data.op) {
    return printable(`${data.op}: ${resultText(data.result)}${reasonsOf(data)}${askerOf(data)}`);
  }
  if (kind === "host") {
    return data.reachable ? "the resident host answers" : printable(`the resident host does not answer: ${data.reason ?? ""}`);
  }
  if (kind === "lost") return "events are missing here: they are not kept any more";
  if (kind === "gap") return printable(data.reason ?? "the connection was lost");
  return printable(`${kind}: ${JSON.stringify(data)}`);
}

/** What the page has to say of its connection. */
export function linkText(link) {
  switch (link.state) {
    case "live": return "live";
    case "connecting": return link.reason ? `connecting again: ${link.reason}` : "connecting";
    case "host-lost": return `the resident host does not answer: ${link.reason}`;
    default: return `no connection to the blade: ${link.reason}`;
  }
}
