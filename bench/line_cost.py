"""What the line carries: a refresh of the variable sets, priced for each line speed, and how busy the host keeps it."""
from collections import defaultdict

from measuring import output, program
from records import table
from rows import Row

SPEEDS = (9600, 19200, 115200)
BITS_PER_BYTE = 10      # 8N1
CONTROLLER = 0.005      # seconds from the end of a request to its reply
SILENT_BYTES = 4        # before a request
MODBUS_OVERHEAD = 8 + 5 # bytes of a request, and of a reply beside its data
MODBUS_WORDS = 125      # most in one read
DEFAULT_BLOCK = 64      # of the reference host


def seconds(round_trips, size, speed):
    return (size + SILENT_BYTES * round_trips) * BITS_PER_BYTE / speed + CONTROLLER * round_trips


def measured_sets():
    """Addresses by set, and round trips and bytes of a refresh by set and block size."""
    addresses, refreshes = defaultdict(list), defaultdict(dict)
    for kind, name, *numbers in (line.split() for line in output(program("wire")).splitlines()):
        if kind == "variable":
            addresses[name].append(int(numbers[0]))
        else:
            refreshes[name][int(numbers[0])] = (float(numbers[1]), float(numbers[2]))
    return addresses, refreshes


def one_by_one(addresses):
    return len(addresses), len(addresses) * (MODBUS_OVERHEAD + 2)


def merged(addresses, speed):
    """The cheapest reads that cover the addresses: what a patient expert would merge by hand for this line."""
    best = [(0.0, 0, 0)]  # seconds, round trips and bytes for the first n addresses
    for end in range(1, len(addresses) + 1):
        choices = []
        for start in range(end):
            words = addresses[end - 1] - addresses[start] + 1
            if words <= MODBUS_WORDS:
                trips, size = best[start][1] + 1, best[start][2] + MODBUS_OVERHEAD + 2 * words
                choices.append((seconds(trips, size, speed), trips, size))
        best.append(min(choices))
    return best[-1][1:]


def costs():
    """For each set and speed: the best block size, and (round trips, bytes) of four ways to refresh."""
    addresses, refreshes = measured_sets()
    for name, by_block in refreshes.items():
        for speed in SPEEDS:
            best = min(by_block, key=lambda block: (round(seconds(*by_block[block], speed), 6), block))
            yield name, speed, best, {"best": by_block[best], "default": by_block[DEFAULT_BLOCK],
                                      "merged": merged(addresses[name], speed),
                                      "single": one_by_one(addresses[name])}


def cost_table(priced):
    def cell(cost, speed):
        return f"{cost[0]:.1f} / {cost[1]:,.0f} / {1e3 * seconds(*cost, speed):,.0f} ms"
    lines = []
    for name, speed, best, ways in priced:
        ours = seconds(*ways["best"], speed)
        lines.append((name, f"{speed:,}", f"{seconds(*ways['merged'], speed) / ours:.2f}",
                      f"{seconds(*ways['single'], speed) / ours:.1f}", str(best),
                      *(cell(ways[way], speed) for way in ("best", "default", "merged", "single"))))
    return table(("Set", "Line", "libmodbus, merged by hand : ours", "libmodbus, one read per variable : ours",
                  "Best block", "Ours", f"Ours, blocks of {DEFAULT_BLOCK}", "libmodbus, merged by hand",
                  "libmodbus, one read per variable"), lines)


def cost_row(priced):
    ratios = [seconds(*ways["merged"], speed) / seconds(*ways["best"], speed) for _, speed, _, ways in priced]
    return Row("time on the line for 200 variables, libmodbus merged by hand : ours",
               f"{min(ratios):.2f} to {max(ratios):.2f}")


def refresh_table(priced):
    """The times alone, beside what the bytes of the values take: no driver is faster than the line."""
    lines = []
    for name, speed, _, ways in priced:
        words = ways["single"][0]
        times = [2 * words * BITS_PER_BYTE / speed,
                 *(seconds(*ways[way], speed) for way in ("best", "merged", "single"))]
        lines.append((f"{name}, {speed:,} Bd", *(f"{1e3 * time:,.0f} ms" for time in times)))
    return table(("200 words", "their bytes alone", "this driver", "libmodbus, reads merged by hand",
                  "libmodbus, one read per variable"), lines)


def line_use():
    """Set, speed, and percent of the time: busy, silence that the line needs, silence on top, host late."""
    return [(name, int(speed), *(max(0.0, float(share)) for share in shares))
            for name, speed, *shares in (line.split() for line in output(program("line_use")).splitlines())]


def use_table(use):
    return table(("Set", "Line", "Busy", "Four byte times of silence", "More silence", "Host late"),
                 [(name, f"{speed:,}", *(f"{share:.2f} %" for share in shares)) for name, speed, *shares in use])


def worst_use(use):
    """For each speed the set with the most silence."""
    return [min((entry for entry in use if entry[1] == speed), key=lambda entry: entry[2]) for speed in SPEEDS]
