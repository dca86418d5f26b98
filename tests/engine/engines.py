"""A program over the engine that is called as tarvel is, on this machine or built for another.

call(arguments, folder) returns the exit status and what was printed on standard output.
"""

import json
import pathlib
import subprocess
import tempfile


class ProcessEngine:
    """One process for each call."""

    def __init__(self, command):
        self.command = command

    def __enter__(self):
        return self

    def __exit__(self, *_):
        pass

    def call(self, arguments, folder):
        done = subprocess.run([*self.command, *arguments], cwd=folder, stdout=subprocess.PIPE,
                              stdin=subprocess.DEVNULL, timeout=240)
        return done.returncode, done.stdout.decode()


class WasmEngine:
    """One Node.js process for all calls, which compiles the program once."""

    def __init__(self, command):
        self.folder = tempfile.TemporaryDirectory()
        self.output = pathlib.Path(self.folder.name) / "output"
        self.node = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.node.communicate()
        self.folder.cleanup()

    def call(self, arguments, folder):
        call = {"given": arguments, "folder": str(folder), "output": str(self.output)}
        self.node.stdin.write(json.dumps(call) + "\n")
        self.node.stdin.flush()
        status = int(self.node.stdout.readline())
        return status, self.output.read_text()
