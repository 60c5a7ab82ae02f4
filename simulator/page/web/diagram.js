// The signal path: what each input, channel and output shows, and the routes between them as lines.
import { draw_picture, known } from "./device_link.js";
import { by_id, element, rebuild, set_text, show_commands } from "./dom.js";

const mark_time = 3000; // milliseconds
const box = by_id("diagram"), lines = element("svg", { "aria-hidden": "true" });
const nodes = new Map(); // by "channel:1" and the like
let connections = [], drawn = "";

const title = (end) => end[0].toUpperCase() + end.slice(1).replace(":", " ");

function make_node(end) {
    const [kind, index] = end.split(":"), id = `node-${kind}-${index}`, enter = () => light(end), leave = () => light();
    const canvas = element("canvas", { width: 16, height: 9, role: "img", "aria-label": `Picture of ${title(end)}` });
    const status = element("span", { class: "status", id: `${id}-status` }), mark = element("span", { class: "mark" });
    const link = element("a", { href: kind === "channel" ? `#channel=${index}` : `${kind}s/${index}.png`,
        "aria-label": title(end), "aria-describedby": `${id}-status` }, title(end), canvas);
    const node = element("li", { class: "node", id, pointerenter: enter, pointerleave: leave, focusin: enter,
        focusout: leave }, link, status, mark);
    nodes.set(end, { canvas, status, mark, node });
    return node;
}

function make_diagram({ inputs, channels }) {
    nodes.clear(); // another device may have come, with other ends
    const outputs = connections.filter((each) => each.destination.startsWith("output"));
    return [lines, ...Object.entries({ input: inputs, channel: channels, output: outputs }).map(([kind, list]) =>
        element("ul", { "aria-label": `${kind}s` }, list.map((_, i) => make_node(`${kind}:${i + 1}`))))];
}

// Everything that feeds an end, and everything that it feeds.
function path_of(end) {
    const found = new Set([end]);
    const follow = (from, to, at) => connections.filter((each) => each[from] === at).forEach((each) => {
        found.add(each[to]);
        follow(from, to, each[to]);
    });
    follow("destination", "source", end);
    follow("source", "destination", end);
    return found;
}

function light(end) {
    const lit = end ? path_of(end) : new Set();
    box.classList.toggle("lighting", Boolean(end));
    for (const [each, { node }] of nodes) node.classList.toggle("lit", lit.has(each));
    for (const line of lines.children)
        line.classList.toggle("lit", lit.has(line.dataset.source) && lit.has(line.dataset.destination));
}

function draw_lines() {
    const { left, top } = box.getBoundingClientRect();
    const place = (end) => nodes.get(end).canvas.getBoundingClientRect();
    const curve = (x, y, to_x, to_y) => `C ${(x + to_x) / 2} ${y} ${(x + to_x) / 2} ${to_y} ${to_x} ${to_y} `;
    lines.replaceChildren(...connections.map(({ source, destination }) => {
        const from = place(source), to = place(destination), middle = place("channel:1");
        const [x, y] = [from.right - left, from.top + from.height / 2 - top];
        const [to_x, to_y] = [to.left - left, to.top + to.height / 2 - top];
        let way = curve(x, y, to_x, to_y);
        if (source.startsWith("input") && destination.startsWith("output")) { // between the channels
            const lane = nodes.get("channel:1").node.getBoundingClientRect().bottom + 10 - top;
            way = `${curve(x, y, middle.left - left, lane)}H ${middle.right - left} `;
            way += curve(middle.right - left, lane, to_x, to_y);
        }
        return element("path", { d: `M ${x} ${y} ${way}`, "data-source": source, "data-destination": destination });
    }));
    light([...nodes.keys()].find((end) => nodes.get(end).node.matches(":hover, :focus-within")));
}
new ResizeObserver(draw_lines).observe(box);

function status_of(end, { inputs, channels, override }) {
    const [kind, number] = end.split(":");
    if (kind === "input") return inputs[number - 1].hasSignal ? "signal" : "no signal";
    if (kind === "output") return `from ${title(connections.find((each) => each.destination === end).source)}`;
    const { channelName, showsOverride, selectedPreset, stateMeaning, gradeCombo } = channels[number - 1];
    const preset = showsOverride ? override : selectedPreset;
    return [channelName === title(end) ? "" : channelName,
        { on: "", unknown: "unknown state" }[stateMeaning] ?? stateMeaning, showsOverride ? "override" : "",
        preset ? `“${preset.presetName}”` : "live grade", gradeCombo.join(" › ")].filter(Boolean).join(" · ");
}

function mark(shown, text) {
    shown.node.classList.toggle("changed", text !== "");
    set_text(shown.mark, text);
    clearTimeout(shown.timer);
    if (text) shown.timer = setTimeout(() => mark(shown, ""), mark_time);
}

export function draw_diagram(state) {
    ({ connections } = state);
    rebuild(box, [state.inputs.length, state.channels.length, connections.length], () => make_diagram(state));
    const last = known.entries.findLast((entry) => entry.code === 0 && !entry.command.startsWith("get"));
    for (const [end, shown] of nodes) {
        const [kind, number] = end.split(":");
        const content = JSON.stringify([state.instance, connections.filter((each) => each.destination === end),
            kind === "channel" ? state.channels[number - 1] : null]);
        const is_other = shown.content && shown.content !== content;
        if (is_other || shown.is_early) mark(shown, last?.command.split(" ")[0] ?? "reset");
        shown.is_early = (is_other || shown.is_early) && known.revision < state.revision; // its command is to come
        shown.content = content;
        set_text(shown.status, status_of(end, state));
    }
    draw_lines();
    set_text(by_id("last-change"), last ? `Last change: ${last.command.split(" ")[0]}, number ${last.number}` : "");
    show_commands("signal-commands", connections.map(({ source, destination }) =>
        `lutc video connect ${source} ${destination}`));
}

export async function draw_thumbnails({ instance, revision }) {
    if (drawn === `${instance} ${revision}`) return;
    await Promise.all([...nodes].map(([end, { canvas }]) =>
        draw_picture(canvas, `${end.replace(":", "s/")}.png?width=320`)));
    drawn = `${instance} ${revision}`;
    draw_lines();
}
