"""The type stubs say what the native modules have, no more and no less."""

import ast
import importlib
import unittest
from pathlib import Path

import mirel


def list_names(body):
    names = {}
    for node in body:
        if isinstance(node, ast.ClassDef):
            names[node.name] = set(list_names(node.body))
        elif isinstance(node, ast.FunctionDef):
            names[node.name] = None
        elif isinstance(node, ast.AnnAssign):
            names[node.target.id] = None
    return names


class Stubs(unittest.TestCase):
    def test_agree_with_the_modules(self):
        for name in ("_native", "_draw"):
            module = importlib.import_module("mirel." + name)
            stub = list_names(ast.parse((Path(mirel.__file__).parent / f"{name}.pyi").read_text("utf-8")).body)
            public = {key for key in vars(module) if not key.startswith("__")}
            self.assertEqual({key for key in stub if not key.startswith("__")}, public)
            for key, members in stub.items():
                if members is not None:
                    real = {member for member in vars(getattr(module, key)) if not member.startswith("_")}
                    self.assertEqual({member for member in members if not member.startswith("_")}, real, key)

    def test_come_along(self):
        self.assertTrue((Path(mirel.__file__).parent / "py.typed").exists())
        self.assertEqual(mirel.__version__.count("."), 2)
        for name in mirel.__all__:
            self.assertTrue(getattr(mirel, name).__doc__ or name in ("Exact", "Mesh", "Part", "Parts"), name)


if __name__ == "__main__":
    unittest.main()
