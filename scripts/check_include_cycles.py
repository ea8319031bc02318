#!/usr/bin/env python3
"""Fails when the folders under src/ include each other in a cycle.

Each folder is one library and one concept; an arrow from A to B means a
file in A includes a header of B. The arrows must form no cycle, or the two
folders are one library in disguise. Prints the arrows of every cycle found,
and with --graph the whole folder graph.

Usage: check_include_cycles.py [SRC_DIR] [--graph]"""
import os
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"')


def folder_graph(src):
    graph = {}
    for root, _, files in os.walk(src):
        folder = os.path.relpath(root, src)
        for name in files:
            if not name.endswith((".h", ".cpp")):
                continue
            with open(os.path.join(root, name), encoding="utf-8", errors="replace") as f:
                for line in f:
                    m = INCLUDE.match(line)
                    if not m or not os.path.exists(os.path.join(src, m.group(1))):
                        continue  # generated or local to the folder
                    target = os.path.dirname(m.group(1))
                    if target and target != folder:
                        graph.setdefault(folder, {}).setdefault(target, []).append(
                            "%s includes %s" % (os.path.join(folder, name), m.group(1)))
    return graph


def strongly_connected(graph):
    """Tarjan's algorithm: the folder sets that reach each other."""
    index, low, stack, on_stack, found = {}, {}, [], set(), []

    def visit(v):
        index[v] = low[v] = len(index)
        stack.append(v)
        on_stack.add(v)
        for w in graph.get(v, {}):
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

    nodes = set(graph) | {w for arrows in graph.values() for w in arrows}
    for v in sorted(nodes):
        if v not in index:
            visit(v)
    return [g for g in found if len(g) > 1]


def main():
    args = [a for a in sys.argv[1:] if a != "--graph"]
    src = args[0] if args else os.path.join(os.path.dirname(__file__), "..", "src")
    graph = folder_graph(src)
    if "--graph" in sys.argv:
        for folder in sorted(graph):
            print("%s -> %s" % (folder, ", ".join(sorted(graph[folder]))))
    cycles = strongly_connected(graph)
    for group in cycles:
        print("include cycle between %s:" % ", ".join(group), file=sys.stderr)
        for a in group:
            for b in group:
                for why in graph.get(a, {}).get(b, [])[:3]:
                    print("  %s" % why, file=sys.stderr)
    return 1 if cycles else 0


if __name__ == "__main__":
    sys.exit(main())
