"""Models as they are opened. Arrays cannot be written into; lengths are millimetres."""

from typing import Iterator, List, Optional, Set, Tuple, Union, overload

import numpy
from numpy.typing import NDArray

from .program import Progress

__version__: str

class Part:
    """A node of a model's tree: a shape, which is a placed body, or a group of shapes and groups."""

    @property
    def name(self) -> str: ...
    @property
    def id(self) -> int:
        """Of the item: the same for all places of one part, and each time the folder is opened."""
    @property
    def kind(self) -> str:
        """ "shape" or "group"."""
    @property
    def body_id(self) -> Optional[int]:
        """Of the body that a shape places, under which messages name it."""
    @property
    def path(self) -> Tuple[str, ...]:
        """The names from the top of the tree down to this one."""
    @property
    def color(self) -> Optional[Tuple[float, float, float]]:
        """Red, green and blue from 0 to 1; None where the shape has no colour of its own."""
    @property
    def face_colors(self) -> NDArray[numpy.float32]:
        """(faces, 3): the colour that each face is drawn in."""
    @property
    def matrix(self) -> NDArray[numpy.float64]:
        """(4, 4): from the coordinates of the body or group to those of the model. The translation is the last column."""
    @property
    def box(self) -> Optional[NDArray[numpy.float64]]:
        """(2, 3): least and largest corner of what is drawn, in the model. None when nothing is, or without bounds."""
    @property
    def parent(self) -> Optional[Part]: ...
    @property
    def children(self) -> Parts: ...
    def parts(self) -> Parts:
        """All shapes at or below this node."""
    @property
    def mesh(self) -> Mesh:
        """What is drawn of a shape; parts that place the same body share it. A group has none: an `Error`."""
    @property
    def exact(self) -> Exact:
        """The exact body of a shape. A group has none: an `Error`."""
    def __eq__(self, other: object) -> bool: ...
    def __hash__(self) -> int: ...

class Parts:
    """Some nodes of a model, in the order of its tree, and arrays with a row for each."""

    def __len__(self) -> int: ...
    @overload
    def __getitem__(self, index: int) -> Part: ...
    @overload
    def __getitem__(self, index: slice) -> Parts: ...
    def __iter__(self) -> Iterator[Part]: ...
    @property
    def matrices(self) -> NDArray[numpy.float64]:
        """(n, 4, 4): see `Part.matrix`."""
    @property
    def positions(self) -> NDArray[numpy.float64]:
        """(n, 3): where their origins are in the model."""
    @property
    def boxes(self) -> NDArray[numpy.float64]:
        """(n, 2, 3): see `Part.box`; NaN in place of None."""
    @property
    def colors(self) -> NDArray[numpy.float32]:
        """(n, 3): see `Part.color`; NaN in place of None."""
    @property
    def ids(self) -> NDArray[numpy.uint64]: ...
    @property
    def names(self) -> List[str]: ...

class Mesh:
    """What is drawn of a body, in the coordinates of the body."""

    @property
    def positions(self) -> NDArray[numpy.float64]:
        """(vertices, 3)."""
    @property
    def normals(self) -> NDArray[numpy.float32]:
        """(vertices, 3): unit vectors out of the material."""
    @property
    def triangles(self) -> NDArray[numpy.uint32]:
        """(triangles, 3): vertices, counter-clockwise from outside. A view: nothing is copied."""
    @property
    def face_of_triangle(self) -> NDArray[numpy.uint32]:
        """(triangles,): the face of the exact body."""
    @property
    def edges(self) -> NDArray[numpy.uint32]:
        """(segments, 2): the vertices of the lines along the edges."""
    @property
    def edge_of_segment(self) -> NDArray[numpy.uint32]:
        """(segments,): the edge of the exact body."""
    @property
    def face_count(self) -> int: ...
    @property
    def edge_count(self) -> int: ...
    @property
    def deflection(self) -> float:
        """The largest distance in mm between a triangle and its face."""

class Exact:
    """The exact body of a part, where the part stands. What it tells is computed when it is asked for."""

    @property
    def volume(self) -> Optional[float]:
        """In mm³; None when it encloses none."""
    @property
    def area(self) -> float:
        """In mm²."""
    @property
    def center(self) -> Tuple[float, float, float]:
        """The centre of its volume, or of its area."""
    @property
    def brep(self) -> str:
        """OpenCASCADE's BRep text, in the coordinates of the body."""

class Scene:
    def shapes(self) -> Parts: ...
    def children(self) -> Parts: ...
    def box(self) -> Optional[NDArray[numpy.float64]]: ...
    def names(self) -> List[Tuple[bytes, str]]: ...
    def select(self, names: Set[bytes], id: Optional[int], kind: Optional[str]) -> Parts: ...

def open(
    path: Union[str, bytes], source: Union[str, bytes], progress: Optional[Progress]
) -> Tuple[Optional[Scene], List[Tuple[str, str, str]]]: ...
def unpack(path: Union[str, bytes], folder: Union[str, bytes]) -> str: ...
def take_messages() -> List[Tuple[int, str]]: ...
