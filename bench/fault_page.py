"""What ./bench/fault-table writes: bench/results/faults.md, and the figures and the chart of docs/reliability.md."""
import platform
import re

import chart
import measuring
import records

# The totals that fault_table prints, in the order and the words of the page.
TOTALS = {
    "of these without a star": "wrong values taken for good, from faults that can be told",
    "wrong values delivered": "wrong values taken for good, from all faults",
    "good transactions lost": "good transactions lost after the fault",
    "hangs": "transactions that took longer than 1.5 s",
    "struck transactions given up": "struck transactions that ended without an answer",
    "of struck transactions": "struck transactions",
    "time of all transactions": "time of all transactions",
}
DRAWN = ("of these without a star", "good transactions lost", "time of all transactions")
NAMES = ("this driver", "libmodbus", "Qt SerialBus")


def totals(printed):
    """What fault_table printed in bold: the cells by name."""
    found = {name: [cell.strip() for cell in cells.split("|")]
             for name, cells in re.findall(r"^\| \*\*(.+?)\*\* \|(.*)\|$", printed, re.M)}
    if found.keys() != TOTALS.keys():
        raise SystemExit("error: fault_table printed other totals than fault_page.py knows")
    return found


def results(one, three):
    compiler = measuring.output("c++", "--version").splitlines()[0]
    return records.text_of(
        ["# Line faults, measured"],
        [records.made("bench/fault-table --write"), f"{platform.machine()}; {compiler}."],
        records.included("faults.md"),
        ["## One attempt a transaction"],
        ["A cell is 0, or *wrong values / good transactions lost / hangs*."], one.splitlines(),
        ["## Up to three attempts a transaction"], three.splitlines())


def summary(one, three):
    """The totals of both runs side by side."""
    one, three = totals(one), totals(three)
    head = [f"{name}, {attempts}" for attempts in ("one attempt", "three") for name in NAMES]
    return records.table(("", *head), [(words, *one[name], *three[name]) for name, words in TOTALS.items()])


def number(cell):
    """"22.9 s" is 22.9, "87" is 87."""
    return float(cell[:-2]) if cell.endswith(" s") else int(cell)


def picture(one):
    found = totals(one)
    groups = []
    for name in DRAWN:
        bars = [(client, number(cell), "ours" if client == NAMES[0] else "others")
                for client, cell in zip(NAMES, found[name])]
        unit = ", seconds" if found[name][0].endswith(" s") else ""
        groups.append((TOTALS[name].capitalize() + unit, bars))
    return chart.chart("Every fault of a line, one attempt a transaction: shorter is better", groups)


def write(text, one, three):
    records.write("faults.md", text)
    records.put("reliability.md", "faults", records.text_of(summary(one, three)))
    (records.ROOT / "docs/reliability.svg").write_text(picture(one))
