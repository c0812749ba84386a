"""What is compared with what, and the targets."""

import os
import statistics
import subprocess
import tempfile
from dataclasses import dataclass

from measurements import SERVICE

MEGABYTE = 1e6


@dataclass(frozen=True)
class Figure:
    """One cell of a table. A target is a sense, ">=" or "<=", and a limit; without a sense it only informs."""

    subject: str
    against: str
    value: float
    unit: str = ""
    sense: str = ""
    limit: float = 0.0

    def met(self):
        """None where there is no target."""
        if not self.sense:
            return None
        return self.value >= self.limit if self.sense == ">=" else self.value <= self.limit


def documents(measured):
    """How many times longer each peer takes; for the two limits, how many times longer the service takes."""
    targets = {("PidList/108", "snprintf+strcat"): 25, ("PidList/108", "Jansson"): 40,
               ("PidList/108", "RapidJSON"): 6}
    for subject in measured.subjects():
        own = measured.median(subject, "mpegFE")
        for peer in ("snprintf+strcat", "Jansson", "RapidJSON"):
            limit = targets.get((subject, peer), 10 if peer == "snprintf+strcat" else None)
            ratio = measured.median(subject, peer) / own
            yield Figure(subject, peer, ratio, "", ">=" if limit else "", limit or 0)
        yield Figure(subject, "over memcpy of its pieces", own / measured.median(subject, "pieces"))
        ratio = own / measured.median(subject, "memcpy")
        yield Figure(subject, "over memcpy", ratio, "", "<=" if subject == "PidList/108" else "", 20)


def collection(measured):
    """How many times longer the plain collection takes, and how both costs grow."""
    for subject in measured.subjects("collection/"):
        ratio = measured.median(subject, "plain") / measured.median(subject, "mpegFE")
        worst = subject == "collection/worst case"
        yield Figure(subject.removeprefix("collection/"), "plain", ratio, "", ">=" if worst else "", 8)


def growth(family):
    """Both costs by size, in units of the service's at the smallest size, with a straight line through them."""
    def figures(measured):
        subjects = measured.subjects(family)
        sizes = [int(subject.removeprefix(family)) for subject in subjects]
        unit = measured.median(subjects[0], "mpegFE")
        for contestant in ("mpegFE", "plain"):
            costs = [measured.median(subject, contestant) / unit for subject in subjects]
            for size, cost in zip(sizes, costs):
                yield Figure(str(size), contestant, cost)
            slope, start = statistics.linear_regression(sizes, costs)
            yield Figure("line: at 0", contestant, start)
            yield Figure("line: each further one", contestant, slope)
            yield Figure("line: R²", contestant, statistics.correlation(sizes, costs) ** 2)
    return figures


def reception(measured):
    """The service's messages per second as a share of each bare loop's, which took turns with it."""
    for subject in measured.subjects():
        def share(peer):
            pairs = zip(measured.samples(subject, "turns", peer), measured.samples(subject, "turns", "mpegFE"))
            return statistics.median(peer_seconds / own_seconds for peer_seconds, own_seconds in pairs)

        name = subject.removeprefix("reception/")
        wire = name.startswith("from the wire")
        yield Figure(name, "bare loop", share("bare loop"), "", ">=" if wire else "", 0.95)
        yield Figure(name, "bare loop that prints", share("bare loop, same lines"))


def requests(measured):
    """The time to the document as a multiple of the bare exchange's, and the reply wait behind it."""
    for subject in measured.subjects():
        name = subject.removeprefix("request/")
        ratio = measured.median(subject, "mpegFE") / measured.median(subject, "sockets")
        yield Figure(name, "sockets alone", ratio, "", "<=", 1.25)
        yield Figure(name, "reply wait behind it", measured.median(subject, "mpegFE", "replyWait") * 1e3, "ms")


def footprint(measured):
    """What the service takes more than the bare program, its size, and its allocations."""
    def more(subject, peer, key):
        return measured.median(subject, "mpegFE", key) - measured.median(subject, peer, key)

    start_up = measured.lowest_tenth("start-up", "mpegFE") - measured.lowest_tenth("start-up", "sockets")
    yield Figure("start-up until a request is acknowledged", "more than bare sockets", start_up / 1e6, "ms", "<=", 2)
    for kind in ("resident", "proportional", "private"):
        for subject, peer, what in (("memory, idle", "sockets", "idle"),
                                    ("memory, busy", "sockets", "busy; bare sockets carried the same messages"),
                                    ("memory, busy", "sockets, only open", "busy; bare sockets only open")):
            yield Figure(f"{kind} memory, {what}", "more than bare sockets",
                         more(subject, peer, kind) / MEGABYTE, "MB", "<=", 0.5)
    yield Figure("stripped binary", "itself", stripped_size() / 1e3, "KB", "<=", 120)
    for module in measured.counters("allocations", "mpegFE"):
        own = module.startswith("executable")
        yield Figure(f"heap allocations by {module}", "itself",
                     measured.median("allocations", "mpegFE", module), "", "<=" if own else "", 0)


def page(measured):
    """What the page's server takes while many browsers look, and how far behind the first the last one is told."""
    for count, run in measured.runs.items():
        target = "<=" if count == 100 else ""
        streams = f"{count} streams"
        yield Figure(streams, "processor, of one core", run["processor, % of a core"], "%", target, 5)
        yield Figure(streams, "memory, at the most", run["memory at the most, MB"], "MB", target, 64)
        yield Figure(streams, "first stream to last: median", run["from the first stream to the last, median ms"], "ms")
        yield Figure(streams, "at the most", run["from the first stream to the last, most ms"], "ms", target, 100)
        yield Figure(streams, "sent", run["sent, MB/s"], "MB/s")
        yield Figure(streams, "streams that got each change", run["streams that got each change"], "", ">=", count)


def stripped_size():
    with tempfile.NamedTemporaryFile() as stripped:
        subprocess.run(["strip", "-o", stripped.name, SERVICE], check=True)
        return os.path.getsize(stripped.name)


# The tables of each group of measurements: title, and what makes its figures.
TABLES = {
    "documents": [("Documents: times longer than the service", documents)],
    "collection": [("Collection: times longer than the service", collection),
                   ("Growth of the worst case with the PIDs, in units of the service's at 32",
                    growth("collection by PIDs/")),
                   ("Growth of the worst case with the programs, in units of the service's at 8",
                    growth("collection by programs/"))],
    "reception": [("Reception: the service's messages per second as a share", reception)],
    "requests": [("From request to document: multiple of what the sockets cost", requests)],
    "footprint": [("Footprint", footprint)],
    "page": [("The page's server with many browsers, at 256 PIDs that are all new each second", page)],
}
