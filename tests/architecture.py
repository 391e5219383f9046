#!/usr/bin/env python3
"""Fails on an include that crosses a boundary, on a source above 500 lines and on a function above 80.

usage: architecture.py TREE

The arrows below are the architecture: a folder may include itself and what stands behind it, nothing else.
"""
import pathlib
import re
import subprocess
import sys

PLATFORM = {'platform/include'}
BASE = {'core/base'} | PLATFORM

ARROWS = {
    'protocol': set(),
    'platform/include': set(),
    'platform/confd': {'platform/include', 'protocol'},
    'platform/tollan': {'platform/include', 'platform/confd', 'protocol'},
    'platform/maker': {'platform/include', 'platform/tollan', 'protocol'},
    'platform/board': {'platform/include'},
    'platform/mtd': {'platform/include'},
    'core/base': PLATFORM,
    'show': BASE | {'config', 'monitor'},       # the selected media, the statistics ring
    'monitor': BASE | {'show', 'config'},       # interface readers; media and SNMP switches
    'ntp': BASE,
    'pat': BASE,
    'config': BASE | {'show', 'dhcp'},          # interface readers; passthrough re-applies the pool
    'dhcp': BASE | {'pat', 'monitor'},          # active mappings; the change notification
    'core': BASE | {'monitor', 'ntp', 'show', 'config', 'dhcp', 'pat'},
    'service': {'protocol'},
    'agent/model': {'protocol'},
    'agent': {'protocol', 'service', 'agent/model'},
    'cli': {'protocol', 'service'},
    'snmp': {'protocol', 'service'},
    'lab': set(),
}
FREE = ('tests', 'bench')
MAX_SOURCE, MAX_FUNCTION = 500, 80


def module_of(path):
    """The longest folder of ARROWS that holds the path."""
    parts = path.split('/')
    for depth in range(len(parts) - 1, 0, -1):
        folder = '/'.join(parts[:depth])
        if folder in ARROWS or folder in FREE:
            return folder
    return None


def included(tree, source, text):
    """The project files that a source includes, as paths from the root."""
    for name in re.findall(r'^\s*#\s*include\s+[<"]([^">]+)[">]', text, re.M):
        for folder in ('', 'platform/include/', str(pathlib.PurePosixPath(source).parent) + '/'):
            if (tree / (folder + name)).is_file():
                yield str(pathlib.PurePosixPath(folder + name))
                break


def long_functions(text):
    """(first line, length) of top-level bodies above the cap; the formatter puts their braces into column 0."""
    start = None
    for number, line in enumerate(text.splitlines(), 1):
        if line == '{':
            start = number
        elif line == '}' and start is not None:
            if number - start - 1 > MAX_FUNCTION:
                yield start, number - start - 1
            start = None


def check(tree, source):
    text = (tree / source).read_text(errors='replace')
    module = module_of(source)
    if module is None:
        yield f'{source}: in no folder of the architecture'
        return
    if module not in FREE:
        for target in included(tree, source, text):
            other = module_of(target)
            if other != module and other not in ARROWS[module]:
                yield f'{source}: includes {target}, but {module} may not include {other}'
    lines = text.count('\n')
    if lines > MAX_SOURCE:
        yield f'{source}: {lines} lines, at most {MAX_SOURCE}'
    for start, length in long_functions(text):
        yield f'{source}:{start}: a function of {length} lines, at most {MAX_FUNCTION}'


def main():
    tree = pathlib.Path(sys.argv[1])
    files = subprocess.run(['git', '-C', str(tree), 'ls-files', '--cached', '--others', '--exclude-standard'],
                           capture_output=True, text=True).stdout.splitlines()
    if not files:  # an exported tree
        files = [str(p.relative_to(tree)) for p in tree.rglob('*') if p.is_file() and 'build' not in p.parts]
    sources = [f for f in files if f.endswith(('.cpp', '.h', '.c')) and (tree / f).is_file()]
    faults = [fault for source in sorted(sources) for fault in check(tree, source)]
    print('\n'.join(faults) or f'{len(sources)} sources keep to the architecture')
    return 1 if faults or not sources else 0


if __name__ == '__main__':
    sys.exit(main())
