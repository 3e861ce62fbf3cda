"""What each row of the table has to reach, and what is said about it when it is read."""


def median(samples):
    ordered = sorted(samples)
    middle = len(ordered) // 2
    return ordered[middle] if len(ordered) % 2 else (ordered[middle - 1] + ordered[middle]) / 2


def percentile(samples, percent):
    ordered = sorted(samples)
    return ordered[min(len(ordered) - 1, len(ordered) * percent // 100)]


def spread(samples):
    """From the lower to the upper quartile."""
    return percentile(samples, 25), percentile(samples, 75)


class Line:
    """One line of the table. `reached` is None where there is nothing to reach."""

    def __init__(self, row, case, module, bare, ratio, limit, reached, samples=0):
        self.row, self.case, self.module, self.bare = row, case, module, bare
        self.ratio, self.limit, self.reached, self.samples = ratio, limit, reached, samples

    def cells(self):
        word = {True: "yes", False: "**no**", None: "–"}[self.reached]
        name = self.row + (f", {self.case}" if self.case else "")
        return [name, self.module, self.bare, self.ratio, self.limit, word]


def duration(us):
    for factor, unit in ((1e6, "s"), (1e3, "ms"), (1, "µs")):
        if us >= factor:
            return f"{us / factor:.3g} {unit}"
    return f"{us * 1e3:.3g} ns"


def timed(samples):
    low, high = spread(samples)
    return f"{duration(median(samples))} ({duration(low)} – {duration(high)})"


def at_most(figure, side, limit):
    """A row of two sides: the ratio of their medians."""
    module, bare = figure["sides"]["module"], figure["sides"][side]
    ratio = median(module) / median(bare)
    return Line(figure["row"], figure["case"], timed(module), timed(bare), f"{ratio:.2f}",
                f"≤ {limit}", ratio <= limit, len(module))


def median_and_p99(figure, median_limit, p99_limit):
    yield at_most(figure, "bare", median_limit)
    module, bare = (percentile(figure["sides"][side], 99) for side in ("module", "bare"))
    yield Line(f"{figure['row']}, p99", figure["case"], duration(module), duration(bare),
               f"{module / bare:.2f}", f"≤ {p99_limit}", module / bare <= p99_limit,
               len(figure["sides"]["module"]))


def p99_at_most(figure, limit_us):
    module, bare = (figure["sides"][side] for side in ("module", "bare"))
    worst = percentile(module, 99)
    return Line(f"{figure['row']}, p99", figure["case"], f"{duration(worst)}; median "
                f"{duration(median(module))}", f"{duration(percentile(bare, 99))}; median "
                f"{duration(median(bare))}", f"{worst / percentile(bare, 99):.2f}",
                f"≤ {duration(limit_us)}", worst <= limit_us, len(module))


# The methods that wait because they have to: for the key watch to end, for the card's disarming.
WAITS = {"SetDeselected": "joins the watch", "UnAdvise": "joins the watch",
         "GetSerialization": "joins the watch", "ReportResult": "disarms the card"}


def longest(figures, limit_us):
    """The longest call of each method, slowest first."""
    for figure in sorted(figures, key=lambda figure: -max(figure["sides"]["module"])):
        samples, method = figure["sides"]["module"], figure["case"]
        waits = method in WAITS
        yield Line(figure["row"], f"`{method}`, {len(samples):,} calls",
                   f"{duration(max(samples))}; median {duration(median(samples))}", "–", "–",
                   WAITS[method] if waits else f"≤ {duration(limit_us)}",
                   None if waits else max(samples) <= limit_us, len(samples))


def look_up(figure):
    """Each peer in a line: the module has to be faster than those that make a tree."""
    module = figure["sides"]["module"]
    for peer, samples in figure["sides"].items():
        if peer == "module":
            continue
        ratio = median(module) / median(samples)
        must = peer in ("RapidJSON", "nlohmann::json")
        yield Line(figure["row"], f"{figure['case']}, {peer}", timed(module), timed(samples),
                   f"{ratio:.2f}", "< 1" if must else "reported", ratio < 1 if must else None,
                   len(module))


def extra_blocks(figure):
    blocks = int(figure["sides"]["module"][0])
    return Line(figure["row"], figure["case"], str(blocks), "–", "–", "0", blocks == 0, 1)


def in_proportion(figures):
    """Each step of the account filter against the one before it, round by round: the processor is
    not as fast in one round as in another, but within a round it mostly is."""
    before = None
    for figure in figures:
        samples = figure["sides"]["module"]
        count = int(figure["case"].split()[0])
        if before:
            ratio = median([many / few for many, few in zip(samples, before[1])])
            factor = count / before[0]
            yield Line(figure["row"], figure["case"], timed(samples), timed(before[1]),
                       f"{ratio:.2f}", f"≤ {factor:.3g}", ratio <= factor, len(samples))
        else:
            yield Line(figure["row"], figure["case"], timed(samples), "–", "–", "–", None,
                       len(samples))
        before = count, samples


def a_user(figures):
    """What one more user costs, from each number of users to the next, and whether it stays so."""
    points = [(int(figure["case"].split()[0]), figure) for figure in figures]
    costs = {"module": [], "bare": []}
    for (few, first), (many, second) in zip(points, points[1:]):
        for side, cost in costs.items():
            cost.append(median([more - fewer for more, fewer in
                                zip(second["sides"][side], first["sides"][side])]) / (many - few))
        module, bare = costs["module"][-1], costs["bare"][-1]
        yield Line("enumeration, a user more", f"{few} to {many}", duration(module),
                   duration(bare), f"{module / bare:.2f}", "≤ 1.2", module / bare <= 1.2,
                   len(second["sides"]["module"]))
    module, bare = (cost[-1] / cost[-2] for cost in costs.values())
    yield Line("enumeration, a straight line", "1,000 against 100 users", f"{module:.2f}",
               f"{bare:.2f}", f"{module / bare:.2f}", "≤ 1.2", module / bare <= 1.2)


def memory(kib):
    """Private bytes by process: with the empty COM server, and with 1, 10 and 1,000 tiles."""
    empty = median(kib["memory-empty"])
    for case, tiles in (("memory-1", 1), ("memory-10", 10), ("memory-1000", 1000)):
        samples = kib[case]
        low, high = spread(samples)
        more = median(samples) - empty
        yield Line("memory", f"{tiles:,} tile" + ("s" if tiles > 1 else ""),
                   f"{median(samples):,.0f} KiB ({low:,.0f} – {high:,.0f})", f"{empty:,.0f} KiB",
                   f"+{more:,.0f} KiB", "≤ +256 KiB" if tiles == 1 else "reported",
                   more <= 256 if tiles == 1 else None, len(samples))
    a_tile = (median(kib["memory-1000"]) - median(kib["memory-10"])) / 990
    yield Line("enumeration, memory of a tile", "its strings included", f"{a_tile:.2f} KiB", "–",
               "–", "≤ 4 KiB", a_tile <= 4, len(kib["memory-1000"]))
