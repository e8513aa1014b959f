"""Instruction counts by valgrind's callgrind, which repeat exactly."""
import os
import re
import tempfile

from process import output


def _run(*arguments, **environment):
    with tempfile.TemporaryDirectory() as folder:
        dumps = os.path.join(folder, "dumps")
        # Qt's hash seeds are random otherwise.
        output("valgrind", "--tool=callgrind", f"--callgrind-out-file={dumps}", "--combine-dumps=yes", *arguments,
               QT_HASH_SEED="0", **environment)
        with open(dumps, encoding="utf-8") as file:
            return file.read()


def steps(program, kind, candidate, shape, size):
    """The instructions of each step that benchmark_costs takes, by the step's name."""
    # No step pays for finding the functions that it is the first to call.
    dumps = _run("--instr-atstart=no", program, kind, candidate, shape, size, LD_BIND_NOW="1")
    found = re.findall(r"^desc: Trigger: Client Request: (.*?)$.*?^totals: (\d+)$", dumps, re.MULTILINE | re.DOTALL)
    return {name: int(count) for name, count in found if int(count) > 0}


def whole(program):
    """The instructions of a program from its start to its end, the loader's among them."""
    return int(re.search(r"^totals: (\d+)$", _run(program), re.MULTILINE).group(1))
