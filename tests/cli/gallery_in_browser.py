#!/usr/bin/env python3
"""Makes a gallery of files with difficult names and uses it in Chromium, as its reader would.

Usage: gallery_in_browser.py IMX    (in an empty folder; prints nothing when all is well)
"""

import base64
import contextlib
import json
import os
import pathlib
import re
import subprocess
import sys
import time
import urllib.parse
import urllib.request

IMX = sys.argv[1]
ESCAPE, RIGHT = "\ue00c", "\ue014"
ELEMENT = "element-6066-11e4-a52e-4f735466cecf"
OUT = "out #1%"
TAG = "<img src=x onerror=alert(1)> &amp; \"'"

# Pixels of an image of the page once it is there, as R, G, B, A bytes.
PIXELS = """const [image, done] = arguments;
image.loading = 'eager';
image.decode().then(() => {
  const canvas = document.createElement('canvas');
  canvas.width = image.naturalWidth;
  canvas.height = image.naturalHeight;
  const context = canvas.getContext('2d');
  context.drawImage(image, 0, 0);
  const data = context.getImageData(0, 0, canvas.width, canvas.height).data;
  let text = '';
  for (const byte of data) text += String.fromCharCode(byte);
  done(btoa(text));
}, error => done(String(error)));"""
CARDS = """return [...document.querySelectorAll('#list > li:not([hidden])')].map(
  card => [card.querySelector('bdi').textContent.replace(/.*\\//, ''),
           card.querySelector('.reason')?.textContent ?? ''])"""
CHOOSE = """const control = document.getElementById(arguments[0]);
control.value = arguments[1];
control.dispatchEvent(new Event('input', {bubbles: true}));"""


def imx(*arguments):
    return subprocess.run([IMX, *arguments], capture_output=True)


def converted(name, *options):
    """The pixels of a file after a conversion to PNG."""
    imx("convert", "--lenient", *options, name, "converted.png")
    return imx("pixels", "converted.png").stdout


def check(what, actual, wanted):
    if actual != wanted:
        sys.exit(f"{what}: {str(actual)[:500]}\n  instead of {str(wanted)[:500]}")


def write_pixmap(name, width, height):
    pixels = bytes(x * 7 * (c + 1) + y * 5 & 255
                   for y in range(height) for x in range(width) for c in range(3))
    pathlib.Path(name).write_bytes(b"P6 %d %d 255\n" % (width, height) + pixels)


class Browser:
    def __init__(self, port):
        self.root = f"http://127.0.0.1:{port}/session"
        options = {"args": ["--headless", "--no-sandbox", "--disable-gpu", "--hide-scrollbars",
                            "--disable-dev-shm-usage", "--allow-file-access-from-files",
                            "--window-size=360,700", "--user-data-dir=" + os.path.abspath("profile")]}
        session = self.call("POST", "", {"capabilities": {"alwaysMatch": {
            "goog:chromeOptions": options, "goog:loggingPrefs": {"browser": "ALL"}}}})
        self.root += "/" + session["sessionId"]

    def call(self, method, path, body=None):
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(self.root + path, data, method=method)
        with urllib.request.urlopen(request, timeout=60) as answer:
            return json.load(answer)["value"]

    def run(self, script, *arguments, how="sync"):
        return self.call("POST", f"/execute/{how}", {"script": script, "args": arguments})

    def find(self, selector):
        return self.call("POST", "/element", {"using": "css selector", "value": selector})

    def click(self, selector):
        self.call("POST", f"/element/{self.find(selector)[ELEMENT]}/click", {})

    def press(self, key):
        active = self.call("GET", "/element/active")[ELEMENT]
        self.call("POST", f"/element/{active}/value", {"text": key})

    def pixels(self, selector):
        return base64.b64decode(self.run(PIXELS, self.find(selector), how="async"))

    def expect_closed(self, link):
        """Some time after the window of a picture is gone, the page puts it away and the focus back."""
        for _ in range(500):
            if self.run("return !document.getElementById('picture').hasAttribute('src')"):
                break
            time.sleep(0.02)
        check("closed", self.run("return document.getElementById('viewer').open"), False)
        check("focus", self.run("return document.activeElement.textContent"), link)

    def names(self):
        return [name for name, reason in self.run(CARDS)]


