"""A run of amt-station with its page, and virtual phones for it."""
import http.client
import os
import re
import select
import shutil
import signal
import subprocess
import tempfile
import time

WAIT = 60  # seconds; a loaded machine is slow


class Process:
    """A program whose output is read as it comes."""

    def __init__(self, command, **more):
        self.seen = ""
        streams = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, "stderr": subprocess.STDOUT}
        self.child = subprocess.Popen(command, **(streams | more))

    def wait_for(self, expression):
        deadline = time.monotonic() + WAIT
        while not (found := re.search(expression, self.seen, re.M)):
            if not select.select([self.child.stdout], [], [], max(0.0, deadline - time.monotonic()))[0]:
                raise AssertionError(f"no {expression!r} in {self.seen!r}")
            block = os.read(self.child.stdout.fileno(), 65536)
            if not block:
                raise AssertionError(f"it ended without {expression!r}: {self.seen!r}")
            self.seen += block.decode(errors="replace")
        return found

    def end(self, number=signal.SIGTERM):
        if self.child.poll() is None:
            self.child.send_signal(number)
        # What it still prints must not keep it.
        rest, _ = self.child.communicate(timeout=WAIT)
        self.seen += rest.decode(errors="replace")
        return self.child.returncode


class Line:
    """The station and its phones; use as a context."""

    def __init__(self, programs):
        self.programs = programs
        self.folder = tempfile.mkdtemp(prefix="page-")
        self.processes = []

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for process in reversed(self.processes):
            process.end(signal.SIGKILL if process is self.processes[-1] else signal.SIGTERM)
        shutil.rmtree(self.folder, ignore_errors=True)

    def start(self, *command, **more):
        process = Process([f"{self.programs}/{command[0]}", *command[1:]], cwd=self.folder, **more)
        self.processes.append(process)
        return process

    def run(self, *command):
        return subprocess.run([f"{self.programs}/{command[0]}", *command[1:]], check=True, capture_output=True, text=True,
                              timeout=WAIT).stdout

    def start_phone(self, name, *changes):
        """A phone with its number, changed by commands of `handset ctl`; gives its port."""
        phone = self.start("handset", "run", "-q", "--name", f"page-{name}-{os.getpid()}")
        port = phone.wait_for(r"^PC tty: *(\S+)").group(1)
        socket = phone.wait_for(r"^control: *(\S+)").group(1)
        self.run("amt-station", "--port", port, "--timeout", "30000", "wait-for-phone")
        for change in (["modem", "board", f"LINE000{name}"], *changes):
            self.run("handset", "ctl", "--socket", socket, *change)
        return port

    def start_run(self, plan, phones, *options, **more):
        with open(f"{self.folder}/plan.toml", "w") as file:
            file.write(plan)
        given = [part for name, port in phones.items() for part in ("--phone", f"{name}={port}")]
        self.station = self.start("amt-station", "run", "plan.toml", *given, "--records", "records", "--station", "Bench 7",
                                  *(options or ("--web", "127.0.0.1:0")), **more)
        self.url = self.station.wait_for(r"^page: (http://\S+/)$").group(1)
        self.port = int(re.search(r":(\d+)/", self.url).group(1))
        return self.url

    def ask(self, method="GET", path="/", headers=None):
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=WAIT)
        try:
            connection.request(method, path, headers=headers or {})
            answer = connection.getresponse()
            return answer.status, dict(answer.getheaders()), answer.read()
        finally:
            connection.close()


    def start_questions(self):
        """A run whose operator is asked, twice for each of two phones; answer() is the operator."""
        plan = ('[plan]\nname = "asks"\nrevision = 1\n'
                '[[step]]\nname = "light"\noperator = "yes_no"\nprompt = "Is the <b>red</b> light on?"\n'
                '[[step]]\nname = "label"\noperator = "text"\nprompt = "Scan the label"\n')
        return self.start_run(plan, {"A": "/dev/a", "B": "/dev/b"}, stdin=subprocess.PIPE)

    def answer(self, text):
        self.station.child.stdin.write(text.encode() + b"\n")
        self.station.child.stdin.flush()


def idle_plan(steps, name="idle"):
    """A plan that touches no port."""
    return f'[plan]\nname = "{name}"\nrevision = 1\n' + "".join(
        f'[[step]]\nname = "pause {n}"\npause_ms = 5\n' for n in range(steps))
