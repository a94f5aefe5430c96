"""Tables of results, and the survivors as patches."""
import difflib
import re

import schemata
from trials import KILLED, NOT_COMPILED, SURVIVED, TIMED_OUT

ENTRY = re.compile(r"^- `([0-9a-f]{10})`", re.MULTILINE)


def listed_keys(path):
    """Keys of the faults that the list of survivors tells about."""
    return set(ENTRY.findall(path.read_text())) if path.exists() else set()


def room_of(path):
    folders = path.split("/")
    return "/".join(folders[:-1])


def table(faults, results, listed, name_of):
    """Lines of a table by what `name_of` makes of a fault."""
    columns = ["faults", KILLED, TIMED_OUT, NOT_COMPILED, "listed", SURVIVED, "caught"]
    rows = {}
    for fault in faults:
        verdict = results[fault.key]["verdict"]
        for name in (name_of(fault), "all"):
            row = rows.setdefault(name, dict.fromkeys(columns, 0))
            row["faults"] += 1
            row["listed" if verdict == SURVIVED and fault.key in listed else verdict] += 1
    width = max(map(len, rows), default=4)
    lines = [" ".join([" " * width] + [f"{column:>16}" for column in columns])]
    for name in sorted(rows, key=lambda name: (name == "all", name)):
        row = rows[name]
        caught = row[KILLED] + row[TIMED_OUT]
        tried = caught + row[SURVIVED]
        row["caught"] = f"{100 * caught / tried:.1f} %" if tried else "-"
        lines.append(" ".join([f"{name:<{width}}"] + [f"{row[column]:>16}" for column in columns]))
    return lines


def patch_of(root, fault):
    """The fault as a unified difference."""
    text = (root / fault.path).read_bytes().decode("latin-1")
    return "".join(difflib.unified_diff(
        text.splitlines(True), schemata.with_fault(text, fault).splitlines(True),
        f"a/{fault.path}", f"b/{fault.path}"))


def write_survivors(root, folder, faults, results, listed):
    """Writes a patch for each survivor that is not listed; returns those faults."""
    folder.mkdir(parents=True, exist_ok=True)
    for part in {fault.path.split("/")[0] for fault in faults}:
        for old in folder.glob(f"{part}-*.patch"):
            old.unlink()
    survivors = [fault for fault in faults
                 if results[fault.key]["verdict"] == SURVIVED and fault.key not in listed]
    for fault in survivors:
        name = fault.path.replace("/", "-") + f"-{fault.line}-{fault.key}.patch"
        (folder / name).write_text(patch_of(root, fault), encoding="latin-1")
    return survivors


def brief(fault):
    """One line about a fault."""
    def short(text):
        text = " ".join(text.split())
        return text if len(text) <= 60 else text[:57] + "..."
    other = short(fault.other) or "nothing"
    return f"{fault.path}:{fault.line}: {fault.key} {fault.operator}: {short(fault.original)} -> {other}"
