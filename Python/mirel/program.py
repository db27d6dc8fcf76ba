"""The program `mirel`, which does what takes a process of its own: reading CAD files, writing, comparing, checking."""

from __future__ import annotations

import json
import os
import re
import shutil
import subprocess
import threading
from pathlib import Path
from typing import Any, Callable, List, NamedTuple, NoReturn, Optional, Sequence

from .errors import Error
from .messages import logger

Progress = Callable[[str, Optional[float]], None]

_PATIENCE = 10.0  # seconds for a process that was asked to end
_ITEM = re.compile(r"((?:[\w.]+, )?item \d+ of \d+, id \d+|(?:shape|group|instance) \d+ \".*?\"),? (?=\S)")


def find() -> str:
    """The program: what the environment variable MIREL_PROGRAM says, the one that belongs to this package, or the one in PATH."""
    beside = Path(__file__).parent / "../../../../bin/mirel"
    for place in (os.environ.get("MIREL_PROGRAM"), beside, shutil.which("mirel")):
        if place and os.access(place, os.X_OK):
            return str(place)
    raise Error("the program mirel, which does this, is not installed")


class Ran(NamedTuple):
    """What became of a run of the program."""

    code: int
    text: str
    errors: List[Error]

    def take_text(self) -> str:
        """What was printed. The errors go to the log."""
        for error in self.errors:
            logger.warning("%s", error)
        return self.text

    def fail(self) -> NoReturn:
        """Raises the first error; the others go to the log."""
        for error in self.errors[1:]:
            logger.error("%s", error)
        if self.errors:
            raise self.errors[0]
        if self.code < 0:
            raise Error(f"the program ended by signal {-self.code}; the file may be damaged, or memory may have ended")
        raise Error(f"the program ended with exit code {self.code}")


def run(arguments: Sequence[str], progress: Optional[Progress] = None) -> str:
    """Runs `mirel` with these arguments and returns what it prints. An exit code other than 0 is an `Error`."""
    ran = execute(arguments, progress)
    return ran.take_text() if ran.code == 0 else ran.fail()


def run_json(arguments: Sequence[str], progress: Optional[Progress] = None) -> Any:
    """The same for verbs whose exit code says what they have found: what they print as JSON, if they print it."""
    ran = execute(arguments, progress)
    return json.loads(ran.take_text()) if ran.text and ran.code >= 0 else ran.fail()


def execute(arguments: Sequence[str], progress: Optional[Progress] = None) -> Ran:
    """Runs `mirel` with these arguments.

    `progress` hears the stage and a fraction from 0 to 1, or None where nobody knows. Ctrl-C, and what `progress` raises, end the
    program, which removes what it has begun.
    """
    command = [find(), *(["--progress"] if progress else []), *arguments]
    process = subprocess.Popen(
        command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
        encoding="utf-8", errors="backslashreplace",
    )  # fmt: skip
    assert process.stdout and process.stderr
    printed: List[str] = []
    reader = threading.Thread(target=lambda: printed.append(process.stdout.read()))  # type: ignore[union-attr]
    lines: List[str] = []
    reader.start()
    try:
        for line in process.stderr:
            if progress and line.startswith("progress: "):
                _tell(progress, line[len("progress: ") :].strip())
            else:
                lines.append(line.rstrip("\n"))
        process.wait()
    except BaseException:
        _end(process)
        raise
    finally:
        reader.join()
        process.stdout.close()
        process.stderr.close()
    return Ran(process.returncode, printed[0], _read_errors(lines, arguments))


def _tell(progress: Progress, text: str) -> None:
    stage, _, percent = text.rpartition(" ")
    if percent.isdigit():
        progress(stage, int(percent) / 100.0)
    else:
        progress(text, None)


def _end(process: subprocess.Popen[str]) -> None:
    process.terminate()
    try:
        process.wait(_PATIENCE)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()


def _read_errors(lines: Sequence[str], arguments: Sequence[str]) -> List[Error]:
    """Of lines "mirel: FILE: reason" and details beneath them."""
    errors: List[Error] = []
    for line in lines:
        if not line.startswith("mirel: "):
            if errors and line.startswith("    "):
                logger.debug("%s", line.strip())
            elif line:
                logger.info("%s", line)
            continue
        text = line[len("mirel: ") :]
        known = [path for path in arguments if path and text.startswith(path)]
        end = text.find(": ", max(map(len, known), default=0))
        file, reason = (text[:end], text[end + 2 :]) if end >= 0 else ("", text)
        item = _ITEM.match(reason)
        if item:
            errors.append(Error(reason[item.end() :], file=file, item=item.group(1)))
        else:
            errors.append(Error(reason, file=file))
    return errors
