#!/usr/bin/python3
"""The bench's window in a real browser: a place is clicked and its pod is there, for the browser as
for the prompt; nothing listens but for this computer; and nothing outlives the bench.
Usage: browser.py BENCH"""

import os
import re
import select
import shutil
import signal
import subprocess
import sys
import tempfile

try:
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
    from selenium.webdriver.common.action_chains import ActionChains
    from selenium.webdriver.common.by import By
    from selenium.webdriver.support.ui import WebDriverWait
except ImportError:
    sys.exit("scripts/test installs what this test needs: python3-selenium and others")

LIMIT_S = 120  # for what takes a second on a quiet machine
WINDOW = (1280, 800)
# Points of the window, and the colours there.
HEADER, INK = (640, 48), (55, 71, 79)
PLACE_1, PLUGGED, POINTED_AT = (114, 170), (255, 255, 255), (225, 245, 254)


def user_folder(name):
    return tempfile.mkdtemp(prefix=f"corvane-browser-{name}-")


class Bench:
    """The bench on a display of its own, without a pod, and its prompt."""

    def __init__(self, program):
        environment = {key: value for key, value in os.environ.items() if key != "DISPLAY"}
        self.folder = environment["XDG_RUNTIME_DIR"] = user_folder("bench")
        self.process = subprocess.Popen([program, "--pods", "0", "--size", "64K"],
                                        env=environment, text=True,
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.address = self.line_with("http://").split()[-1]
        self.line_with("Type help")

    def line_with(self, text):
        for line in self.process.stdout:
            if text in line:
                return line
        sys.exit(f"the bench ended before it said '{text}'")

    def status(self):
        self.process.stdin.write("status\n")
        self.process.stdin.flush()
        lines = []
        for line in self.process.stdout:
            lines.append(line)
            if line.startswith("stick "):
                return lines
        sys.exit("the bench ended")

    def place_1_is_taken(self):
        return any(line.startswith(" 0 ") for line in self.status())

    def kill(self):
        self.process.send_signal(signal.SIGKILL)
        self.process.wait(LIMIT_S)
        shutil.rmtree(self.folder)


class Browser:
    """Chromium, with the bench's address open."""

    def __init__(self, address):
        self.folder = user_folder("chromium")
        options = webdriver.ChromeOptions()
        for argument in ("headless no-sandbox disable-gpu disable-quic no-first-run "
                         "disable-background-networking disable-component-update disable-sync "
                         f"window-size=1320,1000 user-data-dir={self.folder}").split():
            options.add_argument("--" + argument)
        self.driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
        self.driver.get(address)
        self.canvas = self.wait_for(lambda: self.driver.find_elements(
            By.CSS_SELECTOR, "#noVNC_container canvas"))[0]

    def wait_for(self, condition):
        wait = WebDriverWait(self.driver, LIMIT_S, poll_frequency=0.1)
        return wait.until(lambda _: condition())

    def colour(self, point):
        return tuple(self.driver.execute_script(
            "const [canvas, x, y] = arguments;"
            "return Array.from(canvas.getContext('2d').getImageData(x, y, 1, 1).data);",
            self.canvas, *point)[:3])

    def click(self, point):
        size = self.canvas.size
        offset = [int((at / whole - 0.5) * size[side])
                  for at, whole, side in zip(point, WINDOW, ("width", "height"))]
        ActionChains(self.driver).move_to_element_with_offset(self.canvas, *offset).click().perform()

    def close(self):
        self.driver.quit()
        shutil.rmtree(self.folder, ignore_errors=True)


def children(pid):
    with open(f"/proc/{pid}/task/{pid}/children", encoding="ascii") as file:
        return {int(child) for child in file.read().split()}


def family(pid):
    return {pid}.union(*(family(child) for child in children(pid)))


def listeners(pids):
    """The addresses at which these processes listen."""
    sockets = subprocess.run(["ss", "-Hltnp"], check=True, capture_output=True, text=True).stdout
    return {line.split()[3] for line in sockets.splitlines()
            if {int(pid) for pid in re.findall(r"pid=(\d+)", line)} & pids}


def check(right, text):
    if not right:
        sys.exit("not so: " + text)
    print("ok:", text)


def use(bench, browser):
    browser.wait_for(lambda: browser.colour(HEADER) == INK)
    before = browser.colour(PLACE_1)
    check(not bench.place_1_is_taken() and before not in (PLUGGED, POINTED_AT), "place 1 is empty")
    browser.click(PLACE_1)
    browser.wait_for(bench.place_1_is_taken)
    check(True, "a click plugs a pod in")
    browser.click(HEADER)
    browser.wait_for(lambda: browser.colour(PLACE_1) == PLUGGED)
    check(True, "the browser shows it")
    found = listeners(family(bench.process.pid))
    check(len(found) == 2 and all(address.startswith("127.0.0.1:") for address in found),
          f"only this computer is listened to: {sorted(found)}")


def main():
    bench = Bench(sys.argv[1])
    companions = []
    try:
        browser = Browser(bench.address)
        try:
            use(bench, browser)
            companions = [os.pidfd_open(pid) for pid in family(bench.process.pid)]
        finally:
            browser.close()
    finally:
        bench.kill()
    ended = [select.select([companion], [], [], LIMIT_S)[0] for companion in companions]
    check(len(ended) > 3 and all(ended), "what the bench had started ended with it")


if __name__ == "__main__":
    main()
