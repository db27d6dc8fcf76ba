"""Models, their parts and their arrays."""

import gc
import json
import logging
import os
import shutil
import subprocess
import sys
import threading
import time
import unittest
from pathlib import Path

import numpy
import support

import mirel
from mirel import program


def walk(nodes, above=numpy.eye(4), path=()):
    """The shapes of `mirel tree --json` as (path, id, matrix, color)."""
    for node in nodes:
        matrix = above @ numpy.array(node["transform"]).reshape(4, 4).T if "transform" in node else above
        names = path + (node["name"],)
        if node["kind"] == "shape":
            yield names, int(node["id"]), matrix, tuple(node["color"]) if "color" in node else None
        yield from walk(node.get("children", []), matrix, names)


class Parts(support.ModelTest):
    def test_are_those_that_the_program_prints(self):
        model = mirel.open(self.sample)
        expected = list(walk(json.loads(program.run(["tree", "--json", self.sample]))["nodes"]))
        parts = model.parts()
        self.assertEqual([part.path for part in parts], [one[0] for one in expected])
        self.assertEqual(parts.names, [part.name for part in parts])
        self.assertEqual(parts.ids.tolist(), [one[1] for one in expected])
        self.assertEqual([part.color for part in parts], [one[3] for one in expected])
        numpy.testing.assert_allclose(parts.matrices, [one[2] for one in expected], atol=1e-12)
        self.assertEqual((len(parts), model.count(), model.problems), (22, 22, []))
        for part, matrix, position, box, color in zip(
            parts, parts.matrices, parts.positions, parts.boxes, parts.colors
        ):
            self.assertEqual(part.kind, "shape")
            self.assertTrue((part.matrix == matrix).all() and (matrix[:3, 3] == position).all())
            numpy.testing.assert_allclose(part.box, box, atol=1e-9)
            numpy.testing.assert_array_equal(color, numpy.float32(part.color or (numpy.nan,) * 3))
            self.assertEqual(part.path, part.parent.path + (part.name,))
            self.assertIn(part, part.parent.children)
        # The box of all is around the meshes where they stand, but for the grid that their vertices lie on.
        placed = numpy.vstack([p.mesh.positions @ p.matrix[:3, :3].T + p.matrix[:3, 3] for p in parts])
        numpy.testing.assert_allclose(model.box, [placed.min(0), placed.max(0)], atol=0.1)
        whole = json.loads(program.run(["box", "--json", self.sample]))
        numpy.testing.assert_allclose(model.box, [whole["min"], whole["max"]], atol=0.1)

    def test_are_found_by_names_and_ids(self):
        model = mirel.open(self.sample)
        self.assertEqual(set(model.find("Schraube*").names), {"Schraube M8"})
        self.assertEqual(model.count("Schraube*"), 8)
        drawers = model.find("drawer *")
        self.assertEqual(drawers.names, ["drawer top", "drawer middle", "drawer bottom"])
        self.assertEqual([drawer.kind for drawer in drawers], ["group"] * 3)
        self.assertEqual((len(model.find("drawer *", "shape")), len(model.find("[d]eck"))), (0, 1))
        same = model.find(drawers[0].id)
        self.assertEqual((list(same), list(model.find(str(drawers[0].id)))), ([drawers[0]], [drawers[0]]))
        self.assertEqual(len({*drawers, *same}), 3)
        self.assertEqual(drawers[0].parts()[0].parent, drawers[0])
        self.assertEqual([part.name for part in model.children], ["工具车"])
        self.assertIsNone(model.children[0].parent)
        everything = model.parts()
        self.assertEqual((list(everything[-3:-1]), everything[-1:0:-7].names),
                         ([everything[19], everything[20]], [everything[i].name for i in (21, 14, 7)]))  # fmt: skip
        with self.assertRaises(IndexError):
            everything[22]
        self.assertEqual(len(model.find("no such part")), 0)

    def test_say_what_they_cannot_do(self):
        group = mirel.open(self.sample).find("drawer top")[0]
        for ask in (lambda: group.mesh, lambda: group.exact):
            with self.assertRaises(mirel.Error) as raised:
                ask()
            self.assertEqual(raised.exception.file, self.sample)
            self.assertEqual(raised.exception.item, f'group "drawer top" id {group.id}')
            self.assertIn("its parts() have", raised.exception.reason)
        with self.assertRaises(AttributeError):
            group.name = "other"

    def test_of_a_million_take_one_array(self):
        model = mirel.open(support.make_grid(self.scratch, self.sample, (100, 100, 100)))
        parts = model.parts()
        places = numpy.stack(numpy.unravel_index(numpy.arange(10**6), (100, 100, 100)), 1)[:, ::-1] * 1000.0
        numpy.testing.assert_array_equal(parts.positions, places)
        self.assertEqual(parts.matrices.shape, (10**6, 4, 4))
        numpy.testing.assert_array_equal(parts.matrices[-1][:3, 3], (99000,) * 3)
        self.assertTrue((parts[123456].matrix == parts.matrices[123456]).all())


