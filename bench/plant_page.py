"""What ./bench/plant has found: lines for each run, and a table of all of them."""
import os
import platform
import re
import subprocess
import sys
from pathlib import Path

import records
from plant_parts import TICKS
from records import need_committed_tree  # noqa: F401, for ./bench/plant


def machine_seconds():
    """Processor time that this machine has spent working."""
    words = [int(word) for word in Path("/proc/stat").read_text().splitlines()[0].split()[1:]]
    user, nice, system, _idle, _wait, interrupt, soft = words[:7]
    return (user + nice + system + interrupt + soft) / TICKS


def megabytes(count):
    return f"{count / 1e6:.1f} MB"


class Result:
    """The figures of one run."""

    def __init__(self, run, samples, returned, received, told, left):
        self.run, self.received, self.told, self.left = run, received, told, left
        self.first, self.last = samples
        self.seconds = self.last["time"] - self.first["time"]
        self.due = told["due"] - told["replaced"]
        self.missing = self.due - received["messages"]
        self.right = received["right"] - returned if returned and received["right"] else None

    def has_failed(self):
        """A broker that was killed may have dropped what it had acknowledged; nothing else may be missing."""
        by_broker = 0 if self.run.kills else abs(self.missing)
        return bool(self.left or self.received["wrong"] or by_broker or (self.run.kills and self.right is None))

    def share(self, what, of=1):
        """Of a core."""
        return f"{100 * (self.last[what] - self.first[what]) / self.seconds / of:.2f} %"

    def private(self, what, of=1):
        return f"{megabytes(self.first[what] / of)}, then {megabytes(self.last[what] / of)}"

    def rows(self):
        """Names and texts, in the order of the table."""
        run, got, told, count = self.run, self.received, self.told, self.run.count
        ages = [f"{age:.1f} ms" for age in got["ages"]]
        right = "" if not run.kills else "never" if self.right is None else f"{self.right / 1000:.1f} s"
        return [
            ("seconds, messages a second", f"{self.seconds:.0f}, {got['aged'] / self.seconds:,.0f}"),
            ("of each: messages a second, values in one", f"{run.load.messages}, {run.load.values}"),
            ("messages due", f"{self.due:,}"),
            ("replaced by newer ones before they were due", f"{told['replaced']:,}"),
            ("sent, with states", f"{told['sent']:,}"),
            ("acknowledged, with states", f"{told['acknowledged']:,}"),
            ("received live", f"{got['live']:,}"),
            ("received as history", f"{got['history']:,}"),
            ("of both, received again", f"{got['live'] + got['history'] - got['messages']:,}"),
            ("**lost: never acknowledged**", f"**{self.left:,}**"),
            ("acknowledged and not received", f"{self.missing - self.left:,}"),
            ("wrong values", f"{got['wrong']:,}"),
            ("from reply to reader, 50 %", ages[0]), ("99 %", ages[1]), ("99.9 %", ages[2]), ("longest", ages[3]),
            ("every current value right after the broker's return", right),
            ("one of them, of a core", self.share("panels", count)),
            ("one of them, private memory at start and end", self.private("private", count)),
            ("one of them, threads", f"{self.last['threads'] / count:g}"),
            ("broker, of a core", self.share("broker")),
            ("broker, private memory at start and end", self.private("brokerPrivate")),
            ("reader, of a core", self.share("reader")),
            ("controllers, of a core", self.share("controllers")),
            ("the whole machine, of a core", self.share("machine")),
        ]

    def head(self):
        return self.run.name() + (", broker killed" if self.run.kills else "")

    def lines(self):
        return [self.run.text(), *(f"  {name.strip('*'):54}{text.strip('*')}" for name, text in self.rows() if text)]


def machine(servers):
    model = re.search(r"^model name\s*: (.*)", Path("/proc/cpuinfo").read_text(), re.M)
    told = subprocess.run([servers / "usr/sbin/mosquitto", "-h"], text=True, capture_output=True, check=False).stdout
    return (f"{os.cpu_count()} cores ({model.group(1) if model else platform.machine()}), Linux {platform.release()}, "
            f"{told.splitlines()[0]}; gateways, controllers, broker and reader all on this machine.")


def page(results, servers):
    rows = [result.rows() for result in results]
    lines = [(name, *(row[number][1] or "-" for row in rows)) for number, (name, _) in enumerate(rows[0])]
    return records.text_of([machine(servers)], records.table(("", *(result.head() for result in results)), lines))


def write(results, servers):
    command = " ".join(["bench/plant", *sys.argv[1:]])
    text = page(results, servers)
    records.write("plant.md", records.text_of(["# A plant, measured"], [records.made(command)],
                                              records.included("plant.md")) + "\n" + text)
    records.put("plant.md", "plant", text)
