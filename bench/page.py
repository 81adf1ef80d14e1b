"""What ./bench/report writes: bench/results/performance.md, and the figures in docs/performance.md."""
import re
from types import SimpleNamespace

import chart
import line_cost
from records import included, made, table, text_of
from rows import LINKS, SHAPES, versions

PEERS = (("host", "reference host"), ("libmodbus", "libmodbus"), ("qt", "Qt Modbus client"))

# counts, calls, heap, times, priced, use: as measuring, rows and line_cost give them
Measured = SimpleNamespace


def duration(nanoseconds):
    for limit, factor, unit in ((1e3, 1, "ns"), (1e6, 1e3, "µs")):
        if nanoseconds < limit:
            return f"{nanoseconds / factor:.3g} {unit}"
    return f"{nanoseconds / 1e6:.3g} ms"


def on_links():
    """The operations of all clients on all links."""
    return [f"{peer}-{link}-{suffix}" for peer, _ in PEERS for _, link in LINKS for _, suffix in SHAPES]


def row_table(rows):
    return table(("Measure", "Figure", "Beside"), [(row.measure, row.figure, row.beside) for row in rows], left=3)


def peer_table(counts):
    """Every client against the reference host."""
    lines = []
    for where, link in LINKS:
        for shape, suffix in SHAPES:
            of_peers = [counts[f"{peer}-{link}-{suffix}"] for peer, _ in PEERS]
            lines.append((where, shape, *(f"{count / of_peers[0]:.2f}" for count in of_peers[1:]),
                          *(f"{count:,}" for count in of_peers)))
    names = [name for _, name in PEERS]
    return table(("Link", "Words", *(f"{name} : host" for name in names[1:]), *names), lines, left=2)


def plain_table(times):
    """The baseline against the driver, both timed."""
    pairs = [(f"bitwise-crc-{size}", f"crc-{size}") for size in (9, 256)]
    pairs += [(f"table-crc-{size}", f"crc-{size}") for size in (9, 29, 256)]
    pairs += [("plain-" + name, name) for name in times if "plain-" + name in times]
    return table(("Baseline", "Driver", "Baseline : driver", "Baseline (time)", "Driver (time)"),
                 [(plain, name, f"{times[plain] / times[name]:,.1f}", duration(times[plain]), duration(times[name]))
                  for plain, name in pairs], left=2)


def short(frame):
    """The name of a function in a call stack, without its namespace, parameters and place."""
    name = re.sub(r" \((in|[^ ]*:\d+).*", "", frame).replace("(anonymous namespace)::", "")
    return re.sub(r"\(.*", "", name).split(" ")[-1]


def driver_path(stack):
    """From the first function of the driver or the host, and what it called, up to the one that the benchmark calls."""
    ours = [i for i, frame in enumerate(stack) if re.search(r"libTarnFGs|\.cpp:", frame)]
    names = [short(frame) for frame in stack[max(0, ours[0] - 1) if ours else 0:]]
    end = next((i for i, name in enumerate(names) if re.match(r"__invoke|bench::|operator", name)), len(names))
    return names[:end]


def blocks_table(blocks):
    lines = []
    for stack, count in sorted(blocks.items(), key=lambda item: -item[1]):
        lines.append((f"{count:.2f}", " < ".join(f"`{name}`" for name in driver_path(stack))))
    return table(("Blocks", "Allocated in < called by"), lines or [("0", "-")], left=2)


def calls_table(calls):
    return table(("Client", "In all", "Which"),
                 [(name, f"{sum(of.values()):.2f}", ", ".join(f"{call} {count:.2f}" for call, count in of.items()))
                  for name, of in calls.items()], left=3)


def picture(counts):
    groups = []
    for shape, suffix in SHAPES:
        bars = [("driver alone", counts["poll-" + suffix], "ours"),
                ("reference host", counts[f"host-pty-{suffix}"], "ours"),
                ("libmodbus", counts[f"libmodbus-pty-{suffix}"], "others")]
        groups.append((f"{shape.capitalize()}, on a pseudo-terminal", bars))
    return chart.chart("User-space instructions for the same words", groups)


def results(measured, rows):
    """Everything that was measured."""
    of = versions()
    return text_of(
        ["# Performance, measured"],
        [made("bench/report"), f"{of['machine']};", f"{of['compiler']};", f"{of['packages']}."],
        ["[docs/performance.md](../../docs/performance.md) tells what it means; "
         "[tried.md](../tried.md) what was tried and did not pay."],
        included("method.md"),
        ["## Single figures"], row_table(rows),
        ["## Instructions for the same words"], peer_table(measured.counts),
        ["## Against the plain baseline"], plain_table(measured.times),
        ["## System calls of one transaction"], calls_table(measured.calls),
        ["## Heap blocks of one operation"],
        *(part for name, blocks in measured.heap.items() for part in ([f"`{name}`:"], blocks_table(blocks))),
        ["## One refresh of 200 variables on the line"], included("wire.md"), line_cost.cost_table(measured.priced),
        ["## How busy the line is"], line_cost.use_table(measured.use),
        ["## Times"], included("times.md"),
        table(("Operation", "Time"), [(name, duration(time)) for name, time in measured.times.items()]))


# ---- what docs/performance.md shows of it

def transaction_table(counts, calls):
    """A request and its reply: what the driver, the reference host and the peers take for it."""
    lines = []
    for where, link in LINKS:
        for shape, suffix in SHAPES:
            lines.append((f"instructions, {where}, {shape}", f"{counts['poll-' + suffix]:,}",
                          *(f"{counts[f'{peer}-{link}-{suffix}']:,}" for peer, _ in PEERS)))
    for where, link in LINKS:
        each = [sum(calls[f"{peer}-{link}-1x100"].values()) for peer, _ in PEERS]
        lines.append((f"system calls, {where}, one block", "-", *(f"{count:.0f}" for count in each)))
    return table(("", "driver alone", *(name for _, name in PEERS)), lines)


HOST_CALLS = (("`GetRegisterData`, 100 words", "get-100"), ("`SetRegisterData`, one word", "write-1"),
              ("`ReCreatReadVarList`, 1,000 variables, fixed image", "rebuild-1000-shared"),
              ("the same, per station", "rebuild-1000-stations"),
              ("`ReCreatReadVarList`, 10,000 variables, fixed image", "rebuild-10000-shared"),
              ("the same, per station", "rebuild-10000-stations"))


def use_table(use):
    head = ("Line", "busy, or waiting for the controller", "four byte times of silence", "more silence", "host late")
    return table(head, [(f"{speed:,} Bd", *(f"{share:.1f} %" for share in shares))
                        for _, speed, *shares in line_cost.worst_use(use)])


def figures(measured):
    """The tables of docs/performance.md, by the names of their marks."""
    tables = {"refresh": line_cost.refresh_table(measured.priced),
              "line use": use_table(measured.use),
              "transaction": transaction_table(measured.counts, measured.calls),
              "calls": table(("Call", "Time"), [(what, duration(measured.times[name])) for what, name in HOST_CALLS])}
    return {mark: text_of(lines) for mark, lines in tables.items()}
