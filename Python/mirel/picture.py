"""Pictures of models."""

from __future__ import annotations

import os
import tempfile
from typing import Optional, Union

import numpy

from . import _draw
from .errors import Error


class Picture(numpy.ndarray):
    """An array (height, width, 3 or 4) of sRGB bytes that notebooks show, and that can be saved."""

    def save(self, path: Union[str, "os.PathLike[str]"]) -> None:
        """Writes a PNG file. It is put in place when it is complete."""
        reason = _draw.write_png(self, os.fsencode(path))
        if reason:
            raise Error(reason, file=os.fsdecode(path))

    def _repr_png_(self) -> Optional[bytes]:
        if self.dtype != numpy.uint8 or self.ndim != 3 or self.shape[2] not in (3, 4):
            return None  # what was computed of a picture need not be one
        with tempfile.TemporaryDirectory(prefix="mirel-") as folder:
            path = os.path.join(folder, "picture.png")
            self.save(path)
            with open(path, "rb") as file:
                return file.read()
