// A small picture of a blade: baseboard, one AMC, RTM.
export function picture({modules, leds, source} = {}) {
  const rows = modules ?? [
    {bay: 3, place: "AMC bay 3", product_name: "QS-AMC4 Media", run_status: 4, run_status_name: "running"},
    {bay: 9, place: "RTM", product_name: "RT-7190 Trunks", run_status: 4, run_status_name: "running"},
  ];
  return {
    revision: 1,
    time: "2026-11-22T10:00:09.000Z",
    source: source ?? {kind: "hardware", simulated: false, reason: ""},
    host: {process: 1, started: null, version: "1", adaptor: "", mode: 1, storage: "", resident: true, init: null, start: null, stop: null},
    inventory: {
      result: 1, result_name: "success", board: [{product_name: "FB-7200 Carrier", location: 5}], modules: rows,
      amcs: [{bay: 3, dsps: 4}], rtms: [{num_framers: 2}],
    },
    leds: leds ?? [
      {place: "baseboard", bay: 0, led: 3, led_name: "health", result: 1, result_name: "success", color: "green", state: "on", row: {}},
      {place: "AMC bay 3", bay: 3, led: 3, led_name: "health", result: 1, result_name: "success", color: "green", state: "on",
        row: {supports_green: true, supports_red: true}},
    ],
    dsps: [
      {dsp: 1, place: "AMC bay 3", bay: 3, dsp_of_amc: 1, mac: "", ip: "192.168.0.23", read: true, stored: false, note: ""},
      {dsp: 2, place: "AMC bay 3", bay: 3, dsp_of_amc: 2, mac: "", ip: "192.168.0.22", read: true, stored: false, note: ""},
    ],
    ports: [{port: 1, name: "Switch Port Fabric 1", leads_to: "fabric", enabled: true, link: "up", stored: false, note: ""}],
    health: {state: "monitored", since: null, reasons: []},
    controller: {state: "answers", since: null, sweeps: 1},
    upgrades: [],
    calls: [],
    faults: [{place: "AMC bay 3", what: "health LED red", cause: "c", evidence: ["e"], cure: "d"}],
    status: {
      good: true,
      modules: [{place: "baseboard", bay: 0, name: "FB-7200 Carrier", out_of_service_led: "off", health_led: "on green"},
        ...rows.map((row) => ({place: row.place, bay: row.bay, name: row.product_name, run_status: row.run_status,
          run_status_name: row.run_status_name, out_of_service_led: "off", health_led: "off"}))],
    },
  };
}
