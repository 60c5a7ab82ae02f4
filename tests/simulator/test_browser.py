"""The page in a real browser: Debian's chromium, with axe-core for accessibility.

--update-pictures makes the pictures of the documents instead.
"""
import base64
import json
import os
import pathlib
import struct
import subprocess
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(__file__).resolve().parents[2]
AXE = SOURCE / "build" / "browser" / "node_modules" / "axe-core" / "axe.min.js"
DRIVER = pathlib.Path("/usr/bin/chromedriver")
try:
    from selenium import webdriver
    from selenium.common.exceptions import StaleElementReferenceException
    from selenium.webdriver import ActionChains, Keys
    from selenium.webdriver.chrome.service import Service
    from selenium.webdriver.common.by import By
    from selenium.webdriver.support.ui import WebDriverWait
except ImportError:
    webdriver = None
if webdriver is None or not DRIVER.exists() or not AXE.exists():
    print("the browser isn't installed: scripts/setup --browser")
    sys.exit(77)
sys.path.insert(0, str(SOURCE / "tests" / "support"))
from service import Simulator  # noqa: E402

SIMULATOR = os.environ.get("LUTC_SIMULATOR", SOURCE / "build/release/bin/lutc-simulator")
TOOL = os.environ.get("LUTC_TOOL", SOURCE / "build/release/bin/lutc")
WEB = SOURCE / "simulator" / "page" / "web"
PICTURES = SOURCE / "docs" / "pictures"
DEADLINE = 20
VIEWS = ("", "#channel=1", "#preset=1", "#log=1", "#device")
SCREENS = {"desktop": (1280, 720), "phone": (390, 844)}
CDL = {"type": "cdl", "typeIndex": 1, "slope": [1.08, 1.0, 0.92], "offset": [0.01, 0.0, -0.015], "power": [1.0, 1.02, 1.05],
       "saturation": 0.95}
CURVE = b"".join(struct.pack("<3H", *(round(65535 * (i / 255) ** power) for power in (0.9, 1, 1.15))) for i in range(256))
CUBE = b"".join(struct.pack("<3H", *(round(65535 * (i / 8) ** 1.2) for i in (r, g, b)))
                for b in range(9) for g in range(9) for r in range(9))


def setUpModule():
    """One simulator at a time, and one browser for all."""
    global browser, folder, page
    temporary = tempfile.TemporaryDirectory()
    unittest.addModuleCleanup(temporary.cleanup)
    folder = os.environ["HOME"] = temporary.name  # where the browser keeps what it keeps
    for name, content in (("curve.bin", CURVE), ("cube.bin", CUBE)):
        pathlib.Path(folder, name).write_bytes(content)
    options = webdriver.ChromeOptions()
    for argument in ("headless=new", "disable-dev-shm-usage", "hide-scrollbars") + ("no-sandbox",) * (os.geteuid() == 0):
        options.add_argument("--" + argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    browser = webdriver.Chrome(service=Service(str(DRIVER)), options=options)
    unittest.addModuleCleanup(browser.quit)
    browser.set_script_timeout(6 * DEADLINE)
    page = start(0)


def start(port, *options):
    """Its page, with one preset in the library."""
    global simulator
    simulator = Simulator(SIMULATOR, f"--page={port}", "--media", folder + "/media", *options)
    unittest.addModuleCleanup(simulator.stop)
    upload("evening", 1, {"type": "1dlut", "typeIndex": 1, "dataFormat": "uint16-le", "file": "curve.bin"}, CDL,
           {"type": "3dlut", "typeIndex": 1, "dataFormat": "uint16", "file": "cube.bin"})
    return simulator.lines[0].split()[-1]


def lutc(*arguments, code=0):
    result = subprocess.run([TOOL, *arguments], cwd=folder, capture_output=True, text=True)
    assert result.returncode == code, result.stderr


def upload(name, combination, *components):
    pathlib.Path(folder, "grade.json").write_text(json.dumps(
        {"name": name, "gradeComboIndex": combination, "components": components}))
    lutc("presets", "upload", "grade.json")


def grade(red):
    lutc("grade", "cdl", "--channel", "1", "--slot", "1", "--slope", str(red), "1", "1")


def look(screen, scheme):
    width, height = SCREENS[screen]
    browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {"width": width, "height": height, "deviceScaleFactor": 1,
                                                                   "mobile": screen == "phone"})
    browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [{"name": "prefers-color-scheme", "value": scheme}]})


def wait(condition):
    """Elements that aren't there, or are being replaced, are waited for too."""
    return WebDriverWait(browser, DEADLINE, 0.02, [StaleElementReferenceException]).until(lambda _: condition())


def script(text, *arguments):
    return browser.execute_script("return " + text, *arguments)


def find(selector):
    return browser.find_element(By.CSS_SELECTOR, selector)


