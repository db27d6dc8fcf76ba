"""What the program does for Python."""

import json
import os
import shutil
import unittest
import unittest.mock

import support

import mirel
from mirel import program


class Verbs(support.ModelTest):
    def test_save_and_check(self):
        report = mirel.save(support.SAMPLE, self.scratch / "größe", verify=True)
        self.assertFalse(report["hasLosses"])
        self.assertEqual(mirel.check(self.scratch / "größe")["verdict"], "ok")
        with self.assertRaises(mirel.Error) as raised:
            mirel.save(support.SAMPLE, self.scratch / "größe")
        error = raised.exception
        self.assertEqual((error.file, error.item), (str(self.scratch / "größe"), ""))
        self.assertIn("exists already", error.reason)
        mirel.save(support.SAMPLE, self.scratch / "größe", force=True)
        (self.scratch / "größe/model/1.gz").unlink()
        result = mirel.check(mirel.open(self.scratch / "größe"), level="packages")
        self.assertEqual((result["verdict"], result["level"]), ("damaged", "packages"))
        self.assertIn("P001", {finding["code"] for finding in result["findings"]})
        for call in (
            lambda: mirel.save(self.scratch / "missing: a.step", self.scratch / "x"),
            lambda: mirel.check(self.scratch / "missing: a.step"),
        ):
            with self.assertRaisesRegex(mirel.Error, "no such f") as raised:
                call()
            self.assertEqual(raised.exception.file, str(self.scratch / "missing: a.step"))

    def test_export(self):
        model = mirel.open(self.sample)
        handle = model.find("push handle")[0]
        for name, only in (("all.stl", None), ("handle.stl", handle), ("named.stl", "push handle"), ("two.stl", model.find("drawer t*"))):
            mirel.export(model, self.scratch / name, only=only)
        sizes = {name: os.path.getsize(self.scratch / f"{name}.stl") for name in ("all", "handle", "named", "two")}
        self.assertEqual(sizes["handle"], 84 + 50 * sum(len(part.mesh.triangles) for part in handle.parts()))
        self.assertTrue(sizes["handle"] == sizes["named"] < sizes["all"] and sizes["two"] < sizes["all"], sizes)
        mirel.export(self.sample, self.scratch / "small.glb", meshopt=True)
        mirel.export(self.sample, self.scratch / "large.glb")
        self.assertLess(os.path.getsize(self.scratch / "small.glb"), os.path.getsize(self.scratch / "large.glb"))
        mirel.export(model, self.scratch / "back.step", schema="ap214")
        back = mirel.open(self.scratch / "back.step")
        self.assertEqual(sorted(back.parts().names), sorted(model.parts().names))
        volumes = [sorted(part.exact.volume for part in one.parts()) for one in (back, model)]
        for again, before in zip(*volumes):
            self.assertAlmostEqual(again / before, 1, places=9)
        with self.assertRaises(mirel.Error):
            mirel.export(model, self.scratch / "a.what")

    def test_page(self):
        try:
            mirel.page(self.sample, self.scratch / "a.html")
        except mirel.Error as error:
            self.skipTest(str(error))
        self.assertGreater(os.path.getsize(self.scratch / "a.html"), 100000)

    def test_messages_are_taken_apart(self):
        """A program that says what any of them may say."""
        stub = self.scratch / "stub"
        said = (
            "mirel: /a: b/model/1.gz: item 3 of 7, id 42, cannot be read (it is cut short): what is drawn is shown\\n"
            "    Buffer is null!\\nprogress: reading 50\\nprogress: writing\\nmirel: the rest\\n"
        )
        stub.write_text(f'#!/bin/sh\nprintf "{said}" >&2\necho "{{}}"\nexit ${{CODE:-2}}\n')
        stub.chmod(0o755)
        with unittest.mock.patch.dict(os.environ, {"MIREL_PROGRAM": str(stub)}):
            told = []
            with self.assertRaises(mirel.Error) as raised, self.assertLogs("mirel") as logged:
                program.run(["tree", "/a: b"], progress=lambda *what: told.append(what))
            error = raised.exception
            self.assertEqual((error.file, error.item), ("/a: b/model/1.gz", "item 3 of 7, id 42"))
            self.assertTrue(error.reason.startswith("cannot be read (it is cut short)"))
            self.assertEqual((told, logged.output), ([("reading", 0.5), ("writing", None)], ["ERROR:mirel:the rest"]))
            with self.assertLogs("mirel", "WARNING") as logged:
                self.assertEqual(mirel.check("/a: b"), {})
            self.assertEqual(len(logged.output), 2)
            stub.write_text("#!/bin/sh\nkill -SEGV $$\n")
            with self.assertRaisesRegex(mirel.Error, "signal 11"):
                mirel.save(support.SAMPLE, self.scratch / "x")
        with unittest.mock.patch.dict(os.environ, {"MIREL_PROGRAM": str(self.scratch / "missing")}):
            self.assertTrue(program.find().endswith("mirel"))

    def test_diff(self):
        shutil.copytree(self.sample, self.scratch / "new")
        index = json.loads(support.gzip.decompress((self.scratch / "new/index.gz").read_bytes()))
        text = json.dumps(index).replace("push handle", "grip")
        support.write_gzip(self.scratch / "new/index.gz", text.encode())
        equal = mirel.diff(self.sample, mirel.open(support.SAMPLE))
        changed = mirel.diff(mirel.open(self.sample), self.scratch / "new")
        self.assertEqual((equal["equal"], equal["changes"], changed["equal"]), (True, [], False))
        self.assertIn("grip", json.dumps(changed["changes"]))
        with self.assertRaises(mirel.Error):
            mirel.diff(self.sample, self.scratch / "missing")


if __name__ == "__main__":
    unittest.main()
