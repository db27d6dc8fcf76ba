"""From the log of the libraries to Python's: the logger "mirel"."""

from __future__ import annotations

import logging

from . import _native

logger = logging.getLogger("mirel")


def pass_on() -> None:
    """Hands what the libraries have said since the last call to the logger, all of it as details."""
    for level, text in _native.take_messages():
        logger.debug("%s%s", "failure: " if level >= 3 else "", text)
