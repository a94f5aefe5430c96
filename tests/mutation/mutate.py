#!/usr/bin/env python3
"""The command line of scripts/mutate."""
import argparse
import dataclasses
import hashlib
import json
import math
import pathlib
import sys

sys.dont_write_bytecode = True

import faults as fault_finder  # noqa: E402
import report  # noqa: E402
import trials  # noqa: E402
from workshop import BuildFailed, Workshop  # noqa: E402

PARTS = ["driver", "board"]
ARGUMENTS = ["-x", "c++", "-std=c++20", "-m32", "-msse2", "-mfpmath=sse", "-DKORV_CHECKED", '-DKORV_VERSION="0"']


def fail(code, text):
    print(f"scripts/mutate: {text}", file=sys.stderr)
    sys.exit(code)


def tell(text):
    print(text, flush=True)


def positive(text):
    value = int(text)
    if value < 0:
        raise ValueError
    return value


def parse(arguments):
    parser = argparse.ArgumentParser(
        prog="scripts/mutate", add_help=True,
        description="Puts small faults into driver and board, one at a time, and tells which of them no test "
                    "sees. Stops and goes on where it was: results are kept in BUILD/mutation/results.jsonl, "
                    "those of --x87 in results-x87.jsonl.")
    parser.error = lambda text: fail(2, f"{text}; --help tells what it does")
    parser.add_argument("part", choices=PARTS, help="where the faults go")
    parser.add_argument("--count", type=positive, default=200, metavar="N",
                        help="how many faults, those of earlier runs among them (200)")
    parser.add_argument("--seed", type=positive, default=1, metavar="N",
                        help="which faults: the same seed, the same order of them (1)")
    parser.add_argument("--file", default="", metavar="TEXT", help="only in files whose path holds TEXT")
    parser.add_argument("--fault", default=[], action="append", metavar="KEY",
                        help="this one alone, whatever became of it before; as often as wanted")
    parser.add_argument("--constants", action="store_true",
                        help="faults where only the compiler computes instead: a build for each; of any other "
                             "fault too that --fault names")
    parser.add_argument("--x87", action="store_true",
                        help="with the driver's floats as in KORV32.dll, where some code is that is nowhere else")
    parser.add_argument("--again", action="store_true", help="try those again that survived")
    parser.add_argument("--quick", type=float, default=math.inf, metavar="SECONDS",
                        help="leave out suites that take longer; what they might see is left for another run")
    parser.add_argument("--others", type=positive, default=0, metavar="SECONDS",
                        help="for those that survive the part's own tests: run the tests of host, tool and whole "
                             "machine too, for as long (0: not at all)")
    parser.add_argument("--report", action="store_true", help="try nothing, tell what is known")
    parser.add_argument("--list", action="store_true", help="try nothing, list the faults")
    parser.add_argument("--root", type=pathlib.Path, required=True, help=argparse.SUPPRESS)
    parser.add_argument("--build", type=pathlib.Path, required=True, help=argparse.SUPPRESS)
    return parser.parse_args(arguments)


def find_faults(root, folder):
    """All faults of the tree, from the last run's list if no source has changed since."""
    sources = sorted(path for part in PARTS + ["chip"] for path in (root / part).rglob("*") if path.is_file())
    digest = hashlib.sha1((pathlib.Path(__file__).parent / "faults.py").read_bytes())
    for path in sources:
        digest.update(str(path.relative_to(root)).encode() + path.read_bytes())
    kept = folder / "faults.json"
    if kept.exists():
        data = json.loads(kept.read_text())
        if data["digest"] == digest.hexdigest():
            return [fault_finder.Fault(**fault) for fault in data["faults"]]
    tell("Looking for places (some minutes)")
    found = fault_finder.find(root, PARTS, [*ARGUMENTS, f"-I{root}"], tell)
    kept.write_text(json.dumps({"digest": digest.hexdigest(),
                                "faults": [dataclasses.asdict(fault) for fault in found]}))
    return found


class Results:
    """What became of faults, kept line by line."""

    def __init__(self, path):
        self.path = path
        self.known = {}
        if path.exists():
            for line in path.read_text().splitlines():
                result = json.loads(line)
                self.known[result["key"]] = result

    def add(self, result):
        self.known[result.key] = dataclasses.asdict(result)
        with self.path.open("a") as file:
            file.write(json.dumps(self.known[result.key]) + "\n")


def workshop(options, folder, name):
    if options.x87:
        return Workshop(options.root, folder / f"{name}-x87", ["-DKORV_X87=ON"])
    return Workshop(options.root, folder / name)


