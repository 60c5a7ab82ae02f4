// What the page knows of the device: its state, its log, and whether it is there. Everything comes over HTTP.
import { join } from "./event_stream.js";

const most_entries = 1000;
const stopped = "The simulator has stopped. This page goes on when it is back.";
export const known = { state: null, entries: [], is_live: false };
let changed = () => {}, needs_state = true, needs_log = true, is_fetching = false, revision = 0;

export async function request(path, options) {
    const answer = await fetch(path, { cache: "no-store", ...options }).catch(() => { throw new Error(stopped); });
    if (!answer.ok && answer.status !== 304) throw new Error((await answer.text()).trim());
    return answer;
}

export const ask = async (path, options) => (await request(path, options)).json();
const last_number = () => known.entries.at(-1)?.number ?? 0;

// False when entries between what is known and these are missing.
function append(entries) {
    const behind = entries.filter((entry) => entry.number > last_number());
    if (behind.length && behind[0].number !== last_number() + 1) return false;
    known.entries = known.entries.concat(behind).slice(-most_entries);
    return true;
}

// What is known may be wrong.
export function doubt() {
    needs_state = needs_log = true;
}

// Brings state and log up to date. Throws when the device isn't there.
export async function catch_up() {
    if (needs_state || revision > known.state.revision) {
        needs_state = false;
        const state = await ask("state.json");
        if (state.instance !== known.state?.instance) [known.entries, revision] = [[], 0];
        if (state.revision > revision) needs_log = true; // it is ahead of the events
        known.state = state;
    }
    if (!needs_log) return;
    [needs_log, is_fetching] = [false, true];
    const entries = await ask(`log.json?since=${last_number()}`).finally(() => { is_fetching = false; });
    if (!append(entries)) known.entries = entries;
}

function take({ data }) {
    known.is_live = data.kind !== "broken";
    if (data.kind !== "events" || data.instance !== known.state?.instance) {
        doubt();
    } else {
        revision = data.revision ?? revision;
        needs_log ||= is_fetching || !append(data.entries.map((text) => JSON.parse(text)));
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
    addEventListener("pagehide", () => port.postMessage(false));
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
