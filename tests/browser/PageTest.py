"""The page of a session as a browser shows it.

    PageTest.py PAGES [TEST ...]

PAGES is the folder that pages.py has filled. With ORV_PAGE_PICTURES, a folder, what was seen is kept there.
"""
import base64
import json
import os
import pathlib
import sys
import tempfile
import unittest

from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import WebDriverWait

PAGES = pathlib.Path(sys.argv[1]).resolve()
LIMIT_SECONDS = 30
# A browser in a container has neither the rights for its sandbox nor much shared memory; the pages are our own.
FLAGS = ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--hide-scrollbars",
         "--force-device-scale-factor=1")

ROWS = """return [...document.querySelectorAll("#table tbody tr[data-number]")].map(row => ({
  number: Number(row.dataset.number), failed: row.classList.contains("failed"),
  command: row.cells[1].innerText, outcome: row.cells[2].innerText.split("\\n")[0],
  start: row.querySelector(".c-start").textContent, time: row.querySelector(".c-time").textContent}))"""
# The relative luminance, and the contrast of each text with what it stands on.
CONTRASTS = """
const rgb = text => text.match(/[\\d.]+/g).map(Number);
const light = ([r, g, b]) => [r, g, b].map(c => c / 255).map(c => c <= .04045 ? c / 12.92 : ((c + .055) / 1.055) ** 2.4)
  .reduce((sum, c, i) => sum + c * [.2126, .7152, .0722][i], 0);
const ground = node => { for (; node; node = node.parentElement) {
  const colour = rgb(getComputedStyle(node).backgroundColor); if (colour.length < 4 || colour[3] === 1) return colour; }
  return [255, 255, 255]; };
return [light(ground(document.body)), [...document.querySelectorAll(arguments[0])].map(node => {
  const [a, b] = [light(rgb(getComputedStyle(node).color)), light(ground(node))];
  return (Math.max(a, b) + .05) / (Math.min(a, b) + .05); })]"""
# How many colours a picture has, and how light it is.
COLOURS = """const done = arguments[1]; const image = new Image(); image.onload = () => {
  const canvas = document.createElement("canvas"); canvas.width = image.width; canvas.height = image.height;
  const context = canvas.getContext("2d"); context.drawImage(image, 0, 0);
  const bytes = context.getImageData(0, 0, image.width, image.height).data; const seen = new Set(); let sum = 0;
  for (let i = 0; i < bytes.length; i += 4) { seen.add(bytes[i] << 16 | bytes[i + 1] << 8 | bytes[i + 2]); sum += bytes[i + 1]; }
  done([seen.size, sum / (bytes.length / 4) / 255]); }; image.src = "data:image/png;base64," + arguments[0];"""
TOO_WIDE = """return [...document.querySelectorAll("body *")].filter(node => !node.closest("svg"))
  .filter(node => node.getBoundingClientRect().right > innerWidth + 0.5).map(node => node.outerHTML.slice(0, 120))"""


def told(name, kind="command"):
    """What the client printed about the session, as JSON."""
    lines = (PAGES / f"{name}.json").read_text(encoding="utf-8").strip("\n").split("\n")
    return [entry for entry in map(json.loads, lines) if entry["type"] == kind]


OUTCOMES = {"succeeded": "succeeded", "failed": "failed", "exception": "exception", "timedOut": "timed out",
            "lost": "workbench lost"}


