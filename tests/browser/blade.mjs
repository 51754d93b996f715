// What the tests in Chromium stand on: the blade around them, its resident host and its web door, and what other tools see of it.
// They run inside `bladesim -- node --test FILE`, with BIN the folder of the programs.
import {execFile, spawn} from "node:child_process";
import {mkdtempSync, openSync, readFileSync, rmSync, writeFileSync} from "node:fs";
import {createServer} from "node:net";
import {tmpdir} from "node:os";
import path from "node:path";
import {promisify} from "node:util";

export const LONGEST = 60000; // ms; nothing takes a tenth of this, and a wait that reaches it has failed
export const ACCOUNT = "carla";
export const PASSWORD = "correct horse";

/** Runs a program to its end and gives what it printed; throws when its status is not 0. */
export async function run(program, ...words) {
  const {stdout} = await promisify(execFile)(program, words, {timeout: LONGEST});
  return stdout;
}

export const bmhost = (...words) => run(path.join(process.env.BIN, "bmhost"), ...words);
export const bladesim = (...words) => run(path.join(process.env.BIN, "bladesim"), ...words);

/** Waits until the condition gives something, and gives that. */
export async function until(what, condition) {
  const end = Date.now() + LONGEST;
  for (;;) {
    const found = await condition();
    if (found) return found;
    if (Date.now() > end) throw new Error(`it did not come: ${what}`);
    await new Promise((done) => setTimeout(done, 20));
  }
}

function freePort() {
  return new Promise((done) => {
    const server = createServer().listen(0, "127.0.0.1", () => {
      const {port} = server.address();
      server.close(() => done(port));
    });
  });
}

/** A program that runs until it is ended; what it says is kept in a file. */
class Program {
  constructor(folder, name, words) {
    this.log = path.join(folder, `${name}.log`);
    const log = openSync(this.log, "a");
    this.process = spawn(path.join(process.env.BIN, "bmhost"), words, {stdio: ["ignore", log, log]});
    this.gone = new Promise((done) => this.process.on("exit", done));
  }

  get running() {
    return this.process.exitCode === null && this.process.signalCode === null;
  }

  said() {
    return readFileSync(this.log, "utf8");
  }

  async end(signal = "SIGTERM") {
    if (this.running) this.process.kill(signal);
    return this.gone;
  }
}

export class Blade {
  constructor() {
    this.folder = mkdtempSync(path.join(tmpdir(), "page-"));
    this.accounts = path.join(this.folder, "accounts");
    this.programs = [];
  }

  async addAccounts() {
    const password = path.join(this.folder, "password");
    writeFileSync(password, `${PASSWORD}\n`, {mode: 0o600});
    for (const [name, role] of [[ACCOUNT, "Operator"], ["reader", "ReadOnly"]]) {
      await bmhost("account", "add", name, "--role", role, "--password-file", password, "--accounts", this.accounts);
    }
    this.port = await freePort();
    this.url = `http://127.0.0.1:${this.port}/`;
  }

  start(name, words) {
    const program = new Program(this.folder, name, words);
    this.programs.push(program);
    return program;
  }

  startHost() {
    this.host = this.start("host", ["--storage", path.join(this.folder, "storage"), "run", "--state", path.join(this.folder, "state"), "--sweep", "1"]);
  }

  async startDoor() {
    this.door = this.start("door", ["web", "--listen", `127.0.0.1:${this.port}`, "--accounts", this.accounts]);
    await until("the door", async () => {
      if (!this.door.running) throw new Error(this.door.said());
      return fetch(this.url).then((answer) => answer.ok, () => false);
    });
  }

  /** The picture that the door tells now; null: it tells none. */
  async picture() {
    const answer = await fetch(`${this.url}v1/blade`);
    return answer.ok ? answer.json() : null;
  }

  /** Waits for a picture with everything read, no call under way, and what else is wanted of it. */
  settled(what, condition) {
    return until(what, async () => {
      if (!this.host.running) throw new Error(this.host.said());
      const picture = await this.picture();
      return picture?.host?.start && picture.calls.length === 0 && picture.leds.every((led) => led.read_at) && condition(picture) ? picture : null;
    });
  }

  inService() {
    return this.settled("a blade in service", (picture) => picture.health.state === "monitored" && picture.faults.length === 0);
  }

  /** Resident host and door, with everything read once, and the blade in service. */
  async up() {
    await this.addAccounts();
    this.startHost();
    await this.startDoor();
    const {dsps} = await this.settled("the end of the start", () => true);
    // Those beyond the fourth have no address at first, and then nothing is started.
    const without = dsps.filter((each) => !each.ip);
    for (const {dsp} of without) await bmhost("dsp", "set-ip", String(dsp), `192.168.0.${19 + dsp}`);
    if (without.length > 0) await bmhost("start");
    return this.inService();
  }

  /** In service again, whatever was broken: as the page says. */
  async mend() {
    await bladesim("tool", "clear");
    if (!this.door.running) await this.startDoor();
    if (!this.host.running) this.startHost();
    await this.settled("a host that has started", () => true);
    await bmhost("stop");
    await bmhost("start");
    return this.inService();
  }

  async end() {
    for (const program of this.programs.reverse()) await program.end();
    rmSync(this.folder, {recursive: true});
  }
}
