"""Debian's firefox-esr, headless. Debian has no driver for it, so this uses its protocol (marionette) directly."""
import json
import os
import shutil
import socket
import subprocess
import tempfile
import time
from pathlib import Path

PREFERENCES = {
    # No network: every request goes to a proxy that does not exist.
    "network.proxy.type": 1, "network.proxy.http": "127.0.0.1", "network.proxy.http_port": 9,
    "network.proxy.ssl": "127.0.0.1", "network.proxy.ssl_port": 9,
    "devtools.console.stdout.content": True,
    "browser.dom.window.dump.enabled": True,
    "datareporting.policy.dataSubmissionEnabled": False,
    "browser.shell.checkDefaultBrowser": False,
    "app.update.enabled": False,
}


def is_installed():
    return shutil.which("firefox-esr") is not None


def free_port():
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        return listener.getsockname()[1]


class Firefox:
    def __init__(self, width=1280, height=900):
        self.folder = tempfile.TemporaryDirectory()
        port = free_port()
        profile = Path(self.folder.name)
        preferences = {**PREFERENCES, "marionette.port": port}
        lines = [f'user_pref("{name}", {json.dumps(value)});' for name, value in preferences.items()]
        (profile / "user.js").write_text("\n".join(lines) + "\n")
        self.log = profile / "firefox.log"
        with self.log.open("w") as log:
            self.process = subprocess.Popen(
                ["firefox-esr", "--headless", "--marionette", "--no-remote", "--profile", str(profile),
                 "--width", str(width), "--height", str(height)],
                stdout=log, stderr=log, env={**os.environ, "HOME": self.folder.name})
        self.number = 0
        self.connection = self.connect(port)
        self.answer()
        self.command("WebDriver:NewSession", {})
        self.command("WebDriver:SetTimeouts", {"script": 60000, "pageLoad": 60000})

    def connect(self, port):
        end = time.monotonic() + 60
        while True:
            try:
                return socket.create_connection(("127.0.0.1", port), timeout=90)
            except OSError:
                if time.monotonic() > end or self.process.poll() is not None:
                    self.stop()
                    raise
                time.sleep(0.2)

    def answer(self):
        length = b""
        while not length.endswith(b":"):
            length += self.receive(1)
        return json.loads(self.receive(int(length[:-1])))

    def receive(self, count):
        data = b""
        while len(data) < count:
            part = self.connection.recv(count - len(data))
            if not part:
                raise ConnectionError("firefox has gone")
            data += part
        return data

    def command(self, name, parameters):
        self.number += 1
        message = json.dumps([0, self.number, name, parameters]).encode()
        self.connection.sendall(f"{len(message)}:".encode() + message)
        _, _, error, result = self.answer()
        if error:
            raise RuntimeError(f"{name}: {error['message']}")
        return result

    def get(self, address):
        self.command("WebDriver:Navigate", {"url": address})

    def execute_script(self, text, *arguments):
        return self.command("WebDriver:ExecuteScript", {"script": text, "args": list(arguments)})["value"]

    def execute_async_script(self, text, *arguments):
        return self.command("WebDriver:ExecuteAsyncScript", {"script": text, "args": list(arguments)})["value"]

    def stop(self):
        self.process.terminate()
        self.process.wait(20)
        self.folder.cleanup()
