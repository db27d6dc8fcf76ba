"""Models of CAD assemblies: open them, look into them, draw them, convert and compare them.

    >>> import mirel
    >>> model = mirel.open("trolley")          # a model folder, a tar archive of one, or a CAD file
    >>> for part in model.parts(): print(part.name, part.box)

Lengths are millimetres. What cannot be done is an `Error`, which carries file, item and reason; messages go to the logger "mirel".
Every function may be called by any thread. Long ones let other threads run, and Ctrl-C ends them.
"""

from ._native import Exact, Mesh, Part, Parts, __version__
from .errors import Error
from .model import Model
from .opening import open
from .verbs import check, diff, export, page, save

__all__ = [
    "Error",
    "Exact",
    "Mesh",
    "Model",
    "Part",
    "Parts",
    "check",
    "diff",
    "export",
    "open",
    "page",
    "save",
]

for _class in (Exact, Mesh, Part, Parts, Error, Model):
    _class.__module__ = "mirel"  # where people find them
del _class
