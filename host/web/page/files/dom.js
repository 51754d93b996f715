// Elements without markup: every text goes in as a text.

import {shortTimeText, timeText} from "./words.js";

const SVG = "http://www.w3.org/2000/svg";

function fill(element, properties, children) {
  for (const [name, value] of Object.entries(properties ?? {})) {
    if (value === undefined || value === null || value === false) continue;
    element.setAttribute(name, value === true ? "" : String(value));
  }
  for (const child of children.flat()) {
    if (child === null || child === undefined) continue;
    element.append(child instanceof Node ? child : document.createTextNode(String(child)));
  }
  return element;
}

export function el(name, properties, ...children) {
  return fill(document.createElement(name), properties, children);
}

export function svg(name, properties, ...children) {
  return fill(document.createElementNS(SVG, name), properties, children);
}

export function byId(id) {
  return document.getElementById(id);
}

/** New content, unless it is the same: then nothing that a reader stands on moves. */
export function show(element, key, make) {
  const dated = `${new Date().toDateString()} ${key}`; // what was today's has its day with it tomorrow
  if (element.shownKey === dated) return false;
  element.shownKey = dated;
  element.replaceChildren(...[make()].flat().filter((each) => each !== null));
  return true;
}

export function setText(element, text) {
  if (element.textContent !== text) element.textContent = text;
}

/** A short time; the whole of it for who points at it, and for programs. */
export function moment(time) {
  return el("time", {datetime: time, title: time ? timeText(time) : null}, shortTimeText(time, Date.now()));
}
