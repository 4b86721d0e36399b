"""Instructions of operations and of whole programs, counted by callgrind: a measure that a busy machine cannot
move. What bench/instructions, bench/curves and bench/compare share."""
import dataclasses
import os
import pathlib
import re
import subprocess

ROOT = pathlib.Path(__file__).resolve().parent.parent
FLASHES_OF_THE_GRID = 2000


class NoCount(Exception):
    """The build lacks the program, or the program did not run to its end."""


@dataclasses.dataclass
class Count:
    """Instructions of one unit of an operation's work, and what the operation found."""
    name: str
    size: int
    instructions: float
    found: str = ""


def callgrind(command, collect=None, directory=None):
    """Instructions of a command (of the function named by the pattern `collect` alone), and its output."""
    if not pathlib.Path(command[0]).exists():
        raise NoCount(f"no {command[0]}")
    tool = ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null"]
    if collect:
        tool.append(f"--toggle-collect={collect}")
    run = subprocess.run([*tool, *map(str, command)], cwd=directory, capture_output=True, text=True,
                         errors="replace")
    collected = re.search(r"Collected : *(\d+)", run.stderr)
    if run.returncode != 0 or not collected:
        raise NoCount(f"{' '.join(map(str, command))} ended with status {run.returncode}")
    return int(collected.group(1)), run.stdout


def operation(build, name, size):
    """One operation of bench/operations.cpp."""
    command = [pathlib.Path(build).resolve() / "bench" / "operations", name, size]
    total, output = callgrind(command, "*counted_operation*")
    _, _, units, found, _ = output.split()
    return Count(name, int(size), total / int(units), found)


def cold_flash(build, components):
    """A cold flash over the grid of bench/cold_flash.cpp."""
    command = [pathlib.Path(build).resolve() / "bench" / "cold_flash", components]
    total, output = callgrind(command, "*cold_flash_grid*")
    found = output.strip().split(", ")[-1]
    return Count("cold-flash", int(components), total / FLASHES_OF_THE_GRID, found)


def script(build, path):
    """The program from its start to its end on a script, the report thrown away."""
    path = pathlib.Path(path).resolve()
    program = pathlib.Path(build).resolve() / "kestrane"
    total, _ = callgrind([program, path.name, os.devnull], directory=path.parent)
    return Count(path.name, len(path.read_text().splitlines()), total)


def count(build, name, size):
    """Any of these by a name: cold-flash, an operation's, or a script's file of examples/."""
    if name == "cold-flash":
        return cold_flash(build, size)
    if name.endswith(".dat"):
        return script(build, ROOT / "examples" / name)
    return operation(build, name, size)
