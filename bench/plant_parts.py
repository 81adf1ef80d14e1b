"""What ./bench/plant starts: a broker, its reader, gateways with simulated controllers, and sessions without lines."""
import contextlib
import json
import os
import random
import re
import resource
import shutil
import signal
import socket
import sqlite3
import subprocess
import tempfile
import time
import urllib.request
from collections import Counter
from pathlib import Path

TICKS = os.sysconf("SC_CLK_TCK")
LONGEST_END = 60  # seconds that a program may take for its farewell
SESSIONS_A_PROCESS = 50  # the MQTT library waits by select(): descriptors below 1024, a dozen for each session
POLITELY = ("nice", "-n", "19")  # as on other machines: hundreds of threads do not keep the broker from its work
BROKER = """listener {port} 127.0.0.1
allow_anonymous true
max_inflight_messages 0
max_queued_messages 0
persistence true
persistence_location {folder}/
"""


class Part:
    """A program of the plant."""

    def __init__(self, folder, *command):
        self.name = Path(command[3 if command[:3] == POLITELY else 0]).name
        self.log = folder / f"{self.name}.log"
        with open(self.log, "a") as log:
            self.process = subprocess.Popen([str(word) for word in command], stdin=subprocess.PIPE,
                                            stdout=subprocess.PIPE, stderr=log, text=True,
                                            process_group=0)  # Ctrl-C is for ./bench/plant alone

    def line(self):
        text = self.process.stdout.readline()
        return text.strip() if text else self.fail()

    def fail(self):
        raise SystemExit(f"error: {self.name} has ended with {self.process.wait()}\n"
                         + "".join(self.log.read_text().splitlines(True)[-10:]))

    def end(self, how=signal.SIGTERM):
        if self.process.poll() is None:
            self.process.send_signal(how)

    def wait(self):
        try:
            self.process.wait(LONGEST_END)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
        for pipe in (self.process.stdin, self.process.stdout):
            pipe.close()

    def processor_seconds(self):
        fields = Path(f"/proc/{self.process.pid}/stat").read_text().rpartition(")")[2].split()
        return (int(fields[11]) + int(fields[12])) / TICKS

    def private_bytes(self):
        text = Path(f"/proc/{self.process.pid}/smaps_rollup").read_text()
        return 1024 * sum(int(size) for size in re.findall(r"^Private_\w+: +(\d+) kB", text, re.M))

    def threads(self):
        return len(os.listdir(f"/proc/{self.process.pid}/task"))


class Helper(Part):
    """One that answers a line of JSON to each word, and ends when nothing more can come."""

    def ask(self, command):
        print(command, file=self.process.stdin, flush=True)
        return json.loads(self.line())

    def end(self):
        self.process.stdin.close()


def free_ports(count):
    """Ports of the loopback below those that the system gives to others."""
    first = int(Path("/proc/sys/net/ipv4/ip_local_port_range").read_text().split()[0])
    found = []
    for port in random.sample(range(10000, max(first, 10000 + 4 * count)), k=4 * count):
        with socket.socket() as tried:
            tried.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
            if len(found) < count and tried.connect_ex(("127.0.0.1", port)) != 0:
                found.append(port)
    return found


def raise_descriptors(needed):
    soft, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
    if hard != resource.RLIM_INFINITY and hard < needed:
        raise SystemExit(f"error: {needed} descriptors are needed, and this user may have {hard}; raise 'nofile' in "
                         "/etc/security/limits.conf, or measure fewer gateways")
    if soft < needed:
        resource.setrlimit(resource.RLIMIT_NOFILE, (needed, hard))


class Site:
    """Where a plant runs: a folder in memory, and the programs in it. Nothing of it is left behind."""

    def __init__(self, programs, servers):
        self.programs, self.servers, self.parts = programs, servers, []

    def __enter__(self):
        self.folder = Path(tempfile.mkdtemp(prefix="plant-", dir="/dev/shm" if os.path.isdir("/dev/shm") else None))
        return self

    def __exit__(self, *_):
        for part in self.parts:
            part.end()
        for part in self.parts:
            part.wait()
        shutil.rmtree(self.folder)

    def start(self, program, *arguments, kind=Part):
        self.parts.append(kind(self.folder, program, *arguments))
        return self.parts[-1]


