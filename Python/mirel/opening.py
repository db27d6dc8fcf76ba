"""From a path to a model, whatever the path leads to."""

from __future__ import annotations

import os
import re
import shutil
import tempfile
import weakref
from typing import List, Optional, Union

from . import _native, program
from .errors import Error
from .messages import logger, pass_on
from .model import Model

_ARCHIVE = re.compile(r"\.(tar|tar\.(gz|xz|bz2|zst)|tgz|txz|tbz2?|tzst)$", re.IGNORECASE)
_SOURCE = re.compile(r"\.(step|stp|p21|stpz|iges|igs|brep|brp)(\.gz)?$", re.IGNORECASE)


def open(
    path: Union[str, "os.PathLike[str]"], *, strict: bool = False, progress: Optional[program.Progress] = None
) -> Model:
    """Opens a model folder (or its index file), a tar archive of one, or a STEP, IGES or BRep file.

    A CAD file is converted into a temporary folder, and an archive unpacked into one, which go with the model. What is damaged or
    missing costs no more than itself: the rest is opened, the log is told, and `Model.problems` has it. With `strict` the first
    such problem is raised. `progress` is called with a stage and a fraction from 0 to 1, or None where nobody knows.
    """
    name = os.fsdecode(path)
    if not os.path.exists(name):
        raise Error("no such file or folder", file=name)
    is_index = not _ARCHIVE.search(name) and not _SOURCE.search(name) and name.endswith(".gz")
    if os.path.isdir(name) or is_index:
        return _open_folder(name, name, None, strict, progress)
    if not os.path.isfile(name):
        raise Error("not a regular file", file=name)
    temporary = tempfile.mkdtemp(prefix="mirel-")
    folder = os.path.join(temporary, "model")
    try:
        if _ARCHIVE.search(name):
            reason = _native.unpack(os.fsencode(name), folder)
            if reason:
                raise Error(reason, file=name)
        else:
            program.run(["--quiet", "save", "--", name, folder], progress)
        return _open_folder(folder, name, temporary, strict, progress)
    except BaseException:
        shutil.rmtree(temporary, ignore_errors=True)
        raise


def _open_folder(
    folder: str, source: str, temporary: Optional[str], strict: bool, progress: Optional[program.Progress]
) -> Model:
    try:
        scene, failures = _native.open(os.fsencode(folder), os.fsencode(source), progress)
    finally:
        pass_on()
    problems: List[Error] = []
    for file, item, reason in failures:
        if temporary and file.startswith(folder):
            file = source + file[len(folder) :]  # people do not know of the temporary folder
        problems.append(Error(reason, file=file, item=item))
    if scene is None or (strict and problems):
        raise problems[0]
    for problem in problems:
        logger.warning("%s", problem)
    model = Model(scene, path=source, folder=folder, problems=problems)
    if temporary:
        weakref.finalize(model, shutil.rmtree, temporary, ignore_errors=True)
    return model
