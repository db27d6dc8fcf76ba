"""What the program `mirel` does with whole files and folders."""

from __future__ import annotations

import json
import os
from typing import Any, Dict, Iterable, List, Optional, Union

from . import program
from ._native import Part, Parts
from .model import Model

Path = Union[str, "os.PathLike[str]"]
Named = Union[str, int, Part, Parts, Iterable[Union[str, int, Part]]]


def save(
    source: Path,
    folder: Path,
    *,
    force: bool = False,
    verify: bool = False,
    patience: Optional[float] = None,
    progress: Optional[program.Progress] = None,
) -> Dict[str, Any]:
    """Converts a STEP, IGES or BRep file into a model folder, and returns the report: what was kept, what was lost and why.

    A folder that is there is only replaced with `force`. `verify` reads it back and compares it before it is put in place.
    `patience` is for how many seconds drawing a body may make no progress.
    """
    options = _list_options({"force": force, "verify": verify, "patience": patience})
    arguments = ["save", "--json", *options, "--", _find(source), _find(folder)]
    report: Dict[str, Any] = json.loads(program.run(arguments, progress))
    return report


def export(
    model: Union[Model, Path],
    out: Path,
    *,
    only: Optional[Named] = None,
    progress: Optional[program.Progress] = None,
    **options: Any,
) -> None:
    """Writes a model as a file of the kind that its name says, such as ``.glb``, ``.stl`` or ``.step``.

    `only` is what of it: parts, ids or names; a part that is placed several times is written everywhere. `options` are those of
    ``mirel export``: ``meshopt=True`` is ``--meshopt``.
    """
    if only is not None:
        options["only"] = list_ids(only)
    program.run(["export", *_list_options(options), "--", _find(model), _find(out)], progress)


def diff(
    old: Union[Model, Path], new: Union[Model, Path], *, progress: Optional[program.Progress] = None, **options: Any
) -> Dict[str, Any]:
    """Compares two versions of a model and returns what ``mirel diff --json`` tells of them. `options` are those of ``mirel diff``."""
    arguments = ["diff", "--json", *_list_options(options), "--", _find(old), _find(new)]
    report: Dict[str, Any] = program.run_json(arguments, progress)
    return report


def check(folder: Union[Model, Path], *, level: Optional[str] = None) -> Dict[str, Any]:
    """Tells whether a model folder is sound: its ``verdict`` is "ok", "warnings", "damaged" or "unusable".

    `level` is how far to go: "index", "packages", "bodies" or "agreement", which is all.
    """
    arguments = ["check", "--json", *_list_options({"level": level}), "--", _find(folder)]
    report: Dict[str, Any] = program.run_json(arguments)
    return report


def page(model: Union[Model, Path], out: Path, *, with_bodies: bool = False) -> None:
    """Makes one HTML file that shows a model in any browser, off line."""
    program.run(["page", *_list_options({"with_bodies": with_bodies}), "--", _find(model), _find(out)])


def list_ids(named: Named) -> List[str]:
    """The ids of parts, as the program knows them; names as they are. Each once."""
    if isinstance(named, (str, int, Part)):
        named = [named]
    ids = [str(one.id) if isinstance(one, Part) else str(one) for one in named]
    return list(dict.fromkeys(ids))


def _find(thing: Union[Model, Path]) -> str:
    return thing.folder if isinstance(thing, Model) else os.fsdecode(thing)


def _list_options(options: Dict[str, Any]) -> List[str]:
    arguments: List[str] = []
    for name, value in options.items():
        flag = "--" + name.replace("_", "-")
        if value is True:
            arguments.append(flag)
        elif isinstance(value, list):
            arguments += [flag + "=" + str(one) for one in value]
        elif value is not None and value is not False:
            arguments.append(flag + "=" + str(value))
    return arguments
