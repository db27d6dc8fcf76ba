"""Measures the Python package: python.py open FOLDER, python.py arrays FOLDER. Prints one line of JSON, as mirel-bench does."""

import json
import resource
import sys
import time

import mirel


def measure(work):
    """Seconds, and those of all threads on a processor; the result is kept until both are known."""
    processor, start = time.process_time(), time.perf_counter()
    result = work()
    return time.perf_counter() - start, time.process_time() - processor, result


def open_model(folder):
    seconds, processor, model = measure(lambda: mirel.open(folder))
    usage = resource.getrusage(resource.RUSAGE_SELF)
    return {"seconds": seconds, "processorSeconds": processor, "placedShapes": model.count(), "peakBytes": usage.ru_maxrss * 1024}


def fill_arrays(folder):
    """Arrays of all parts, the first one with the list of them, and numpy's copies of these arrays: as much memory, written once."""
    model = mirel.open(folder)
    figures = {}
    for name in ("positions", "matrices"):
        figures[name], figures[name + "Processor"], array = measure(lambda: getattr(model.parts(), name))
        figures[name + "Copy"], figures[name + "CopyProcessor"], copy = measure(array.copy)
        del array, copy
    figures["placedShapes"] = model.count()
    figures["seconds"] = figures["matrices"]
    return figures


print(json.dumps({"open": open_model, "arrays": fill_arrays}[sys.argv[1]](sys.argv[2])))