def find_all(selector):
    return browser.find_elements(By.CSS_SELECTOR, selector)


def click(selector):
    wait(lambda: find(selector).click() is None)


def text_of(selector):
    return script("document.querySelector(arguments[0])?.textContent", selector)


def drawn(selector):
    """What a canvas shows."""
    return script("document.querySelector(arguments[0])?.toDataURL() ?? ''", selector)


def visit(view):
    browser.get("about:blank")
    browser.get(page + view)
    wait(lambda: text_of("#link") == "live")


class Page(unittest.TestCase):
    def setUp(self):
        look("desktop", "light")
        lutc("presets", "select", "--channel", "1", "--name", "evening")

    def test_is_small_and_loads_without_a_message(self):
        lines = [line for name in WEB.glob("*.[hcj]*") for line in name.read_text().split("\n")[:-1]]
        self.assertLessEqual(len(lines), 1200)
        self.assertLessEqual(max(map(len, lines)), 120)
        browser.get_log("browser")
        for view in VIEWS:
            visit(view)
            self.assertEqual(browser.get_log("browser"), [], view)

    def test_follows_a_grade(self):
        for view, canvas in (("", "#node-output-1 canvas"), ("#channel=1", "#waveform-after")):
            visit(view)
            wait(lambda: len(drawn(canvas)) > 2000)
            before, entries = drawn(canvas), script("Number(document.querySelector('.row:last-child .number')?.textContent)")
            grade(0.5)
            wait(lambda: drawn(canvas) != before)
            if not view:
                wait(lambda: text_of("#log-list .row:last-child .number") == str(entries + 1))
                wait(lambda: text_of("#node-channel-1 .mark") == "sendCDL")
            lutc("presets", "select", "--channel", "1", "--name", "evening")

    def test_moves_a_line_when_video_is_routed(self):
        visit("")

        def routes():
            return {(line["source"], line["destination"]): line["d"] for line in script(
                "[...document.querySelectorAll('#diagram path')].map((line) => ({...line.dataset, d: line.getAttribute('d')}))")}
        wait(lambda: ("channel:2", "output:2") in routes())
        old = routes()["channel:2", "output:2"]
        lutc("video", "connect", "channel:1", "output:2")
        wait(lambda: ("channel:1", "output:2") in routes())
        self.assertEqual(len(routes()), 4)
        self.assertNotEqual(routes()["channel:1", "output:2"], old)
        ActionChains(browser).move_to_element(find("#node-output-2")).perform()
        wait(lambda: script("[...document.querySelectorAll('.node.lit a')].map((link) => link.ariaLabel).join()")
             == "Input 1,Channel 1,Output 2")
        lutc("video", "connect", "channel:2", "output:2")

    def test_provokes_a_fault_by_click(self):
        visit("#device")
        click("#kind-close")
        wait(lambda: find(".chip"))
        lutc("model", code=1)
        wait(lambda: not find_all(".chip"))
        click("#kind-delay")
        click(".chip")
        wait(lambda: not find_all(".chip"))
        visit("#log")
        click("#log-failed")
        wait(lambda: text_of("#log-list .row:last-child .code") == "close")
        find("#log-list").send_keys(Keys.ARROW_UP, Keys.END, Keys.ENTER)
        wait(lambda: "getModelInfo" in (text_of("#log-detail h3") or ""))
        self.assertIn("lutc model", text_of("#log-detail"))
        self.assertIn("02 70 72 6f 74 6f 63 6f 6c", text_of("#log-detail pre"))

    def test_moves_the_split_by_mouse_and_by_keys(self):
        visit("#channel=1")
        wait(lambda: len(drawn("#after")) > 2000)
        split = find("#split")
        mouse = ActionChains(browser).move_to_element_with_offset(split, 100, 0)
        mouse.click_and_hold().move_by_offset(-200, 0).release().perform()
        moved = int(split.get_property("value"))
        self.assertTrue(30 < moved < 40, moved)
        split.send_keys(Keys.ARROW_RIGHT)
        self.assertEqual(script("document.querySelector('#split-view').style.getPropertyValue('--split')"), f"{moved + 1}%")
        self.assertRegex(text_of("#readout"), r"before .*\d  ·  after .*\d")

    def test_leaves_components_out_in_the_view_alone(self):
        visit("#channel=1")
        wait(lambda: find("#components canvas.cube"))
        before, after = drawn("#before"), drawn("#after")
        click("#only-2")
        wait(lambda: drawn("#after") not in (before, after))
        click("#only-2")
        for k in (1, 2, 3):
            click(f"#without-{k}")
        wait(lambda: drawn("#after") == before)
        self.assertIn("without=1,2,3", browser.current_url)

    def test_shows_texts_of_clients_as_text(self):
        name = "<img src=x onerror=alert(1)>"
        upload(name, 2, CDL)
        visit("#preset=2")
        wait(lambda: text_of("#preset-detail h3") == name)
        self.assertEqual(script("document.querySelectorAll('img').length"), 0)
        lutc("presets", "delete", "--yes", "--index", "2")

    def test_notices_a_restart(self):
        visit("")
        wait(lambda: text_of("#log-count") not in ("", "1 of the last 1"))
        device = pathlib.Path(folder, "device.json")
        device.write_text('{"inputs": 3}')
        for options, inputs in (["--device", device], 3), ([], 2):
            simulator.stop()
            wait(lambda: "has stopped" in text_of("#link"))
            start(page.rsplit(":")[-1].rstrip("/"), *options)
            wait(lambda: text_of("#link") == "live" and text_of("#log-count") == "1 of the last 1")
            wait(lambda: len(find_all("[id^=node-input]:not(span)")) == inputs)

    def test_rests_while_it_is_hidden(self):
        def show(state):
            browser.execute_script("Object.defineProperty(document, 'visibilityState', {value: arguments[0], configurable: true});"
                                   "document.dispatchEvent(new Event('visibilitychange'))", state)

        def is_left_alone():
            """Nothing is open but the two sockets that listen."""
            opened = [os.readlink(link) for link in os.scandir(f"/proc/{simulator.process.pid}/fd")]
            return sum(file.startswith("socket:") for file in opened) == 2
        visit("")
        known = text_of("#last-change")
        show("hidden")
        grade(0.4)
        wait(is_left_alone)
        self.assertEqual(text_of("#last-change"), known)
        show("visible")
        wait(lambda: text_of("#last-change").startswith("Last change: sendCDL") and text_of("#link") == "live")

    def test_six_pages_work_at_once(self):
        visit("")
        first, canvas = browser.current_window_handle, "#node-output-1 canvas"
        for _ in range(5):
            browser.switch_to.new_window("window")
            visit("")
            wait(lambda: len(drawn(canvas)) > 2000)
        before = drawn(canvas)
        grade(0.3)
        for handle in browser.window_handles:
            browser.switch_to.window(handle)
            wait(lambda: drawn(canvas) != before)
            self.assertEqual(script("document.visibilityState"), "visible")
        for handle in browser.window_handles:
            browser.switch_to.window(handle)
            if handle != first:
                browser.close()
        browser.switch_to.window(first)

    def test_is_accessible(self):
        axe = AXE.read_text()
        for scheme in ("light", "dark"):
            for screen in SCREENS:
                look(screen, scheme)
                for view in VIEWS:
                    visit(view)
                    wait(lambda: not view.startswith("#log") or text_of("#log-detail h3"))
                    browser.execute_script(axe)
                    found = browser.execute_async_script(
                        "axe.run({runOnly: ['wcag2a', 'wcag2aa', 'wcag21a', 'wcag21aa']}).then(arguments[0])")
                    self.assertEqual([(each["id"], each["nodes"][0]["html"]) for each in found["violations"]], [], (view, scheme))
                    self.assertEqual(script("document.documentElement.scrollWidth"), SCREENS[screen][0], (view, screen))

    def test_every_control_is_reached_by_keyboard(self):
        for view in VIEWS:
            visit(view)
            wanted = script("""[...document.querySelectorAll('a, button, input, select, [role=listbox], pre')]
                .filter((each) => each.checkVisibility() && !(each.type === 'radio' && !each.checked))
                .map((each, i) => each.dataset.control = String(i))""")
            reached = []
            for _ in range(len(wanted) + 5):
                ActionChains(browser).send_keys(Keys.TAB).perform()
                reached.append(browser.switch_to.active_element.get_dom_attribute("data-control"))
            self.assertEqual(set(wanted) - set(reached), set(), view)


def update_pictures():
    setUpModule()
    lutc("presets", "select", "--channel", "1", "--name", "evening")
    lutc("video", "connect", "input:2", "output:2")
    PICTURES.mkdir(exist_ok=True)
    for name, view, screen, scheme, *canvases in (
            ("signal", "", "desktop", "light", "#node-output-2 canvas", "#node-input-1 canvas"),
            ("channel", "#channel=1", "desktop", "dark", "#histogram-after", ".cube"),
            ("phone", "#channel=1", "phone", "light", "#histogram-after", ".cube")):
        look(screen, scheme)
        visit(view)
        wait(lambda: all(len(drawn(canvas)) > 1000 for canvas in canvases))
        shot = browser.execute_cdp_cmd("Page.captureScreenshot", {})["data"]
        PICTURES.joinpath(f"page-{name}.png").write_bytes(base64.b64decode(shot))
    unittest.doModuleCleanups()


if __name__ == "__main__":
    if "--update-pictures" in sys.argv:
        update_pictures()
    else:
        unittest.main()