@contextlib.contextmanager
def browser():
    driver = subprocess.Popen(["chromedriver", "--port=0"], stdout=subprocess.PIPE, text=True,
                              stderr=subprocess.DEVNULL)
    session = None
    try:
        for line in driver.stdout:
            if found := re.search(r"started successfully on port (\d+)", line):
                session = Browser(found[1])
                yield session
                return
        sys.exit("chromedriver did not start")
    finally:
        if session:
            session.call("DELETE", "")
        driver.terminate()
        driver.communicate()


def make_gallery():
    """The reasons of what failed, as they were told."""
    os.mkdir("in")
    for name, width, height in (("<b>&amp;\"q\"'.ppm", 300, 20), ("50%#1?a=b&c.ppm", 40, 600),
                                ("\u00f6 \u6f22\u5b57.ppm", 20, 10), ("n10.ppm", 8, 8),
                                ("n9.ppm", 9, 9)):
        write_pixmap("in/" + name, width, height)
    check("texts", imx("convert", "in/\u00f6 \u6f22\u5b57.ppm", "in/text.png", "--author", TAG).returncode, 0)
    whole = pathlib.Path("in/text.png").read_bytes()
    pathlib.Path("in/cut.png").write_bytes(whole[:-24])
    pathlib.Path("in/<i>none.png").write_bytes(b"\x89PNG\r\n\x1a\nnothing")
    result = imx("gallery", "-q", "-r", "-o", OUT, "in")
    check("exit status", result.returncode, 1)
    lines = re.findall(r"imx: in/(.*?): (.*)\n", result.stderr.decode())
    check("failures", sorted(name for name, reason in lines), ["<i>none.png", "cut.png"])
    return dict(lines)


def try_list(page, reasons):
    names = ["<b>&amp;\"q\"'.ppm", "<i>none.png", "50%#1?a=b&c.ppm", "cut.png", "n9.ppm", "n10.ppm",
             "\u00f6 \u6f22\u5b57.ppm", "text.png"]
    check("by name", page.names(), names)
    check("reasons", {name: reason for name, reason in page.run(CARDS) if reason}, reasons)
    page.run(CHOOSE, "sort", "pixels")
    check("by size", page.names()[:3], [names[2], names[0], "cut.png"])
    page.run(CHOOSE, "sort", "name")
    page.run(CHOOSE, "show", "failed")
    check("failed ones", page.names(), ["<i>none.png", "cut.png"])
    page.run(CHOOSE, "show", "all")
    page.run(CHOOSE, "format", "PPM")
    check("of one format", page.names(), [name for name in names if name.endswith("ppm")])
    page.run(CHOOSE, "format", "")
    page.click("#search")
    page.press("ONERROR alert")
    # The author is in the file before what was cut off.
    check("with a text", page.names(), ["cut.png", "text.png"])
    check("the text", page.run("return document.querySelector('li:not([hidden]) dd').textContent"),
          TAG)
    page.run(CHOOSE, "search", "")
    check("width on a phone", page.run("return document.documentElement.scrollWidth <= innerWidth"),
          True)


def try_pictures(page):
    for place, name in enumerate(page.names(), 1):
        source = "in/" + name
        card = f"#list > li:nth-child({place})"
        if name == "<i>none.png":
            continue
        check("thumbnail of " + name, page.pixels(card + " img"),
              converted(source, "--resize", "256x256>"))
        page.click(card + " a")
        check("picture of " + name, page.pixels("#viewer[open] img"), converted(source))
        page.press(ESCAPE)
        page.expect_closed(source)
    # From picture to picture by keys alone; the narrow one fits into the window.
    page.run("document.querySelectorAll('#list a')[3].focus()")
    page.press("\ue007")
    page.press(RIGHT)
    check("next", page.run("return document.getElementById('title').textContent"), "in/n10.ppm")
    page.press(ESCAPE)
    page.expect_closed("in/n10.ppm")


def main():
    reasons = make_gallery()
    address = "file://" + urllib.parse.quote(os.path.abspath(OUT)) + "/"
    with browser() as page:
        page.call("POST", "/url", {"url": address + "index.html"})
        try_list(page, reasons)
        try_pictures(page)
        loaded = page.run("return performance.getEntriesByType('resource').map(e => e.name)")
        check("loaded from elsewhere", [name for name in loaded if not name.startswith(address)], [])
        check("console", page.call("POST", "/se/log", {"type": "browser"}), [])


main()