class Geometry(support.ModelTest):
    def test_meshes_are_the_bodies(self):
        for part in mirel.open(self.sample).parts():
            mesh = part.mesh
            corners = mesh.positions[mesh.triangles]
            normals = numpy.cross(corners[:, 1] - corners[:, 0], corners[:, 2] - corners[:, 0])
            self.assertAlmostEqual(numpy.linalg.norm(normals, axis=1).sum() / 2 / part.exact.area, 1, delta=0.02)
            volume = numpy.einsum("ij,ij", corners[:, 0], normals) / 6
            self.assertAlmostEqual(volume, part.exact.volume, delta=part.exact.area * mesh.deflection)
            self.assertGreater(numpy.einsum("ij,ij->i", mesh.normals[mesh.triangles[:, 0]], normals).min(), 0)
            self.assertEqual(mesh.face_of_triangle.max() + 1, mesh.face_count)
            self.assertEqual(mesh.edge_of_segment.shape, (len(mesh.edges),))
            self.assertEqual(set(mesh.edge_of_segment), set(range(mesh.edge_count)))
            self.assertLess(mesh.edges.max(), len(mesh.positions))
            self.assertEqual(part.face_colors.shape, (mesh.face_count, 3))
            center = part.exact.center
            self.assertTrue((part.box[0] - 1e-6 < center).all() and (center < part.box[1] + 1e-6).all())
            self.assertTrue(part.exact.brep.startswith("\nCASCADE Topology V3"))

    def test_is_shared_and_not_copied(self):
        bolts = mirel.open(self.sample).find("Schraube M8", "shape")
        mesh = bolts[0].mesh
        self.assertIs(mesh, bolts[5].mesh)
        self.assertIs(mesh.positions, mesh.positions)
        self.assertTrue(numpy.shares_memory(mesh.triangles, bolts[5].mesh.triangles))
        self.assertFalse(mesh.triangles.flags.owndata)
        for array in (mesh.positions, mesh.normals, mesh.triangles, mesh.edges, bolts.matrices, bolts[0].matrix):
            with self.assertRaises(ValueError):
                array[0] = 0

    def test_keeps_what_it_shows(self):
        model = mirel.open(self.sample)
        parts, part = model.parts(), model.parts()[3]
        triangles, positions = part.mesh.triangles, part.mesh.positions
        exact = part.exact
        before = (triangles.copy(), positions.copy(), part.name, parts.matrices)
        del model
        gc.collect()
        mirel.open(self.sample)  # takes the memory, were it free
        self.assertEqual((part.name, parts[3]), (before[2], part))
        self.assertTrue((triangles == before[0]).all() and (positions == before[1]).all())
        self.assertTrue((parts.matrices == before[3]).all())
        del parts, part
        gc.collect()
        self.assertGreater(exact.volume, 0)
        self.assertTrue((triangles == before[0]).all())

    def test_scales_and_mirrors_with_its_place(self):
        folder = self.scratch / "scaled"
        support.make_grid(folder, self.sample, (1,))
        plain = mirel.open(folder).parts()[0].exact
        text = (folder / "index.gz").read_bytes()
        index = json.loads(support.gzip.decompress(text))
        index["Items"][0]["Transform"] = [-2.0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 5, 0, 0, 1]
        support.write_gzip(folder / "index.gz", json.dumps(index).encode())
        twice = mirel.open(folder).parts()[0].exact
        self.assertAlmostEqual(twice.volume / plain.volume, 8, places=9)
        self.assertAlmostEqual(twice.area / plain.area, 4, places=9)


