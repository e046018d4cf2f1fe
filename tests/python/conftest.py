"""What the package's tests share: the shared photograph sets and the
installed tool beside the installed package."""

import os
import pathlib
import subprocess

import pytest


@pytest.fixture(scope="session")
def data() -> pathlib.Path:
    folder = pathlib.Path(os.environ.get("LACEWRIGHT_DATA_DIR", ""))
    if not folder.is_dir():
        pytest.skip(f"skipped: no photograph folder at '{folder}'")
    return folder


def set_files(data: pathlib.Path, name: str) -> list[str]:
    return sorted(str(path) for path in (data / name).iterdir() if path.is_file())


@pytest.fixture(scope="session")
def tool_json(tmp_path_factory):
    """The JSON the installed tool writes of a set, by set and type."""
    folder = tmp_path_factory.mktemp("tool")

    def run(files: list[str], type: int) -> str:
        path = folder / "tool.json"
        subprocess.run([os.environ["LACEWRIGHT_TOOL"], "--quiet", "--type", str(type), "--json", str(path), *files],
                       check=True, stdout=subprocess.DEVNULL)
        return path.read_text()

    return run
