"""Whatever a folder holds, the interpreter lives: the folders that the other tests break, and the inputs of the fuzz targets."""

import gzip
import json
import logging
import os
import shutil
import sys
import unittest
from pathlib import Path

import numpy
import support

import mirel

FUZZ = support.ROOT / "Fuzz"
# So many parts of each model are looked at one by one: a few bytes can stand for millions.
MOST = 6


def touch(model):
    """Everything that a model has. What cannot be told is an `mirel.Error`; arrays are what they should be."""
    parts = model.parts()
    for found in (parts, model.children, model.find("*"), model.find(1), parts[::2]):
        count = len(found)
        shapes = [a.shape for a in (found.matrices, found.positions, found.boxes, found.colors, found.ids)]
        assert shapes == [(count, 4, 4), (count, 3), (count, 2, 3), (count, 3), (count,)], shapes
        assert len(found.names) == count
    model.box, repr(model), [str(problem) for problem in model.problems]
    for part in [*model.find("*")[:MOST], *parts[:MOST]]:
        repr(part), str(part.name), part.path, part.id, part.kind, part.color, part.box, part.matrix, hash(part)
        part.parent, part.children, len(part.parts()), part.body_id, part.face_colors
        if part.kind == "group":
            continue
        try:
            mesh, exact = part.mesh, part.exact
        except mirel.Error as error:
            assert error.item and error.reason
            continue
        touch_mesh(mesh)
        for ask in (lambda: exact.volume, lambda: exact.area, lambda: exact.center, lambda: exact.brep):
            try:
                ask()
            except mirel.Error as error:
                assert error.item and error.reason
    if len(parts) < 10000:
        model.picture(size=(32, 24))
        model.picture(size=(32, 24), only=parts[:2], parallel=True)


def touch_mesh(mesh):
    count = len(mesh.positions)
    assert mesh.positions.shape == mesh.normals.shape == (count, 3)
    assert numpy.isfinite(mesh.positions).all() and numpy.isfinite(mesh.normals).all()
    assert mesh.triangles.shape[1] == 3 and mesh.edges.shape[1] == 2
    assert (mesh.triangles < count).all() and (mesh.edges < count).all()
    assert mesh.face_of_triangle.shape == (len(mesh.triangles),) and (mesh.face_of_triangle < mesh.face_count).all()
    assert mesh.edge_of_segment.shape == (len(mesh.edges),) and (mesh.edge_of_segment < mesh.edge_count).all()
    repr(mesh)


