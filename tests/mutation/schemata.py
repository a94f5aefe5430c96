"""Writes sources in which a running program chooses one of many faults.

Each chosen place gets `KorvFault(NUMBER)`, which is true in the program whose KORV_FAULT is that number.
What stands in for the original is the original's own text: only the part that runs without the fault holds
further places. Each place stands on a line of its own, so that a compiler's message leads to it.
"""
import re

MARK = re.compile(r"KorvFault\((\d+)\)")


class Node:
    """A range of the text with the faults of exactly that range, and the ranges within it."""

    def __init__(self, start, end):
        self.start, self.end = start, end
        self.faults = []
        self.inner = []


def tree(faults, length):
    """The ranges of `faults` ((number, fault) pairs) as a tree. Ranges that cross are left out."""
    root = Node(0, length)
    stack = [root]
    order = sorted(faults, key=lambda pair: (pair[1].start, -pair[1].end, pair[1].form != "statement"))
    for number, fault in order:
        while stack[-1].end <= fault.start and len(stack) > 1:
            stack.pop()
        top = stack[-1]
        if fault.end > top.end:
            continue
        if top is not root and (top.start, top.end, top.faults[0][1].form) == \
                (fault.start, fault.end, fault.form):
            top.faults.append((number, fault))
            continue
        node = Node(fault.start, fault.end)
        node.faults.append((number, fault))
        top.inner.append(node)
        stack.append(node)
    return root


def render(node, text):
    """The text of `node` with the places of all faults in it."""
    parts = []
    at = node.start
    for inner in node.inner:
        parts.append(text[at:inner.start])
        parts.append(render(inner, text))
        at = inner.end
    parts.append(text[at:node.end])
    body = "".join(parts)
    if not node.faults:
        return body
    form = node.faults[0][1].form
    if form == "choice":
        choices = "".join(f"\nKorvFault({number}) ? ({fault.other}) :" for number, fault in node.faults)
        return f"({choices}\n({body}))\n"
    if form == "else":
        numbers = " && ".join(f"!KorvFault({number})" for number, _ in node.faults)
        return f"\nif ({numbers})\n{body}"
    head = "".join(f"\nif (KorvFault({number})) {{ {fault.other} }} else" for number, fault in node.faults)
    return f"{head}\n{{ {body} }}\n"


def with_places(text, faults):
    """`text` with the places of `faults`, a list of (number, fault)."""
    return render(tree(faults, len(text)), text)


def places_on(text, line):
    """Numbers of the faults whose place stands on `line` (from 1) of a rendered text, or next before it."""
    lines = text.split("\n")
    for at in range(min(line, len(lines)) - 1, max(line - 12, -1), -1):
        found = MARK.findall(lines[at])
        if found:
            return [int(number) for number in found]
    return []


def with_fault(text, fault):
    """`text` with one fault in its place."""
    return text[:fault.start] + fault.other + text[fault.end:]
