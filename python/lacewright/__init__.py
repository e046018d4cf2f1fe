"""Aligns overlapping photographs.

    import lacewright

    result = lacewright.align(["a.jpg", "b.jpg", "c.jpg"], type=1)
    for image in result.images:
        print(image.file, image.camera.focal_length if image.camera else None)
    result.write(json="trip.json", project="trip.pto")

Images are paths (str or os.PathLike) or numpy arrays (height x width, or
height x width x channels with 1 to 4 channels; uint8 or uint16), each array
optionally paired with a name: ("left", array). Every number of the answer
is in pixels of the images as given. The engine works with the
interpreter's lock released; Ctrl-C stops it where its next stage begins.
One alignment runs at a time in a process; each gives what the tool gives.
"""

from __future__ import annotations

import os
import warnings
from typing import Callable, Optional, Sequence, Tuple, Union

import numpy

from ._lacewright import (
    Alignment,
    AlignmentError,
    Camera,
    CancelledError,
    ControlPointSummary,
    CylindricalTransform,
    Error,
    Group,
    Image,
    LeftOutImage,
    Levelling,
    OutputError,
    Pair,
    PlanarLensTransform,
    PlanarTransform,
    SphericalTransform,
    TooFewImagesError,
    TooManyImagesError,
    UnknownTypeError,
    UnreadableInputError,
    UsageError,
    _align,
    _detect_control_points,
)

__all__ = [
    "Alignment", "AlignmentError", "Camera", "CancelledError", "ControlPointSummary", "CylindricalTransform",
    "Error", "Group", "Image", "LeftOutImage", "Levelling", "OutputError", "Pair", "PlanarLensTransform",
    "PlanarTransform", "SphericalTransform", "TooFewImagesError", "TooManyImagesError", "UnknownTypeError",
    "UnreadableInputError", "UsageError", "align", "detect_control_points",
]

ImageInput = Union[str, "os.PathLike[str]", numpy.ndarray, Tuple[str, numpy.ndarray]]
Progress = Callable[[str, int, int], Optional[bool]]


def _warn(sentence: str) -> None:
    warnings.warn(sentence, UserWarning, stacklevel=3)


def align(images: Union[ImageInput, Sequence[ImageInput]], type: int = 1, *, level: bool = True, keep_pictures: bool = False,
          progress: Optional[Progress] = None, require_aligned: bool = True) -> Alignment:
    """Aligns `images`: a list of them, or one path (a folder, say).

    type: 1 for a camera turning about its centre, -1 for a plane or a turn
    chosen per group. level: level each turning group's horizon. keep_pictures:
    keep the decoded pictures, which Alignment.write draws previews from.
    progress(stage, done, total) is told of each stage ("reading",
    "extraction", "matching", "pairs", "groups") as it begins (done 0) and
    advances; answering False cancels (CancelledError). Files named twice and
    pictures that repeat another are left out with a warning. Unless
    require_aligned is False, raises AlignmentError when no two images align;
    the Alignment then still says in left_out why each image was left out.
    """
    if isinstance(images, (str, os.PathLike)):
        images = [images]
    result = _align(list(images), type, level, keep_pictures, progress, _warn)
    if require_aligned:
        result.require_aligned()
    return result


def detect_control_points(input: Union[str, "os.PathLike[str]"], output: Union[str, "os.PathLike[str]"],
                          type: int = 1, *, level: bool = True,
                          progress: Optional[Progress] = None) -> ControlPointSummary:
    """Hugin's control point detector: reads the project `input`, aligns its
    images and writes the project to `output` with the inlier matches of every
    accepted pair as control points and the aligned cameras of every turning
    group."""
    return _detect_control_points(os.fspath(input), os.fspath(output), type, level, progress, _warn)