class Broker:
    """Has the same port after it was killed."""

    def __init__(self, site):
        self.site, self.port, self.spent = site, free_ports(1)[0], 0.0
        text = BROKER.format(port=self.port, folder=site.folder) + "user root\n" * (os.getuid() == 0)
        (site.folder / "broker.conf").write_text(text)
        self.start()

    def start(self):
        self.part = self.site.start(self.site.servers / "usr/sbin/mosquitto", "-c", self.site.folder / "broker.conf")
        while not self.listens():
            if self.part.process.poll() is not None:
                self.part.fail()
            time.sleep(0.01)

    def listens(self):
        with socket.socket() as caller:
            return caller.connect_ex(("127.0.0.1", self.port)) == 0

    def store(self):
        self.part.process.send_signal(signal.SIGUSR1)

    def kill(self):
        self.spent += self.part.processor_seconds()
        self.part.end(signal.SIGKILL)
        self.part.wait()
        self.site.parts.remove(self.part)

    def processor_seconds(self):
        return self.spent + self.part.processor_seconds()


class Load:
    """Messages a second of each gateway, its tags, and how many of them are in a message."""

    def __init__(self, messages, tags, values):
        self.messages, self.values = messages, values
        self.groups = max(1, tags // values)

    def settings(self, name, broker, folder, extra):
        """A file for a gateway; each group is of a station of its own."""
        text = (f'name = "{name}"\n{extra}[broker]\nhost = "127.0.0.1"\nport = {broker.port}\n[layout]\n'
                f'base = "plant"\n[spool]\nfile = "{folder}/{name}.spool"\n')
        for group in range(self.groups):
            first = 2 * self.values * group
            tags = "".join(f'    {{ name = "w{address}", variable = "5:{address}" }},\n'
                           for address in range(first, first + 2 * self.values, 2))
            text += f'[[group]]\nname = "g{group}"\nstation = {group + 1}\ntag = [\n{tags}]\n'
        path = folder / f"{name}.toml"
        path.write_text(text)
        return path


class Panels:
    """What tells its values to the broker."""
    parts, controllers = (), ()

    def check(self):
        for part in self.parts:
            if part.process.poll() is not None:
                part.fail()


class Gateways(Panels):
    """Real ones, each on a simulated controller of its own: a request a message, a station a group."""
    MOST_VALUES = 32  # of a block, every second word
    LINE_PAUSE = 3  # ms that a request takes beside the wait for its answer

    def __init__(self, count, load, broker, site):
        self.count, self.ports, self.controllers, self.parts = count, free_ports(count), [], []
        delay = max(0, round(1000 / load.messages) - self.LINE_PAUSE)
        for number, port in enumerate(self.ports):
            self.controllers.append(site.start(site.programs / "fgs-sim", "--tcp", "0", "--stations",
                                               f"1-{load.groups}", "--delay", delay, "--log", "quiet"))
            extra = f'link = "{self.controllers[-1].line()}"\n[http]\nlisten = "127.0.0.1:{port}"\n'
            file = load.settings(f"gateway-{number}", broker, site.folder, extra)
            self.parts.append(site.start(site.programs / "fgs-gateway", file))

    def go(self):
        pass

    def stop(self):
        for controller in self.controllers:
            controller.end()

    def figures(self):
        total = Counter()
        for port in self.ports:
            with urllib.request.urlopen(f"http://127.0.0.1:{port}/metrics") as page:
                lines = [line for line in page.read().decode().splitlines() if not line.startswith("#")]
            for name, _, value in (line.rpartition(" ") for line in lines):
                total[name.partition("{")[0]] += float(value)
        return {"due": int(total["fgs_requests_total"] - total["fgs_request_failures_total"]),
                "sent": int(total["fgs_publish_sent_total"]), "spoolBytes": int(total["fgs_spool_bytes"]),
                "acknowledged": int(total["fgs_publish_acknowledged_total"]), "replaced": 0}


class Sessions(Panels):
    """Synthetic ones, many in a process."""
    MOST_VALUES = 10000

    def __init__(self, count, load, broker, site):
        self.count, self.parts = count, []
        files = [load.settings(f"session-{number}", broker, site.folder, 'link = "tcp:127.0.0.1:1"\n')
                 for number in range(count)]
        for first in range(0, count, SESSIONS_A_PROCESS):
            self.parts.append(site.start(*POLITELY, site.programs / "plant_sessions", load.messages,
                                         *files[first:first + SESSIONS_A_PROCESS], kind=Helper))

    def go(self):
        self.ask_all("go")

    def stop(self):
        self.ask_all("stop")

    def figures(self):
        return self.ask_all("figures")

    def ask_all(self, command):
        total = Counter()
        for part in self.parts:
            total.update(part.ask(command))
        return total


def left_in_spools(folder):
    """Messages that no broker has acknowledged, once all gateways have ended."""
    count = 0
    for file in folder.glob("*.spool"):
        with contextlib.closing(sqlite3.connect(file)) as spool:
            count += spool.execute("SELECT count(*) FROM records").fetchone()[0]
    return count


def new_reader(broker, site):
    """It has a session that lasts, and the broker knows it again after a kill."""
    reader = site.start(site.programs / "plant_reader", broker.port, kind=Helper)
    reader.line()
    broker.store()
    return reader
