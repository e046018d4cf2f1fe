"""Sets per minute of `lacewright batch` on the shared photograph sets, on a
LocalCluster of one and of two single-threaded worker processes, and what a
task costs beyond the tool's own time on its set.

    PYTHONPATH=<the package> python3 bench/batch_bench.py TOOL DATA [COPIES]

Each shared set is aligned COPIES times (default 8), each copy a folder of
links under a name of its own, so that a batch has enough sets to keep the
workers busy. The tool's time is its whole process on the set, as a script
that runs it once per set would pay it.
"""

import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

from distributed import Client, LocalCluster

from lacewright import batch


def linked_sets(data: pathlib.Path, folder: pathlib.Path, copies: int) -> list[pathlib.Path]:
    sets = []
    for original in sorted(p for p in data.iterdir() if p.is_dir()):
        for i in range(copies):
            copy = folder / f"{original.name}-{i}"
            copy.mkdir()
            for file in sorted(original.iterdir()):
                os.symlink(file, copy / file.name)
            sets.append(copy)
    return sets


def tool_seconds(tool: str, sets: list[pathlib.Path]) -> float:
    """The median time of the tool's whole process on one set."""
    times = []
    for folder in sets:
        started = time.perf_counter()
        subprocess.run([tool, "--quiet", str(folder)], check=True, stdout=subprocess.DEVNULL)
        times.append(time.perf_counter() - started)
    return statistics.median(times)


def main() -> None:
    tool, data = sys.argv[1], pathlib.Path(sys.argv[2])
    copies = int(sys.argv[3]) if len(sys.argv) > 3 else 8
    with tempfile.TemporaryDirectory() as scratch:
        sets = linked_sets(data, pathlib.Path(scratch), copies)
        per_set = tool_seconds(tool, sets[::copies])
        print(f"{len(sets)} sets ({copies} copies of each shared set); the tool alone: {per_set:.3f} s a set, "
              f"{60 / per_set:.0f} sets a minute one after another")
        for workers in (1, 2):
            cluster = LocalCluster(n_workers=workers, threads_per_worker=1, processes=True, dashboard_address=None,
                                   env={"OMP_NUM_THREADS": "1"})
            with Client(cluster) as client:
                client.run(lambda: __import__("lacewright"))  # the package loaded before the clock starts
                out = pathlib.Path(scratch) / f"out-{workers}"
                started = time.perf_counter()
                records = batch.align_sets(sets, out, client=client, progress=False)
                elapsed = time.perf_counter() - started
            cluster.close()
            in_tasks = statistics.median(r["seconds"] for r in records)
            overhead = elapsed * workers / len(sets) - in_tasks
            print(f"{workers} worker{'s' if workers > 1 else ''}: {len(sets) / elapsed * 60:.0f} sets a minute "
                  f"({elapsed:.2f} s); a task's own work {in_tasks:.3f} s a set (median), "
                  f"scheduling and writing {overhead * 1000:.0f} ms a set beyond it; "
                  f"{'all' if all(r['status'] == 'aligned' for r in records) else 'not all'} aligned")


if __name__ == "__main__":
    main()
