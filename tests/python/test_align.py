"""lacewright.align as a Python program meets it: the tool's numbers from
paths and from arrays, numpy results, each exception, progress in order,
the interpreter free while the engine works, Ctrl-C."""

import _thread
import pickle
import threading

import numpy
import pytest
from PIL import Image

import lacewright
from conftest import set_files

SETS = ["hill", "ledge", "pier", "rainier", "uttower"]


@pytest.mark.parametrize("name", SETS)
@pytest.mark.parametrize("type", [1, -1])
def test_paths_and_arrays_give_the_json_of_the_tool(data, tool_json, tmp_path, name, type):
    files = set_files(data, name)
    expected = tool_json(files, type)
    from_paths = lacewright.align(files, type)
    from_arrays = lacewright.align([(f, numpy.asarray(Image.open(f))) for f in files], type)
    for result in (from_paths, from_arrays):
        result.write(json=tmp_path / "python.json")
        assert (tmp_path / "python.json").read_text() == expected


def test_arrays_are_read_however_numpy_holds_them(data, tmp_path):
    files = set_files(data, "hill")
    pictures = [numpy.asarray(Image.open(f)) for f in files]
    lacewright.align(data / "hill").write(json=tmp_path / "expected.json")
    held = {
        "pickled": [pickle.loads(pickle.dumps(p)) for p in pictures],
        "channels apart": [numpy.asfortranarray(p) for p in pictures],
        "flipped twice": [p[::-1][::-1] for p in pictures],
        "16 bits": [p.astype(numpy.uint16) * 257 for p in pictures],
    }
    for layout, arrays in held.items():
        lacewright.align(list(zip(files, arrays))).write(json=tmp_path / "held.json")
        assert (tmp_path / "held.json").read_text() == (tmp_path / "expected.json").read_text(), layout
    # A broadcast array repeats one row: read through a copy, not past its end.
    row = numpy.broadcast_to(pictures[0][:1], pictures[0].shape)
    with pytest.raises(lacewright.TooFewImagesError):
        lacewright.align([("row", row), ("row again", numpy.zeros((300, 400), numpy.uint8))])


def test_the_answer_holds_numpy_arrays_in_pixels_of_the_images(data):
    result = lacewright.align([data / "hill"], keep_pictures=True)
    assert result.aligned and [len(g.images) for g in result.groups] == [3]
    group = result.groups[0]
    assert group.kind == "cylindrical" and group.connectivity.shape == (3, 3)
    assert group.level.rotation.shape == (3, 3) and group.level.applied
    for image in result.images:
        assert isinstance(image.transform, lacewright.CylindricalTransform)
        camera = image.camera
        assert camera.rotation.dtype == numpy.float64 and camera.rotation.shape == (3, 3)
        numpy.testing.assert_allclose(camera.rotation @ camera.rotation.T, numpy.eye(3), atol=1e-12)
        assert camera.focal_length.shape == (2,) and 600 < camera.focal_length[0] < 760
        assert image.homography is None
    for pair in group.pairs:
        assert pair.first_points.shape == pair.second_points.shape == (len(pair.first_points), 2)
        assert pair.matches >= len(pair.first_points) > 20
        assert (pair.first_points >= -0.5).all() and (pair.first_points[:, 0] <= 399.5).all()
    assert list(result.times) == ["reading", "extraction", "matching", "pairs", "groups"]


def test_a_plane_group_answers_homographies(data):
    result = lacewright.align([data / "ledge"], -1)
    planar = [image for image in result.images if image.kind == "planar"]
    assert planar, [image.kind for image in result.images]
    reference = next(image for image in planar if image.reference)
    numpy.testing.assert_allclose(reference.homography, numpy.eye(3), atol=1e-12)


