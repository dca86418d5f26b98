"""Debian's WebKitGTK, the engine of Safari, on a virtual display, since it does not run without one."""
import os
import subprocess
from pathlib import Path

BROWSERS = sorted(Path("/usr/lib").glob("*/webkit2gtk-4.1/MiniBrowser"))
DRIVER = "/usr/bin/WebKitWebDriver"
DISPLAYS = "/usr/bin/Xvfb"


def is_installed():
    return bool(BROWSERS) and os.access(DRIVER, os.X_OK) and os.access(DISPLAYS, os.X_OK)


class WebKit:
    """A running browser; `driver` is that of selenium. Sets a language, since the engine does not accept "C"."""

    def __init__(self, width=1280, height=900):
        from selenium import webdriver
        from selenium.webdriver.webkitgtk.options import Options

        reading, writing = os.pipe()
        self.display = subprocess.Popen([DISPLAYS, "-displayfd", str(writing), "-screen", "0", "1600x1200x24"],
                                        pass_fds=[writing], stderr=subprocess.DEVNULL)
        os.close(writing)
        with os.fdopen(reading) as numbers:
            number = numbers.readline().strip()
        os.environ.update(DISPLAY=f":{number}", LC_ALL="en_US.UTF-8", LANGUAGE="en")
        options = Options()
        options.binary_location = str(BROWSERS[0])
        options.add_argument("--automation")
        try:
            self.driver = webdriver.WebKitGTK(executable_path=DRIVER, options=options, service_log_path=os.devnull)
            self.driver.set_window_size(width, height)
        except BaseException:
            self.display.terminate()
            raise

    def get(self, address):
        self.driver.get(address)

    def execute_script(self, text, *arguments):
        return self.driver.execute_script(text, *arguments)

    def execute_async_script(self, text, *arguments):
        return self.driver.execute_async_script(text, *arguments)

    def stop(self):
        self.driver.quit()
        self.display.terminate()
        self.display.wait(20)
