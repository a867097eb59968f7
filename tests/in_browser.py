"""Opens reports of the tool $1 in headless Chromium, prints them, and leaves pictures of them in folder $2."""

import base64
import json
import os
import re
import subprocess
import sys
from pathlib import Path

from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service

TREE = Path(__file__).resolve().parent.parent
TOOL, FOLDER = Path(sys.argv[1]).resolve(), Path(sys.argv[2]).resolve()
PHONE, HBM = (f"samples/backlight_calib_oled_{name}.xml" for name in ("phone", "hbm"))
PAPERS = {"a4": (8.27, 11.69), "letter": (8.5, 11.0)}  # Inches.
# The linear table of a phone takes most of the pages.
PAGES = {"one": range(3, 5), "two": range(15, 19), "fail": range(6, 9)}


def make_reports():
    """Writes the reports and returns their names."""
    panel = FOLDER / "backlight_calib_<script>alert(1)<b>.xml"
    panel.write_bytes((TREE / "samples/backlight_calib_lcd_small.xml").read_bytes())
    readings = FOLDER / "fresh.csv"
    readings.write_text("".join(f"{level} {level * 1.1}\n" for level in range(0, 256, 3)), encoding="ascii")
    reports = {"one": ["samples/backlight_calib_lcd_small.xml"],
               "two": [PHONE, HBM, "--readings", str(readings), "--max-percent", "3"],
               "fail": [str(panel), "--readings", str(readings), "--max-jnd", "5"]}
    for name, arguments in reports.items():
        subprocess.run([TOOL, "report", *arguments, "--date", "2026-11-23", "-o", FOLDER / f"{name}.html"],
                       cwd=TREE, stdout=subprocess.DEVNULL, check=name == "one")
    return reports


def open_browser():
    """Starts a browser that resolves no name and keeps its console and network logs."""
    options = Options()
    for argument in ("--headless=new", "--disable-gpu", "--hide-scrollbars", "--window-size=1200,1600",
                     "--host-resolver-rules=MAP * ~NOTFOUND", *(["--no-sandbox"] if os.geteuid() == 0 else [])):
        options.add_argument(argument)
    options.binary_location = "/usr/bin/chromium"
    options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
    return webdriver.Chrome(options=options, service=Service("/usr/bin/chromedriver"))


def check_logs(browser, address):
    """Fails if the page wrote to the console or asked for anything but itself."""
    console = browser.get_log("browser")
    assert not console, console
    messages = [json.loads(entry["message"])["message"] for entry in browser.get_log("performance")]
    asked = [message["params"]["request"]["url"] for message in messages
             if message["method"] == "Network.requestWillBeSent"]
    assert asked and set(asked) == {address}, asked


def check_accessibility(browser):
    """Fails unless assistive programs get headings, named tables with column headers, and named pictures."""
    nodes = browser.execute_cdp_cmd("Accessibility.getFullAXTree", {})["nodes"]
    names = {}
    for node in nodes:
        if not node.get("ignored"):
            names.setdefault(node["role"]["value"], []).append(node.get("name", {}).get("value", ""))
    assert {"Verdict", "Provenance", "Luminance"} <= set(names["heading"]), names["heading"]
    assert "SHA-256" in names["columnheader"] and "Levels not back" in names["columnheader"], names["columnheader"]
    assert all(names["columnheader"]) and all(names["rowheader"]) and all(names["table"])
    pictures = names.get("image", []) + names.get("img", []) + names.get("SvgRoot", [])
    assert "Luminance over the client level" in pictures, {role: len(found) for role, found in names.items()}


def check_sorting(browser):
    """Presses the headings of the table of slider levels."""
    column = "[...document.querySelectorAll('table')].find(table => table.textContent.includes('Ideal nits'))"
    values = f"return [...{column}.tBodies[0].rows].map(row => parseFloat(row.cells[4].textContent))"
    press = f"{column}.tHead.rows[0].cells[4].querySelector('button').click();"
    before = browser.execute_script(values)
    assert before != sorted(before) and len(before) == 20
    assert browser.execute_script(press + values) == sorted(before)
    assert browser.execute_script(press + values) == sorted(before, reverse=True)


def take_picture(browser, name, scheme):
    """Writes a picture of the whole page in one of the colour schemes. Returns the colour of its paper."""
    features = [{"name": "prefers-color-scheme", "value": scheme}]
    browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": features})
    height = min(browser.execute_script("return document.documentElement.scrollHeight"), 6000)
    clip = {"x": 0, "y": 0, "width": 1200, "height": height, "scale": 1}
    picture = browser.execute_cdp_cmd("Page.captureScreenshot", {"captureBeyondViewport": True, "clip": clip})
    (FOLDER / f"{name}-{scheme}.png").write_bytes(base64.b64decode(picture["data"]))
    return browser.execute_script("return getComputedStyle(document.body).backgroundColor")


def check_print(browser, name):
    """Prints on both papers. Fails if a page count is not the expected one, or a table's heading is not repeated."""
    for paper, (width, height) in PAPERS.items():
        printed = browser.execute_cdp_cmd("Page.printToPDF", {
            "paperWidth": width, "paperHeight": height, "printBackground": False, "displayHeaderFooter": False})
        path = FOLDER / f"{name}-{paper}.pdf"
        path.write_bytes(base64.b64decode(printed["data"]))
        about = subprocess.run(["pdfinfo", path], capture_output=True, text=True, check=True).stdout
        pages = int(re.search(r"Pages: +(\d+)", about)[1])
        assert pages in PAGES[name], f"{name} on {paper}: {pages} pages"
        text = subprocess.run(["pdftotext", "-layout", path, "-"], capture_output=True, text=True, check=True).stdout
        sheets = text.split("\f")[:pages]
        numbers = [re.search(rf" (\d+) ?/ ?{pages}\n", sheet) for sheet in sheets]
        assert [number and int(number[1]) for number in numbers] == list(range(1, pages + 1)), f"{path}: page numbers"
        grids = [sheet for sheet in sheets if re.search(r"^ *\d+( +\d+){16}$", sheet, re.M)]
        assert all("+15" in sheet for sheet in grids) and (len(grids) > 4 or name != "two"), f"{path}: headings"
        subprocess.run(["pdftoppm", "-r", "60", "-png", path, path.with_suffix("")], check=True)
        print(f"{name} on {paper}: {pages} pages")


def main():
    FOLDER.mkdir(parents=True, exist_ok=True)
    browser = open_browser()
    try:
        for name in make_reports():
            address = (FOLDER / f"{name}.html").as_uri()
            browser.get(address)
            check_accessibility(browser)
            assert take_picture(browser, name, "dark") != take_picture(browser, name, "light")
            check_print(browser, name)
            check_sorting(browser)
            check_logs(browser, address)
    finally:
        browser.quit()


if __name__ == "__main__":
    main()
