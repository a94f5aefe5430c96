"""Tells which lines and branches of a part have not run, by what llvm-cov exports, less the exceptions.

report.py ROOT FOLDER EXCEPTIONS < export.json

FOLDER is the part, below ROOT. A template's instantiations count as one: a condition has been true if it has
been in any of them. Conditions that the compiler knows are left out. Exit code 0 if all the rest has run and
each exception is still one, else 1.
"""
import collections
import json
import pathlib
import sys

CODE, GAP = 0, 3


def lines_of(segments):
    """line -> how often it has run, for the lines with code."""
    counts = {}
    wrapped = None
    by_line = collections.defaultdict(list)
    for line, _, count, has_count, is_entry, is_gap in segments:
        by_line[line].append((count, has_count, is_entry, is_gap))
    if not by_line:
        return counts
    for line in range(min(by_line), max(by_line) + 1):
        here = by_line.get(line, [])
        entries = [count for count, has_count, is_entry, is_gap in here
                   if has_count and is_entry and not is_gap]
        skipped = bool(here) and not here[0][1] and here[0][2]
        around = wrapped is not None and wrapped[1]
        if not skipped and (around or entries):
            # Behind a gap, what goes on in the line does not begin there.
            after_gap = [count for count, has_count, _, is_gap in here if has_count and not is_gap]
            if around and not (wrapped[3] and after_gap):
                after_gap = [wrapped[0]]
            counts[line] = max(entries + after_gap)
        if here:
            wrapped = here[-1]
    return counts


class File:
    """What is known of one file."""

    def __init__(self, root, path):
        self.path = path
        self.text = (root / path).read_text().split("\n")
        self.lines = {}
        self.regions = collections.Counter()
        self.branches = collections.defaultdict(lambda: [0, 0])
        self.functions = {}

    def words(self, place):
        """The text from one place to another, blanks as one."""
        line, column, last, end = place
        if line == last:
            return self.text[line - 1][column - 1:end - 1]
        parts = [self.text[line - 1][column - 1:], *self.text[line:last - 1], self.text[last - 1][:end - 1]]
        return " ".join(" ".join(parts).split())

    def runs(self, place):
        """How often the innermost region around a place has run."""
        def within(region):
            return region[:2] <= place[:2] and place[2:] <= region[2:]
        around = [region for region in self.regions if within(region)]
        innermost = max(around, key=lambda region: (region[:2], (-region[2], -region[3])), default=None)
        return self.regions[innermost] if innermost else 0

    def missing(self):
        """(line, what) of all that has not run; `what` is what an exception would say."""
        found = []
        for line, count in sorted(self.lines.items()):
            words = self.text[line - 1].strip()
            if count == 0 and words.strip("});") and not words.startswith("#"):
                found.append((line, f"line: {words}"))
        for place, (true, false) in sorted(self.branches.items()):
            if true + false == 0 and self.runs(place) != 0:
                continue
            for count, verdict in ((true, "never true"), (false, "never false")):
                if count == 0:
                    found.append((place[0], f"{verdict}: {self.words(place)}"))
        return found

    def function_at(self, line):
        """The name before the parameters of the innermost function around a line, or ""."""
        around = [place for place in self.functions if place[0] <= line <= place[2]]
        if not around:
            return ""
        place = max(around, key=lambda place: place[:2])
        head = self.text[place[0] - 1][:place[1] - 1].rstrip()
        start = place[0] - 1
        while "(" not in head and start > 0:
            start -= 1
            head = self.text[start] + " " + head
        return head.split("(")[0].split()[-1].lstrip("*&") if head.split("(")[0].split() else ""


def read(root, folder, data):
    """The files of the folder by their paths."""
    files = {}

    def file(name):
        try:
            path = str(pathlib.Path(name).resolve().relative_to(root))
        except ValueError:
            return None
        if not path.startswith(folder + "/"):
            return None
        if path not in files:
            files[path] = File(root, path)
        return files[path]

    for entry in data["files"]:
        known = file(entry["filename"])
        if known:
            known.lines = lines_of(entry["segments"])
    for function in data["functions"]:
        names = function["filenames"]
        for index, region in enumerate(function["regions"]):
            known = file(names[region[5]])
            if known and region[7] == CODE:
                known.regions[tuple(region[:4])] += region[4]
                if index == 0:
                    known.functions[tuple(region[:4])] = True
        for branch in function["branches"]:
            known = file(names[branch[6]])
            if known:
                counts = known.branches[tuple(branch[:4])]
                counts[0] += branch[4]
                counts[1] += branch[5]
    return files


def read_exceptions(path):
    """(path, what) -> the number of the line that says so. Each stands below a reason."""
    found = {}
    reason = False
    for number, line in enumerate(path.read_text().splitlines(), 1):
        if line.startswith("#"):
            reason = True
        elif not line.strip():
            reason = False
        elif not reason or ": " not in line:
            sys.exit(f"{path}:{number}: expected 'FILE: WHAT' below a '# reason'")
        else:
            found[tuple(line.strip().split(": ", 1))] = number
    return found


def main():
    root, folder, exceptions_path = pathlib.Path(sys.argv[1]).resolve(), sys.argv[2], pathlib.Path(sys.argv[3])
    files = read(root, folder, json.load(sys.stdin)["data"][0])
    exceptions = read_exceptions(exceptions_path)
    used = set()
    failed = False
    totals = [0, 0, 0, 0]
    for path in sorted(files):
        known = files[path]
        left = 0
        for line, what in known.missing():
            names = {(path, what), (path, f"function {known.function_at(line)}")} & exceptions.keys()
            used |= names
            if names:
                continue
            left += 1
            print(f"{path}:{line}: {what}")
            totals[1 if what.startswith("line") else 3] += 1
        failed |= left != 0
        totals[0] += len(known.lines)
        totals[2] += 2 * len(known.branches)
    for (path, what), number in exceptions.items():
        if (path, what) not in used:
            failed = True
            print(f"{exceptions_path.name}:{number}: has run, or is not there: {path}: {what}")
    for name, total, left in (("lines", totals[0], totals[1]), ("branches", totals[2], totals[3])):
        print(f"{name}: {100 * (total - left) / max(total, 1):.2f} % of {total}, {left} not run")
    print(f"exceptions: {len(exceptions)}")
    sys.exit(1 if failed else 0)


main()
