// Requests to the controller over time, from what the resident host has counted.

export const MOST_SAMPLES = 121; // ten minutes, one every five seconds

export function countsOf(statistics) {
  const sum = (counts) => counts.good + counts.refused + counts.failed;
  const {read, write} = statistics.requests;
  return {
    at: Date.parse(statistics.time),
    since: statistics.since,
    all: sum(read) + sum(write),
    bad: read.refused + read.failed + write.refused + write.failed,
    waiting: statistics.requests.under_way,
  };
}

/** The samples with one more. Counts of another host begin anew, and so do the samples. */
export function withSample(samples, sample) {
  const last = samples.at(-1);
  if (last && (last.since !== sample.since || sample.all < last.all)) return [sample];
  if (last && sample.at <= last.at) return samples;
  return [...samples, sample].slice(-MOST_SAMPLES);
}

/** Between samples: [{from, to, all, bad}], per second. A gap in which nothing was heard stays one. */
export function ratesOf(samples, longest = 15000) {
  const rates = [];
  for (let i = 1; i < samples.length; ++i) {
    const from = samples[i - 1];
    const to = samples[i];
    const seconds = (to.at - from.at) / 1000;
    if (seconds * 1000 > longest) continue;
    rates.push({from: from.at, to: to.at, all: (to.all - from.all) / seconds, bad: (to.bad - from.bad) / seconds});
  }
  return rates;
}

/** A scale's end that is not below the value: 1, 2 or 5 times a power of ten. */
export function niceTop(value) {
  if (!(value > 0)) return 1;
  const power = 10 ** Math.floor(Math.log10(value));
  return [1, 2, 5, 10].map((step) => step * power).find((top) => top >= value) ?? 10 * power;
}

/** Steps as an SVG path; a gap begins a new piece. */
export function chartPath(rates, key, box) {
  if (rates.length === 0) return "";
  const begin = rates[0].from;
  const span = Math.max(1, rates.at(-1).to - begin);
  const x = (at) => (box.x + (at - begin) / span * box.width).toFixed(1);
  const y = (rate) => (box.y + box.height - Math.min(1, rate / box.top) * box.height).toFixed(1);
  let path = "";
  let end = null;
  for (const rate of rates) {
    path += `${rate.from === end ? "L" : "M"}${x(rate.from)} ${y(rate[key])}L${x(rate.to)} ${y(rate[key])}`;
    end = rate.to;
  }
  return path;
}

/** The chart in words. */
export function chartText(rates) {
  if (rates.length === 0) return "not enough heard yet";
  const round = (value) => (value >= 10 ? value.toFixed(0) : value.toFixed(1));
  const last = rates.at(-1);
  const most = Math.max(...rates.map((rate) => rate.all));
  const bad = rates.some((rate) => rate.bad > 0) ? `; refused or failed: ${round(last.bad)} a second now` : "; none refused or failed";
  return `${round(last.all)} requests a second now, ${round(most)} at most in this time${bad}`;
}
