"""What is raised when something cannot be done."""

from __future__ import annotations


class Error(Exception):
    """Something cannot be read, written or done.

    `file` is the file or folder that it is about and `item` what of it, such as a body; both are empty where there is none.
    `reason` says why, what is lost and what can be done.
    """

    def __init__(self, reason: str, *, file: str = "", item: str = ""):
        super().__init__(reason)
        self.reason = reason
        self.file = file
        self.item = item

    def __str__(self) -> str:
        what = f"{self.item}, {self.reason}" if self.item else self.reason
        return f"{self.file}: {what}" if self.file else what
