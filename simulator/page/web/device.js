// The device's options and clients, its reset, and what is asked to go wrong.
import { quote } from "./commands.js";
import { ask } from "./device_link.js";
import { by_id, element, facts, rebuild, set_text, show_commands } from "./dom.js";

const time = by_id("fault-time"), command = by_id("fault-command");

async function change(path, options) {
    const problem = await ask(path, options).then(() => "", (error) => error.message);
    set_text(by_id("fault-problem"), problem);
}

function add(kind) {
    const calls = by_id("next-call").checked ? ":1" : "", late = time.value.trim() && `,${time.value.trim()}`;
    change("faults", { method: "POST", body: JSON.stringify({ fault: `${command.value}${calls}=${kind}${late}` }) });
}

const chip = (fault, i) => element("button", { type: "button", class: "chip", id: `fault-${i}`,
    "aria-label": `Remove the fault ${fault}`,
    click: () => change(`faults?fault=${encodeURIComponent(fault)}`, { method: "DELETE" }) }, `${fault} ×`);

function draw_faults(faults) {
    rebuild(by_id("active-faults"), faults, () => (faults.length ? faults.map(chip)
        : element("p", { class: "quiet" }, "No fault is active.")));
    const options = faults.map((fault) => ` --fault ${quote(fault)}`).join("");
    show_commands("fault-commands", [`lutc-simulator --page ${location.port}${options}`]);
}

async function make_form() {
    const { commands, kinds } = await ask("faults");
    command.replaceChildren(...["*", ...commands].map((name) =>
        element("option", { value: name }, name === "*" ? "any command" : name)));
    by_id("fault-kinds").replaceChildren(...kinds.map(({ kind, milliseconds, help }) =>
        element("div", { class: "kind" }, element("button", { type: "button", id: `kind-${kind}`,
            "aria-describedby": `kind-help-${kind}`, click: () => add(kind) }, kind),
            element("span", { id: `kind-help-${kind}`, class: "quiet" }, `${help} [${milliseconds}]`))));
}

by_id("reset").addEventListener("click", () => {
    if (confirm("Make the device and its faults as at the start? Presets that aren't saved to the media are lost."))
        change("reset", { method: "POST" });
});

export async function draw_device({ model, options, clients, faults }) {
    if (!command.options.length) await make_form();
    draw_faults(faults);
    rebuild(by_id("device-facts"), { model, options, clients }, () => [
        facts([["model", model.modelName], ["serial", model.modelSerial]]),
        element("h3", {}, "Grade combinations"),
        facts(model.gradeCombos.map((each) => [each.gradeComboIndex, each.gradeCombo.join(" › ")])),
        element("h3", {}, "Options"), facts(Object.entries(options).map(([name, value]) => [name, value || "(empty)"])),
        element("h3", {}, "Clients"), clients.length ? facts(clients.map((each) =>
            [each.clientModel, `${each.versionNumber} ${each.clientSerial}`]))
            : element("p", { class: "quiet" }, "None introduced itself.")]);
    show_commands("device-commands", ["lutc model", ...["rangeMode", "videoFormat"].filter((name) => name in options)
        .map((name) => `lutc option set ${name} ${quote(options[name])}`)]);
}
