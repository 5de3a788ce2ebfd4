#!/usr/bin/env bash
# Checks every include in src/, platform/, tools/ and download/ against the tables of docs/architecture.md, and looks for circles.
# A path in a table stands for a file, or for a folder and all in it; the longest path counts. A file may include what stands
# in its own row, or in a row above it in the same table. The table of files lists the includes that may break this.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
exec /usr/bin/python3 - <<'END'
import graphlib
import os
import pathlib
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s*["<]([^">]+)[">]')
complaints = []


def read_tables(document):
    """Returns the tables as lists of rows, each a list of paths, and the includes that are allowed upward."""
    tables, upward = [], set()
    for table in re.findall(r'(?:^\|.*\n)+', document, re.MULTILINE):
        rows = [[re.findall(r'`([^`]+)`', cell) for cell in line.split('|')[1:3]] for line in table.splitlines()[2:]]
        if table.startswith('| room'):
            tables.append([paths for paths, _ in rows])
        elif table.startswith('| file'):
            upward |= {(source, header) for [source], [header, *_] in rows}
    return tables, upward


def longest(path, names):
    """Returns the longest of the names that holds this path, or none."""
    return max((name for name in names if f'{path}/'.startswith(f'{name}/')), key=len, default=None)


def target_of(file, name):
    """Returns the file of this house that an include means, or none for a header of the system."""
    home = rank.get(longest(file.as_posix(), rank), (0, 0))[0]
    ordered = [path for table in [tables[home]] + tables for row in table for path in row]
    roots = [file.parent]
    for path in map(pathlib.Path, ordered):
        roots += [path, *path.parents]
    return next((files[found] for root in roots if (found := os.path.normpath(f'{root}/{name}')) in files), None)


def check(file, number, target):
    source, header = file.as_posix(), target.as_posix()
    if (source, header) in upward:
        unused.discard((source, header))
        return
    own = longest(source, rank)
    if own is None:
        complaints.append(f'{source}: no table of docs/architecture.md lists it')
        return
    table, row = rank[own]
    row_of = {path: place for place, paths in enumerate(tables[table]) for path in paths}
    other = longest(header, row_of)
    if other is None or row_of[other] > row:
        complaints.append(f'{source}:{number}: may not include {header}')


files = {path.as_posix(): path for top in pathlib.Path().iterdir() if top.name not in ('.git', 'build')
         for path in top.rglob('*.*')}
tables, upward = read_tables(pathlib.Path('docs/architecture.md').read_text())
unused = set(upward)
rank = {}
for table, rows in enumerate(tables):
    for row, paths in enumerate(rows):
        for path in paths:
            # A file that a table lists by itself stays in the room of its folder.
            if not pathlib.Path(path).is_file():
                rank.setdefault(path, (table, row))
            if not pathlib.Path(path).exists():
                complaints.append(f'docs/architecture.md lists {path}, which does not exist')
graph = {}
for top in ('src', 'platform', 'tools', 'download'):
    for file in sorted(path for path in pathlib.Path(top).rglob('*') if path.suffix in ('.cpp', '.h')):
        for number, line in enumerate(file.read_text().splitlines(), 1):
            match = INCLUDE.match(line)
            target = match and target_of(file, match[1])
            if not target:
                continue
            check(file, number, target)
            unit, other = file.with_suffix('').as_posix(), target.with_suffix('').as_posix()
            if unit != other and (file.as_posix(), target.as_posix()) not in upward:
                graph.setdefault(unit, set()).add(other)
for source, header in sorted(unused):
    complaints.append(f'docs/architecture.md lists an include that does not exist: {source} of {header}')
try:
    graphlib.TopologicalSorter(graph).prepare()
except graphlib.CycleError as circle:
    complaints.append('a circle of includes: ' + ' > '.join(circle.args[1]))
sys.exit('\n'.join(complaints) or None)
END