class Pictures(support.ModelTest):
    def test_are_arrays(self):
        model = mirel.open(self.sample)
        picture = model.picture(size=(160, 120))
        self.assertEqual((picture.shape, picture.dtype), ((120, 160, 3), numpy.uint8))
        self.assertGreater(picture.std(), 10)
        picture.save(self.scratch / "a.png")
        self.assertEqual((self.scratch / "a.png").read_bytes(), picture._repr_png_())
        self.assertTrue(picture._repr_png_().startswith(b"\x89PNG"))
        self.assertIsNone((picture / 2.0)._repr_png_())
        # One wheel covers less than all, seen from any side; through glass, and cut, the model looks different.
        alpha = {}
        for name, options in {
            "all": {}, "part": {"only": [model.find("Rad*", "shape")[0]]}, "named": {"only": "Rad*"},
            "hidden": {"hide": model.parts()}, "cut": {"sections": [(0, 0, 1, 300)]}, "front": {"view": "front"},
            "direction": {"view": (0, -1, 0)},
        }.items():  # fmt: skip
            drawn = model.picture((160, 120), background="none", parallel=True, **options)
            self.assertEqual(drawn.shape, (120, 160, 4))
            alpha[name] = drawn
        covers = {name: (drawn[..., 3] > 0).sum() for name, drawn in alpha.items()}
        self.assertTrue(0 < covers["cut"] and covers["hidden"] == 0 and covers["part"] > 0, covers)
        self.assertTrue((alpha["front"] == alpha["direction"]).all())
        self.assertFalse((alpha["part"] == alpha["named"]).all(), "four wheels and one")
        red = model.picture((40, 30), hide="*", background=(1, 0, 0))
        self.assertTrue((red == (255, 0, 0)).all())
        for bad in ({"size": (0, 10)}, {"size": (10**6, 10**6)}, {"view": "inside"}, {"view": (0, 0, 0)}):
            with self.assertRaises(ValueError):
                model.picture(**bad)
        with self.assertRaises(mirel.Error) as raised:
            model.picture(only="nobody")
        self.assertEqual(raised.exception.item, "'nobody'")
        with self.assertRaises(mirel.Error):
            picture.save(self.scratch / "missing/a.png")

    def test_are_what_a_notebook_shows(self):
        model = mirel.open(self.sample)
        self.assertTrue(model._repr_png_().startswith(b"\x89PNG"))
        shown = model._repr_html_()
        try:
            page = model.page()
        except mirel.Error as error:
            self.assertIsNone(shown)
            self.skipTest(str(error))
        self.assertIn("srcdoc", shown)
        self.assertNotIn('"', shown.split('srcdoc="')[1].rsplit('">', 1)[0], "the page leaves its frame")
        self.assertGreater(len(page), 100000)


class Opening(support.ModelTest):
    def test_takes_whatever_a_path_leads_to(self):
        expected = mirel.open(self.sample).parts().matrices
        places = [self.sample, os.path.join(self.sample, "index.gz"), Path(self.sample)]
        for name in ("a.tar", "b.tar.gz"):
            places.append(support.make_tar(self.scratch / name, self.sample))
        places.append(shutil.copy(support.SAMPLE, self.scratch / "c.step"))
        places.append(shutil.copy(support.SAMPLE, self.scratch / "without an extension"))
        temporary = set()
        for place in places:
            model = mirel.open(place)
            self.assertTrue((model.parts().matrices == expected).all(), place)
            self.assertEqual(model.path, os.fspath(place))
            self.assertTrue(os.path.exists(model.folder))
            if not model.folder.startswith(self.place):
                temporary.add(model.folder)
        del model
        gc.collect()
        self.assertEqual((len(temporary), [f for f in temporary if os.path.exists(f)]), (4, []))

    def test_says_what_cannot_be_opened(self):
        (self.scratch / "empty").mkdir()
        (self.scratch / "bad.tar").write_bytes(b"no tar archive")
        (self.scratch / "bad.step").write_bytes(b"no STEP file")
        os.mkfifo(self.scratch / "pipe.step")
        for name, reason in (
            ("missing", "no such file"), ("empty", "no index.gz"), ("bad.tar", "."), ("bad.step", "."),
            ("pipe.step", "not a regular file"),
        ):  # fmt: skip
            with self.assertRaisesRegex(mirel.Error, reason) as raised:
                mirel.open(self.scratch / name)
            self.assertEqual(raised.exception.file, str(self.scratch / name))

    def test_goes_past_what_is_damaged(self):
        for kind, parts in (("model", 22), ("grep", 0)):
            folder = self.scratch / kind
            shutil.copytree(self.sample, folder)
            (folder / kind / "1.gz").unlink()
            with self.assertLogs("mirel", logging.WARNING) as logged:
                model = mirel.open(folder)
            self.assertEqual(len(model.parts()), parts)
            problem = model.problems[0]
            self.assertEqual((problem.file, problem.item), (str(folder / kind / "1.gz"), ""))
            self.assertIn("No such file or directory", problem.reason)
            self.assertIn(str(problem), logged.output[0])
            with self.assertRaises(mirel.Error) as raised:
                mirel.open(folder, strict=True)
            self.assertEqual(str(raised.exception), str(problem))
        part = mirel.open(self.scratch / "model").parts()[0]
        with self.assertRaisesRegex(mirel.Error, "missing in the folder"):
            part.exact.volume
        # One body of several that is damaged is named, in an archive by the name of the archive.
        folder = self.scratch / "body"
        shutil.copytree(self.sample, folder)
        items = support.read_package(support.gzip.decompress((folder / "model/1.gz").read_bytes()))
        number, text = items[2]
        support.write_gzip(folder / "model/1.gz", support.make_package([*items[:2], (number, text[:-100]), *items[3:]]))
        archive = support.make_tar(self.scratch / "body.tar", str(folder))
        problem = mirel.open(archive).problems[0]
        self.assertEqual((problem.file, problem.item), (f"{archive}/model/1.gz", f"item 3 of 7, id {number}"))

    def test_passes_the_log_on(self):
        with self.assertLogs("mirel", logging.DEBUG) as logged:
            with self.assertRaises(mirel.Error):
                support.write_gzip(self.scratch / "index.gz", b"no JSON")
                mirel.open(self.scratch)
        self.assertTrue([line for line in logged.output if line.startswith("DEBUG") and "json" in line], logged.output)


