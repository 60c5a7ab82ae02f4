// The tool's command lines: what would make what a view shows.
export const quote = (text) => (/^[\w.,:/=+][\w.,:/=+-]*$/.test(text) ? text : `'${text.replaceAll("'", "'\\''")}'`);

export function component_line(component, channel) {
    const { type, typeIndex, dataFormat, slope, offset, power, saturation } = component;
    const place = `--slot ${typeIndex} --channel ${channel}`;
    if (type.endsWith("lut")) return `lutc grade lut --type ${type} --format ${quote(dataFormat)} ${place} TABLE.bin`;
    if (!slope) return `lutc grade live --channel ${channel} GRADE.json`;
    if (type === "saturation") return `lutc grade saturation ${place} ${saturation}`;
    const triples = Object.entries({ slope, offset, power }).map(([name, values]) => `--${name} ${values.join(" ")}`);
    return `lutc grade cdl ${place} ${triples.join(" ")} --saturation ${saturation}`;
}

// The fields of a message as the log has it, as [key, value]; without the command's name.
export function read_fields(text) {
    const fields = [];
    let depth = 0;
    for (const word of text.match(/(?:"(?:[^"\\]|\\.)*"|[^\s"])+/g) ?? []) {
        const [, key, value] = word.match(/^(\w+)=(.*)$/s) ?? [];
        if (depth > 0) fields.at(-1)[1] += ` ${word}`;
        else if (key) fields.push([key, value]);
        const brackets = word.replace(/"(?:[^"\\]|\\.)*"/g, "");
        depth += brackets.split(/[[{]/).length - brackets.split(/[\]}]/).length;
    }
    return fields;
}

// For each command the tool's; $ stands for a field, or for what is made of some.
export const tool_commands = {
    deleteAllPresets: "presets clear", deletePreset: "presets delete $preset", getModelInfo: "model",
    getColorTransformState: "state get $channel", getOption: "option get $name", getPresetsList: "presets list",
    getPreset: "presets download $preset GRADE.json", getOverridePreset: "presets override get",
    getSelectedPreset: "presets selected $channel", getVideoConnections: "video list",
    loadPresetsFromMedia: "presets load", movePreset: "presets move $preset --to $toIndex",
    renamePreset: "presets rename $preset --new-name $newName", savePresetsToMedia: "presets save",
    sendCDL: "grade cdl $place --slope $slope --offset $offset --power $power --saturation $saturation",
    sendClientInfo: "client --model $clientModel", sendGradeCombo: "grade combination $place $gradeComboIndex",
    sendLive: "grade live $place GRADE.json", sendLut: "grade lut $place --type $type --format $dataFormat TABLE.bin",
    sendPreset: "presets upload $preset GRADE.json", sendSaturation: "grade saturation $place $saturation",
    setColorTransformState: "state set $channel $colorTransformState", setOption: "option set $name $value",
    setOverridePreset: "presets override set $preset", setSelectedPreset: "presets select $preset $channel",
    setVideoConnection: "video connect $source $destination",
};

// The line that sends such a command; null where there is none.
export function entry_line({ command }) {
    const name = command.split(" ")[0], fields = Object.fromEntries(read_fields(command));
    if (!Object.hasOwn(tool_commands, name)) return null;
    if (name === "setOverridePreset" && fields.presetIndex === "0") return "lutc presets override clear";
    const plain = (text) => (text.startsWith("[") ? text.slice(1, -1)
        : quote(/^".*"$/s.test(text) ? text.slice(1, -1).replace(/\\(["\\])/g, "$1") : text));
    const value = (key) => plain(fields[key] ?? "");
    const option = (flag, key) => (Object.hasOwn(fields, key) ? `--${flag} ${value(key)} ` : "");
    const channel = option("channel", "channelIndex");
    const made = { channel, preset: option("name", "presetName") || option("index", "presetIndex"),
        place: option("slot", "cdlIndex") + option("slot", "lutIndex") + option("slot", "saturationIndex") + channel +
            (fields.resetAndApply === "true" ? "--reset" : ""),
        source: `${value("sourceType")}:${value("sourceIndex")}`,
        destination: `${value("destinationType")}:${value("destinationIndex")}` };
    return `lutc ${tool_commands[name].replace(/\$(\w+)/g, (_, key) => made[key] ?? value(key))}`.replace(/ +$/, "");
}
