"""An opened model."""

from __future__ import annotations

import fnmatch
import html
import os
import re
import tempfile
from typing import TYPE_CHECKING, Iterable, List, Optional, Sequence, Tuple, Union

from . import program
from ._native import Part, Parts, Scene
from .errors import Error
from .messages import pass_on

if TYPE_CHECKING:
    import numpy
    from numpy.typing import NDArray

    from .picture import Picture

Shown = Union[str, int, Part, Parts, Iterable[Union[str, int, Part]]]

# Notebooks keep what they show: larger pages are left out of them, and the picture stands for the model.
_MAX_PAGE = 8 << 20


class Model:
    """What `open` gives: a tree of groups and shapes, which are placed bodies. Nothing of it can be changed.

    Parts, meshes and arrays keep what they show, also when the model is gone.
    """

    path: str
    """What was opened."""
    folder: str
    """The model folder, or its index file: a temporary one for CAD files and archives."""
    problems: List[Error]
    """What could not be opened; the rest is there."""

    def __init__(self, scene: Scene, *, path: str, folder: str, problems: List[Error]):
        self._scene = scene
        self.path = path
        self.folder = folder
        self.problems = problems

    def parts(self) -> Parts:
        """All shapes, in the order of the tree; one that is placed many times is there as often."""
        return self._scene.shapes()

    @property
    def children(self) -> Parts:
        """The top of the tree."""
        return self._scene.children()

    @property
    def box(self) -> Optional[NDArray[numpy.float64]]:
        """The least and the largest corner of what is drawn, in mm: (2, 3). None when nothing is drawn, or without bounds."""
        return self._scene.box()

    def find(self, wanted: Union[str, int], kind: Optional[str] = None) -> Parts:
        """All groups and shapes whose name matches, with the wildcards * ? [abc], or whose id it is; in the order of the tree.

        `kind`, "shape" or "group", leaves out the others.
        """
        text = str(wanted)
        matches = re.compile(fnmatch.translate(text)).match
        names = {name for name, shown in self._scene.names() if matches(shown)}
        is_id = text.isascii() and text.isdigit() and int(text) < 1 << 64
        return self._scene.select(names, int(text) if is_id else None, kind)

    def count(self, wanted: Union[str, int] = "*") -> int:
        """How many shapes there are, or how many have that name or id, as in `find`."""
        return len(self.parts()) if wanted == "*" else len(self.find(wanted, "shape"))

    def picture(
        self,
        size: Tuple[int, int] = (800, 600),
        *,
        only: Optional[Shown] = None,
        hide: Optional[Shown] = None,
        ghost: Optional[Shown] = None,
        view: Union[str, Sequence[float]] = "iso",
        parallel: bool = False,
        edges: str = "sharp",
        background: Union[str, Sequence[float]] = "studio",
        sections: Sequence[Sequence[float]] = (),
    ) -> "Picture":
        """Draws the model: an array (height, width, 3) of sRGB bytes, which a notebook shows.

        `only`, `hide` and `ghost` are parts, or names and ids as for `find`; what is `ghost` is drawn as if of glass.
        `view` is "front", "back", "left", "right", "top", "bottom", "iso" or the direction (x, y, z) to look from.
        `edges` is "none", "sharp" or "all". `background` is "studio", a color (r, g, b) of 0 to 1, or "none": then there is a fourth
        channel, alpha. `sections` are planes (x, y, z, mm): what lies beyond so many mm along that normal is cut away.
        """
        from . import _draw
        from .picture import Picture

        width, height = size
        try:
            pixels = _draw.draw(
                self._scene, int(width), int(height),
                only=self._list(only), hide=self._list(hide), ghost=self._list(ghost),
                view=view if isinstance(view, str) else tuple(view), parallel=parallel, edges=edges,
                background=background if isinstance(background, str) else tuple(background),
                sections=[tuple(plane) for plane in sections],
            )  # fmt: skip
        finally:
            pass_on()
        return pixels.view(Picture)

    def page(self) -> str:
        """The HTML of a page that shows the model in any browser, as ``mirel page`` makes it."""
        with tempfile.TemporaryDirectory(prefix="mirel-") as folder:
            out = os.path.join(folder, "page.html")
            program.run(["--quiet", "page", "--", self.folder, out])
            with open(out, encoding="utf-8") as file:
                return file.read()

    def _list(self, shown: Optional[Shown]) -> List[Part]:
        if shown is None:
            return []
        parts: List[Part] = []
        for one in [shown] if isinstance(shown, (str, int, Part)) else shown:
            found = [one] if isinstance(one, Part) else list(self.find(one))
            if not found:
                raise Error("nothing in the model has this id or name", file=self.path, item=repr(one))
            parts += found
        return parts

    def _repr_png_(self) -> Optional[bytes]:
        return self.picture()._repr_png_()

    def _repr_html_(self) -> Optional[str]:
        try:
            page = self.page()
        except Error:
            return None  # the picture is shown
        if len(page) > _MAX_PAGE:
            return None
        frame = '<iframe sandbox="allow-scripts" style="width:100%;height:600px;border:0" srcdoc="{}"></iframe>'
        return frame.format(html.escape(page))

    def __repr__(self) -> str:
        return f"<mirel.Model {self.path!r}: {len(self.parts())} parts>"
