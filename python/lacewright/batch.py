"""Many photograph sets aligned on a Dask cluster, one task per set.

    python3 -m lacewright.batch SET... --out DIR [--scheduler ADDRESS]
    lacewright batch SET... --out DIR [--scheduler ADDRESS]

Each set (a folder of overlapping photographs) is aligned by one task, which
writes the set's alignment.json, and its previews and Hugin projects when
asked, into DIR/NAME/, NAME being the set folder's name. The folder appears
whole or not at all: the task writes into a hidden folder beside it and
renames it into place. DIR/summary.jsonl then holds one JSON line per set:
its status ("aligned", "not aligned" or "failed"), its groups' sizes, the
images left out, the seconds its task took and the error of a failed set.

A set that fails is recorded and the others go on; the task of a worker that
dies is given to another. A run started again skips the sets whose folder is
there and aligns the others (the failed ones among them).

With no scheduler, a LocalCluster of one single-threaded process per core is
started; with one, the batch joins that cluster. Workers read the sets from
the paths given, so on a cluster of several machines the sets and DIR must be
on storage that every worker sees under the same paths.
"""

from __future__ import annotations

import argparse
import json
import os
import pathlib
import shutil
import sys
import time
import uuid
from typing import Iterable, Optional, Sequence, Union

PathLike = Union[str, "os.PathLike[str]"]

SUMMARY = "summary.jsonl"
RECORD = "record.json"


def set_names(sets: Sequence[PathLike]) -> list[str]:
    """The output folder's name of each set; two sets of one name would
    write over each other, so they are refused."""
    names = [pathlib.Path(s).resolve().name for s in sets]
    seen: dict[str, str] = {}
    for given, name in zip(sets, names):
        if name in seen:
            raise ValueError(f"the sets '{seen[name]}' and '{os.fspath(given)}' would both be written to '{name}'")
        seen[name] = os.fspath(given)
    return names


def align_set(folder: str, out: str, name: str, type: int, preview: bool, project: bool) -> dict:
    """A task: aligns one set and writes its folder; answers its record.

    A task run again after its worker died may find the folder there: the
    first run got as far as the rename."""
    import lacewright

    started = time.monotonic()
    asked = {"type": type, "preview": preview, "project": project}
    final = pathlib.Path(out) / name
    done = done_record(pathlib.Path(out), name, folder, asked)
    if done is not None:
        return done
    record: dict = {"set": name, "path": folder, **asked}
    # Made as any folder is, with the permissions the umask leaves.
    work = pathlib.Path(out) / f".{name}.{uuid.uuid4().hex}"
    work.mkdir()
    try:
        result = lacewright.align([folder], type, keep_pictures=preview, require_aligned=False)
        record.update(status="aligned" if result.aligned else "not aligned",
                      groups=[len(g.images) for g in result.groups if len(g.images) > 1],
                      left_out=[{"file": i.file, "reason": i.reason} for i in result.left_out], error=None)
        record["project_error"] = write_outputs(result, work, preview, project and result.aligned)
    except lacewright.Error as error:
        shutil.rmtree(work, ignore_errors=True)
        record.update(status="failed", groups=[], left_out=[], error=str(error),
                      seconds=round(time.monotonic() - started, 3))
        return record
    record["seconds"] = round(time.monotonic() - started, 3)
    # The files name each other by where they will be, not where they are.
    json_file = work / "alignment.json"
    json_file.write_text(json_file.read_text().replace(str(work), str(final)))
    (work / RECORD).write_text(json.dumps(record) + "\n")
    put_in_place(work, final)
    return record


def write_outputs(result, work: pathlib.Path, preview: bool, project: bool) -> Optional[str]:
    """Writes a set's files into `work`; answers why there is no project
    when a group could not be one (a plane group that is no turning
    camera's), in which case the others are written without it."""
    import lacewright

    files = {"json": work / "alignment.json", "preview": work / "preview.png" if preview else None}
    if not project:
        result.write(**files)
        return None
    try:
        result.write(**files, project=work / "project.pto")
        return None
    except lacewright.OutputError as error:
        if "no Hugin project" not in str(error):
            raise
        result.write(**files)
        return str(error)


def put_in_place(work: pathlib.Path, final: pathlib.Path) -> None:
    """Renames `work` to `final`, putting aside a folder of an earlier run
    asked for other outputs."""
    old = final.with_name(f".{final.name}.old.{uuid.uuid4().hex}")
    try:
        os.rename(final, old)
    except FileNotFoundError:
        pass
    os.rename(work, final)
    shutil.rmtree(old, ignore_errors=True)


def done_record(out: pathlib.Path, name: str, folder: str, asked: dict) -> Optional[dict]:
    """The record of the set `folder` aligned by an earlier run as asked."""
    try:
        record = json.loads((out / name / RECORD).read_text())
    except (OSError, ValueError):
        return None
    same = record.get("path") == folder and all(record.get(key) == value for key, value in asked.items())
    return record if same else None


