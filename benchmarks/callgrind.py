"""Instruction counts by valgrind's callgrind, which repeat exactly."""
import os
import re
import subprocess
import tempfile


def _run(*arguments):
    with tempfile.TemporaryDirectory() as folder:
        dumps = os.path.join(folder, "dumps")
        # Qt's hash seeds are random otherwise.
        subprocess.run(["valgrind", "--tool=callgrind", f"--callgrind-out-file={dumps}", "--combine-dumps=yes",
                        *[str(a) for a in arguments]],
                       check=True, capture_output=True, env={**os.environ, "QT_HASH_SEED": "0"})
        with open(dumps, encoding="utf-8") as file:
            return file.read()


def steps(program, kind, candidate, shape, size):
    """The instructions of each step that benchmark_costs takes, by the step's name."""
    dumps = _run("--instr-atstart=no", program, kind, candidate, shape, size)
    found = re.findall(r"^desc: Trigger: Client Request: (.*?)$.*?^totals: (\d+)$", dumps, re.MULTILINE | re.DOTALL)
    return {name: int(count) for name, count in found if int(count) > 0}


def whole(program):
    """The instructions of a program from its start to its end, the loader's among them."""
    return int(re.search(r"^totals: (\d+)$", _run(program), re.MULTILINE).group(1))
