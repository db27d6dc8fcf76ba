#!/usr/bin/env bash
# Opens, draws and converts a model with an installed Python package. Fails when the package, or the program that it takes, is not
# the one of the same tree.
# usage: use-python.sh PACKAGES FOLDER
set -euo pipefail
PYTHONPATH=$1 MIREL_PROGRAM='' exec /usr/bin/python3 -B - "$1" "$2" <<'END'
import os
import sys
import mirel
from mirel import program

packages, folder = sys.argv[1:]
prefix = os.path.realpath(packages + "/../../..")
for place in (mirel.__file__, program.find()):
    assert os.path.realpath(place).startswith(prefix + "/"), place
model = mirel.open(folder)
assert model.count() == 22 and model.parts()[0].exact.volume > 0
assert model.picture(size=(40, 30)).shape == (30, 40, 3)
mirel.export(model, folder + ".glb")
assert mirel.check(model)["verdict"] == "ok"
END
