"""Pictures."""

from typing import List, Sequence, Tuple, Union

import numpy
from numpy.typing import NDArray

from ._native import Part, Scene

def draw(
    scene: Scene,
    width: int,
    height: int,
    only: List[Part],
    hide: List[Part],
    ghost: List[Part],
    view: Union[str, Tuple[float, ...]],
    parallel: bool,
    edges: str,
    background: Union[str, Tuple[float, ...]],
    sections: Sequence[Tuple[float, ...]],
) -> NDArray[numpy.uint8]: ...
def write_png(pixels: NDArray[numpy.uint8], path: Union[str, bytes]) -> str: ...
