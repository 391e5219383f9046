#!/usr/bin/python3
"""The table that ./gw bench ends with, from the benches' output. usage: table.py LOG..."""
import re
import sys

# What bench/row.h prints: bench|WHAT|OURS|UNIT|PEER|FLOOR|BOUND. Google Benchmark's own lines are read by name.
FUNCTIONS = {  # name: what, unit, bound
    'statistics_step': ('statistics step', 'us', '100'),
    'idle_cycle': ('idle monitor cycle, processor time', 'us', '300'),
    'parse_10000_leases': ('10,000 lease lines', 'ms', '10'),
    'replace_one_of_1000_lines': ('one entry of a side file of 1000 lines', 'us', '2000'),
    'decode_idprom_leaf': ('ID PROM leaf, the slowest', 'us', '5'),
}
VIEWS = {'brief': 'interface brief', 'detail': 'interface detail', 'if_mib_row': 'IF-MIB row'}
PER_NS = {'ns': 1, 'us': 1e3, 'ms': 1e6, 's': 1e9}
LINE = re.compile(r'^(\w+)\S*\s+[\d.]+ \w+\s+([\d.]+) (\w+)\s')  # the processor's time: others use the machine too


def counters(line):
    return {name: float(value) for name, value in re.findall(r'(\w+%?)=(\S+)', line)}


def function_rows(line, slowest):
    """Rows of one line of Google Benchmark; of a family only the slowest, at its first place."""
    match = LINE.match(line)
    if line.startswith('compare/'):
        figures, what = counters(line), VIEWS[line.split('/')[1]]
        yield [what, figures['answer_ms'], 'ms', 'its bare commands', figures['commands_ms'], '1.10x']
        yield [f'{what}, processor time', figures['ratio_cpu'], '', 'its bare commands', 1, '']
    elif line.startswith('diagnostics_leaf'):
        yield ['SFP diagnostics leaf', 1 + counters(line)['added%'] / 100, '', 'bus time', 1, '1.05x']
    elif match and match[1] in FUNCTIONS:
        what, unit, bound = FUNCTIONS[match[1]]
        time = float(match[2]) * PER_NS[match[3]] / PER_NS[unit]
        if what not in slowest:
            slowest[what] = [what, time, unit, '', 0, bound]
            yield slowest[what]
        slowest[what][1] = max(slowest[what][1], time)


def rows(lines):
    slowest = {}
    for line in lines:
        if line.startswith('bench|'):
            _, what, ours, unit, peer, floor, bound = line.rstrip('\n').split('|')
            yield [what, float(ours), unit, peer, float(floor), bound]
        else:
            yield from function_rows(line, slowest)


def is_above(ours, floor, bound):
    if bound.endswith('x'):
        return ours / floor > float(bound[:-1])
    return bound != '' and ours > float(bound)


def figure(number, unit):
    return f'{number:.3g} {unit}' if number < 1000 else f'{number:.0f} {unit}'


def cells(what, ours, unit, peer, floor, bound):
    return (what, figure(ours, unit), f'{peer}: {figure(floor, unit)}' if peer else '', f'{ours / floor:.2f}' if floor else '',
            bound if bound.endswith('x') or not bound else f'{bound} {unit}', 'ABOVE' if is_above(ours, floor, bound) else '')


def main():
    lines = [line for name in sys.argv[1:] for line in open(name, errors='replace')]
    table = [('what', 'ours', 'peer or floor of the same run', 'ratio', 'bound', '')]
    table += [cells(*row) for row in list(rows(lines))]  # a list: later lines change rows
    widths = [max(len(line[i]) for line in table) for i in range(6)]
    for line in table:
        print('  '.join(cell.rjust(width) if i in (1, 3, 4) else cell.ljust(width)
                        for i, (cell, width) in enumerate(zip(line, widths))).rstrip())
    return 1 if any(line[5] for line in table) else 0


if __name__ == '__main__':
    sys.exit(main())
