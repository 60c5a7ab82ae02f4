// Tables as pictures: a curve as three lines, a cube as points in space that can be turned.
import { element } from "./dom.js";

const colours = ["#e05050", "#3fa34d", "#5a7dff"];
const limit = (value, low, high) => Math.min(Math.max(value, low), high);

const context_of = (canvas, side) =>
    Object.assign(Object.assign(canvas, { width: side, height: side }).getContext("2d"),
        { strokeStyle: "#707070", lineWidth: 1.5 });

function draw_line(context, points) {
    context.beginPath();
    for (const [x, y] of points) context.lineTo(x, y);
    context.stroke();
}

export function curve({ samples }, name) {
    const canvas = element("canvas", { role: "img", "aria-label": `${name}: curves of red, green and blue` });
    const side = 160, edge = 6, inner = side - 2 * edge, context = context_of(canvas, side);
    draw_line(context, [[edge, side - edge], [side - edge, edge]]);
    colours.forEach((colour, c) => {
        context.strokeStyle = colour;
        draw_line(context, samples.map((sample, i) => [edge + inner * i / (samples.length - 1),
            side - edge - inner * limit(sample[c], -0.03, 1.03)]));
    });
    return [canvas];
}

function draw_cube(canvas, samples, degrees) {
    const side = 240, angle = degrees * Math.PI / 180, context = context_of(canvas, side);
    const turn = (x, y, by) => [x * Math.cos(by) + y * Math.sin(by), y * Math.cos(by) - x * Math.sin(by)];
    const place = ([r, g, b]) => {
        const [x, depth] = turn(r - 0.5, b - 0.5, angle), [near, y] = turn(depth, g - 0.5, 0.5);
        return [side * (0.5 + 0.6 * x), side * (0.5 - 0.6 * y), near];
    };
    const corners = [0, 1, 2, 3, 4, 5, 6, 7], corner = (k) => place([k & 1, k >> 1 & 1, k >> 2]);
    for (const axis of [1, 2, 4]) for (const k of corners) draw_line(context, [corner(k), corner(k | axis)]);
    const points = samples.map((sample) => [...place(sample), sample]).sort((one, other) => one[2] - other[2]);
    for (const [x, y, , sample] of points) {
        context.fillStyle = `rgb(${sample.map((value) => Math.round(255 * limit(value, 0, 1))).join()})`;
        context.fillRect(x - 1.5, y - 1.5, 3, 3);
    }
}

// The cube, and what turns it: dragging, or the slider below.
export function cube({ samples }, name) {
    const canvas = element("canvas", { class: "cube", role: "img", "aria-label": `${name}: where each colour goes` });
    const turn = (degrees) => draw_cube(canvas, samples, Number(slider.value = (degrees + 540) % 360 - 180));
    const slider = element("input", { type: "range", min: -180, max: 180, value: 35, "aria-label": `Turn ${name}`,
        input: () => draw_cube(canvas, samples, Number(slider.value)) });
    canvas.addEventListener("pointerdown", (event) => canvas.setPointerCapture(event.pointerId));
    canvas.addEventListener("pointermove", (event) => {
        if (canvas.hasPointerCapture(event.pointerId)) turn(Number(slider.value) + event.movementX);
    });
    turn(35);
    return [canvas, slider];
}
