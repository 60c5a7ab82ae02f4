// The log: every command with its reply; one of them opened, byte by byte.
import { entry_line, read_fields } from "./commands.js";
import { ask, known } from "./device_link.js";
import { by_id, command_line, element, facts, set_text, show_commands } from "./dom.js";
import { row_list } from "./list.js";

const filter = by_id("log-filter"), failed_only = by_id("log-failed"), detail = by_id("log-detail");
const name_of = (entry) => entry.command.split(" ")[0] || "(unreadable)";
const fault_of = (entry) => entry.reply.match(/ \(fault: ([a-z-]+)\)$/)?.[1];
const has_failed = (entry) => entry.code !== 0 || Boolean(fault_of(entry));
let drawn = "", drawn_detail = "";
const list = new row_list(by_id("log-list"), { row_height: 26, key: (entry) => entry.number,
    open: (entry) => { location.hash = `log=${entry.number}`; }, empty: "", show: (entry) => [
        element("span", { class: "cell number" }, entry.number),
        element("span", { class: "cell name" }, name_of(entry)),
        ...[entry.command.slice(name_of(entry).length + 1), entry.reply].map((text) =>
            element("span", { class: "cell wide" }, text)),
        element("span", { class: `cell code${has_failed(entry) ? " failed" : ""}` },
            fault_of(entry) ?? (entry.code === 0 ? "ok" : `code ${entry.code}`)),
        element("span", { class: "cell time" }, `${entry.milliseconds.toFixed(2)} ms`)] });

const readable = (code) => (code >= 32 && code < 127 ? String.fromCharCode(code) : "·");

const hex_rows = (hex) => (hex.match(/.{1,32}/g) ?? []).map((row, i) => {
    const bytes = row.match(/../g), text = bytes.map((byte) => readable(parseInt(byte, 16))).join("");
    return `${(16 * i).toString(16).padStart(4, "0")}  ${bytes.join(" ").padEnd(47)}  ${text}\n`;
}).join("");

function message(title, text, hex, size) {
    const rest = 2 * size > hex.length ? `, the first ${(hex.length / 2).toLocaleString("en")} of them` : "";
    return [element("h4", {}, title, element("span", { class: "quiet" }, ` ${size.toLocaleString("en")} bytes${rest}`)),
        element("div", { class: "message" }, facts(read_fields(text)),
            element("pre", { tabindex: 0, role: "region", "aria-label": `${title}: its bytes` }, hex_rows(hex)))];
}

async function draw_detail(number) {
    const now = `${known.state.instance} ${number}`;
    if (now === drawn_detail) return;
    drawn_detail = now;
    detail.hidden = number === 0;
    if (number === 0) return;
    const leave = () => { location.hash = "log"; list.box.focus(); };
    const head = (title) => element("div", { class: "title" }, element("h3", {}, title),
        element("button", { type: "button", click: leave }, "Close"));
    const found = await ask(`log/${number}.json`).catch((error) => error);
    if (now !== drawn_detail) return;
    if (found instanceof Error) return void detail.replaceChildren(head(found.message));
    const line = entry_line(found);
    detail.replaceChildren(head(`${number}: ${name_of(found)}`), line ? command_line(line, "copy-entry") : "",
        ...(found.notes ?? []).map((note) => element("p", { class: "reason" }, note)),
        ...message("Command", found.command, found.commandHex, found.commandSize),
        ...message("Reply", found.reply, found.replyHex, found.replySize));
}

// The entry with that number is opened; 0: none.
export function draw_log(opened) {
    draw_detail(opened);
    const wanted = filter.value.trim().toLowerCase();
    const now = [known.state.instance, known.entries.at(-1)?.number, wanted, failed_only.checked, opened].join();
    if (now === drawn) return;
    drawn = now;
    const entries = known.entries.filter((entry) => (!failed_only.checked || has_failed(entry)) &&
        name_of(entry).toLowerCase().includes(wanted));
    list.empty = known.entries.length ? "No command fits the filter." : "No command yet.";
    list.set(entries, opened, true);
    set_text(by_id("log-count"), `${entries.length} of the last ${known.entries.length}`);
    show_commands("log-commands", [`lutc-simulator --page ${location.port}`]);
}

for (const control of [filter, failed_only]) control.addEventListener("input", () => draw_log(list.opened));
