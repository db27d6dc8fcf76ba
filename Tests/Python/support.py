"""What the tests of the Python package share."""

import gzip
import json
import os
import shutil
import struct
import tempfile
import unittest
from pathlib import Path

import mirel

ROOT = Path(__file__).resolve().parents[2]
SAMPLE = ROOT / "Samples/trolley.step"


class ModelTest(unittest.TestCase):
    """A folder for each test, `self.scratch`, and the sample as a model folder, `self.sample`, which nobody changes."""

    @classmethod
    def setUpClass(cls):
        cls.place = tempfile.mkdtemp(prefix="mirel-test-")
        cls.addClassCleanup(shutil.rmtree, cls.place)
        cls.sample = os.path.join(cls.place, "trolley")
        mirel.save(SAMPLE, cls.sample)

    def setUp(self):
        self.scratch = Path(tempfile.mkdtemp(dir=self.place))


def write_gzip(path, content):
    path = Path(path)
    path.parent.mkdir(parents=True, exist_ok=True)
    with gzip.open(path, "wb", compresslevel=1) as file:
        file.write(content)


def make_package(items):
    """Of (id, bytes): see docs/format.md."""
    table, data = struct.pack("<I", len(items)), b""
    for number, content in items:
        table += struct.pack("<QII", number, len(data), len(content))
        data += content
    return table + data


def read_package(content):
    (count,) = struct.unpack_from("<I", content)
    items = [struct.unpack_from("<QII", content, 4 + 16 * i) for i in range(count)]
    start = 4 + 16 * count
    return [(number, content[start + at : start + at + size]) for number, at, size in items]


def make_place(x, y, z):
    """A placement as the index has it: column by column."""
    return [1.0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, y, z, 1]


def make_grid(folder, sample, levels):
    """A folder in which one body of another one is placed `levels[0] * levels[1] * ...` times, in types of types."""
    grep, model = (gzip.open(os.path.join(sample, kind, "1.gz")).read() for kind in ("grep", "model"))
    (body, record), *_ = read_package(grep)
    exact = dict(read_package(model))[body]
    write_gzip(folder / "grep/1.gz", make_package([(body, record)]))
    write_gzip(folder / "model/1.gz", make_package([(body, exact)]))
    types = [{"Type": "Shape", "Id": "1", "Name": "tile", "SId": str(body)}]
    number = 100
    for level, count in enumerate(levels):
        step = [0.0, 0.0, 0.0]
        step[level % 3] = 1000.0
        children = []
        for i in range(count):
            number += 1
            place = make_place(*(i * one for one in step))
            children.append(
                {"Type": "Instance", "Id": str(number), "Name": "", "Transform": place, "TId": str(level + 1)}
            )
        if level + 1 < len(levels):
            types.append({"Type": "Group", "Id": str(level + 2), "Name": f"level {level}", "Children": children})
    index = {"Version": 1, "Metadata": {"PkgShape": 1, "PkgGRep": 1}, "Types": types, "Items": children}
    write_gzip(folder / "index.gz", json.dumps(index).encode())
    return folder


def make_tar(path, folder):
    """An archive of a folder, in which the folder has its own name."""
    kind = path.suffix.lstrip(".")
    shutil.make_archive(str(path)[: -len(".tar" if kind == "tar" else ".tar.gz")], "tar" if kind == "tar" else "gztar",
                        os.path.dirname(folder), os.path.basename(folder))  # fmt: skip
    return path
