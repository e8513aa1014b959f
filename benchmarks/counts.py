#!/usr/bin/env python3
"""Fails if the library needs over 3 percent more instructions than the baseline: counts.py BUILD [--renew]

The C library and Qt choose code for the processor, so counts differ between machines. The baseline therefore has ratios
to the reference implementation, for the same work in the same run. Most of an extraction is Qt's XML reader, so the
count of a bare reader is subtracted from both sides first.
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile

BASELINE = pathlib.Path(__file__).with_name("baseline.txt")
MARGIN = 1.03
SIZES = {4_000: 20, 835_000: 2}  # bytes, and how often the work is done
STEPS = {"load": "INIStore::Open", "lookup": "INIStore::GetValues", "edit": "INIStore::UpdateKey",
         "write": "INIStore::Write", "extraction": "KQXml::ExtractElement"}


def instructions(build, size):
    """Returns the instructions of one call of each function, including the functions that it calls."""
    with tempfile.TemporaryDirectory() as folder:
        profile = os.path.join(folder, "profile")
        environment = {**os.environ, "QT_HASH_SEED": "0", "LD_BIND_NOW": "1"}
        work = [build / "benchmarks/benchmark_counted", str(size), str(SIZES[size])]
        subprocess.run(["valgrind", "-q", "--tool=callgrind", f"--callgrind-out-file={profile}", *work],
                       env=environment, check=True)
        listing = subprocess.run(["callgrind_annotate", "--inclusive=yes", "--show-percs=no", "--threshold=100",
                                  profile], capture_output=True, text=True, check=True).stdout
    found = re.findall(r"^ *([\d,]+) .*?:([\w:~]+)\(", listing, re.MULTILINE)
    return {name: int(count.replace(",", "")) / SIZES[size] for count, name in reversed(found)}


def ratios(build):
    result = {}
    for size in SIZES:
        counts = instructions(build, size)
        for step, ours in STEPS.items():
            reference = "reference::" + ours.replace("KQXml::E", "e")
            least = counts["documents::bareReader"] if step == "extraction" else 0
            result[f"{step} {size}"] = (counts[ours] - least) / (counts[reference] - least)
    return result


def main():
    now = ratios(pathlib.Path(sys.argv[1]))
    if sys.argv[2:] == ["--renew"]:
        BASELINE.write_text("".join(f"{name} {ratio:.5f}\n" for name, ratio in now.items()))
        return 0
    baseline = {name: float(ratio) for name, ratio in re.findall(r"(.*) (.*)\n", BASELINE.read_text())}
    if baseline.keys() != now.keys():
        sys.exit("The baseline has different rows. To write a new one: scripts/counts --renew")
    rose = [name for name, ratio in now.items() if ratio > baseline[name] * MARGIN]
    for name, ratio in now.items():
        print(f"{name:18} {ratio:.5f}, baseline {baseline[name]:.5f}{'  ROSE' * (name in rose)}")
    return "More instructions than the baseline. If that is intended: scripts/counts --renew" if rose else 0


if __name__ == "__main__":
    sys.exit(main())
