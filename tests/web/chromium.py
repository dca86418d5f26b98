"""Starts Debian's chromium, headless and without a network: no host name is resolved."""
import base64
import json
import os

from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service


def start(width=1280, height=900, touch=False, arguments=()):
    options = Options()
    options.binary_location = "/usr/bin/chromium"
    for argument in ("--headless=new", "--disable-gpu", "--disable-dev-shm-usage", "--hide-scrollbars",
                     "--host-resolver-rules=MAP * ~NOTFOUND", f"--window-size={width},{height}", *arguments):
        options.add_argument(argument)
    if os.geteuid() == 0:
        options.add_argument("--no-sandbox")
    if touch:
        options.add_experimental_option("mobileEmulation", {
            "deviceMetrics": {"width": width, "height": height, "pixelRatio": 2.0, "touch": True}})
    options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
    driver = webdriver.Chrome(options=options, service=Service("/usr/bin/chromedriver"))
    driver.set_script_timeout(60)
    return driver


def requests_of(driver):
    """The addresses that were requested since the last call."""
    messages = (json.loads(entry["message"])["message"] for entry in driver.get_log("performance"))
    return [message["params"]["request"]["url"] for message in messages
            if message["method"] == "Network.requestWillBeSent"]


def console_of(driver):
    """The messages on the console since the last call, among them violations of the content policy."""
    return [entry["message"] for entry in driver.get_log("browser")]


def emulate(driver, dark=False):
    features = [{"name": "prefers-color-scheme", "value": "dark" if dark else "light"}]
    driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": features})


def print_pdf(driver, path, width, height):
    """Prints the page to a PDF file, on paper of this size in inches."""
    printed = driver.execute_cdp_cmd("Page.printToPDF", {
        "paperWidth": width, "paperHeight": height, "printBackground": True})
    path.write_bytes(base64.b64decode(printed["data"]))


def touch(driver, kind, *points):
    places = [{"x": x, "y": y, "id": i} for i, (x, y) in enumerate(points)]
    driver.execute_cdp_cmd("Input.dispatchTouchEvent", {"type": kind, "touchPoints": places})