class PageTest(unittest.TestCase):
    maxDiff = None

    # By whether scripts may run: to start one takes longer than most cases.
    browsers = {}

    def setUp(self):
        runs_scripts = "without_scripts" not in self.id()
        if runs_scripts not in self.browsers:
            self.browsers[runs_scripts] = self.start_browser(runs_scripts)
        self.browser = self.browsers[runs_scripts]
        # What the case before has left.
        self.browser.get("about:blank")
        self.browser.get_log("browser")

    @classmethod
    def start_browser(cls, runs_scripts):
        home = tempfile.TemporaryDirectory(prefix="orv-browser-", ignore_cleanup_errors=True)
        cls.addClassCleanup(home.cleanup)
        options = Options()
        for flag in (*FLAGS, f"--user-data-dir={home.name}/profile"):
            options.add_argument(flag)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        if not runs_scripts:
            # As in a mail program's view.
            options.add_experimental_option("prefs", {"profile.managed_default_content_settings.javascript": 2})
        service = Service("/usr/bin/chromedriver", env=dict(os.environ, HOME=home.name))
        browser = webdriver.Chrome(service=service, options=options)
        cls.addClassCleanup(browser.quit)
        browser.set_script_timeout(LIMIT_SECONDS)
        return browser

    def open(self, name, width=1280, height=900, dark=False):
        self.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                                     {"width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [
            {"name": "prefers-color-scheme", "value": "dark" if dark else "light"},
            # What moves is not yet where it is to be clicked.
            {"name": "prefers-reduced-motion", "value": "reduce"}]})
        self.browser.get((PAGES / f"{name}.html").as_uri())
        self.wait("return document.documentElement.dataset.shown === 'true'", "the page is shown")
        self.settle()

    def js(self, script, *arguments):
        return self.browser.execute_script(script, *arguments)

    def wait(self, script, what):
        WebDriverWait(self.browser, LIMIT_SECONDS, 0.05).until(lambda _: self.js(script), what)

    def settle(self):
        """Until what was asked for is drawn."""
        self.browser.execute_async_script("requestAnimationFrame(() => requestAnimationFrame(arguments[0]))")

    def find(self, selector):
        return self.browser.find_element(By.CSS_SELECTOR, selector)

    def click(self, selector):
        self.find(selector).click()
        self.settle()

    def rows(self):
        return self.js(ROWS)

    def selected(self):
        """The number of the command that is shown."""
        return int(self.find("#detail h2").text.split()[0].lstrip("#"))

    def expect_no_error(self):
        self.assertEqual([], [entry for entry in self.browser.get_log("browser")])
        self.assertEqual([], self.browser.find_elements(By.CSS_SELECTOR, ".script-error"))

    def picture(self, name):
        """How many colours the page has, and how light it is."""
        shot = self.browser.execute_cdp_cmd("Page.captureScreenshot", {"format": "png"})["data"]
        if "ORV_PAGE_PICTURES" in os.environ:
            pathlib.Path(os.environ["ORV_PAGE_PICTURES"], f"{name}.png").write_bytes(base64.b64decode(shot))
        # The page itself lets no picture in.
        self.browser.get("about:blank")
        return self.browser.execute_async_script(COLOURS, shot)

    def test_shows_every_page_without_an_error(self):
        for page in sorted(PAGES.glob("*.html")):
            with self.subTest(page.name):
                self.open(page.stem)
                self.expect_no_error()
                self.assertEqual([], self.js("return performance.getEntriesByType('resource').map(r => r.name)"))

    def test_numbers_are_those_of_the_json(self):
        for name in ("session", "great"):
            self.open(name)
            commands = told(name)
            if len(commands) > 200:
                self.click("#more button:last-child")
            rows = self.rows()
            self.assertEqual(len(commands), len(rows))
            for command, row in zip(commands, rows):
                time = f"{command['times']['count']} runs" if "times" in command else f"{command['elapsedMs']:.3f}"
                self.assertEqual((command["command"] + " " + command["text"]).strip(), row["command"])
                self.assertEqual((time, OUTCOMES[command["outcome"]], command["outcome"] != "succeeded"),
                                 (row["time"], row["outcome"], row["failed"]))
            failed = sum(command["outcome"] != "succeeded" for command in commands)
            self.assertEqual(f"{len(commands)} commands, {failed} failed", self.find("h1").text)
            ready, = told(name, "ready")
            self.assertEqual(ready["elapsedMs"], self.js(
                "return JSON.parse(document.getElementById('session').textContent).lives[0].readyElapsedMs"))

    def test_a_command_shows_what_the_json_tells(self):
        self.open("session")
        for number, command in enumerate(told("session"), 1):
            self.js("location.hash = 'c' + arguments[0]", number)
            self.wait(f"return document.querySelector('#detail h2').textContent.includes('#{number} ')", number)
            text = self.find("#detail").text
            if "times" in command:
                self.assertIn(f"minimum {command['times']['minimumMs']:.3f}, median {command['times']['medianMs']:.3f}", text)
            else:
                self.assertIn(f"{command['elapsedMs']:.3f} ms", text)
            for happening in command["happenings"]:
                if "output" in happening:
                    self.assertIn(happening["output"].strip(), text)
            arrows = [span.text for span in self.browser.find_elements(By.CSS_SELECTOR, "#detail .arrow")]
            expected = [happening.get("response") or happening.get("message")
                        for happening in command["happenings"] if "output" not in happening]
            self.assertEqual(expected, [arrow for arrow in arrows if arrow != "answer" and not arrow.startswith("sets ")])
            if "exception" in command:
                self.assertIn(command["exception"]["type"] + ": " + command["exception"]["message"], text)
            if "error" in command:
                self.assertIn(command["error"]["message"], text)

    def test_sorts_when_a_head_is_clicked(self):
        self.open("session")
        rows = self.rows()
        times = {row["number"]: self.js("return document.querySelector(`tr[data-number='${arguments[0]}'] .bar`).style.width",
                                        row["number"]) for row in rows}
        keys = {"time": lambda row: float(times[row["number"]].rstrip("%")), "start": lambda row: float(row["start"]),
                "command": lambda row: row["command"], "outcome": lambda row: row["outcome"],
                "number": lambda row: row["number"]}
        for column, key in keys.items():
            for _ in range(2):
                self.click(f"th[data-key={column}] button")
                order = self.find(f"th[data-key={column}]").get_attribute("aria-sort")
                values = [key(row) for row in self.rows()]
                self.assertEqual(sorted(values, reverse=order == "descending"), values, (column, order))
                self.assertEqual(1, len(self.browser.find_elements(By.CSS_SELECTOR, "th[aria-sort]")))
        self.expect_no_error()

    def test_finds_and_filters(self):
        self.open("session")
        self.find("#find").send_keys("target")
        self.settle()
        self.assertTrue(self.rows())
        self.assertTrue(all("target" in row["command"].lower() for row in self.rows()))
        self.find("#find").clear()
        self.find("#find").send_keys("nothing has this")
        self.settle()
        self.assertEqual("No command matches.", self.find("#table tbody").text)
        self.open("session")
        self.click("#only-failed")
        self.assertEqual([(5, True), (7, True)], [(row["number"], row["failed"]) for row in self.rows()])

    def test_is_used_by_the_keyboard(self):
        self.open("session")
        chart = self.find("#chart")
        self.js("arguments[0].focus()", chart)
        self.assertEqual(5, self.selected())
        for keys, number in ((Keys.ARROW_RIGHT, 6), (Keys.ARROW_LEFT, 5), ("f", 7), ("f", 5), ("F", 7), (Keys.END, 11),
                             (Keys.HOME, 1)):
            chart.send_keys(keys)
            self.settle()
            self.assertEqual(number, self.selected())
        chart.send_keys("+++")
        self.settle()
        self.assertTrue(self.find("#overview").is_displayed())
        chart.send_keys("0")
        self.settle()
        self.assertFalse(self.find("#overview").is_displayed())
        # Tab reaches all that can be clicked, in the order in which it stands there.
        self.js("document.activeElement.blur()")
        reached = []
        for _ in range(60):
            self.browser.switch_to.active_element.send_keys(Keys.TAB)
            reached.append(self.js("const a = document.activeElement; return a.id || a.closest('th')?.dataset.key || a.hash"))
        for wanted in ("scale-time", "zoom-in", "failure-next", "chart", "find", "only-failed", "time", "#c1", "#c11"):
            self.assertIn(wanted, reached)
        head = self.find("th[data-key=time] button")
        head.send_keys(Keys.ENTER)
        self.settle()
        self.assertEqual("descending", self.find("th[data-key=time]").get_attribute("aria-sort"))
        self.find("a[href='#c2']").send_keys(Keys.ENTER)
        self.settle()
        self.assertEqual(2, self.selected())

    def test_lanes_are_aligned_and_nothing_is_too_small_to_see(self):
        self.open("session")
        bars = """return [...document.querySelectorAll("#lanes " + arguments[0])].map(r => [r.x, r.y, r.width, r.height]
          .map(v => v.baseVal.value))"""
        for scale in ("#scale-readable", "#scale-time"):
            self.click(scale)
            client = sorted(self.js(bars, ".s-client") + self.js(bars, ".s-bad:not(path)"))
            calls = sorted(self.js(bars, ".s-call"))
            self.assertEqual(1, len({(y, height) for _, y, _, height in client}), scale)
            self.assertEqual(1, len({(y, height) for _, y, _, height in calls}), scale)
            self.assertTrue(all(width >= 1 for _, _, width, _ in client), scale)
            self.assertEqual(2, len(self.js(bars, "rect.s-bad")), scale)
            self.assertTrue(all(width >= 3 for _, _, width, _ in self.js(bars, "rect.s-bad")), scale)
        self.click("#scale-readable")
        client = sorted(self.js(bars, ".s-client") + self.js(bars, "rect.s-bad"))
        # Three hundred milliseconds beside less than ten: all can be clicked.
        self.assertEqual(11, len(client))
        self.assertTrue(all(width > 15 for _, _, width, _ in client), client)
        # A command and its call begin at one place.
        self.assertEqual([round(bar[0], 1) for bar in client], [round(bar[0], 1) for bar in sorted(self.js(bars, ".s-call"))])

    def test_time_line_is_clicked_moved_and_zoomed(self):
        self.open("session")
        bar = self.browser.find_elements(By.CSS_SELECTOR, "#lanes rect.s-client")[2]
        webdriver.ActionChains(self.browser).move_to_element(bar).click().perform()
        self.settle()
        self.assertEqual(3, self.selected())
        self.assertEqual("#3 get t.Target", self.find("#tip").text.split("\n")[0])
        seen = "return document.getElementById('lanes').innerHTML"
        whole = self.js(seen)
        for _ in range(2):
            self.click("#zoom-in")
        near = self.js(seen)
        self.assertNotEqual(whole, near)
        webdriver.ActionChains(self.browser).move_to_element(self.find("#lanes")).click_and_hold().move_by_offset(
            -120, 0).release().perform()
        self.settle()
        self.assertNotEqual(near, self.js(seen))
        self.click("#zoom-all")
        self.assertEqual(whole, self.js(seen))
        self.expect_no_error()

    def test_narrow_windows_lose_nothing(self):
        for name in ("session", "OrvWorkBench", "hostile", "lost", "empty"):
            for width in (360, 768):
                with self.subTest(f"{name} {width}"):
                    self.open(name, width=width)
                    self.assertEqual(width, self.js("return document.documentElement.scrollWidth"))
                    self.assertEqual([], self.js(TOO_WIDE))
                    self.expect_no_error()
        self.open("session", width=360)
        self.click("th[data-key=time] button")
        colours, _ = self.picture("narrow")
        self.assertGreater(colours, 50)

    def test_light_and_dark_are_both_readable(self):
        texts = "h1, h1 .bad, h2, #about, #tiles dt, #tiles dd, #tiles small, #tiles a, #problems li, #problems a," \
                "#legend li, #chart-keys, button:not(:disabled), th button, td, td.bad, .badge, #detail .soft, #detail .bad, .at," \
                ".arrow, .facts dt, .facts dd, summary, label"
        for dark in (False, True):
            self.open("session", dark=dark)
            ground, contrasts = self.js(CONTRASTS, texts)
            self.assertTrue(ground < 0.05 if dark else ground > 0.9)
            self.assertGreater(len(contrasts), 60)
            self.assertGreaterEqual(min(contrasts), 4.5)
            colours, lightness = self.picture("dark" if dark else "light")
            self.assertGreater(colours, 100)
            self.assertTrue(lightness < 0.3 if dark else lightness > 0.7, lightness)

    def test_hostile_texts_stay_texts(self):
        self.open("hostile")
        self.assertIn("session", self.js("return document.title"))
        self.assertEqual([], self.browser.find_elements(By.CSS_SELECTOR, "img"))
        text = ""
        for number in range(1, len(told("hostile")) + 1):
            self.js("location.hash = 'c' + arguments[0]", number)
            self.wait(f"return document.querySelector('#detail h2').textContent.includes('#{number} ')", number)
            text += self.find("#detail").text
        for seen in ("</script><script>document.title = 'taken'</script>", "<img src=x onerror=", "--><!--",
                     "\u27e8U+2028\u27e9", "\u27e8U+202E\u27e9drawkcab", "\u2400\u2401\u241b[31m", "]]>&amp;&#60;b>"):
            self.assertIn(seen, text)
        self.expect_no_error()

    def test_great_sessions_stay_usable(self):
        self.open("great")
        commands = told("great")
        self.assertEqual(200, len(self.rows()))
        self.assertIn(f"200 of {len(commands)} are listed.", self.find("#more").text)
        self.assertLess(len(self.browser.find_elements(By.CSS_SELECTOR, "#lanes *")), 6000)
        self.click("th[data-key=time] button")
        slowest = max(commands, key=lambda command: command["elapsedMs"])
        self.assertEqual(f"{slowest['elapsedMs']:.3f}", self.rows()[0]["time"])
        number = commands.index(slowest) + 1
        self.click("#tiles a")
        self.wait(f"return document.querySelector('#detail h2').textContent.includes('#{number} ')", "the slowest")
        failed = [i for i, command in enumerate(commands, 1) if command["outcome"] != "succeeded"]
        self.click("#failure-next")
        self.assertIn(self.selected(), failed)
        self.expect_no_error()

    def test_bad_ends_are_in_red(self):
        for name, outcome in (("timeout", "timed out"), ("lost", "workbench lost")):
            self.open(name)
            self.assertEqual("3 commands, 1 failed", self.find("h1").text)
            self.assertEqual(3, self.selected())
            self.assertEqual(outcome, self.find("#detail .badge.bad").text)
            self.assertIn("no final response", self.find("#detail").text)
            for error in told(name, "error"):
                for line in (error["message"], *error["hints"]):
                    self.assertIn(line.strip(), self.find("#problems").text)
            self.expect_no_error()

    def test_evidence_is_linked(self):
        self.open("lost")
        folder, = (entry["folder"] for entry in told("lost", "evidence"))
        link = self.find("#problems a.mono")
        self.assertEqual(folder, link.text)
        # What lies below the page has gone with it.
        link.click()
        self.assertTrue(self.js("return decodeURIComponent(location.href)").endswith(
            "/pages/what is left/" + folder.rstrip("\\").split("\\")[-1] + "/"))

    def test_log_alone_is_a_page_too(self):
        self.open("OrvWorkBench")
        rows = {}
        for row in self.rows():
            rows.setdefault(row["command"], row)
        for command in told("session"):
            line = f"{command['command']} {command['text']}".strip()
            if line.startswith(("load", "members")) or "times" in command:
                continue
            row = rows[line]
            self.assertEqual((OUTCOMES[command["outcome"]], command["outcome"] != "succeeded"), (row["outcome"], row["failed"]))
            self.assertNotIn(".", row["time"])
            # What the log tells of lies within what the client has measured, but that its lines are rounded.
            self.assertLessEqual(float(row["time"]), command["elapsedMs"] + 1, line)
            if "Sleep(300)" in line:
                self.assertGreaterEqual(float(row["time"]), 299)
        self.assertIn("whole milliseconds", self.find("#notes").text)
        self.expect_no_error()

    def test_session_without_a_command_says_so(self):
        self.open("empty")
        self.assertEqual("0 commands, none failed", self.find("h1").text)
        self.assertEqual("There was no command.", self.find("#table tbody").text)

    def test_without_scripts_the_commands_stand_there(self):
        self.browser.get((PAGES / "session.html").as_uri())
        source = self.find("noscript table").text
        for command in told("session"):
            if "times" not in command:
                self.assertIn(f"{command['command']} {command['text']}".strip(), source)
                self.assertIn(f"{command['elapsedMs']:g}"[:5], source)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[2:]])
