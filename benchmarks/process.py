"""Runs programs for what they print."""
import os
import subprocess
import sys


def output(*command, **environment):
    """The standard output of a command; one that fails ends everything, with what it complained of."""
    arguments = [str(argument) for argument in command]
    result = subprocess.run(arguments, capture_output=True, text=True, env={**os.environ, **environment}, check=False)
    if result.returncode:
        sys.exit(f"{' '.join(arguments)} failed:\n{result.stderr}")
    return result.stdout
