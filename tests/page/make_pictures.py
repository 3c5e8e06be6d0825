"""Takes the pictures of the README.

  make_pictures.py CHRONEX_TRAIL MAKE_SAMPLES MAKE_PAGE_LOGS WORK_DIRECTORY
      PICTURE_DIRECTORY
"""

import html
import os
import pty
import subprocess
import sys

from browser import Browser

PROGRAM, MAKE_SAMPLES, MAKE_LOGS, WORK, PICTURES = (
    os.path.abspath(path) for path in sys.argv[1:6])
MOST_BYTES = 200_000
SAMPLE = ["shop.7-1", "shop.7-2", "shop.8-1", "shop.8-3"]
WEEKS = ["quarter.12-1", "quarter.12-2", "quarter.12-4"]

# A terminal as it looks; the text is what the program wrote on one.
TERMINAL = """<!DOCTYPE html><html data-ready="true"><meta charset="utf-8">
<style>
  body {{ margin: 0; background: #1a202a; width: fit-content; }}
  pre {{ margin: 0; padding: 20px 24px; color: #e7ebf2;
    font: 14px/1.35 'DejaVu Sans Mono', monospace; }}
</style><pre>{}</pre></html>"""


def on_terminal(columns, *words):
    """What a command shows on a terminal of its own."""
    leader, follower = pty.openpty()
    process = subprocess.Popen(
        ["sh", "-c", f"stty cols {columns} rows 60; exec \"$@\"", "sh", *words],
        stdin=follower, stdout=follower, stderr=subprocess.DEVNULL, cwd=WORK,
        env={**os.environ, "TZ": "UTC", "TERM": "xterm"})
    os.close(follower)
    parts = []
    while True:
        try:
            part = os.read(leader, 65536)
        except OSError:
            break
        if not part:
            break
        parts.append(part)
    process.wait()
    os.close(leader)
    return b"".join(parts).decode().replace("\r\n", "\n")


def page_of(files):
    page = os.path.join(WORK, files[0] + ".html")
    subprocess.run([PROGRAM, "page", "--time-zone", "UTC", "-o", page, *files],
                   check=True, cwd=WORK, stderr=subprocess.DEVNULL)
    return page


def main():
    subprocess.run([MAKE_SAMPLES, WORK], check=True)
    subprocess.run([MAKE_LOGS, "busy", "24000", WORK], check=True)
    sample = page_of(SAMPLE)
    weeks = page_of(WEEKS)
    pictures = {}

    def take(name):
        pictures[name] = os.path.join(PICTURES, name)
        browser.picture(pictures[name])

    with Browser() as browser:
        browser.size(1280, 1120)
        browser.open(sample)
        take("page-light.png")
        browser.size(1280, 1120, dark=True)
        browser.open(sample)
        browser.click("[data-kind=user] .bar-name:nth-child(1)")
        browser.run("scrollTo(0, 0)")
        browser.settle()
        take("page-dark.png")
        browser.size(1280, 1120)
        browser.open(weeks)
        take("page-weeks.png")
        browser.drag("#brush", 0.3, 0.52)
        browser.click("[data-kind=dataSet] .bar-name:nth-child(1)")
        browser.click("#legend [data-op=u]")
        browser.click("#row-4")
        browser.wait("return document.querySelectorAll("
                     "'#detail .facts').length === 2")
        browser.size(1280, 640)
        take("page-change.png")
        text = on_terminal(100, PROGRAM, "stats", "--top", "5", *SAMPLE)
        shown = ("$ chronex-trail stats --top 5 " + " ".join(SAMPLE) + "\n" +
                 text)
        terminal = os.path.join(WORK, "terminal.html")
        with open(terminal, "w", encoding="utf-8") as file:
            file.write(TERMINAL.format(html.escape(
                "\n".join(shown.splitlines()[:48]))))
        browser.size(900, 960)
        browser.open(terminal)
        width, height = browser.run(
            "const box = document.querySelector('pre').getBoundingClientRect();"
            "return [Math.ceil(box.width), Math.ceil(box.height)]")
        browser.size(width, height)
        take("stats.png")
    for name, path in pictures.items():
        if os.path.getsize(path) >= MOST_BYTES:
            sys.exit(f"{name} has {os.path.getsize(path)} bytes")


main()
