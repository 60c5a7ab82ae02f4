// The preset library: its order, what each preset is made of and where it is shown; one of them opened.
import { quote } from "./commands.js";
import { draw_picture } from "./device_link.js";
import { by_id, command_line, element, rebuild, set_text, show_commands } from "./dom.js";
import { row_list } from "./list.js";

const picture = element("canvas", { role: "img" });
let drawn = "";

const list = new row_list(by_id("preset-list"), { row_height: 36, key: (preset) => preset.presetIndex,
    empty: "The library is empty.", open: (preset) => { location.hash = `preset=${preset.presetIndex}`; },
    show: (preset) => [element("span", { class: "cell number" }, preset.presetIndex),
        element("span", { class: "cell wide" }, preset.presetName),
        element("span", { class: "cell combination" }, preset.gradeCombo.join(" › ")),
        element("span", { class: "cell uses" }, preset.uses.map((use) => element("span", { class: "tag" }, use)))] });

// The channels that show it, and whether it is the override.
const uses_of = (index, { channels, override }) =>
    [...channels.map((each) => [each.channelName, each.selectedPreset]), ["override", override]]
        .filter(([, shown]) => shown?.presetIndex === index).map(([name]) => name);

function detail(preset) {
    picture.setAttribute("aria-label", `Preset ${preset.presetIndex} on input 1`);
    return [element("h3", {}, preset.presetName), picture,
        element("p", { class: "quiet" }, `combination ${preset.gradeComboIndex}: ${preset.gradeCombo.join(" › ")}`),
        element("ol", {}, preset.components.map((each) => element("li", { class: each.runs ? null : "idle" },
            `${each.type} ${each.typeIndex}${each.runs ? "" : `: doesn't run, ${each.reason}`}`))),
        command_line(`lutc presets upload --name ${quote(preset.presetName)} GRADE.json`, "copy-upload"),
        command_line(`lutc presets select --name ${quote(preset.presetName)} --channel 1`, "copy-select")];
}

export async function draw_presets(state, index) {
    const now = [state.instance, state.revision, index].join();
    if (now === drawn) return;
    const { media, presets, maxPresetsListSize } = state, opened = presets[index - 1];
    set_text(by_id("library-summary"), `${presets.length} of at most ${maxPresetsListSize} · ` +
        `${media.saved ? "saved in" : "not saved in"} ${media.folder}`);
    list.set(presets.map((preset) => ({ ...preset, uses: uses_of(preset.presetIndex, state) })), index, false);
    rebuild(by_id("preset-detail"), opened ?? null, () => (opened ? detail(opened)
        : element("p", { class: "quiet" }, "Open a preset to see its picture.")));
    show_commands("library-commands", ["lutc presets list", "lutc presets backup FOLDER"]);
    if (opened) await draw_picture(picture, `presets/${index}.png?width=480`);
    drawn = now;
}
