"""Tries faults: those that a program chooses from in one build, those for compilers in a build each."""
import json
import math
import time
from dataclasses import dataclass

import schemata
from workshop import BuildFailed, Run

KILLED = "killed"
SURVIVED = "survived"
NOT_COMPILED = "does not compile"
TIMED_OUT = "timed out"

DRIVER_ROOMS = ["core", "heap", "diag", "services", "texture", "video", "d3d", "blit", "raster"]
OWN = {"driver": [f"test_driver_{room}" for room in DRIVER_ROOMS], "board": ["test_board"]}
# Programs that have driver and board in them, tried when the rooms' own tests let a fault pass.
OTHERS = ["test_queue", "test_stream", "test_remote", "test_host", "test_system", "test_tools"]
# A suite that takes longer without a fault is given up.
SUITE_SECONDS = 120


@dataclass
class Result:
    """What became of a fault; `suites` is how many suites were run, `by` the first test that failed."""
    key: str
    verdict: str
    by: str
    suites: int
    seconds: float


def own_programs(fault):
    """The test programs of the fault's part, its room's first."""
    folders = fault.path.split("/")
    programs = OWN[folders[0]]
    room = f"test_driver_{folders[1]}"
    return sorted(programs, key=lambda program: program != room)


def time_limit(expected):
    """Seconds that a run may take that takes `expected` without a fault."""
    return 1 + 4 * expected


def portions(suites):
    """Splits (name, seconds) pairs, quick ones first, so that a fault that any test sees costs little."""
    bounds = [0.2, 1.0, math.inf]
    portion, total = [], 0.0
    for name, seconds in suites:
        total += seconds
        if total > bounds[0] and portion:
            yield portion
            portion = []
            while total > bounds[0]:
                bounds.pop(0)
        portion.append((name, seconds))
    if portion:
        yield portion


class Suites:
    """Which suites run which places, and how long they take."""

    def __init__(self, workshop, tell):
        self.workshop = workshop
        self.tell = tell
        self.known = {}

    def learn(self, program):
        """Runs each suite of `program` without a fault."""
        if program in self.known:
            return
        kept = self.workshop.out / f"{program}.suites.json"
        built = (self.workshop.out / "tests" / program).stat().st_mtime_ns
        if kept.exists() and json.loads(kept.read_text())["built"] == built:
            self.known[program] = {suite: (seconds, set(places)) for suite, (seconds, places)
                                   in json.loads(kept.read_text())["suites"].items()}
            return
        suites = {}
        for suite in self.workshop.suites(program):
            run, places = self.workshop.run_places(program, suite, SUITE_SECONDS)
            if run.verdict == "passed":
                suites[suite] = (run.seconds, set(places))
            else:
                self.tell(f"{program}: {suite} is left out: it {run.verdict} without a fault")
        self.known[program] = suites
        kept.write_text(json.dumps({"built": built, "suites": {
            suite: (seconds, sorted(places)) for suite, (seconds, places) in suites.items()}}))

    def of(self, program, number):
        """Suites that run the place `number`, quick ones first, as (name, seconds)."""
        self.learn(program)
        found = [(name, seconds) for name, (seconds, places) in self.known[program].items()
                 if number in places]
        return sorted(found, key=lambda pair: pair[1])


