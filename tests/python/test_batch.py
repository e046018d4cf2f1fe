"""Batches of sets on a real Dask LocalCluster of two worker processes:
every set as the tool aligns it, a worker killed in the middle, a set that
fails among sets that do not, and a second run that does nothing."""

import json
import os
import pathlib
import signal
import subprocess
import threading
import time

import pytest
from distributed import Client, LocalCluster

from lacewright import batch
from conftest import set_files

SETS = ["hill", "ledge", "pier", "rainier", "uttower"]


@pytest.fixture(scope="module")
def client():
    cluster = LocalCluster(n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None)
    with Client(cluster) as connected:
        yield connected
    cluster.close()


def copies(data: pathlib.Path, folder: pathlib.Path, count: int) -> list[pathlib.Path]:
    """`count` sets of the shared ones' files, each under a name of its own."""
    sets = []
    for i in range(count):
        copy = folder / f"{SETS[i % len(SETS)]}-{i}"
        copy.mkdir()
        for file in set_files(data, SETS[i % len(SETS)]):
            os.symlink(file, copy / pathlib.Path(file).name)
        sets.append(copy)
    return sets


def test_every_set_is_aligned_as_the_tool_aligns_it(data, tool_json, tmp_path, client):
    sets = [data / name for name in SETS]
    records = batch.align_sets(sets, tmp_path / "out", client=client, progress=False)
    assert [(r["set"], r["status"]) for r in records] == [(name, "aligned") for name in SETS]
    for folder in sets:
        written = (tmp_path / "out" / folder.name / "alignment.json").read_text()
        assert written == tool_json(set_files(data, folder.name), 1), folder.name
    summary = [json.loads(line) for line in (tmp_path / "out" / "summary.jsonl").read_text().splitlines()]
    assert summary == records
    assert not [p for p in (tmp_path / "out").iterdir() if p.name.startswith(".")]


def test_a_worker_killed_in_the_middle_has_its_set_done_by_another(data, tmp_path, client):
    sets = copies(data, tmp_path, 16)
    out = tmp_path / "out"
    workers = list(client.run(os.getpid).values())

    def kill_once_a_set_is_done():
        while not (out.exists() and any(p.is_dir() and not p.name.startswith(".") for p in out.iterdir())):
            time.sleep(0.005)
        os.kill(workers[0], signal.SIGKILL)

    killer = threading.Thread(target=kill_once_a_set_is_done)
    killer.start()
    records = batch.align_sets(sets, out, client=client, progress=False)
    killer.join()
    assert workers[0] not in client.run(os.getpid).values()
    assert [r["status"] for r in records] == ["aligned"] * len(sets)
    for folder in sets:
        assert json.loads((out / folder.name / "alignment.json").read_text())["groups"]


def test_a_set_that_fails_is_recorded_and_the_others_go_on(data, tmp_path, client):
    broken = tmp_path / "broken"
    broken.mkdir()
    (broken / "a.jpg").write_text("not a picture")
    (broken / "b.jpg").write_text("nor this")
    records = batch.align_sets([data / "hill", broken, data / "pier"], tmp_path / "out", client=client,
                               progress=False)
    assert [r["status"] for r in records] == ["aligned", "failed", "aligned"]
    assert records[1]["error"].startswith(f"cannot read '{broken / 'a.jpg'}'")
    assert not (tmp_path / "out" / "broken").exists()


def test_a_second_run_does_no_work(data, tmp_path, client):
    sets = [data / name for name in SETS[:3]]
    first = batch.align_sets(sets, tmp_path / "out", client=client, progress=False)
    written = {p: p.stat().st_mtime_ns for p in (tmp_path / "out").rglob("alignment.json")}
    # A scheduler at an address where nothing listens: joining it would fail.
    second = batch.align_sets(sets, tmp_path / "out", scheduler="tcp://127.0.0.1:9", progress=False)
    assert second == first
    assert written == {p: p.stat().st_mtime_ns for p in (tmp_path / "out").rglob("alignment.json")}


def test_the_command_runs_a_batch_on_a_cluster_of_its_own(data, tmp_path):
    broken = tmp_path / "broken"
    broken.mkdir()
    (broken / "a.png").write_text("not a picture")
    result = subprocess.run([os.environ["LACEWRIGHT_TOOL"], "batch", str(data / "hill"), str(broken), "--out",
                             str(tmp_path / "out"), "--preview", "--pto"], capture_output=True, text=True)
    assert result.returncode == 1, result.stderr
    assert "2 sets, 1 aligned, 1 failed" in result.stderr
    assert sorted(p.name for p in (tmp_path / "out" / "hill").iterdir()) == [
        "alignment.json", "preview.png", "project.pto", "record.json"]
    refused = subprocess.run([os.environ["LACEWRIGHT_TOOL"], "batch", str(data / "hill"), str(data / "hill"),
                              "--out", str(tmp_path / "again")], capture_output=True, text=True)
    assert refused.returncode == 2 and "would both be written to 'hill'" in refused.stderr


def test_a_run_asked_for_more_outputs_redoes_the_sets_and_its_files_name_their_places(data, tmp_path, client):
    out = tmp_path / "out"
    batch.align_sets([data / "hill"], out, client=client, progress=False)
    assert not (out / "hill" / "preview.png").exists()
    [record] = batch.align_sets([data / "hill"], out, client=client, preview=True, project=True, progress=False)
    assert record["status"] == "aligned" and record["preview"] and record["project_error"] is None
    written = json.loads((out / "hill" / "alignment.json").read_text())
    assert written["groups"][0]["preview"]["file"] == str(out.resolve() / "hill" / "preview.png")
    assert (out / "hill" / "preview.png").exists() and (out / "hill" / "project.pto").exists()
    assert sorted(p.name for p in out.iterdir()) == ["hill", "summary.jsonl"]
