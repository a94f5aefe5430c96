"""A copy of the tree that faults are put into, its build, and runs of its test programs under limits."""
import math
import os
import pathlib
import re
import resource
import signal
import subprocess
from dataclasses import dataclass

COPIED = ["CMakeLists.txt", "CMakePresets.json", "CHANGELOG.md", "README.md", "board", "chip", "conformance",
          "docs", "driver", "examples", "host", "packaging", "remote", "scenes", "stream", "tests", "tools",
          "web", "bench"]
# What a test program may take. A fault must not take the machine with it.
MEMORY_BYTES = 3 << 30
FILE_BYTES = 1 << 30
ERROR = re.compile(r"^(?P<path>[^:\s]+):(?P<line>\d+):(?:\d+:)? (?:fatal )?error:", re.MULTILINE)


class BuildFailed(Exception):
    """The build failed; `output` is what the compilers said."""

    def __init__(self, output):
        super().__init__("the build failed")
        self.output = output


@dataclass
class Run:
    """How a run of a test program ended: passed, failed or "timed out"; the first test that failed; and the
    seconds of processor time that it took."""
    verdict: str
    by: str
    seconds: float


def limit(seconds):
    resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds))
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY_BYTES, MEMORY_BYTES))
    resource.setrlimit(resource.RLIMIT_FSIZE, (FILE_BYTES, FILE_BYTES))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    os.setpgid(0, 0)


def processor_time():
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


class Workshop:
    """The copy in `folder`/tree, built in `folder`/out with the `settings` of CMake."""

    def __init__(self, root, folder, settings=()):
        self.root = root
        self.settings = settings
        self.tree = folder / "tree"
        self.out = folder / "out"
        self.run_file = folder / "run"
        folder.mkdir(parents=True, exist_ok=True)

    def copy(self, changed):
        """Brings the copy up to date; `changed` maps paths to texts that stand there instead."""
        # The queue's variants are made of the sources as they are.
        variants = "tests/queue/variants.cmake"
        wanted = set()
        for name in COPIED:
            top = self.root / name
            for source in [top] if top.is_file() else top.rglob("*"):
                path = str(source.relative_to(self.root))
                if source.is_dir() or "/node_modules/" in path or "__pycache__" in path:
                    continue
                wanted.add(path)
                if path not in changed and path != variants:
                    self.put_bytes(path, source.read_bytes())
                    (self.tree / path).chmod(source.stat().st_mode)
        for path in self.tree.rglob("*"):
            if path.is_file() and str(path.relative_to(self.tree)) not in wanted:
                path.unlink()
        for path, text in changed.items():
            self.put(path, text)
        self.put(variants, (self.root / variants).read_text().replace("${PROJECT_SOURCE_DIR}", str(self.root)))

    def put(self, path, text):
        """Writes one source of the copy, if it is another than before."""
        self.put_bytes(path, text.encode("latin-1"))

    def put_bytes(self, path, data):
        target = self.tree / path
        if not target.exists() or target.read_bytes() != data:
            target.parent.mkdir(parents=True, exist_ok=True)
            target.write_bytes(data)

    def build(self, targets):
        """Builds; raises BuildFailed."""
        if not (self.out / "build.ninja").exists():
            configured = subprocess.run(
                ["cmake", "-S", self.tree, "-B", self.out, "-G", "Ninja",
                 "-DCMAKE_BUILD_TYPE=RelWithDebInfo",
                 "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O1 -DNDEBUG -w -Wno-narrowing",
                 f"-DCMAKE_PROJECT_korv32_INCLUDE={self.tree}/tests/mutation/project.cmake", *self.settings],
                capture_output=True, text=True)
            if configured.returncode != 0:
                raise BuildFailed(configured.stdout + configured.stderr)
        built = subprocess.run(["ninja", "-C", self.out, "-k", "0", "korv_faults", *targets],
                               capture_output=True, text=True)
        if built.returncode != 0:
            raise BuildFailed(built.stdout)

    def errors(self, output):
        """(path below the copy, line) of each error in what compilers said."""
        found = set()
        for match in ERROR.finditer(output):
            path = pathlib.Path(match["path"])
            path = path if path.is_absolute() else self.out / path
            try:
                found.add((str(path.resolve().relative_to(self.tree.resolve())), int(match["line"])))
            except ValueError:
                pass
        return found

    def suites(self, program):
        """The names of a test program's suites."""
        listed = subprocess.run([self.out / "tests" / program, "--gtest_list_tests"],
                                capture_output=True, text=True, check=True)
        names = [line.split()[0] for line in listed.stdout.splitlines()
                 if line and not line.startswith(" ") and line.split()[0].endswith(".")]
        return [name[:-1] for name in names]

    def run(self, program, suites, seconds, fault=0, keeps=False):
        """Runs suites of a test program with a fault until the first failure.

        It may take `seconds` of processor time (twenty times as long by the clock, as others use the
        machine too).
        """
        environment = dict(os.environ, KORV_FAULT=str(fault))
        environment.pop("KORV_FAULTS_RUN", None)
        if keeps:
            environment["KORV_FAULTS_RUN"] = str(self.run_file)
        command = [str(self.out / "tests" / program), "--gtest_fail_fast",
                   "--gtest_filter=" + ":".join(suite + ".*" for suite in suites)]
        seconds = math.ceil(seconds)
        start = processor_time()
        process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                   stdin=subprocess.DEVNULL, env=environment,
                                   preexec_fn=lambda: limit(seconds), cwd=self.out / "tests")
        try:
            output, _ = process.communicate(timeout=20 * seconds)
            out_of_time = process.returncode in (-signal.SIGXCPU, -signal.SIGKILL)
            verdict = "passed" if process.returncode == 0 else "timed out" if out_of_time else "failed"
        except subprocess.TimeoutExpired:
            verdict = "timed out"
            os.killpg(process.pid, signal.SIGKILL)
            output, _ = process.communicate()
        text = output.decode("latin-1")
        by = ""
        if verdict != "passed":
            failed = re.search(r"^\[  FAILED  \] (\S+?),? ", text + " ", re.MULTILINE)
            begun = re.findall(r"^\[ RUN      \] (\S+)", text, re.MULTILINE)
            by = failed[1].rstrip(",") if failed else begun[-1] if begun else program
        return Run(verdict, by, processor_time() - start)

    def run_places(self, program, suite, seconds):
        """Runs one suite without a fault: how it ended, and the numbers of the places that it ran."""
        self.run_file.write_bytes(bytes(1 << 16))
        run = self.run(program, [suite], seconds, keeps=True)
        data = self.run_file.read_bytes()
        return run, [number for number in range(1 << 16) if data[number]]