def test_every_failure_is_an_error_of_its_own_class(data, tmp_path):
    hill = set_files(data, "hill")
    blank = numpy.zeros((48, 64), numpy.uint8)
    cases = [
        (lambda: lacewright.align([hill[0], tmp_path / "none.jpg"]), lacewright.UnreadableInputError,
         "there is no such file"),
        (lambda: lacewright.align([hill[0], numpy.zeros((4, 4), numpy.float32)]), lacewright.UnreadableInputError,
         "not uint8 or uint16"),
        (lambda: lacewright.align([hill[0]]), lacewright.TooFewImagesError, "at least two images are needed"),
        (lambda: lacewright.align([blank] * 106), lacewright.TooManyImagesError, "more than 105 images"),
        (lambda: lacewright.align(hill, 0), lacewright.UnknownTypeError, "type 0 does not align images"),
        (lambda: lacewright.align([hill[0], set_files(data, "pier")[0]]), lacewright.AlignmentError,
         "no two images overlap enough to align"),
        (lambda: lacewright.align(hill, progress=lambda *_: False), lacewright.CancelledError, "cancelled"),
        (lambda: lacewright.align(hill).write(preview=tmp_path / "p.png"), lacewright.UsageError,
         "a preview needs the pictures"),
        (lambda: lacewright.align(hill).write(json=tmp_path / "no" / "a.json"), lacewright.OutputError,
         "cannot write"),
        (lambda: lacewright.align(hill, keep_pictures=True).write(preview=tmp_path / "p.gif"), lacewright.UsageError,
         "a preview needs a file ending in .png"),
        (lambda: lacewright.align(hill).write(json=tmp_path / "a.json", project=tmp_path / "a.json"),
         lacewright.UsageError, "two outputs would be written to one file"),
    ]
    for call, error, fragment in cases:
        with pytest.raises(error, match=fragment) as raised:
            call()
        assert isinstance(raised.value, lacewright.Error)


def test_images_left_out_say_why(data):
    result = lacewright.align([set_files(data, "hill")[0], set_files(data, "pier")[0]], require_aligned=False)
    assert not result.aligned
    assert [(image.reason, image.image) for image in result.left_out] == [("too few inliers", 0),
                                                                          ("too few inliers", 1)]


def test_duplicates_are_left_out_with_a_warning(data):
    hill = set_files(data, "hill")
    picture = numpy.asarray(Image.open(hill[0]))
    with pytest.warns(UserWarning, match="has the same pixels as"):
        result = lacewright.align([*hill, ("copy", picture)])
    assert [(image.file, image.reason, image.duplicate_of) for image in result.left_out] == [
        ("copy", "duplicate", hill[0])]


def test_progress_is_told_in_order(data):
    told = []
    lacewright.align([data / "rainier"], progress=lambda stage, done, total: told.append((stage, done, total)))
    stages = [stage for stage, done, _ in told if done == 0]
    assert stages == ["reading", "extraction", "matching", "pairs", "groups"]
    for (stage, done, total), (next_stage, next_done, _) in zip(told, told[1:]):
        if next_stage == stage:
            assert next_done >= done
        assert total == 0 or done <= total


def test_another_thread_runs_while_the_engine_works(data):
    counted = [0]
    running = threading.Event()

    def count():
        running.set()
        while running.is_set():
            counted[0] += 1

    seen = {}
    thread = threading.Thread(target=count)
    thread.start()
    running.wait()
    try:
        lacewright.align([data / "uttower"], progress=lambda stage, done, total: seen.setdefault(stage, counted[0]))
    finally:
        running.clear()
        thread.join()
    # Between the beginnings of the engine's stages only the engine runs on
    # the caller's thread: the count grows only if it let the other run.
    assert seen["groups"] - seen["extraction"] > 1000, seen


def test_ctrl_c_stops_the_alignment(data):
    def interrupt(stage, done, total):
        if stage == "matching":
            _thread.interrupt_main()

    with pytest.raises(KeyboardInterrupt):
        lacewright.align([data / "uttower"], progress=interrupt)
    # The engine is whole afterwards.
    assert lacewright.align([data / "hill"]).aligned


def test_a_callback_that_raises_stops_the_alignment_with_its_exception(data):
    def broken(stage, done, total):
        raise ValueError("a broken callback")

    with pytest.raises(ValueError, match="a broken callback"):
        lacewright.align([data / "hill"], progress=broken)
