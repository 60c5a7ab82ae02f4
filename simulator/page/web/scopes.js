// Waveform, RGB parade, vectorscope and histogram of a picture, drawn from its 8-bit code values.
import { by_id, element } from "./dom.js";

const columns = 256, rows = 128, side = 192; // of a trace, and of the vectorscope
const white = [225, 225, 225], traces = [[255, 96, 96], [96, 224, 96], [110, 140, 255]];
const luma = (r, g, b) => 0.2126 * r + 0.7152 * g + 0.0722 * b; // Rec. 709

// Blue difference to the right and red difference upwards, each from -0.5 to 0.5.
const [right_scale, up_scale] = [1.8556, 1.5748];
const targets = [["R", 1, 0, 0], ["Yl", 1, 1, 0], ["G", 0, 1, 0], ["Cy", 0, 1, 1], ["B", 0, 0, 1], ["Mg", 1, 0, 1]]
    .map(([name, r, g, b]) => [name, 0.75 * (b - luma(r, g, b)) / right_scale, 0.75 * (r - luma(r, g, b)) / up_scale]);

// How often each place of a scope is hit.
function measure({ data, width, height }) {
    const trace = () => new Uint32Array(columns * rows), levels = () => new Uint32Array(256);
    const wave = trace(), parade = traces.map(trace), lumas = levels(), histogram = traces.map(levels);
    const vector = new Uint32Array(side * side), count = width * height;
    for (let i = 0, at = 0; i < count; ++i, at += 4) {
        const column = (i % width * columns / width) | 0, y = luma(data[at], data[at + 1], data[at + 2]);
        for (let c = 0; c < 3; ++c) {
            ++parade[c][(rows - 1 - (data[at + c] >> 1)) * columns + column];
            ++histogram[c][data[at + c]];
        }
        ++wave[(rows - 1 - (y >> 1)) * columns + column];
        ++lumas[Math.round(y)];
        const right = (data[at + 2] - y) / 255 / right_scale, up = (data[at] - y) / 255 / up_scale;
        ++vector[((0.5 - up) * (side - 1) | 0) * side + ((0.5 + right) * (side - 1) | 0)];
    }
    return { wave, parade, vector, lumas, histogram, count };
}

// Each place the brighter the more often it is hit; full is as often as it gets.
function paint(canvas, width, height, layers, full) {
    Object.assign(canvas, { width, height });
    const context = canvas.getContext("2d"), image = context.createImageData(width, height);
    for (const { counts, colour, place = (i) => i } of layers) {
        for (let i = 0; i < counts.length; ++i) {
            if (counts[i] === 0) continue;
            const strength = Math.min(1, 0.3 + 0.7 * Math.log2(1 + counts[i]) / Math.log2(1 + full));
            image.data.set([...colour.map((value) => value * strength), 255], 4 * place(i));
        }
    }
    context.putImageData(image, 0, 0);
    return Object.assign(context, { globalCompositeOperation: "destination-over", fillStyle: "#484848" });
}

function paint_trace(canvas, width, layers, count) {
    const context = paint(canvas, width, rows, layers, count / columns / 4);
    for (const level of [0, 0.25, 0.5, 0.75, 1]) context.fillRect(0, Math.round((rows - 1) * level), width, 1);
}

const range = (counts) => `${counts.findIndex(Boolean)} to ${counts.findLastIndex(Boolean)}`;

// Each draws itself, and says in words what it shows.
const scopes = {
    Waveform(canvas, { wave, lumas, count }) {
        paint_trace(canvas, columns, [{ counts: wave, colour: white }], count);
        return `luma from ${range(lumas)}`;
    },
    "RGB parade"(canvas, { parade, histogram, count }) {
        paint_trace(canvas, 3 * columns, parade.map((counts, c) => ({ counts, colour: traces[c],
            place: (i) => (3 * Math.floor(i / columns) + c) * columns + i % columns })), count);
        return ["red", "green", "blue"].map((name, c) => `${name} from ${range(histogram[c])}`).join(", ");
    },
    Vectorscope(canvas, { vector, count }) {
        const context = paint(canvas, side, side, [{ counts: vector, colour: white }], count / 200);
        const place = (value) => Math.round((0.5 + value) * (side - 1));
        Object.assign(context, { strokeStyle: "#a0a0a0", fillStyle: "#a0a0a0", font: "11px sans-serif" });
        for (const [name, right, up] of targets) {
            context.strokeRect(place(right) - 4.5, place(-up) - 4.5, 9, 9);
            context.fillText(name, place(right) + (right > 0.3 ? -22 : 8), place(-up) + 14);
        }
        context.fillStyle = "#484848";
        context.fillRect(side / 2, 0, 1, side);
        context.fillRect(0, side / 2, side, 1);
        const radius = (i) => Math.hypot(i % side - side / 2, Math.floor(i / side) - side / 2);
        const widest = vector.reduce((most, hits, i) => (hits ? Math.max(most, radius(i)) : most), 0);
        return `chroma up to ${Math.round(200 * widest / side)} % of the scale`;
    },
    Histogram(canvas, { histogram, count }) {
        Object.assign(canvas, { width: columns, height: rows });
        const context = Object.assign(canvas.getContext("2d"), { globalCompositeOperation: "lighter" });
        const highest = Math.max(1, ...histogram.flatMap((counts) => [...counts.slice(1, 255)]));
        histogram.forEach((counts, c) => {
            context.fillStyle = `rgb(${traces[c].map((value) => value * 0.7).join()})`;
            counts.forEach((hits, value) =>
                context.fillRect(value, rows, 1, -rows * Math.min(1, Math.sqrt(hits / highest))));
        });
        const share = (value) => (histogram.reduce((sum, counts) => sum + counts[value], 0) / count / 0.03).toFixed(1);
        return `${share(0)} % of the values are 0, ${share(255)} % are 255`;
    },
};

const id_of = (name, which) => `${name.toLowerCase().replace(" ", "-")}-${which}`;

// which: before or after.
export function draw_scopes(which, image) {
    const make = (name) => ["before", "after"].map((each) => element("figure", {},
        element("figcaption", {}, `${name}, ${each}`),
        element("canvas", { id: id_of(name, each), role: "img", "aria-label": `${name}, ${each}` })));
    if (!by_id("scopes").firstChild) by_id("scopes").append(...Object.keys(scopes).flatMap(make));
    const found = measure(image);
    for (const [name, draw] of Object.entries(scopes)) {
        const canvas = by_id(id_of(name, which));
        canvas.setAttribute("aria-label", `${name}, ${which}: ${draw(canvas, found)}`);
    }
}
