#!/usr/bin/env python3
"""Checks the rules of the source layout (docs/architecture.md).

Each folder under src/ is one library and one concept; an arrow from A to B
means a file in A includes a header of B. The arrows must form no cycle, or
the two folders are one library in disguise, and the arrows the rules below
forbid must not be there. Prints every broken rule with the includes that
break it and exits 1; with --graph it prints the folder graph first.

Usage: check_layers.py [SRC_DIR] [--graph]"""
import os
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s+([<"])([^">]+)[">]')

LOWER = ("platform", "settings", "scene", "output", "optimize", "split")
HOST_SIDE = ("host", "log", "dialogs", "sources", "ui", "translate", "export", "cli")
EXPORTER = ("export", "translate", "log", "dialogs") + LOWER

# (the rule, the folders it binds, the folders or system headers they must not include)
RULES = [
    ("nothing under platform, settings, scene, output, optimize or split includes the host or anything that uses it",
     LOWER, HOST_SIDE),
    ("the exporter never knows where the scene came from: no part of it includes a scene source",
     EXPORTER, ("sources",)),
    ("the command line reaches the exporter only through the plug-in it loads",
     ("cli", "ui", "sources"), ("export", "translate")),
    ("only sources/assimp knows Assimp",
     tuple(f for f in LOWER + HOST_SIDE if f != "sources"), ("<assimp",)),
]


def within(folder, roots):
    return any(folder == r or folder.startswith(r + "/") for r in roots)


def include_arrows(src):
    """(folder, included folder or "<system header", why) for every include that leaves its folder."""
    arrows = []
    for root, _, files in os.walk(src):
        folder = os.path.relpath(root, src)
        for name in files:
            if not name.endswith((".h", ".cpp")):
                continue
            path = os.path.join(folder, name)
            with open(os.path.join(root, name), encoding="utf-8", errors="replace") as f:
                for line in f:
                    m = INCLUDE.match(line)
                    if not m:
                        continue
                    header = m.group(2)
                    if m.group(1) == "<":
                        arrows.append((folder, "<" + header, "%s includes <%s>" % (path, header)))
                    elif os.path.exists(os.path.join(src, header)):
                        target = os.path.dirname(header)
                        if target and target != folder:
                            arrows.append((folder, target, "%s includes %s" % (path, header)))
    return arrows


def strongly_connected(graph):
    """Tarjan's algorithm: the sets of folders that reach each other."""
    index, low, stack, on_stack, found = {}, {}, [], set(), []

    def visit(v):
        index[v] = low[v] = len(index)
        stack.append(v)
        on_stack.add(v)
        for w in graph.get(v, ()):
            if w not in index:
                visit(w)
                low[v] = min(low[v], low[w])
            elif w in on_stack:
                low[v] = min(low[v], index[w])
        if low[v] == index[v]:
            group = []
            while True:
                w = stack.pop()
                on_stack.discard(w)
                group.append(w)
                if w == v:
                    break
            found.append(sorted(group))

    for v in sorted(set(graph) | {w for ws in graph.values() for w in ws}):
        if v not in index:
            visit(v)
    return [g for g in found if len(g) > 1]


def main():
    args = [a for a in sys.argv[1:] if a != "--graph"]
    src = args[0] if args else os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "src")
    arrows = include_arrows(src)
    graph, why = {}, {}
    for a, b, reason in arrows:
        if not b.startswith("<"):
            graph.setdefault(a, set()).add(b)
            why.setdefault((a, b), []).append(reason)
    if "--graph" in sys.argv:
        for folder in sorted(graph):
            print("%s -> %s" % (folder, ", ".join(sorted(graph[folder]))))

    broken = 0
    for group in strongly_connected(graph):
        broken += 1
        print("include cycle between %s:" % ", ".join(group), file=sys.stderr)
        for a in group:
            for b in group:
                for reason in why.get((a, b), [])[:3]:
                    print("  " + reason, file=sys.stderr)
    for rule, bound, forbidden in RULES:
        breaking = [reason for a, b, reason in arrows
                    if within(a, bound) and (within(b, forbidden) or any(b.startswith(f) for f in forbidden if f.startswith("<")))]
        if breaking:
            broken += 1
            print("broken rule: %s:" % rule, file=sys.stderr)
            for reason in breaking[:5]:
                print("  " + reason, file=sys.stderr)
    return 1 if broken else 0


if __name__ == "__main__":
    sys.exit(main())
