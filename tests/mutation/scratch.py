"""A copy of the project below build/ that takes the faults: its build and its tests."""
import collections
import json
import os
import pathlib
import re
import resource
import shutil
import signal
import subprocess
import sys

PROGRAM = "tests/dataprocessing_tests"
MEMORY = 8 << 30  # bytes that a program under test may map; a fault may well ask for more
SUITE = re.compile(r"^(?:TYPED_)?TEST(?:_F|_P)?\(\s*(\w+)", re.MULTILINE)


def limited():
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def run(command, timeout=None, **options):
    """The exit code, None beyond the time limit, and all that was printed. Nothing is left running."""
    with subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          errors="replace", start_new_session=True, **options) as process:
        try:
            output, _ = process.communicate(timeout=timeout)
            return process.returncode, output
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            process.communicate()
            return None, ""


class Scratch:
    def __init__(self, project, place, jobs):
        self.project, self.place, self.jobs = project, place, jobs
        self.source, self.build = place / "source", place / "build"

    def prepare(self):
        """Brings the copy up to date, builds it and sees its tests pass."""
        listed = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                                cwd=self.project, stdout=subprocess.PIPE, text=True, check=True)
        for name in filter(None, listed.stdout.split("\0")):
            self.copy(name)
        options = ["-DCMAKE_BUILD_TYPE=None", "-DCMAKE_CXX_FLAGS=-O1 -w", "-DBUILD_SHARED_LIBS=OFF",
                   "-DDATAPROCESSING_BENCH=OFF", "-DDATAPROCESSING_EXAMPLES=OFF"]
        self.must(["cmake", "-G", "Ninja", "-S", str(self.source), "-B", str(self.build), *options])
        self.must(["ninja", "-C", str(self.build), "-j", str(self.jobs), PROGRAM])
        self.read_dependents()
        self.read_tests()

    def copy(self, name):
        """A file that has not changed keeps its time, so that nothing is built anew for it."""
        original, copy = self.project / name, self.source / name
        if original.is_file() and (not copy.is_file() or original.read_bytes() != copy.read_bytes()):
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(original, copy)

    def must(self, command, **options):
        code, output = run(command, **options)
        if code != 0:
            sys.exit(f"mutation: {command[0]} failed before anything was changed:\n{output}")
        return output

    def read_dependents(self):
        """The objects that are built anew for a file, by its path in the project."""
        self.dependents = collections.defaultdict(list)
        target = None
        for line in self.must(["ninja", "-C", str(self.build), "-t", "deps"]).splitlines():
            if line and not line[0].isspace():
                target = line.split(":")[0]
            elif line:
                file = os.path.normpath(self.build / line.strip())
                self.dependents[os.path.relpath(file, self.source)].append(target)

    def read_tests(self):
        """How long each suite takes, and which file it is in."""
        report = self.place / "unchanged.json"
        self.must([str(self.build / PROGRAM), "--gtest_brief=1", f"--gtest_output=json:{report}"],
                  preexec_fn=limited)
        self.seconds = {suite["name"]: float(suite["time"].rstrip("s"))
                        for suite in json.loads(report.read_text())["testsuites"]}
        self.suites = {}
        for file in sorted((self.source / "tests").glob("*/*_test.cpp")):
            mine = set(SUITE.findall(file.read_text()))
            self.suites[file] = [name for name in self.seconds if mine & set(name.split("/"))]

    def write(self, path, text):
        (self.source / path).write_text(text)

    def compile(self, path):
        """Builds the objects of a file; whether that went well."""
        code, _ = run(["ninja", "-C", str(self.build), "-j", str(self.jobs), *self.dependents[path]], 600)
        return code == 0

    def compiled(self, path):
        return [(self.build / name).read_bytes() for name in self.dependents[path]]

    def link(self):
        return run(["ninja", "-C", str(self.build), "-j", str(self.jobs), PROGRAM], 600)[0] == 0

    def stages(self, path):
        """The suites that see a fault in this file soonest come first; then its folder's; then all,
        at the level of this processor and at the lowest."""
        folder, stem = pathlib.Path(path).parent.name, pathlib.Path(path).stem.lower()
        of_folder = [file for file in self.suites if file.parent.name == folder]
        near = [file for file in of_folder
                if stem.startswith(file.stem.removesuffix("_test")) or file.stem.startswith(stem)]
        done = set()
        for files in (near, of_folder, self.suites):
            names = [name for file in files for name in self.suites[file] if name not in done]
            done.update(names)
            if names:
                yield names, {}
        yield list(self.seconds), {"DATAPROCESSING_LEVEL": "baseline"}

    def killer(self, path):
        """What notices the fault; None where nothing does."""
        for names, environment in self.stages(path):
            limit = 10 + 10 * sum(self.seconds[name] for name in names)
            code, output = run([str(self.build / PROGRAM), "--gtest_brief=1", "--gtest_fail_fast",
                                "--gtest_filter=" + ":".join(f"{name}.*" for name in names)],
                               limit, env={**os.environ, **environment}, preexec_fn=limited)
            if code == 0:
                continue
            failed = re.search(r"\[  FAILED  \] ([\w./]+)", output)
            return "time limit" if code is None else failed.group(1) if failed else f"exit code {code}"
        return None
