#!/usr/bin/python3
"""Looks at the documentation's site as a reader does: in headless Chromium, from files.

usage: scripts/look-at-site.py FOLDER [PICTURES]    (PICTURES: a folder for pictures of some pages)
"""

import json
import pathlib
import sys
import urllib.parse

from selenium import webdriver
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import WebDriverWait

FLAGS = ("--headless --no-sandbox --disable-gpu --no-first-run --disable-sync --disable-quic "
         "--disable-background-networking --disable-component-update --window-size=1280,720").split()
faults = []


def expect(condition, text: str) -> None:
    if not condition:
        faults.append(text)


def open_browser(*flags: str):
    options = webdriver.ChromeOptions()
    for flag in (*FLAGS, *flags):
        options.add_argument(flag)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
    return webdriver.Chrome(options=options)


def until(browser, condition) -> bool:
    try:
        WebDriverWait(browser, 30, 0.05).until(lambda _: condition())
        return True
    except Exception:
        return False


def check_logs(browser, page: str) -> None:
    for entry in browser.get_log("browser"):
        faults.append(f"{page}: console: {entry['message']}")
    for entry in browser.get_log("performance"):
        message = json.loads(entry["message"])["message"]
        if message["method"] == "Network.requestWillBeSent":
            url = message["params"]["request"]["url"]
            expect(url.startswith(("file:", "data:")), f"{page}: a request to {url}")


def check_links(browser, folder: pathlib.Path) -> None:
    """Every link and picture of every page leads to a file, and to a place in it."""
    anchors, links = {}, []
    for page in sorted(folder.glob("*.html")):
        browser.get(page.as_uri())
        found = browser.execute_script(
            "return [[...document.querySelectorAll('[id]')].map(e => e.id),"
            "[...document.querySelectorAll('a[href], img')].map(e => e.href || e.dataset.loop || e.src)]")
        anchors[page], own = set(found[0]), found[1]
        links += [(page, urllib.parse.urljoin(page.as_uri(), link)) for link in own]
        check_logs(browser, page.name)
    for page, link in links:
        url = urllib.parse.urlsplit(link)
        if url.scheme in ("http", "https"):
            continue
        target = pathlib.Path(urllib.parse.unquote(url.path))
        expect(target.is_file(), f"{page.name}: no such file: {link}")
        if url.fragment and target in anchors:
            expect(urllib.parse.unquote(url.fragment) in anchors[target], f"{page.name}: no such place: {link}")


def check_search(browser, folder: pathlib.Path) -> None:
    browser.get((folder / "index.html").as_uri())
    field = browser.find_element(By.ID, "search")
    for words, place in (("CreateAnimationObj", "animation-animation.html#CreateAnimationObj"),
                         ("alpha channel png", "#"), ("GRAD_BLOCKS", "gallery.html#gradual_blocks")):
        field.clear()
        field.send_keys(words)
        first = "return document.querySelector('#found a')?.href"
        expect(until(browser, lambda: place in (browser.execute_script(first) or "")),
               f"search: {words} is not found: {browser.execute_script(first)}")
    field.send_keys(Keys.ENTER)
    expect(until(browser, lambda: browser.current_url.endswith("gallery.html#gradual_blocks")),
           "search: Enter does not lead there")


def check_gallery(browser, folder: pathlib.Path) -> None:
    browser.get((folder / "gallery.html").as_uri())
    last = browser.find_elements(By.CSS_SELECTOR, ".loop img")[-1]
    expect(last.get_attribute("src") is None, "gallery: a loop runs before it is seen")
    browser.execute_script("arguments[0].scrollIntoView()", last)
    expect(until(browser, lambda: browser.execute_script("return arguments[0].naturalWidth > 0", last)),
           "gallery: a loop does not run when it is seen")
    browser.execute_script("scrollTo(0, 0)")
    loop = browser.find_element(By.CSS_SELECTOR, ".loop")
    code = loop.find_element(By.CSS_SELECTOR, "code.c")
    expect(not code.is_displayed(), "gallery: the record is shown at once")
    loop.find_element(By.CSS_SELECTOR, "button.show").click()
    expect(code.is_displayed(), "gallery: a click does not show the record")
    text = browser.execute_script("return arguments[0].textContent", code)
    button = loop.find_element(By.CSS_SELECTOR, "code.c + .copy")
    button.click()
    expect(until(browser, lambda: button.text == "Copied"), "gallery: nothing is copied")
    field = browser.find_element(By.ID, "search")
    field.send_keys(Keys.CONTROL, "v")
    pasted = field.get_attribute("value")
    expect("".join(pasted.split()) == "".join(text.split()), f"gallery: copied is {pasted[:60]!r}")
    check_logs(browser, "gallery.html")


def take_pictures(folder: pathlib.Path, pictures: pathlib.Path) -> None:
    pictures.mkdir(parents=True, exist_ok=True)
    for look, flags in (("dark", ["--blink-settings=preferredColorScheme=0"]),
                        ("light", ["--blink-settings=preferredColorScheme=1"])):
        browser = open_browser(*flags)
        for name in ("index", "gallery", "animation-animation", "performance", "tutorial"):
            browser.get((folder / f"{name}.html").as_uri())
            if name == "gallery":
                browser.find_element(By.CSS_SELECTOR, "button.show").click()
            browser.save_screenshot(str(pictures / f"{name}-{look}.png"))
        browser.find_element(By.ID, "search").send_keys("fade")
        until(browser, lambda: browser.find_elements(By.CSS_SELECTOR, "#found a"))
        browser.save_screenshot(str(pictures / f"search-{look}.png"))
        browser.quit()


def main(folder: str, pictures: str = "") -> int:
    place = pathlib.Path(folder).resolve()
    browser = open_browser()
    try:
        check_links(browser, place)
        check_search(browser, place)
        check_gallery(browser, place)
    finally:
        browser.quit()
    if pictures:
        take_pictures(place, pathlib.Path(pictures))
    print("\n".join(faults) or "The site is whole.")
    return 1 if faults else 0


sys.exit(main(*sys.argv[1:]))
