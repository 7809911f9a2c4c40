"""Which library is measured: version, commit, compiler flags."""
import json
import re
import shlex
import subprocess


def version(build):
    cache = (build / "CMakeCache.txt").read_text()
    found = re.search(r"^CMAKE_PROJECT_VERSION:\w+=(.*)$", cache, re.MULTILINE)
    return found[1] if found else None


def git(source, *arguments):
    try:
        process = subprocess.run(["git", "-C", str(source), *arguments], capture_output=True,
                                 text=True, check=False)
    except OSError:
        return None
    return process.stdout.strip() if process.returncode == 0 else None


def flags(build):
    """What the library's sources are compiled with, less warnings, paths and visibility."""
    try:
        commands = json.loads((build / "compile_commands.json").read_text())
    except OSError:
        return None
    command = next(entry["command"] for entry in commands
                   if "DataProcessing.dir" in entry["command"])
    return " ".join(word for word in shlex.split(command)
                    if re.match(r"-(O|std=|m|g|DNDEBUG|f(?!visibility))", word))


def describe(source, build):
    return {
        "version": version(build),
        "commit": git(source, "rev-parse", "--short", "HEAD"),
        "modified": bool(git(source, "status", "--porcelain", "--untracked-files=no")),
        "flags": flags(build),
    }
