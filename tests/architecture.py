#!/usr/bin/env python3
"""Fails on an include that crosses a boundary, on a source above 500 lines and on a function above 80.

usage: architecture.py TREE

The arrows below are the architecture: a folder may include itself and what stands behind it, nothing else.
"""
import pathlib
import re
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
    return max((folder for folder in (*ARROWS, *FREE) if path.startswith(folder + '/')), key=len, default=None)


def included(tree, source, text):
    """The project files that a source includes, as paths from the root."""
    for name in re.findall(r'^\s*#\s*include\s+[<"]([^">]+)[">]', text, re.M):
        for folder in ('', 'platform/include/', str(pathlib.PurePosixPath(source).parent) + '/'):
            if (tree / (folder + name)).is_file():
                yield str(pathlib.PurePosixPath(folder + name))
                break


def long_functions(text):
    """(first line, length) of top-level bodies above the cap; the formatter puts their braces into column 0."""
    for body in re.finditer(r'^{\n(.*?)^}$', text, re.M | re.S):
        if body[1].count('\n') > MAX_FUNCTION:
            yield text.count('\n', 0, body.start()) + 1, body[1].count('\n')


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
    files = (path for folder in tree.glob('[!.]*') if folder.name != 'build' for path in folder.rglob('*.*'))
    sources = sorted(str(path.relative_to(tree)) for path in files if path.suffix in ('.cpp', '.h', '.c'))
    faults = [fault for source in sources for fault in check(tree, source)]
    print('\n'.join(faults) or f'{len(sources)} sources keep to the architecture')
    return 1 if faults or not sources else 0


if __name__ == '__main__':
    sys.exit(main())
