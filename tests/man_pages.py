#!/usr/bin/env python3
"""Fails when a man page lacks an option or a command that its program tells in its help.

usage: man_pages.py SOURCE-TREE PROGRAM-FOLDER
"""
import pathlib
import re
import subprocess
import sys

PAGES = {'gw-agent': 'gw-agent.8', 'gw-snmp': 'gw-snmp.8', 'gwcli': 'gwcli.1'}  # tarvod tells nothing, it would detach


def missing(tree, programs):
    for program, page in PAGES.items():
        told = subprocess.run([programs / program, '--help'], capture_output=True, text=True, check=True).stdout
        macros = re.findall(r'^\.(.*)$', (tree / 'packaging/man' / page).read_text(), re.M)
        options = {name for line in macros if line.startswith('It ') for name in re.findall(r'Fl -([a-z-]+)', line)}
        yield from (f'{page}: --{name}' for name in sorted(set(re.findall(r'--([a-z-]+)', told)) - options))
        for command in re.findall(r'^  ([a-z]+(?: [a-z]+)*)', told, re.M):
            if not any(re.search(rf'(Cm|,) {command}( |$)', line) for line in macros):
                yield f'{page}: {command}'


if __name__ == '__main__':
    faults = list(missing(pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])))
    print('\n'.join(faults) or 'the man pages have every option and command')
    sys.exit(1 if faults else 0)
