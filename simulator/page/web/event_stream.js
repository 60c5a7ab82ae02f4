// One stream of events for all pages of this browser: a stream takes one of the six connections that a browser has for
// a server. It runs as a shared worker, or in the page where there are none, and is open while a page is shown.
const pause = 100, retry_pause = 1000; // milliseconds: what happens within the first goes to the pages together
const pages = new Set();
let source = null, entries = [], told = {}, timer = 0;

const post = (message) => pages.forEach((page) => page.postMessage(message));

function gather(event) {
    const [instance] = event.lastEventId.split(".");
    if (told.instance !== instance) entries = [];
    told = { instance, revision: event.type === "state" ? JSON.parse(event.data).revision : told.revision };
    if (event.type === "command") entries.push(event.data);
    timer ||= setTimeout(() => {
        post({ kind: "events", entries, ...told });
        [timer, entries] = [0, []];
    }, pause);
}

function follow() {
    if (pages.size === 0 || source?.readyState === EventSource.CLOSED) {
        source?.close();
        source = null;
    }
    if (pages.size === 0 || source) return;
    source = new EventSource("events");
    source.onopen = () => post({ kind: "open" });
    source.onerror = () => { // it connects again by itself, unless it was refused
        post({ kind: "broken" });
        if (source.readyState === EventSource.CLOSED) setTimeout(follow, retry_pause);
    };
    source.addEventListener("command", gather);
    source.addEventListener("state", gather);
}

export function join(page) {
    page.onmessage = ({ data: is_shown }) => {
        if (is_shown) pages.add(page);
        else pages.delete(page);
        follow();
        if (is_shown && source.readyState === EventSource.OPEN) page.postMessage({ kind: "open" });
    };
}

self.onconnect = (event) => join(event.ports[0]);
