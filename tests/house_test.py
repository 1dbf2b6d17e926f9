#!/usr/bin/env python3
"""The house rules that a compiler does not check. Usage: tests/house_test.py SOURCES

- An include goes down: a folder includes what the top CMakeLists.txt adds before it, and no other folder.
- Some folders are known to few others (KNOWN_TO), and some know few others (KNOWS).
- Product files form no circle.
- No product file has more than 500 lines, and no folder more than 40 files.
- What only tests, benchmarks and fuzzers need is included by these alone.

Each offence is a line on standard output. The rules are tried on made-up trees first.
"""
import os
import re
import sys
import tempfile

MOST_LINES = 500
MOST_FILES = 40

# Folders that only these include, beside themselves. A folder stands for all below it.
KNOWN_TO = {
    "platform/linux": ["library"],
    "platform/ffmpeg": [],
    "platform/pango": [],
    "library": [],
    "companions/cameras": [],
    "companions/i18n": [],
    "hosts": [],
}
# Folders that include nothing beside these and themselves: they meet the library at its boundary.
KNOWS = {
    "hosts": ["include"],
    "companions/cameras": ["include", "base", "pixel"],
    "companions/i18n": ["include", "base"],
    "platform/ffmpeg": ["include", "base", "platform"],
    "platform/pango": ["include", "base", "platform"],
}

TEST_FOLDERS = ("tests", "platform/fake", "cmake")
OUTSIDE = ("examples",)  # programs of others: built against what is installed
TEST_FILE = re.compile(r"/testing/|_(test|testing|bench|fuzz)(_\w+)?\.\w+$|/bench\.\w+$")
SOURCE = re.compile(r"\.(cpp|h|c)$")
INCLUDE = re.compile(r'^\s*#\s*include\s*(?:"([^"]+)"|<(vexcap/[^>]+)>)', re.MULTILINE)


def below(path, folder):
    return path == folder or path.startswith(folder + "/")


def is_test(path):
    return any(below(path, folder) for folder in TEST_FOLDERS) or TEST_FILE.search("/" + path) is not None


def place(path, folders):
    """The innermost of the folders that a file lies in."""
    return max((f for f in folders if below(path, f)), key=len, default=None)


class Tree:
    def __init__(self, root):
        self.root = root
        self.files = []
        for folder, folders, names in os.walk(root):
            top = folder == root
            folders[:] = sorted(f for f in folders if not f.startswith(".") and not (top and f in ("build", "recordings")))
            self.files += [os.path.relpath(os.path.join(folder, n), root) for n in sorted(names) if not n.startswith(".")]
        known = set(self.files)
        self.product = [f for f in self.files if SOURCE.search(f) and not is_test(f) and not place(f, OUTSIDE)]
        self.includes = {}  # product file: [(line number, included file)]
        for file in self.product:
            text = self.read(file)
            found = []
            for match in INCLUDE.finditer(text):
                name = "include/" + match[2] if match[2] else match[1]
                beside = os.path.normpath(os.path.join(os.path.dirname(file), name))
                target = name if name in known else beside if beside in known else None
                if target:
                    found.append((text.count("\n", 0, match.start(1 if match[1] else 2)) + 1, target))
            self.includes[file] = found
        added = re.findall(r"^\s*add_subdirectory\(([^)\s]+)", self.read("CMakeLists.txt"), re.MULTILINE)
        self.floors = {folder: number for number, folder in enumerate(added)}

    def read(self, file):
        with open(os.path.join(self.root, file), encoding="utf-8") as content:
            return content.read()

    def floor(self, path):
        """The folder of the top CMakeLists.txt that a file belongs to."""
        return place(path, self.floors)


def directions(tree):
    for file, includes in tree.includes.items():
        here = tree.floor(file)
        if here is None:
            yield f"{file}: the top CMakeLists.txt adds no folder that it belongs to"
            continue
        for line, target in includes:
            there = tree.floor(target)
            where = f"{file}:{line}: includes {target}"
            if is_test(target):
                yield f"{where}, which is for tests"
                continue
            if there is None or tree.floors[there] > tree.floors[here]:
                yield f"{where}, which lies above {here}"
            room = place(target, KNOWN_TO)
            if room and not below(file, room) and not any(below(file, f) for f in KNOWN_TO[room]):
                yield f"{where}, and {room} is not known to {here}"
            room = place(file, KNOWS)
            if room and not below(target, room) and not any(below(target, f) for f in KNOWS[room]):
                yield f"{where}, and {room} does not know {there}"


