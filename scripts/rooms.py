#!/usr/bin/env python3
"""Prints which room includes which, and fails on an include that breaks the order of the rooms.

A room may include what the rooms above it offer, and anything of its own. What stands behind no
room's name below is private to that room. The suites, which look inside on purpose, are left out.
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent

# Each room with the headers that it offers to the rooms below it.
OFFERED = {
    "base": ["heap.h", "lock.h", "report.h"],
    "maths": ["maths.h"],
    "protocol": ["xdg-shell-client-protocol.h", "xdg-shell-server-protocol.h"],
    "animation": ["animation.h", "enum.h", "frame_object.h", "pass.h", "status.h"],
    "render": ["render.h", "platform.h"],
    "player": ["player.h"],
    "masks": [],
    "offscreen": ["offscreen_window.h"],
    "sinks": [
        "joined_recording.h",
        "open_at_once.h",
        "picture.h",
        "program_help.h",
        "sinks.h",
        "sink_arguments.h",
        "standard_descriptors.h",
    ],
    "probe": ["next_function.h", "probe.h", "report.h"],
    "studio": ["studio.h", "recording.h"],
    "device": [],
    "host": ["compositor.h"],
    "play": [],
    "compare": [],
    "scenes": [],
    "examples": [],
}
SUITES = ("tests", "bench", "fuzz")

ROOMS = list(OFFERED)


def includes_of(room: str):
    """Yields (file, room included, header included)."""
    for source in sorted((ROOT / room).rglob("*")):
        if source.suffix not in (".cpp", ".h", ".c"):
            continue
        for path in re.findall(r'^#include [<"]([a-z_]+/[^">]+)', source.read_text(), re.MULTILINE):
            other, _, header = path.partition("/")
            if other in OFFERED:
                yield source.relative_to(ROOT), other, header


def main() -> int:
    faults = []
    for room in ROOMS:
        graph = {}
        for source, other, header in includes_of(room):
            if other == room:
                continue
            graph.setdefault(other, set()).add(header)
            if ROOMS.index(other) > ROOMS.index(room):
                faults.append(f"{source}: {room} stands above {other}, but includes {header}")
            elif header not in OFFERED[other]:
                faults.append(f"{source}: {other}/{header} is private to its room")
        used = (f"{other} ({', '.join(sorted(graph[other]))})" for other in ROOMS if other in graph)
        print(f"{room:10} <- {', '.join(used) or '-'}")

    known = set(ROOMS) | set(SUITES) | {"man"}
    for folder in {path.parts[0] for path in (p.relative_to(ROOT) for p in ROOT.glob("*/meson.build"))}:
        if folder not in known and not folder.startswith("build"):
            faults.append(f"{folder}: a room that scripts/rooms.py does not know")
    print("\n".join(faults))
    return 1 if faults else 0


sys.exit(main())