def try_choices(options, folder, wanted, pending, results):
    # Places of all, so that the build stays as it is from run to run.
    refused = {key for key, result in results.known.items() if result["verdict"] == trials.NOT_COMPILED}
    choices = trials.Choices(workshop(options, folder, f"choices-{options.part}"), wanted, refused, tell)
    programs = trials.OWN[options.part] + (trials.OTHERS if options.others else [])
    for result in choices.build(programs):
        results.add(result)
    keys = {fault.key for fault in pending}
    left = [number for number, fault in choices.numbers.items() if fault.key in keys]
    for done, number in enumerate(left, 1):
        result = choices.try_own(number, options.quick)
        if result is None:
            continue
        if result.verdict == trials.SURVIVED and options.others:
            more = choices.try_others(number, options.others)
            result = dataclasses.replace(more, suites=more.suites + result.suites)
        results.add(result)
        if result.verdict == trials.SURVIVED:
            run = "" if result.suites else " (no test runs it)"
            tell(f"[{done}/{len(left)}] survived{run}: {report.brief(choices.numbers[number])}")


def try_constants(options, folder, pending, results):
    rebuilds = trials.Rebuilds(workshop(options, folder, f"plain-{options.part}"))
    rebuilds.prepare(trials.OWN[options.part])
    for done, fault in enumerate(pending, 1):
        result = rebuilds.try_own(fault)
        results.add(result)
        if result.verdict == trials.SURVIVED:
            tell(f"[{done}/{len(pending)}] survived: {report.brief(fault)}")


def main():
    options = parse(sys.argv[1:])
    options.root = options.root.resolve()
    folder = options.build / "mutation"
    folder.mkdir(parents=True, exist_ok=True)
    found = find_faults(options.root, folder)
    in_part = [fault for fault in found
               if fault.path.startswith(options.part + "/") and options.file in fault.path]
    wanted = [fault for fault in in_part if (fault.form == "constant") == options.constants]
    if not wanted:
        fail(2, f"no place for a fault in files of {options.part} whose path holds '{options.file}'")
    # By what each is and not by how many there are: a change of the tree leaves the others' order.
    wanted.sort(key=lambda fault: hashlib.sha1(f"{options.seed} {fault.key}".encode()).digest())
    # A function that only the compiler runs has faults of all forms.
    of_key = {fault.key: fault for fault in (in_part if options.constants else wanted)}
    for key in options.fault:
        if key not in of_key:
            fail(2, f"'{key}' is no such fault of {options.part} as it is now; --list shows them")
    wanted = wanted[:options.count]
    wanted += [of_key[key] for key in options.fault if of_key[key] not in wanted]
    if options.list:
        for fault in wanted:
            tell(report.brief(fault))
        return
    listed_file = options.root / "tests/mutation/survivors.md"
    listed = report.listed_keys(listed_file)
    # Another build's verdicts: the code is another one.
    results = Results(folder / ("results-x87.jsonl" if options.x87 else "results.jsonl"))
    if not options.report:
        survived = {key for key, result in results.known.items() if result["verdict"] == trials.SURVIVED}
        pending = [fault for fault in wanted if fault.key in options.fault] or [
            fault for fault in wanted
            if fault.key not in results.known or (options.again and fault.key in survived)]
        try:
            if pending and not options.constants:
                try_choices(options, folder, wanted, pending, results)
                # What nothing runs may be what a compiler computes.
                pending = [fault for fault in pending
                           if results.known.get(fault.key, {}).get("verdict") == trials.SURVIVED
                           and results.known[fault.key]["suites"] == 0]
            if pending:
                try_constants(options, folder, pending, results)
        except BuildFailed as failure:
            (folder / "build.log").write_text(failure.output)
            fail(1, f"the build failed; {folder / 'build.log'} tells why")
        except KeyboardInterrupt:
            fail(1, "stopped; the next run goes on from here")
    tried = [fault for fault in in_part if fault.key in results.known]
    for name_of in (lambda fault: report.room_of(fault.path), lambda fault: fault.operator):
        tell("\n" + "\n".join(report.table(tried, results.known, listed, name_of)))
    survivors = report.write_survivors(options.root, folder / "survivors", tried, results.known, listed)
    tell(f"\n{len(survivors)} survived and are not in {listed_file.relative_to(options.root)}; "
         f"as patches in {folder / 'survivors'}")
    for fault in sorted(survivors, key=lambda fault: (fault.path, fault.line)):
        tell(report.brief(fault))
    unknown = listed - {fault.key for fault in found}
    if unknown:
        fail(1, f"{listed_file.relative_to(options.root)} lists faults that are no more: "
                + " ".join(sorted(unknown)))


main()