def circles(tree):
    """Groups of files that include each other in a circle, found by Tarjan's walk."""
    arrows = {file: {t for _, t in includes if not is_test(t)} for file, includes in tree.includes.items()}
    index, low, stack, groups = {}, {}, [], []

    def walk(node):
        index[node] = low[node] = len(index)
        stack.append(node)
        for other in sorted(arrows.get(node, ())):
            if other not in index:
                walk(other)
                low[node] = min(low[node], low[other])
            elif other in stack:
                low[node] = min(low[node], index[other])
        if low[node] == index[node]:
            group = stack[stack.index(node):]
            del stack[stack.index(node):]
            if len(group) > 1:
                groups.append(sorted(group))

    sys.setrecursionlimit(10000)
    for node in sorted(arrows):
        if node not in index:
            walk(node)
    for group in groups:
        yield "a circle: " + ", ".join(group)


def sizes(tree):
    for file in tree.product:
        lines = tree.read(file).count("\n")
        if lines > MOST_LINES:
            yield f"{file}: {lines} lines, more than {MOST_LINES}"
    counts = {}
    for file in tree.files:
        folder = os.path.dirname(file)
        counts[folder] = counts.get(folder, 0) + 1
    for folder, count in sorted(counts.items()):
        if count > MOST_FILES:
            yield f"{folder or '.'}: {count} files, more than {MOST_FILES}"


def offences(root):
    tree = Tree(root)
    return [line for rule in (directions, circles, sizes) for line in rule(tree)]


GOOD = {
    "CMakeLists.txt": "add_subdirectory(include)\nadd_subdirectory(base)\nadd_subdirectory(platform)\n"
                      "add_subdirectory(graph)\nadd_subdirectory(library)\nadd_subdirectory(hosts/cli)\n",
    "include/vexcap/vexcap.h": "",
    "base/text.h": "#include <vexcap/vexcap.h>\n",
    "platform/fake/clock.h": "#include \"base/text.h\"\n",
    "platform/linux/clock.h": "",
    "graph/pin.h": "#include \"base/text.h\"\n",
    "graph/pin.cpp": "#include \"graph/pin.h\"\n" + "\n" * (MOST_LINES - 1),
    "graph/pin_testing.h": "#include \"graph/pin.h\"\n",
    "graph/testing/screen.h": "#include \"platform/fake/clock.h\"\n",
    "graph/pin_test.cpp": "#include \"graph/pin_testing.h\"\n#include \"platform/fake/clock.h\"\n" + "\n" * MOST_LINES,
    "library/composition.cpp": "#include \"platform/linux/clock.h\"\n#include \"graph/pin.h\"\n",
    "hosts/cli/main.cpp": "#include <vexcap/vexcap.h>\n",
    "examples/camera.c": "#include <vexcap/vexcap.h>\n",
}
BAD = [
    ({"base/list.cpp": "\n#include \"graph/pin.h\"\n"}, ["base/list.cpp:2: includes graph/pin.h, which lies above base"]),
    ({"graph/filter.h": "#include \"pin.h\"\n", "graph/pin.h": "#include \"graph/filter.h\"\n"},
     ["a circle: graph/filter.h, graph/pin.h"]),
    ({"graph/a.h": "#include \"graph/b.h\"\n", "graph/b.h": "#include \"graph/c.h\"\n", "graph/c.h": "#include \"graph/a.h\"\n"},
     ["a circle: graph/a.h, graph/b.h, graph/c.h"]),
    ({"graph/pin.cpp": "\n" * (MOST_LINES + 1)}, [f"graph/pin.cpp: {MOST_LINES + 1} lines, more than {MOST_LINES}"]),
    ({f"base/{i}.txt": "" for i in range(MOST_FILES)}, [f"base: {MOST_FILES + 1} files, more than {MOST_FILES}"]),
    ({"graph/pin.cpp": "#include \"graph/pin_testing.h\"\n"},
     ["graph/pin.cpp:1: includes graph/pin_testing.h, which is for tests"]),
    ({"graph/pin.cpp": "#include \"platform/fake/clock.h\"\n"},
     ["graph/pin.cpp:1: includes platform/fake/clock.h, which is for tests"]),
    ({"graph/pin.cpp": "#include \"platform/linux/clock.h\"\n"},
     ["graph/pin.cpp:1: includes platform/linux/clock.h, and platform/linux is not known to graph"]),
    ({"hosts/cli/main.cpp": "#include \"base/text.h\"\n"},
     ["hosts/cli/main.cpp:1: includes base/text.h, and hosts does not know base"]),
    ({"attic/old.cpp": ""}, ["attic/old.cpp: the top CMakeLists.txt adds no folder that it belongs to"]),
]


def tried():
    """The rules on made-up trees: a good one, and with one offence each."""
    for changed, expected in [({}, [])] + BAD:
        with tempfile.TemporaryDirectory() as root:
            for file, text in {**GOOD, **changed}.items():
                os.makedirs(os.path.dirname(os.path.join(root, file)), exist_ok=True)
                with open(os.path.join(root, file), "w", encoding="utf-8") as out:
                    out.write(text)
            found = offences(root)
            if found != expected:
                print(f"the rules find {found} instead of {expected}")
                return False
    return True


def main():
    if not tried():
        return 1
    found = offences(sys.argv[1])
    print("\n".join(found))
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