class Interruption(support.ModelTest):
    """Long calls let other threads run, and Ctrl-C ends them."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.large = support.make_grid(Path(cls.place) / "large", cls.sample, (100, 100, 40))

    def test_other_threads_run(self):
        model = mirel.open(self.large)
        for call in (lambda: mirel.open(self.large), lambda: model.picture((800, 600)), lambda: mirel.check(self.sample)):
            turns, over = [], threading.Event()

            def count():
                while not over.wait(0.001):
                    turns.append(time.perf_counter())

            thread = threading.Thread(target=count)
            thread.start()
            start = time.perf_counter()
            call()
            end = time.perf_counter()
            over.set()
            thread.join()
            tenth = (end - start) / 10
            self.assertTrue([turn for turn in turns if start + tenth < turn < end - tenth], "nobody else had a turn")

    def test_several_open_at_once(self):
        found = []
        threads = [threading.Thread(target=lambda: found.append(mirel.open(self.sample).problems)) for _ in range(8)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(found, [[]] * 8)

    def test_control_c_ends_them(self):
        script = """
import gc, os, signal, sys, threading, time
import mirel
large, sample, out = sys.argv[1:]
model = mirel.open(large)
for call in (lambda: mirel.open(large), lambda: model.picture((4000, 3000)), lambda: mirel.save(sample, out)):
    def handler(number, frame):
        raise KeyboardInterrupt
    signal.signal(signal.SIGALRM, handler)
    signal.setitimer(signal.ITIMER_REAL, 0.06)
    try:
        call()
    except KeyboardInterrupt:
        print("interrupted", flush=True)
    signal.setitimer(signal.ITIMER_REAL, 0)
def refuse(stage, fraction):
    raise ZeroDivisionError
for call in (lambda: mirel.open(large, progress=refuse), lambda: mirel.save(sample, out, progress=refuse)):
    try:
        call()
    except ZeroDivisionError:
        print("refused", flush=True)
print(os.path.exists(out), len(mirel.open(large).parts()))
"""
        ran = subprocess.run(
            [sys.executable, "-c", script, str(self.large), str(support.SAMPLE), str(self.scratch / "out")],
            capture_output=True, text=True, timeout=120,
        )  # fmt: skip
        expected = "interrupted\n" * 3 + "refused\n" * 2 + "False 400000\n"
        self.assertEqual((ran.stdout, ran.stderr, ran.returncode), (expected, "", 0))

    def test_progress_is_told(self):
        told = []
        mirel.save(support.SAMPLE, self.scratch / "a", progress=lambda stage, fraction: told.append((stage, fraction)))
        self.assertIn("writing", {stage for stage, _ in told})
        self.assertTrue(all(fraction is None or 0 <= fraction <= 1 for _, fraction in told))


if __name__ == "__main__":
    unittest.main()