class Choices:
    """One build in which a program has one of many faults."""

    def __init__(self, workshop, faults, refused, tell):
        """Of `faults`; those whose keys are `refused` are known not to compile."""
        self.workshop = workshop
        self.tell = tell
        self.numbers = {number: fault for number, fault in enumerate(faults, 1)
                        if fault.key not in refused}
        self.suites = Suites(workshop, tell)

    def changed(self):
        """The sources with places in them."""
        of_path = {}
        for number, fault in self.numbers.items():
            of_path.setdefault(fault.path, []).append((number, fault))
        header = '#include "tests/mutation/fault.h"\n'
        changed = {}
        for path, pairs in of_path.items():
            text = (self.workshop.root / path).read_bytes().decode("latin-1")
            changed[path] = header + schemata.with_places(text, pairs)
        return changed

    def build(self, programs):
        """Builds, without the faults that do not compile; returns their results."""
        rejected = []
        for _ in range(30):
            changed = self.changed()
            self.workshop.copy(changed)
            try:
                self.workshop.build(programs)
                return rejected
            except BuildFailed as failure:
                numbers = set()
                for path, line in self.workshop.errors(failure.output):
                    numbers.update(schemata.places_on(changed.get(path, ""), line))
                numbers &= set(self.numbers)
                if not numbers:
                    raise
                self.tell(f"{len(numbers)} faults do not compile")
                for number in numbers:
                    fault = self.numbers.pop(number)
                    rejected.append(Result(fault.key, NOT_COMPILED, "", 0, 0))
        raise BuildFailed("thirty builds failed one after the other")

    def try_own(self, number, longest=math.inf):
        """Runs the suites of the fault's part that run its place.

        Suites of more than `longest` seconds are left out; None if it is for them to tell.
        """
        count = 0
        left_out = False
        start = time.monotonic()
        for program in own_programs(self.numbers[number]):
            suites = self.suites.of(program, number)
            left_out |= any(seconds > longest for _, seconds in suites)
            suites = [(name, seconds) for name, seconds in suites if seconds <= longest]
            if not suites:
                continue
            for portion in portions(suites):
                count += len(portion)
                run = self.workshop.run(program, [name for name, _ in portion],
                                        time_limit(sum(seconds for _, seconds in portion)), number)
                if run.verdict != "passed":
                    return self.result(number, run, count, start)
        return None if left_out else self.result(number, None, count, start)

    def try_others(self, number, seconds):
        """Runs suites of the other programs, quick ones first, for about `seconds`."""
        start = time.monotonic()
        suites = sorted((expected, program, name) for program in OTHERS
                        for name, expected in self.suites.of(program, number))
        count = 0
        for expected, program, name in suites:
            if time.monotonic() - start + expected > seconds:
                break
            count += 1
            run = self.workshop.run(program, [name], time_limit(expected), number)
            if run.verdict != "passed":
                return self.result(number, run, count, start)
        return self.result(number, None, count, start)

    def result(self, number, run, count, start):
        verdict = SURVIVED if run is None else KILLED if run.verdict == "failed" else TIMED_OUT
        return Result(self.numbers[number].key, verdict, run.by if run else "", count,
                      round(time.monotonic() - start, 3))


class Rebuilds:
    """A build for each fault."""

    def __init__(self, workshop):
        self.workshop = workshop
        self.expected = {}

    def prepare(self, programs):
        """Builds and runs the programs without a fault."""
        self.workshop.copy({})
        self.workshop.build(programs)
        for program in programs:
            run = self.workshop.run(program, ["*"], SUITE_SECONDS)
            if run.verdict != "passed":
                raise BuildFailed(f"{program} {run.verdict} without a fault: {run.by}")
            self.expected[program] = run.seconds

    def try_own(self, fault):
        """Builds with the fault and runs the programs of its part, one after the other."""
        start = time.monotonic()
        text = (self.workshop.root / fault.path).read_bytes().decode("latin-1")
        self.workshop.put(fault.path, schemata.with_fault(text, fault))
        verdict, by, count = SURVIVED, "", 0
        try:
            for program in own_programs(fault):
                self.workshop.build([program])
                count += 1
                run = self.workshop.run(program, ["*"], time_limit(self.expected[program]))
                if run.verdict != "passed":
                    verdict = KILLED if run.verdict == "failed" else TIMED_OUT
                    by = run.by
                    break
        except BuildFailed:
            verdict = NOT_COMPILED
        self.workshop.put(fault.path, text)
        return Result(fault.key, verdict, by, count, round(time.monotonic() - start, 3))
