"""What a run found, as the Markdown of docs/benchmarks-endurance.md, and whether memory stayed flat."""

import csv
import os
import platform

WARM_UP = 1 / 5  # of the time
SHORTEST_S = 300  # below, memory may still be on its way to where it stays, and nothing may have expired
MOST_GROWTH = 64 * 1024  # bytes a minute that nothing accounts for


def slope(pairs):
    """The least squares line's."""
    mean_x = sum(x for x, _ in pairs) / len(pairs)
    mean_y = sum(y for _, y in pairs) / len(pairs)
    spread = sum((x - mean_x) ** 2 for x, _ in pairs)
    return sum((x - mean_x) * (y - mean_y) for x, y in pairs) / spread if spread else 0


def settled(run):
    """The points from the end of the warm-up on."""
    return [point for point in run.sampler.points if point.sample.at >= run.course.seconds * WARM_UP]


def rest(point):
    return point.sample.resident - point.held()


def judge_growth(run):
    if run.tally.failures or run.course.seconds < SHORTEST_S:
        return
    growth = 60 * slope([(point.sample.at, rest(point)) for point in settled(run)])
    if growth > MOST_GROWTH:
        run.tally.fail(f"Memory grows by {growth / 1024:.0f} KiB a minute that nothing accounts for")
    if run.ledger.left and not run.ledger.expired:
        run.tally.fail(f"None of {run.ledger.left} contexts that nobody uses has expired")


def text(run):
    return "\n\n".join(part for part in [summary(run), operations(run), stores(run), memory(run)] if part)


def table(head, rows):
    lines = [head, ["---"] + ["--:"] * (len(head) - 1), *rows]
    return "\n".join("| " + " | ".join(line) + " |" for line in lines)


def summary(run):
    total, seconds = run.tally.total(), run.course.elapsed()
    provoked = ", ".join(f"{count} {name}" for name, count in sorted(run.judge.seen.items())) or "none"
    lines = [
        f"Machine: {os.cpu_count()} processors, Linux {'.'.join(platform.release().split('.')[:2])}.",
        f"{total} operations in {seconds:.0f} s, {total / seconds:.0f} a second, on {run.processor_seconds or 0:.0f} s "
        f"of processor time of the host, which took {run.seconds_to_end or 0:.2f} s to end.",
        f"Contexts left to expire: {run.ledger.left}, expired: {run.ledger.expired}. Warnings that were provoked: "
        f"{provoked}. Chunks that were checked: {sum(run.watcher.seen.values())}.",
        f"Wrong answers and other failures: {len(run.tally.failures)}.",
    ]
    return "\n".join(lines)


def milliseconds(times, share):
    return f"{1000 * times[min(len(times) - 1, int(len(times) * share))]:.1f}" if times else "–"


def operations(run):
    rows = []
    for kind in sorted({*run.tally.operations, *run.tally.errors}):
        times = sorted(run.tally.latencies[kind])
        rows.append([kind, str(run.tally.operations[kind]), str(run.tally.errors[kind]),
                     milliseconds(times, 0.5), milliseconds(times, 0.99)])
    return table(["Operation", "Count", "Errors", "p50 ms", "p99 ms"], rows)


def kib(size):
    return f"{size / 1024:.1f}"


def stores(run):
    points = settled(run)
    if not points:
        return ""
    rows = []
    for (name, count, size), (_, last_count, last_size) in zip(points[0].rows, points[-1].rows):
        rows.append([name, str(count), str(last_count), kib(size), kib(last_size), kib(last_size - size)])
    return table(["What the stores must hold", "Entries after warm-up", "at the end", "KiB after warm-up", "at the end",
                  "Growth"], rows)


def memory(run):
    points = settled(run)
    if not points:
        return ""
    first, last = points[0], points[-1]
    rows = [[name, kib(of(first)), kib(of(last)), kib(of(last) - of(first))] for name, of in [
        ("Resident anonymous memory", lambda point: point.sample.resident),
        ("What the stores must hold", lambda point: point.held()),
        ("The rest", rest)]]
    minutes = 60 * slope([(point.sample.at, rest(point)) for point in points])
    thousands = 1000 * slope([(point.sample.operations, rest(point)) for point in points])
    samples = run.sampler.samples or [first.sample]
    return "\n\n".join([
        table(["KiB, in lulls", "After warm-up", "At the end", "Growth"], rows),
        f"Slope of the rest: {minutes:.0f} bytes a minute, {thousands:.0f} bytes per 1000 operations, over "
        f"{len(points)} points. Most in a sample of each second: {kib(max(sample.resident for sample in samples))} KiB. "
        f"Open descriptors: {run.descriptors_at_start} at the start, "
        f"{max(sample.descriptors for sample in samples)} at most, {run.descriptors_at_end} at the end."])


def write_samples(path, sampler):
    """One line for each second, and for each lull with what the stores must hold then."""
    lulls = {point.sample: point.held() for point in sampler.points}
    with open(path, "w", encoding="ascii", newline="") as file:
        writer = csv.writer(file, lineterminator="\n")
        writer.writerow(["seconds", "resident", "descriptors", "operations", "held"])
        for sample in sorted([*sampler.samples, *lulls]):
            writer.writerow([f"{sample.at:.1f}", *sample[1:], lulls.get(sample, "")])
