"""Builds the benchmarks and counts what their operations take. Used by ./bench/instructions and ./bench/report."""
import json
import os
import re
import subprocess
import tempfile
from collections import Counter
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
FOLDER = Path(os.environ.get("TARN_BENCH_FOLDER", ROOT / "build/benchmarks"))
OPTIONS = ["-DCMAKE_BUILD_TYPE=RelWithDebInfo", "-DTARN_TOOLS=ON", "-DTARN_TESTS=OFF", "-DTARN_BENCH=ON"]


def output(*command, **options):
    """What the command prints; on failure its errors are shown and the program ends."""
    done = subprocess.run([str(part) for part in command], cwd=ROOT, text=True, capture_output=True, **options)
    if done.returncode != 0:
        raise SystemExit(f"error: {' '.join(map(str, command))}\n{done.stdout}{done.stderr}")
    return done.stdout


def need(*packages):
    """Installs the Debian packages that are missing."""
    subprocess.run(["bash", "-c", '. scripts/common.sh && need_for_build && need "$@"', "bash", *packages],
                   cwd=ROOT, check=True)


def build(*targets):
    need("libbenchmark-dev", "libmodbus-dev", "libqt5serialbus5-dev", "pkg-config", "valgrind")
    output("cmake", "-S", ".", "-B", FOLDER, "-G", "Ninja", *OPTIONS)
    output("cmake", "--build", FOLDER, "--target", *targets)


def program(name):
    return str(FOLDER / name)


def repetitions():
    """For each operation how often it is done for a count."""
    return {name: int(count) for name, count in (line.split() for line in output(program("operate")).splitlines())}


def in_parallel(function, names):
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        return dict(zip(names, pool.map(function, names)))


def slopes(count, name, repeated):
    """What one repetition adds to the counts, so that start-up is out. count(name, repetitions) gives a Counter."""
    few = max(1, repeated // 10)
    less, more = count(name, few), count(name, repeated)
    return {key: (more[key] - less[key]) / (repeated - few) for key in more}


def counted(tool, tool_options, name, repeated, read):
    """Runs an operation under valgrind and reads the tool's file."""
    with tempfile.NamedTemporaryFile() as file:
        output("valgrind", f"--tool={tool}", f"--{tool}-out-file={file.name}", *tool_options, program("operate"),
               name, repeated)
        return read(file.name)


# ---- instructions

def instruction_total(name, repeated):
    def read(file):
        return Counter(all=int(re.search(r"^(?:summary|totals): (\d+)", Path(file).read_text(), re.M).group(1)))
    return counted("callgrind", [], name, repeated, read)


def instructions(names):
    """User-space instructions of one operation, for each."""
    repeated = repetitions()
    return in_parallel(lambda name: round(slopes(instruction_total, name, repeated[name])["all"]), names)


def instructions_by_function(name, repeated):
    def read(file):
        counts = Counter()
        for line in output("callgrind_annotate", "--auto=no", "--threshold=100", file).splitlines():
            found = re.match(r"\s*([\d,]+) \(\s*[\d.]+%\)\s+[^:]*:(.*?)(?: \[.*/(.*)\])?$", line)
            if found:
                count, function, library = found.groups()
                function = f"a function of {library}" if function.startswith("0x") and library else function
                counts[function] += int(count.replace(",", ""))
        return counts
    return counted("callgrind", [], name, repeated, read)


def profile(name):
    """Instructions of one operation by function, what it calls not included, the largest first."""
    by_function = slopes(instructions_by_function, name, repetitions()[name])
    return sorted(((function, count) for function, count in by_function.items() if count >= 0.5),
                  key=lambda item: -item[1])


# ---- heap blocks

def plain_frames(stack):
    return [re.sub(r"^0x\w+: ", "", frame) for frame in stack]


def blocks_by_stack(name, repeated):
    def read(file):
        heap = json.loads(Path(file).read_text())
        counts = Counter()
        for place in heap["pps"]:
            counts[tuple(plain_frames(heap["ftbl"][frame] for frame in place["fs"]))] += place["tbk"]
        return counts
    return counted("dhat", ["--num-callers=40"], name, repeated, read)


def heap_blocks(name):
    """Heap blocks that one operation allocates, by call stack, the innermost function first."""
    return {stack: count for stack, count in slopes(blocks_by_stack, name, repetitions()[name]).items()
            if count > 0.005}


# ---- system calls

def system_call_total(name, repeated):
    with tempfile.NamedTemporaryFile("r") as file:
        output("strace", "-c", "-U", "calls,name", "-o", file.name, program("operate"), name, repeated)
        lines = [line.split() for line in file.read().splitlines()]
        return Counter({parts[1]: int(parts[0]) for parts in lines if len(parts) == 2 and parts[0].isdigit()})


def system_calls(name):
    """System calls of one operation, by name."""
    return {call: count for call, count in slopes(system_call_total, name, repetitions()[name]).items()
            if call != "total" and count > 0.005}
