"""The single figures of ./bench/report, and what stands beside each: a peer, a plain baseline, a smaller case."""
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
    figure: str
    beside: str = ""


# ---- instructions, system calls, heap

SHAPES = (("six blocks of 10 words", "6x10"), ("one block of 100 words", "1x100"))
LINKS = (("pseudo-terminal", "pty"), ("TCP", "tcp"))


def instruction_rows(counts):
    rows = []
    for shape, suffix in SHAPES:
        rows += [Row(f"driver alone, {shape}", f"{counts['poll-' + suffix]:,} instructions"),
                 Row(f"reference host on a pseudo-terminal, {shape}", f"{counts['host-pty-' + suffix]:,} instructions",
                     f"libmodbus: {counts['libmodbus-pty-' + suffix]:,}")]
    return [*rows, Row("`GetRegisterData`, 100 words", f"{counts['get-100']:,} instructions")]


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
    return [Row(f"system calls of a transaction, {where}, {shape}", f"{total[f'host-{link}-{suffix}']:.2f}",
                f"libmodbus: {total[f'libmodbus-{link}-{suffix}']:.2f}")
            for where, link in LINKS for shape, suffix in SHAPES]


def blocks_in(blocks, function):
    """Heap blocks that were allocated below the function."""
    return sum(count for stack, count in blocks.items()
               if any(re.match(rf"{function}\b", frame) for frame in stack))


def heap_rows(poll, get):
    counted = [("of a steady poll transaction, in `DataCom`", blocks_in(poll, "DataCom")),
               ("of a steady poll transaction, in `ComCommunication`", blocks_in(poll, "ComCommunication")),
               ("of `GetRegisterData`, 100 words", blocks_in(get, "GetRegisterData"))]
    return [Row(f"heap blocks {what}", f"{count:.2f}") for what, count in counted]


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
        rows.append(Row(f"`ReCreatReadVarList`, 10,000 variables, {scheme} (time)", f"{large / 1e6:.2f} ms",
                        f"1,000 variables: {small / 1e6:.3f} ms, 1 : {large / small:.1f}"))
    return rows


STORAGE_OPERATIONS = [f"station-{name}-{entries}" for name in ("read", "write") for entries in (10, 100000)]


def storage_rows(counts, time):
    """Scattered items are no longer in the processor's cache, whatever finds them."""
    rows = []
    for name, called in (("read", "`GetRegisterData`"), ("write", "`WriteDataToLocal`")):
        few, many = f"station-{name}-10", f"station-{name}-100000"
        rows += [Row(f"per-station storage, one item of 100,000, {called}, {what}", f"{ratio:.2f} times",
                     "one item of 10")
                 for what, ratio in (("instructions", counts[many] / counts[few]),
                                     ("neighbours (time)", time[many] / time[few]),
                                     ("scattered (time)", time[many + "-scattered"] / time[few]))]
    return rows


def queue_rows(time):
    return [Row(f"`{called}`, 1,024 queued, {what} (time)", f"{time[f'queue-{name}-{which}'] / 1e3:.2f} µs")
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
    rows = [Row(f"`CalCRC`, {size} bytes", f"{time[f'table-crc-{size}'] / time[f'crc-{size}']:.2f} times as fast",
                "a loop over one table") for size in (9, 29, 256)]
    return [*rows, Row("`CalCRC`, its tables", f"{table_bytes():,} bytes"),
            Row("`CalCRC` on armv7 (Cortex-A8, run by qemu), 256 bytes",
                f"{arm_instructions_per_byte():.2f} instructions a byte")]


# ---- the library

def load_row():
    loads = [float(output(program("load"), FOLDER / "libTarnFGs.so.1")) / 1e3 for _ in range(31)]
    return Row("loading the library beside Qt Core (time)", f"{statistics.median(loads):.3f} ms")


def versions():
    packages = output("dpkg-query", "-W", "-f=${Package} ${Version}\n", "libqt5core5a", "libqt5serialbus5",
                      "libmodbus5", "libbenchmark-dev", "libc6", "valgrind").splitlines()
    cpu = re.search(r"model name\s*: (.*)", Path("/proc/cpuinfo").read_text())
    processor = cpu.group(1) if cpu else output("uname", "-m").strip()
    return {"machine": f"{processor}, {len(os.sched_getaffinity(0))} cores",
            "compiler": output("c++", "--version").splitlines()[0] + ", -O2",
            "packages": ", ".join(packages)}
