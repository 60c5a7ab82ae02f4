// Which view is shown, and when it is drawn: at most ten times a second, and never before the last time is over.
import { draw_channel } from "./channel.js";
import { draw_device } from "./device.js";
import { catch_up, doubt, known, start } from "./device_link.js";
import { draw_diagram, draw_thumbnails } from "./diagram.js";
import { by_id, element, rebuild, set_text } from "./dom.js";
import { draw_log } from "./log.js";
import { draw_presets } from "./presets.js";

const pause = 100, retry_pause = 1000; // milliseconds
const views = ["signal", "channel", "preset", "log", "device"];
let is_drawing = false, is_wanted = false, is_painting = false, is_behind = false;

// What stands behind the #: a view, the number of what is opened in it, and what it leaves out.
function read_place() {
    const query = new URLSearchParams(location.hash.slice(1));
    const view = views.find((name) => query.has(name)) ?? "signal";
    return { view, index: Number(query.get(view)) || 0, query };
}

function draw_frame({ model, channels }, { view, index }) {
    document.body.dataset.view = view;
    for (const name of views) by_id(name).hidden = name !== view && !(name === "log" && view === "signal");
    set_text(by_id("device-name"), model.friendlyName);
    const links = [["#", "Signal path"], ...channels.map((each) => [`#channel=${each.channelIndex}`, each.channelName]),
        ["#preset", "Presets"], ["#log", "Log"], ["#device", "Device"]];
    const here = view === "signal" ? "#" : view === "channel" ? `#channel=${index}` : `#${view}`;
    rebuild(by_id("views"), { links, here }, () => links.map(([link, name], i) =>
        element("a", { href: link, id: `view-${i}`, "aria-current": link === here ? "page" : null }, name)));
    document.title = `${links.find(([link]) => link === here)?.[1] ?? view} – ${model.friendlyName}`;
}

// Pictures come when they come; the rest doesn't wait for them.
function draw_pictures(work) {
    is_behind = is_painting;
    if (is_painting) return;
    is_painting = true;
    work().catch(fail).finally(() => {
        is_painting = false;
        if (is_behind) redraw();
    });
}

async function draw() {
    await catch_up();
    const { state } = known, place = read_place();
    draw_frame(state, place);
    if (place.view === "signal") draw_diagram(state);
    if (place.view === "signal" || place.view === "log") draw_log(place.index);
    if (place.view === "device") await draw_device(state);
    if (place.view === "signal") draw_pictures(() => draw_thumbnails(state));
    if (place.view === "channel") draw_pictures(() => draw_channel(state, place));
    if (place.view === "preset") draw_pictures(() => draw_presets(state, place.index));
}

// The device may have gone, or gone on: what was asked for isn't there any more.
function fail(error) {
    if (error.name !== "Error") console.error(error);
    doubt();
    setTimeout(redraw, retry_pause);
    return error.message;
}

async function redraw() {
    is_wanted = true;
    if (is_drawing || document.visibilityState !== "visible") return;
    [is_drawing, is_wanted] = [true, false];
    const began = performance.now(), problem = await draw().catch(fail);
    set_text(by_id("link"), problem ?? (known.is_live ? "live" : "connecting"));
    document.body.classList.toggle("broken", problem !== undefined);
    setTimeout(() => {
        is_drawing = false;
        if (is_wanted) redraw();
    }, pause - (performance.now() - began));
}

addEventListener("hashchange", redraw);
document.addEventListener("visibilitychange", redraw);
start(redraw);
redraw();
