// A long list that is one tab stop, with the arrow keys inside. Only the rows in sight are in the document.
import { element } from "./dom.js";

export class row_list {
    // show(item) gives the cells of a row; open(item) is called by click and Enter; empty is shown without items.
    constructor(box, { row_height, key, show, open, empty }) {
        Object.assign(this, { box, row_height, key, show, open, empty, items: [], active: null, opened: null });
        this.index = () => this.items.findIndex((item) => key(item) === this.active);
        this.rows = element("div");
        this.space = element("div", { class: "space" }, this.rows);
        box.append(this.space);
        box.addEventListener("scroll", () => this.draw());
        box.addEventListener("keydown", (event) => this.press(event));
        box.addEventListener("focus", () => this.move_to(this.index() < 0 ? this.items.length - 1 : this.index()));
        new ResizeObserver(() => this.draw()).observe(box);
    }

    // What is opened comes in sight; else the end stays there when it was.
    set(items, opened, follows_end) {
        const place = opened === this.opened ? -1 : items.findIndex((item) => this.key(item) === opened);
        const was_at_end = this.box.scrollTop + this.box.clientHeight >= this.items.length * this.row_height - 2;
        Object.assign(this, { items, opened });
        this.space.style.height = `${Math.max(items.length, 1) * this.row_height}px`;
        if (place >= 0) return this.move_to(place);
        if (follows_end && was_at_end) this.box.scrollTop = items.length * this.row_height;
        this.draw();
    }

    draw() {
        const first = Math.max(0, Math.floor(this.box.scrollTop / this.row_height) - 1);
        const count = Math.ceil(this.box.clientHeight / this.row_height) + 3;
        this.rows.style.transform = `translateY(${first * this.row_height}px)`;
        const items = this.items.slice(first, first + count);
        this.rows.replaceChildren(...items.map((item, i) => this.row(item, first + i)));
        if (!this.items.length) this.rows.append(element("div", { class: "row none", role: "option" }, this.empty));
        if (this.index() < 0) this.box.removeAttribute("aria-activedescendant");
        else this.box.setAttribute("aria-activedescendant", `${this.box.id}-${this.active}`);
    }

    row(item, index) {
        const key = this.key(item);
        return element("div", { class: key === this.active ? "row active" : "row", role: "option",
            id: `${this.box.id}-${key}`, "aria-setsize": this.items.length, "aria-posinset": index + 1,
            "aria-selected": String(key === this.opened), click: () => this.choose(index) }, this.show(item));
    }

    move_to(index) {
        if (!this.items.length) return;
        index = Math.min(Math.max(index, 0), this.items.length - 1);
        this.active = this.key(this.items[index]);
        const top = index * this.row_height;
        this.box.scrollTop = Math.min(Math.max(this.box.scrollTop, top + this.row_height - this.box.clientHeight), top);
        this.draw();
    }

    choose(index) {
        this.move_to(index);
        if (this.items[index]) this.open(this.items[index]);
    }

    press(event) {
        const at = this.index(), end = this.items.length - 1;
        const targets = { ArrowDown: at + 1, ArrowUp: at - 1, PageDown: at + 8, PageUp: at - 8, Home: 0, End: end };
        if (event.key in targets) this.move_to(targets[event.key]);
        else if (event.key === "Enter" || event.key === " ") this.choose(at);
        else return;
        event.preventDefault();
    }
}
