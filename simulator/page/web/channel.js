// A channel opened: before and after, its components in the order in which they run, and the scopes of both pictures.
import { component_line } from "./commands.js";
import { draw_picture, request } from "./device_link.js";
import { by_id, command_line, element, facts, rebuild, set_text, show_commands } from "./dom.js";
import { cube, curve } from "./drawings.js";
import { draw_scopes } from "./scopes.js";

const split = by_id("split"), view = by_id("split-view"), drawings = new Map();
const pictures = {}; // before and after, as ImageData
let drawn = "";

function move_split() {
    view.style.setProperty("--split", `${split.value}%`);
    split.setAttribute("aria-valuetext", `${split.value} % of the width shows before`);
}

// x and y from 0 to 1.
function show_values(x, y) {
    if (!pictures.before || !pictures.after) return;
    const values = ["before", "after"].map((which) => {
        const { data, width, height } = pictures[which];
        const place = (part, size) => Math.min(Math.max(Math.floor(part * size), 0), size - 1);
        const at = 4 * (place(y, height) * width + place(x, width));
        return `${which} ${Array.from(data.slice(at, at + 3), (value) => `${value}`.padStart(3, "\u2007")).join(" ")}`;
    });
    set_text(by_id("readout"), values.join("  ·  "));
}

split.addEventListener("input", move_split);
split.addEventListener("keyup", () => show_values(split.value / 100, 0.5));
view.addEventListener("pointermove", (event) => {
    const box = view.getBoundingClientRect();
    show_values((event.clientX - box.left) / box.width, (event.clientY - box.top) / box.height);
});
move_split();

const rounded = (value) => (value === null ? "–" : String(Number(value.toFixed(4))));

function describe(component) {
    const { type, slope, saturation, patternType, videoFormat, fgColor, bgColor, dataFormat, dataSize } = component;
    if (type === "tpg")
        return facts([["pattern", patternType], ["format", videoFormat],
            ...(fgColor ? [["foreground", fgColor.join(" ")], ["background", bgColor.join(" ")]] : [])]);
    if (!slope) return facts([["format", dataFormat || "none"], ["bytes", dataSize.toLocaleString("en")]]);
    if (type === "saturation") return facts([["saturation", rounded(saturation)]]);
    const row = (name, values) => element("tr", {}, element("th", { scope: "row" }, name),
        values.map((value) => element("td", {}, rounded(value))));
    return element("table", {}, element("tr", {}, element("td"), ["R", "G", "B"].map((name) =>
        element("th", { scope: "col" }, name))), ["slope", "offset", "power"].map((name) => row(name, component[name])),
        row("saturation", [saturation]));
}

// What the link leaves out, as far as there are such components.
function read_choice(query, count) {
    const numbers = (name) => (query.get(name) ?? "").split(",").map(Number).filter((k) => k >= 1 && k <= count);
    return { only: numbers("only"), without: numbers("without") };
}

function toggle(name, k) {
    const query = new URLSearchParams(location.hash.slice(1));
    const chosen = (query.get(name) ?? "").split(",").filter(Boolean);
    const others = chosen.filter((each) => each !== String(k));
    const wanted = others.length < chosen.length ? others : name === "only" ? [k] : [...others, k];
    if (wanted.length) query.set(name, wanted.join());
    else query.delete(name);
    location.hash = query.toString().replaceAll("%2C", ",");
}

const name_of = ({ type, typeIndex }) => (type === "tpg" ? "test pattern" : `${type} ${typeIndex}`);

function component_item(component, k, { only, without }, channel) {
    const name = name_of(component), is_out = without.includes(k) || (only.length && !only.includes(k));
    const choice = (text, query, is_on) => element("button", { type: "button", id: `${query}-${k}`,
        "aria-pressed": String(is_on), "aria-label": `${text}: ${name}`, click: () => toggle(query, k) }, text);
    return element("li", { class: !component.runs ? "idle" : is_out ? "left-out" : null },
        element("div", { class: "component-head" }, element("h4", {}, name),
            choice("Alone", "only", only.includes(k)), choice("Leave out", "without", without.includes(k))),
        component.runs ? null : element("p", { class: "reason" }, `Doesn't run: ${component.reason}`),
        element("div", { class: "component-body" }, describe(component), element("div", { id: `drawing-${k}` })),
        command_line(component_line(component, channel), `copy-component-${k}`));
}

// Of each table what was drawn, until the table is another one.
async function draw_tables(components, channel) {
    await Promise.all(components.map(async (component, i) => {
        if (!component.runs || !component.type.endsWith("lut")) return;
        const [points, draw] = component.type === "3dlut" ? [13, cube] : [256, curve];
        const address = `channels/${channel}/components/${i + 1}.json?points=${points}`, held = drawings.get(address);
        const answer = await request(address, { headers: held ? { "If-None-Match": held.etag } : {} });
        const drawing = answer.status === 304 ? held.drawing : draw(await answer.json(), name_of(component));
        drawings.set(address, { etag: answer.headers.get("ETag"), drawing });
        const box = by_id(`drawing-${i + 1}`);
        if (box?.firstChild !== drawing[0]) box?.replaceChildren(...drawing);
    }));
}

function draw_head(channel, override) {
    const { channelIndex, channelName, showsOverride, gradeCombo, gradeComboIndex, stateMeaning } = channel;
    const preset = showsOverride ? override : channel.selectedPreset, state = channel.colorTransformState;
    const select = !preset ? "selected" : `${showsOverride ? "override set" : "select"} --index ${preset.presetIndex}`;
    const kind = showsOverride ? "override preset" : "preset";
    const shown = preset ? `${kind} ${preset.presetIndex}, “${preset.presetName}”` : "a live grade";
    set_text(by_id("channel-title"), channelName);
    set_text(by_id("channel-summary"), `${shown} · ${gradeCombo.join(" › ")} · state ${state}: ${stateMeaning}`);
    show_commands("channel-commands", [`lutc presets ${select}${showsOverride ? "" : ` --channel ${channelIndex}`}`,
        `lutc grade combination --channel ${channelIndex} ${gradeComboIndex}`,
        `lutc state set --channel ${channelIndex} ${state}`]);
}

async function draw_side(which, address) {
    const canvas = by_id(which);
    if (!await draw_picture(canvas, address)) return;
    pictures[which] = canvas.getContext("2d").getImageData(0, 0, canvas.width, canvas.height);
    draw_scopes(which, pictures[which]);
}

export async function draw_channel(state, { index, query }) {
    const channel = state.channels[index - 1];
    by_id("channel").classList.toggle("none", !channel);
    if (!channel) return set_text(by_id("channel-title"), `There is no channel ${index}`);
    draw_head(channel, state.override);
    const { components } = channel, chosen = read_choice(query, components.length);
    const now = JSON.stringify([state.instance, state.revision, index, chosen]);
    if (now === drawn) return;
    rebuild(by_id("components"), { components, chosen, index }, () => (components.length
        ? components.map((each, i) => component_item(each, i + 1, chosen, index))
        : element("li", {}, "No component is set: the grade changes nothing.")));
    const wanted = Object.entries(chosen).map(([name, list]) => (list.length ? `&${name}=${list.join()}` : ""));
    const picture = `channels/${index}.png?width=640`;
    await Promise.all([draw_side("before", `${picture}&only=`), draw_side("after", picture + wanted.join("")),
        draw_tables(components, index)]);
    drawn = now;
}
