// What the page knows of the device: its state, its log, and whether it is there. Everything comes over HTTP.
import { join } from "./event_stream.js";

const most_entries = 1000, fill_pause = 1000; // milliseconds
const stopped = "The simulator has stopped. This page goes on when it is back.";
export const known = { state: null, entries: [], revision: 0, is_live: false }; // the state may be ahead of the events
let changed = () => {}, needs_state = true, needs_log = true;
let complete = 0, fill_time = 0; // the last number in front of which none is missing; when more may be fetched

export async function request(path, options) {
    const answer = await fetch(path, { cache: "no-store", ...options }).catch(() => { throw new Error(stopped); });
    if (!answer.ok && answer.status !== 304) throw new Error((await answer.text()).trim());
    return answer;
}

export const ask = async (path, options) => (await request(path, options)).json();
// Keeps entries with numbers above those that are known; what is missing in front of some is fetched later.
function append(entries) {
    const end = known.entries.at(-1)?.number ?? 0;
    known.entries = known.entries.concat(entries.filter((entry) => entry.number > end)).slice(-most_entries);
    for (const { number } of known.entries) if (number === complete + 1) complete = number;
}

export const doubt = () => { needs_state = needs_log = true; }; // what is known may be wrong

// Brings state and log up to date; what of the log is missing once a second. Throws when the device isn't there.
export async function catch_up() {
    if (needs_state || known.revision > known.state.revision) {
        needs_state = false;
        const state = await ask("state.json");
        if (state.instance !== known.state?.instance) [known.entries, complete, fill_time] = [[], 0, 0];
        Object.assign(known, { state, revision: Math.min(known.revision, state.revision) });
    }
    if (!needs_log && complete === (known.entries.at(-1)?.number ?? 0)) return;
    if (performance.now() < fill_time) return void setTimeout(changed, fill_time - performance.now());
    [needs_log, fill_time] = [false, performance.now() + fill_pause];
    const entries = await ask(`log.json?since=${complete}`);
    const later = known.entries.filter((entry) => entry.number > complete);
    known.entries = known.entries.filter((entry) => entry.number <= complete);
    complete = entries[0] ? entries[0].number - 1 : complete;
    append(entries);
    append(later);
}

function take({ data }) {
    known.is_live = data.kind !== "broken";
    if (data.kind !== "events" || data.instance !== known.state?.instance) {
        doubt();
    } else {
        known.revision = data.revision ?? known.revision;
        append(data.entries.map((text) => JSON.parse(text)));
    }
    changed();
}

// Calls on_change when something is new. The stream is given up while the page is hidden.
export function start(on_change) {
    changed = on_change;
    const channel = self.SharedWorker ? null : new MessageChannel();
    if (channel) join(channel.port1);
    const port = channel?.port2 ?? new SharedWorker("event_stream.js", { type: "module", name: "events" }).port;
    port.onmessage = take;
    const tell = () => port.postMessage(document.visibilityState === "visible");
    document.addEventListener("visibilitychange", tell);
    const leave = channel ? () => channel.port1.onmessage({ data: false }) : () => port.postMessage(false);
    addEventListener("pagehide", leave); // at once: a page that is kept for "back" runs nothing more
    addEventListener("pageshow", tell);
}

const held = new WeakMap();

// Draws what the address shows; whether it is another picture than before.
export async function draw_picture(canvas, address) {
    const before = held.get(canvas);
    const headers = before?.address === address ? { "If-None-Match": before.etag } : {};
    const answer = await request(address, { headers });
    if (answer.status === 304) return false;
    const picture = await createImageBitmap(await answer.blob(), { colorSpaceConversion: "none" });
    Object.assign(canvas, { width: picture.width, height: picture.height });
    canvas.getContext("2d", { willReadFrequently: true }).drawImage(picture, 0, 0);
    picture.close();
    held.set(canvas, { address, etag: answer.headers.get("ETag") });
    return true;
}
