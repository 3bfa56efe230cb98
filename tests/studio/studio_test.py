#!/usr/bin/python3
"""The studio as its user meets it: a real browser before animation-play and animation-host.

usage: studio_test.py ANIMATION_PLAY ANIMATION_HOST    (77: there is no browser)
"""

import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

try:
    from selenium import webdriver
    from selenium.webdriver.common.by import By
    from selenium.webdriver.common.keys import Keys
except ImportError:
    webdriver = None

from link import Link, request

PATIENCE = 30  # seconds for a machine with much else to do
FLAGS = ("--headless --no-sandbox --disable-gpu --disable-quic --no-first-run --disable-sync "
         "--disable-background-networking --disable-component-update --window-size=1280,720").split()
PLAY, HOST = sys.argv[1:3]

SCENE = {
    "title": "Studio test",
    "frames": 200,
    "objects": [
        {"name": "ground", "type": "ANI_BACKGROUND", "viewport": "VP_LCD0",
         "rectangle": [0, 0, 1152, 576], "textures": {"constant_color": [0, 0, 0.4, 1]}},
        {"name": "blocks", "type": "ANI_GRADUALLYDISP", "viewport": "VP_LCD0",
         "rectangle": [100, 100, 400, 300], "in_frame": 30, "sin_frame": 5, "out_frame": 30,
         "sout_frame": 3, "gmode_show": "GRAD_BLOCKS", "gmode_hide": "GRAD_BLOCKS",
         "textures": {"data": [{"width": 2, "height": 1, "textureType": "GL_BGRA_EXT",
                                "pixels": [0, 200, 0, 255, 200, 200, 0, 255]}]}},
        {"name": "lamp", "type": "ANI_FLASH", "viewport": "VP_LCD1",
         "rectangle": [300, 200, 200, 100], "on_frame": 5, "off_frame": 5, "off_alpha": 0.2,
         "textures": {"constant_color": [1, 0, 0, 1]}},
    ],
    "timeline": [{"frame": 0, "create": ["ground", "blocks", "lamp"]}],
}


def scene_text(**changes) -> str:
    return json.dumps({**SCENE, **changes}, indent=1)


class Running:
    """A program with a studio, and the address that it prints."""

    def __init__(self, *command):
        self.process = subprocess.Popen(command, stdout=subprocess.PIPE, text=True)
        self.address = re.search(r"http://\S+", self.process.stdout.readline())[0]

    def end(self):
        self.process.terminate()
        self.process.wait(PATIENCE)
        self.process.stdout.close()


def open_browser():
    options = webdriver.ChromeOptions()
    options.binary_location = shutil.which("chromium")
    profile = tempfile.mkdtemp()
    for flag in [*FLAGS, f"--user-data-dir={profile}"]:
        options.add_argument(flag)
    service = webdriver.chrome.service.Service(shutil.which("chromedriver"))
    return webdriver.Chrome(service=service, options=options), profile


class StudioTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.browser, cls.profile = open_browser()

    @classmethod
    def tearDownClass(cls):
        cls.browser.quit()
        shutil.rmtree(cls.profile, ignore_errors=True)

    def start(self, *command) -> Running:
        running = Running(*command)
        self.addCleanup(running.end)
        self.browser.get(running.address)
        return running

    def write(self, text: str) -> pathlib.Path:
        folder = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, folder)
        path = folder / "scene.json"
        path.write_text(text)
        return path

    def play(self) -> pathlib.Path:
        path = self.write(scene_text())
        self.running = self.start(PLAY, "--studio", str(path))
        return path

    def wait(self, test, limit=PATIENCE):
        end = time.monotonic() + limit
        while not (result := test()):
            self.assertLess(time.monotonic(), end, "did not come in time")
            time.sleep(0.02)
        return result

    def text(self, selector: str) -> str:
        found = self.browser.find_elements(By.CSS_SELECTOR, selector)
        return found[0].get_attribute("textContent") if found else ""

    def picture(self) -> tuple:
        """Its frame, and "exact" or "live"."""
        frame, kind = (self.browser.execute_script(
            "return document.body.dataset.picture") or "-1 none").split()
        return int(frame), kind

    def press(self, key: str):
        self.browser.find_element(By.TAG_NAME, "body").send_keys(key)

    def pause(self) -> int:
        """The frame that stands then."""
        self.wait(lambda: self.text("#state") == "running")
        self.press(" ")
        self.wait(lambda: self.picture()[1] == "exact")
        return self.picture()[0]

    def click(self, viewport: int, x: int, y: int):
        self.browser.execute_script("""
            const canvas = document.querySelectorAll('#displays canvas')[arguments[0]];
            const box = canvas.getBoundingClientRect();
            const at = {clientX: box.left + (arguments[1] + 0.5) * box.width / 1152,
                        clientY: box.top + (arguments[2] + 0.5) * box.height / 576};
            for (const kind of ['pointermove', 'click'])
                canvas.dispatchEvent(new PointerEvent(kind, at));""", viewport, x, y)

    # ---- animation-play ----

    def test_plays_pauses_and_steps(self):
        self.play()
        first = self.wait(lambda: self.picture()[0] + 1)
        self.wait(lambda: self.picture()[0] > first + 3)
        frame = self.pause()
        time.sleep(0.3)
        self.assertEqual(self.picture(), (frame, "exact"))
        self.press(".")
        self.wait(lambda: self.picture() == (frame + 1, "exact"))
        self.assertEqual(self.text("#frame"), str(frame + 1))
        self.press(Keys.ARROW_LEFT)
        self.wait(lambda: self.picture() == (frame, "exact"))

    def test_a_click_finds_the_object_and_its_colour(self):
        self.play()
        self.pause()
        self.press(Keys.HOME)
        self.wait(lambda: self.picture() == (0, "exact"))
        # The list of the frame may come after its picture.
        self.wait(lambda: self.click(1, 310, 210) or self.text("tr.chosen .name") == "lamp")
        self.assertRegex(self.text("#reader"), r"VP_LCD1\s+310, 210.*#ff0000.*lamp")
        self.click(1, 10, 10)
        self.assertEqual(self.text("tr.chosen"), "")
        self.assertIn("no object", self.text("#reader"))

    def test_an_edit_shows_at_the_same_frame_and_a_fault_at_its_line(self):
        path = self.play()
        frame = self.pause()
        path.write_text(scene_text(title="Another"))
        self.wait(lambda: self.text("#title") == "Another", 1 + PATIENCE / 10)
        self.assertEqual(self.wait(lambda: self.picture()), (frame, "exact"))
        broken = scene_text(frames="many")
        line = broken[:broken.index('"many"')].count("\n") + 1
        path.write_text(broken)
        self.wait(lambda: self.text(".fault"))
        self.assertIn('found "many"', self.text(".fault"))
        shown = self.browser.execute_script("""
            const line = document.querySelector('.fault-line').parentNode;
            return line.querySelector('.CodeMirror-linenumber').textContent""")
        self.assertEqual(int(shown), line)
        self.assertEqual((self.text("#title"), self.picture()), ("Another", (frame, "exact")))

    def test_the_editor_saves_to_the_scene_file(self):
        path = self.play()
        self.wait(lambda: self.text(".CodeMirror"))
        text = scene_text(title="Typed")
        self.browser.execute_script(
            "document.querySelector('.CodeMirror').CodeMirror.setValue(arguments[0])", text)
        self.browser.find_element(By.ID, "save").click()
        self.wait(lambda: self.text("#title") == "Typed")
        self.assertEqual(path.read_text(), text)
        self.assertEqual([path], list(path.parent.iterdir()))

    def test_a_seek_shows_what_playing_shows(self):
        self.play()
        link = Link(self.running.address, PATIENCE)
        link.send("pause")
        link.send("more")
        link.state(program="paused")
        link.send("seek", frame=0)
        played = {0: link.exact_picture(0)}
        for frame in range(1, 60):
            link.send("step")
            played[frame] = link.exact_picture(frame)
        self.assertGreater(len(set(played.values())), 20)
        for frame in 59, 12, 40, 3, 0, 25:
            link.send("seek", frame=frame)
            self.assertEqual(link.exact_picture(frame), played[frame], frame)

    def test_only_the_printed_address_opens(self):
        self.play()
        address = self.running.address
        path = re.search(r"/\w+/$", address)[0]
        port = address.split(":")[2].split("/")[0]
        foreign = {"Upgrade": "websocket", "Connection": "Upgrade", "Sec-WebSocket-Version": "13",
                   "Sec-WebSocket-Key": "AAAAAAAAAAAAAAAAAAAAAA==", "Origin": "http://example.org"}
        self.assertEqual(request(address, path), 200)
        self.assertEqual(request(address, path, Host=f"localhost:{port}"), 200)
        for refused in ("/", "/socket", "/main.js", path[:-2] + "/", "/" + "0" * 32 + "/"):
            self.assertEqual(request(address, refused), 403, refused)
        self.assertEqual(request(address, path, Host="example.org"), 403)
        self.assertEqual(request(address, path, Host=""), 400)
        self.assertEqual(request(address, path, Origin="http://example.org"), 403)
        self.assertEqual(request(address, path + "socket", **foreign), 403)
        self.assertEqual(request(address, path + "../../../etc/passwd"), 403)
        self.assertEqual(request(address, path + "passwd"), 404)
        busy = subprocess.run([PLAY, "--studio", port, "scene.json"], capture_output=True, text=True)
        self.assertEqual(busy.returncode, 1)
        self.assertIn(f"port {port}", busy.stderr)

    # ---- animation-host ----

    def test_a_program_is_paused_and_stepped_and_its_death_is_told(self):
        self.running = self.start(HOST, "--studio", "--", PLAY, str(self.write(scene_text(frames=100000))))
        self.wait(lambda: self.text("#title") == "Studio test")
        first = self.wait(lambda: self.picture()[0] + 1)
        self.wait(lambda: self.picture()[0] > first + 3)
        self.pause()
        frame = self.wait(lambda: self.text("#frame"))
        time.sleep(0.3)
        self.assertEqual(self.text("#frame"), frame)
        self.press(".")
        self.wait(lambda: self.text("#frame") == str(int(frame) + 1))
        self.click(1, 310, 210)
        self.assertIn("flash", self.text("tr.chosen"))
        self.press("c")
        self.press(" ")
        self.wait(lambda: self.text("#state") == "running")
        link = Link(self.running.address, PATIENCE)
        link.send("more")
        pid = link.until(lambda got: isinstance(got, dict) and got["type"] == "hello")["pid"]
        frame = link.until(lambda got: isinstance(got, dict) and got.get("objects"))
        self.assertEqual({"flash", "background"} - {o["kind"] for o in frame["objects"]}, set())
        os.kill(pid, signal.SIGABRT)  # which no sanitizer takes
        self.wait(lambda: self.text("#state") == "crashed")
        self.assertIn("signal 6", self.text("#trouble"))
        self.assertIn("flash", self.text("#objects"))
        late = Link(self.running.address, PATIENCE)
        late.send("more")
        late.state(program="crashed")
        late.until(lambda got: isinstance(got, bytes))

    def test_two_pages_see_the_same_and_the_end_is_told(self):
        self.play()
        link = Link(self.running.address, PATIENCE)
        link.send("more")
        self.pause()
        link.state(program="paused")
        link.send("continue")
        self.wait(lambda: self.text("#state") == "running")
        picture = self.picture()
        self.running.process.send_signal(signal.SIGTERM)
        self.wait(lambda: "gone" in self.text("#state"))
        self.assertGreaterEqual(self.picture()[0], picture[0])
        self.assertIn("lamp", self.text("#objects"))


if __name__ == "__main__":
    if not webdriver or not shutil.which("chromium") or not shutil.which("chromedriver"):
        print("skipped: chromium, chromium-driver or python3-selenium is not installed")
        sys.exit(77)
    unittest.main(argv=sys.argv[:1], verbosity=2, warnings="ignore")
