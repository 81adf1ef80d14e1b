"""The rows of ./bench/report: what is measured, what it should be, what it is."""
import json
import os
import re
import statistics
import tempfile
from dataclasses import dataclass
from pathlib import Path

import measuring
from measuring import FOLDER, ROOT, output, program


@dataclass
class Row:
    measure: str
    target: str
    figure: str
    met: "bool | None"  # None: there is no target

    @property
    def verdict(self):
        return "-" if self.met is None else "met" if self.met else "MISSED"


def at_most(measure, figure, limit, unit, form="{:,.0f}"):
    return Row(measure, f"at most {form.format(limit)} {unit}", f"{form.format(figure)} {unit}", figure <= limit)


# ---- instructions, system calls, heap

SHAPES = (("six blocks of 10 words", "6x10"), ("one block of 100 words", "1x100"))
LINKS = (("pseudo-terminal", "pty"), ("TCP", "tcp"))


def driver_rows(counts):
    limits = {"6x10": 2500, "1x100": 1800}
    return [at_most(f"driver alone, {shape}", counts["poll-" + suffix], limits[suffix], "instructions")
            for shape, suffix in SHAPES]


def host_rows(counts):
    rows = []
    for shape, suffix in SHAPES:
        ours, theirs = counts["host-pty-" + suffix], counts["libmodbus-pty-" + suffix]
        rows.append(Row(f"reference host on a pseudo-terminal, {shape}",
                        f"fewer than libmodbus: {theirs:,} instructions", f"{ours:,} instructions", ours < theirs))
    return rows


def transactions(name):
    """libmodbus and Qt read one block in a transaction."""
    return 1 if name.startswith("host") or name.endswith("1x100") else 6


def system_calls(names):
    """System calls of one transaction, by name."""
    measuring.need("strace")
    calls = measuring.in_parallel(measuring.system_calls, names)
    return {name: {call: count / transactions(name) for call, count in calls[name].items()} for name in names}


def system_call_rows(calls):
    total = {name: sum(of.values()) for name, of in calls.items()}
    rows = []
    for where, link in LINKS:
        for shape, suffix in SHAPES:
            ours, theirs = total[f"host-{link}-{suffix}"], total[f"libmodbus-{link}-{suffix}"]
            rows.append(Row(f"system calls of a transaction, {where}, {shape}",
                            f"at most as many as libmodbus: {theirs:.2f}", f"{ours:.2f}", ours <= theirs + 0.05))
    return rows


def blocks_in(blocks, function):
    """Heap blocks that were allocated below the function."""
    return sum(count for stack, count in blocks.items()
               if any(re.match(rf"{function}\b", frame) for frame in stack))


def heap_rows(poll, get):
    counted = [("of a steady poll transaction, in `DataCom`", blocks_in(poll, "DataCom"), 0),
               ("of a steady poll transaction, in `ComCommunication`", blocks_in(poll, "ComCommunication"), 2),
               ("of `GetRegisterData`, 100 words", blocks_in(get, "GetRegisterData"), 1)]
    return [Row(f"heap blocks {what}", f"at most {limit}", f"{count:.2f}", count <= limit)
            for what, count, limit in counted]


# ---- times

def times():
    """The median time of each operation in nanoseconds: of the processor; over a link, where it waits, of the clock."""
    with tempfile.NamedTemporaryFile("r") as file:
        output(program("times"), "--benchmark_min_time=0.05", "--benchmark_repetitions=7",
               "--benchmark_enable_random_interleaving=true", "--benchmark_report_aggregates_only=true",
               f"--benchmark_out={file.name}", "--benchmark_out_format=json")
        medians = [run for run in json.load(file)["benchmarks"] if run["aggregate_name"] == "median"]
    unit = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
    found = {}
    for run in medians:
        name = run["run_name"].split("/")[0]
        found[name] = run["real_time" if "-pty-" in name or "-tcp-" in name else "cpu_time"] * unit[run["time_unit"]]
    return {name: found[name] for name in measuring.repetitions()}


def rebuild_rows(time):
    rows = []
    for scheme, name in (("fixed image", "shared"), ("per station", "stations")):
        large, small = time[f"rebuild-10000-{name}"], time[f"rebuild-1000-{name}"]
        rows += [at_most(f"`ReCreatReadVarList`, 10,000 variables, {scheme} (time)", large / 1e6, 10, "ms", "{:.2f}"),
                 at_most(f"... from 1,000 to 10,000, {scheme}", large / small, 14, "times", "{:.1f}")]
    compared, different = map(int, output(program("same_lists")).split())
    rows.append(Row("... the same list as the literal algorithm builds", "on all random inputs",
                    f"{compared - different:,} of {compared:,}", different == 0))
    return rows


