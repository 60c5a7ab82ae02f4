// Elements from data. Texts of clients pass through here alone, and become text.
export const by_id = (id) => document.getElementById(id);
const is_there = (value) => value !== undefined && value !== null && value !== false;

// Attributes by name; functions are listeners; undefined, null and false leave an attribute out.
export function element(tag, attributes = {}, ...children) {
    const namespace = ["svg", "path"].includes(tag) ? "http://www.w3.org/2000/svg" : "http://www.w3.org/1999/xhtml";
    const made = document.createElementNS(namespace, tag);
    for (const [name, value] of Object.entries(attributes)) {
        if (typeof value === "function") made.addEventListener(name, value);
        else if (is_there(value)) made.setAttribute(name, value);
    }
    made.append(...children.flat(Infinity).filter(is_there));
    return made;
}

const contents = new WeakMap();

// Builds what is in a container anew when its content is another one. The focus stays where it was, found by its id.
export function rebuild(container, content, build) {
    const key = JSON.stringify(content);
    if (contents.get(container) === key) return false;
    contents.set(container, key);
    const focused = container.contains(document.activeElement) ? document.activeElement.id : "";
    container.replaceChildren(...[build(content)].flat().filter(Boolean));
    by_id(focused)?.focus();
    return true;
}

export const set_text = (node, text) => { if (node.textContent !== text) node.textContent = text; };

export const facts = (pairs) => element("dl", { class: "facts" },
    pairs.map(([name, value]) => [element("dt", {}, name), element("dd", {}, String(value))]));

// A command line to copy. A page of another machine has no clipboard, but a selection.
export function command_line(text, id) {
    const code = element("code", {}, text);
    const copy = async ({ currentTarget: button }) => {
        getSelection().selectAllChildren(code);
        await navigator.clipboard?.writeText(text).catch(() => {}) ?? document.execCommand("copy");
        button.textContent = "Copied";
        setTimeout(() => { button.textContent = "Copy"; }, 1500);
    };
    const button = element("button", { type: "button", id, "aria-label": `Copy: ${text}`, click: copy }, "Copy");
    return element("div", { class: "command-line" }, code, button);
}

export const show_commands = (id, lines) => rebuild(by_id(id), lines, () =>
    lines.map((line, i) => command_line(line, `${id}-${i}`)));
