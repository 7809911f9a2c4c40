"""Runs both sides of a subsystem's benchmark."""
import pathlib
import subprocess
import sys

from report import lines

DEBIAN_PYTHON = pathlib.Path("/usr/bin/python3")


def python():
    """Debian's own interpreter: one in /usr/local does not see the system's numpy."""
    return str(DEBIAN_PYTHON) if DEBIAN_PYTHON.exists() else sys.executable


def run(command, failures):
    """What a command printed; that it failed is noted, and what it said until then counts."""
    try:
        process = subprocess.run(command, stdout=subprocess.PIPE, text=True, check=False)
    except OSError as error:
        failures.append(f"{command[0]} did not start: {error.strerror}")
        return lines.Side()
    if process.returncode != 0:
        name = pathlib.Path(command[-2]).name
        failures.append(f"{name} ended with code {process.returncode}")
    return lines.read(process.stdout.splitlines())


def launch(name, bench, build, failures):
    """Ours, then the peer's, which compares its results with the samples that ours left."""
    samples = build / "bench" / "samples" / name
    samples.mkdir(parents=True, exist_ok=True)
    ours = run([str(build / "bench" / f"bench_{name}"), str(samples)], failures)
    peer = bench / f"{name}.py"
    if not peer.exists():
        return ours, lines.Side()
    return ours, run([python(), str(peer), str(samples)], failures)