STORAGE_OPERATIONS = [f"station-{name}-{entries}" for name in ("read", "write") for entries in (10, 100000)]


def storage_rows(counts, time):
    """Scattered items are no longer in the processor's cache, whatever finds them."""
    rows = []
    for name, called in (("read", "`GetRegisterData`"), ("write", "`WriteDataToLocal`")):
        few, many = f"station-{name}-10", f"station-{name}-100000"
        rows += [at_most(f"per-station storage, one item, {called}, 100,000 entries against 10, {what}", ratio, 2,
                         "times", "{:.2f}")
                 for what, ratio in (("instructions", counts[many] / counts[few]),
                                     ("neighbours", time[many] / time[few]),
                                     ("scattered", time[many + "-scattered"] / time[few]))]
    return rows


def queue_rows(time):
    return [at_most(f"`{called}`, 1,024 queued, {what} (time)", time[f"queue-{name}-{which}"] / 1e3, 3,
                    "µs", "{:.2f}")
            for name, called in (("write", "AddListWriteVar"), ("read", "AddListOnceReadVar"))
            for which, what in (("waiting", "one that waits already"), ("new", "one that does not"))]


# ---- check code

def table_bytes():
    """Constants of the check codes."""
    object_file = next(FOLDER.glob("CMakeFiles/TarnFGs.dir/**/Func_Check.cpp.o"))
    sections = [line.split() for line in output("size", "-A", object_file).splitlines()]
    return sum(int(parts[1]) for parts in sections if parts and parts[0].startswith(".rodata"))


def build_for_arm():
    measuring.need("g++-arm-linux-gnueabihf", "qemu-user-static")
    root, folder = ROOT / "build/armhf-root", FOLDER.with_name(FOLDER.name + "-armhf")
    output("scripts/armhf-root", root)
    output("cmake", "-S", ".", "-B", folder, "-G", "Ninja", "--toolchain", ROOT / "cmake/armhf.cmake",
           f"-DTARN_ARMHF_ROOT={root}", "-DCMAKE_BUILD_TYPE=RelWithDebInfo", "-DTARN_TOOLS=OFF", "-DTARN_CRC_COUNT=ON")
    output("cmake", "--build", folder, "--target", "crc_count")
    return folder / "crc_count"


def arm_instructions_per_byte():
    """Counted by qemu, which notes each instruction that it runs."""
    counter = build_for_arm()

    def executed(repeated):
        with tempfile.NamedTemporaryFile("rb") as log:
            output("qemu-arm-static", "-singlestep", "-d", "exec,nochain", "-D", log.name, counter, repeated)
            return sum(line.startswith(b"Trace") for line in log)
    return (executed(40) - executed(8)) / 32 / 256


def crc_rows(time):
    ratio = {size: time[f"table-crc-{size}"] / time[f"crc-{size}"] for size in (9, 29, 256)}
    return [Row("`CalCRC`, 256 bytes, against a loop over one table", "at least 3 times as fast",
                f"{ratio[256]:.1f} times", ratio[256] >= 3),
            Row("`CalCRC`, 9 bytes, against the same", "not slower", f"{ratio[9]:.2f} times as fast", ratio[9] >= 1),
            Row("`CalCRC`, 29 bytes, against the same", "-", f"{ratio[29]:.2f} times as fast", None),
            at_most("`CalCRC`, its tables", table_bytes(), 4096, "bytes"),
            Row("`CalCRC` on armv7 (Cortex-A8, run by qemu), 256 bytes", "-",
                f"{arm_instructions_per_byte():.2f} instructions a byte", None)]


# ---- the library

def load_rows():
    library = FOLDER / "libTarnFGs.so.1"
    loads = [float(output(program("load"), library)) / 1e3 for _ in range(31)]
    with tempfile.NamedTemporaryFile() as stripped:
        output("strip", "-o", stripped.name, library.resolve())
        size = Path(stripped.name).stat().st_size
    median = statistics.median(loads)
    return [Row("loading the library beside Qt Core (time)", "under 1 ms", f"{median:.3f} ms", median < 1),
            Row("the library, stripped", "-", f"{size:,} bytes", None)]


def versions():
    packages = output("dpkg-query", "-W", "-f=${Package} ${Version}\n", "libqt5core5a", "libqt5serialbus5",
                      "libmodbus5", "libbenchmark-dev", "libc6", "valgrind").splitlines()
    cpu = re.search(r"model name\s*: (.*)", Path("/proc/cpuinfo").read_text())
    processor = cpu.group(1) if cpu else output("uname", "-m").strip()
    return {"machine": f"{processor}, {len(os.sched_getaffinity(0))} cores",
            "compiler": output("c++", "--version").splitlines()[0] + ", -O2",
            "packages": ", ".join(packages)}