class _Bar:
    """A line on stderr that counts the sets done, on a terminal only."""

    def __init__(self, total: int, shown: bool):
        self.total, self.done, self.shown = total, 0, shown and sys.stderr.isatty()

    def advance(self, record: dict) -> None:
        self.done += 1
        if self.shown:
            sys.stderr.write(f"\r\033[Ksets {self.done}/{self.total} (last: {record['set']}, {record['status']})")
            sys.stderr.flush()

    def finish(self) -> None:
        if self.shown:
            sys.stderr.write("\r\033[K")


def _client(scheduler: Optional[str]):
    """A client for the batch, and the LocalCluster it started, if any."""
    from distributed import Client, LocalCluster

    if scheduler:
        return Client(scheduler), None
    # One process per core, each with one thread: the engine takes one
    # alignment at a time per process, and its own threads would only
    # compete with the other processes'.
    cluster = LocalCluster(n_workers=os.cpu_count() or 1, threads_per_worker=1, processes=True,
                           dashboard_address=None, env={"OMP_NUM_THREADS": "1"})
    return Client(cluster), cluster


def align_sets(sets: Sequence[PathLike], out: PathLike, *, type: int = 1, preview: bool = False,
               project: bool = False, scheduler: Optional[str] = None, client=None,
               progress: bool = True) -> list[dict]:
    """Aligns every set of `sets` on a Dask cluster into `out`; answers the
    records of the summary, in the order of `sets`.

    client: a distributed.Client to use; otherwise one of `scheduler`, or of a
    LocalCluster started for the batch and closed after it."""
    from distributed import as_completed

    names = set_names(sets)
    out = pathlib.Path(out)
    out.mkdir(parents=True, exist_ok=True)
    records: dict[str, dict] = {}
    todo = []
    asked = {"type": type, "preview": preview, "project": project}
    for given, name in zip(sets, names):
        folder = str(pathlib.Path(given).resolve())
        record = done_record(out, name, folder, asked)
        if record is not None:
            records[name] = record
        else:
            todo.append((folder, name))
    if todo:
        made = client is None
        cluster = None
        if made:
            client, cluster = _client(scheduler)
        bar = _Bar(len(todo), progress)
        futures = {client.submit(align_set, folder, str(out.resolve()), name, type, preview, project,
                                 key=f"lacewright-{name}-{time.time_ns()}", pure=False): (folder, name)
                   for folder, name in todo}
        try:
            for future in as_completed(futures):
                folder, name = futures[future]
                try:
                    record = future.result()
                except Exception as error:  # the task itself broke: recorded, the others go on
                    record = {"set": name, "path": folder, **asked, "status": "failed", "groups": [],
                              "left_out": [], "error": f"{type_name(error)}: {error}", "seconds": None}
                records[name] = record
                bar.advance(record)
        finally:
            bar.finish()
            if made:
                client.close()
            if cluster is not None:
                cluster.close()
    for _, name in todo:
        # What the tasks of workers that died in the middle left behind.
        for leftover in out.glob(f".{name}.*"):
            shutil.rmtree(leftover, ignore_errors=True)
    ordered = [records[name] for name in names]
    write_summary(out / SUMMARY, ordered)
    return ordered


def type_name(error: BaseException) -> str:
    return type(error).__name__


def write_summary(path: pathlib.Path, records: Iterable[dict]) -> None:
    temporary = path.with_name(f".{path.name}.{os.getpid()}")
    temporary.write_text("".join(json.dumps(record) + "\n" for record in records))
    os.replace(temporary, path)


def main(arguments: Optional[Sequence[str]] = None) -> int:
    parser = argparse.ArgumentParser(prog="lacewright batch",
                                     description="Aligns many photograph sets on a Dask cluster, one task per set.")
    parser.add_argument("sets", nargs="+", metavar="SET", help="a folder of overlapping photographs")
    parser.add_argument("--out", required=True, metavar="DIR", help="the folder of the results")
    parser.add_argument("--scheduler", metavar="ADDRESS",
                        help="a Dask scheduler to join (default: a local cluster of one process per core)")
    parser.add_argument("--type", type=int, default=1, help="1: a turning camera (default); -1: a plane or a turn")
    parser.add_argument("--preview", action="store_true", help="draw each set's groups as preview.png")
    parser.add_argument("--pto", action="store_true", help="write each set's turning groups as project.pto")
    parser.add_argument("-q", "--quiet", action="store_true", help="no progress and no summary on stderr")
    options = parser.parse_args(arguments)
    for folder in options.sets:
        if not pathlib.Path(folder).is_dir():
            parser.error(f"'{folder}' is not a folder of photographs")
    try:
        records = align_sets(options.sets, options.out, type=options.type, preview=options.preview,
                             project=options.pto, scheduler=options.scheduler, progress=not options.quiet)
    except ValueError as error:
        parser.error(str(error))
    failed = [r for r in records if r["status"] == "failed"]
    if not options.quiet:
        aligned = sum(r["status"] == "aligned" for r in records)
        print(f"lacewright: {len(records)} sets, {aligned} aligned, {len(failed)} failed; "
              f"summary in {pathlib.Path(options.out) / SUMMARY}", file=sys.stderr)
        for record in failed:
            print(f"lacewright: {record['set']}: {record['error']}", file=sys.stderr)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