class Hostile(support.ModelTest):
    def setUp(self):
        super().setUp()
        logging.disable()  # they say what is damaged, each time
        self.addCleanup(logging.disable, logging.NOTSET)
        self.folder = self.scratch / "model"
        shutil.copytree(self.sample, self.folder)
        self.content = {name: gzip.decompress((self.folder / name).read_bytes()) for name in self.names()}
        self.opened = self.tried = 0

    def names(self):
        return ("index.gz", "grep/1.gz", "model/1.gz")

    def try_it(self, what):
        print(what, file=sys.stderr, flush=True)  # the last line names what the interpreter died of
        self.tried += 1
        try:
            model = mirel.open(self.folder)
        except mirel.Error as error:
            self.assertTrue(error.file and error.reason)
            return
        self.opened += 1
        touch(model)

    def put(self, content, name, what):
        support.write_gzip(self.folder / name, content)
        self.try_it(what)
        support.write_gzip(self.folder / name, self.content[name])

    def seeds(self, *targets):
        files = [file for target in targets for file in sorted((FUZZ / target).glob("*/*"))]
        self.assertTrue(files)
        return files

    def test_changed_bytes(self):
        for name in self.names():
            good = (self.folder / name).read_bytes()
            for place in range(0, len(good), len(good) // 6):
                (self.folder / name).write_bytes(good[:place])
                self.try_it(f"{name} cut at {place}")
            (self.folder / name).write_bytes(good)
            inflated = self.content[name]
            for place in [*range(0, 240, 5), *range(240, len(inflated), len(inflated) // 20)]:
                changed = bytearray(inflated)
                changed[place] ^= 0xFF if place % 2 else 1
                self.put(bytes(changed), name, f"{name} byte {place}")
        self.assertGreater(self.opened, 50)
        self.assertLess(self.opened, self.tried)

    def test_numbers_in_the_index(self):
        text = self.content["index.gz"].decode()
        index = json.loads(text)
        for value in (1e308, -1e308, 1e-320, 0, 1e13):
            for place in (0, 5, 12, 15):
                changed = json.loads(text)
                for item in self.list_items(changed):
                    if "Transform" in item:
                        item["Transform"][place] = value
                self.put(json.dumps(changed).encode(), "index.gz", f"placement {place} {value}")
        for key, value in (("Color", [1e300, -5, 7]), ("Name", "\ud800\x00\x1b" * 50), ("Id", "18446744073709551615"),
                           ("FColor", [{"FId": 4294967295, "Color": [1, 2, 3]}] * 9), ("SId", "0")):  # fmt: skip
            changed = json.loads(text)
            for item in self.list_items(changed):
                item[key] = value
            self.put(json.dumps(changed).encode(), "index.gz", f"{key} {value}")
        body = '{"Type":"Group","Id":"1","Name":"g","Children":['
        head = {key: value for key, value in index.items() if key != "Items"}
        for depth in (200, 100000):
            nested = json.dumps(head)[:-1] + ',"Items":[' + body * depth + "]}" * depth + "]}"
            self.put(nested.encode(), "index.gz", f"{depth} levels")

    def list_items(self, index):
        rest = [*index["Types"], *index["Items"]]
        while rest:
            item = rest.pop()
            yield item
            rest += item.get("Children", [])

    def test_inputs_of_the_fuzz_targets(self):
        for target, name in (("IndexFuzz", "index.gz"), ("GRepPackageFuzz", "grep/1.gz"), ("ShapePackageFuzz", "model/1.gz")):
            for seed in self.seeds(target):
                self.put(seed.read_bytes(), name, seed)
        for name in self.names():
            good = (self.folder / name).read_bytes()
            for seed in self.seeds("GzipFuzz"):
                (self.folder / name).write_bytes(seed.read_bytes())
                self.try_it(f"{name} {seed}")
            (self.folder / name).write_bytes(good)

    def test_bodies_of_the_fuzz_targets(self):
        """All in one package, each drawn as if it were the first body of the sample."""
        seeds = self.seeds("BodyTextFuzz", "BodyMeshFuzz")
        (_, record), *_ = support.read_package(self.content["grep/1.gz"])
        self.put_bodies([(seed.name, seed.read_bytes()) for seed in seeds], record)
        self.assertEqual(self.opened, 1)

    def put_bodies(self, bodies, record):
        numbers = range(1, len(bodies) + 1)
        support.write_gzip(self.folder / "grep/1.gz", support.make_package([(i, record) for i in numbers]))
        support.write_gzip(self.folder / "model/1.gz",
                           support.make_package([(i, text) for i, (_, text) in zip(numbers, bodies)]))  # fmt: skip
        items = [{"Type": "Shape", "Id": str(i), "Name": name, "SId": str(i)} for i, (name, _) in zip(numbers, bodies)]
        index = {"Version": 1, "Metadata": {"PkgShape": 1, "PkgGRep": 1}, "Types": [], "Items": items}
        support.write_gzip(self.folder / "index.gz", json.dumps(index).encode())
        global MOST
        before, MOST = MOST, len(bodies)
        try:
            self.try_it(f"{len(bodies)} bodies")
        finally:
            MOST = before

    def test_models_of_the_fuzz_targets(self):
        for seed in self.seeds("DrawFuzz", "StreamFuzz"):
            data, at, counts = seed.read_bytes(), 0, {"model": 0, "grep": 0}
            for kind in counts:
                shutil.rmtree(self.folder / kind, ignore_errors=True)
            (self.folder / "index.gz").unlink(missing_ok=True)
            while at + 5 <= len(data):
                kind = ("index", "model", "grep", "other")[data[at] % 4]
                size = int.from_bytes(data[at + 1 : at + 5], "little")
                piece, at = data[at + 5 : at + 5 + size], at + 5 + size
                if kind == "index":
                    support.write_gzip(self.folder / "index.gz", piece)
                elif kind in counts:
                    counts[kind] += 1
                    support.write_gzip(self.folder / kind / f"{counts[kind]}.gz", piece)
            self.try_it(seed)

    def test_other_things_in_place_of_files(self):
        def fifo(path):
            os.mkfifo(path)

        def sparse(path):
            with open(path, "wb") as file:
                file.truncate(1 << 40)

        odds = (fifo, sparse, Path.mkdir, lambda path: path.symlink_to("/dev/zero"), lambda path: path.symlink_to(path),
                lambda path: path.symlink_to("/proc/self/mem"), lambda path: path.write_bytes(b""))  # fmt: skip
        for name in self.names():
            kept = (self.folder / name).rename(self.scratch / "kept")
            for number, put in enumerate(odds):
                put(self.folder / name)
                self.try_it(f"{name} {number}")
                shutil.rmtree(self.folder / name) if number == 2 else (self.folder / name).unlink()
            kept.rename(self.folder / name)


if __name__ == "__main__":
    unittest.main()
