"""What a soak's samples say: the verdict, the summary and the plot."""
import statistics

PROGRAMS = ('gw-agent', 'tarvod', 'gw-snmp')
WARM_UP = 0.2  # part of a process's life in which it may still grow: caches, the first use of everything
RSS_SLACK = 256  # kB, between the first and the last third of what follows
LATENCY_SLACK = 1.5  # times the first third, each in times of a bare command of the same moment
COMMAND_LOG_LIMIT = 102400 + 4096  # octets; one entry is written before the log is cut
FILES_SLACK = 4  # temporary files come and go
CYCLES_PER_FILE = 200  # cycles of the monitor, 3 nominal seconds each, between two published files


def longest_life(rows, name):
    """The samples of the process that lived longest, without its beginning."""
    pids = [row[f'{name} pid'] for row in rows]
    pid = max(set(pids), key=pids.count)
    life = [row for row in rows if row[f'{name} pid'] == pid]
    return life[int(len(life) * WARM_UP):]


def thirds(rows, key, middle=statistics.median):
    values = [row[key] for row in rows if row[key] is not None]
    size = max(1, len(values) // 3)
    return middle(values[:size]), middle(values[-size:])


def judge(rows, failures):
    """A list of (good, what was found)."""
    verdicts = [(not failures, f'{len(failures)} failures outside of restarts' + ''.join(f'\n    {f}' for f in failures))]
    for name in PROGRAMS:
        life = longest_life(rows, name)
        minutes = (life[-1]['seconds'] - life[0]['seconds']) / 60
        first, last = thirds(life, f'{name} kB')
        verdicts.append((last - first <= RSS_SLACK, f'{name}: {first:.0f} -> {last:.0f} kB in {minutes:.1f} min of one process, '
                                                    f'slack {RSS_SLACK}'))
        first, last = thirds(life, f'{name} fds', min)  # the fewest: clients come and go
        verdicts.append((last <= first, f'{name}: {first} -> {last} descriptors at the least, slack 0'))
        threads = {row[f'{name} threads'] for row in life}
        verdicts.append((len(threads) == 1, f'{name}: {min(threads)} to {max(threads)} threads, none may come or end'))
    undisturbed = longest_life(rows, 'gw-agent')  # before it, other things go on: no passthrough, less to wait behind
    for name in 'show', 'commit':
        ratios = [{name: row[f'{name} ms'] / row['bare ms']} for row in undisturbed if row['bare ms']]
        first, last = thirds(ratios, name)
        ms = ' -> '.join(f'{value:.1f}' for value in thirds(undisturbed, f'{name} ms'))
        verdicts.append((last <= first * LATENCY_SLACK, f'{name}: {ms} ms, {first:.2f} -> {last:.2f} times a bare command, '
                                                        f'slack {LATENCY_SLACK} times the first'))
    biggest = max(row['command log'] for row in rows)
    verdicts.append((biggest <= COMMAND_LOG_LIMIT, f'command log: {biggest} octets at most, bound {COMMAND_LOG_LIMIT}'))
    first, last = thirds(rows, 'files')
    verdicts.append((last - first <= FILES_SLACK, f'files in /tmp: {first:.0f} -> {last:.0f}, slack {FILES_SLACK}'))
    published = rows[-1]['published']
    expected = int(rows[-1]['seconds'] * 100 / 600 * 0.8)
    verdicts.append((published >= expected, f'statistics files: {published} published, at least {expected} expected'))
    return verdicts


def summary(rows, done, verdicts):
    hours = rows[-1]['published'] * CYCLES_PER_FILE * 3 / 3600
    lines = [f'{rows[-1]["seconds"] / 60:.1f} minutes, {hours:.1f} nominal hours of monitor cycles, {len(rows)} samples',
             ', '.join(f'{count} {what}' for what, count in done.items()), '']
    lines += [f'{"ok  " if good else "BAD "} {text}' for good, text in verdicts]
    lines.append('nothing grew' if all(good for good, _ in verdicts) else 'SOMETHING GREW, SLOWED DOWN OR FAILED')
    return '\n'.join(lines) + '\n'


# ---- the plot

WIDTH, HEIGHT, LEFT = 760, 150, 60  # of one panel, in pixels
COLOURS = ('#1b6ca8', '#c0392b', '#2e8b57')
PANELS = [
    ('resident memory, kB', [f'{name} kB' for name in PROGRAMS]),
    ('open descriptors', [f'{name} fds' for name in PROGRAMS]),
    ('whole process, ms', ['show ms', 'commit ms', 'bare ms']),
]


def panel(rows, number, title, keys):
    top = number * (HEIGHT + 40) + 25
    values = [row[key] for row in rows for key in keys if row[key] is not None]
    high = max(values) * 1.05
    end = rows[-1]['seconds']
    out = [f'<text x="{LEFT}" y="{top - 6}" font-weight="bold">{title}</text>',
           f'<rect x="{LEFT}" y="{top}" width="{WIDTH}" height="{HEIGHT}" fill="none" stroke="#999"/>']
    for part in 0, 0.5, 1:
        y = top + HEIGHT * (1 - part)
        out.append(f'<text x="{LEFT - 6}" y="{y + 4:.0f}" text-anchor="end">{high * part:.0f}</text>')
    for minute in range(0, int(end / 60) + 1, max(1, int(end / 600))):
        x = LEFT + WIDTH * minute * 60 / end
        out.append(f'<text x="{x:.0f}" y="{top + HEIGHT + 13}" text-anchor="middle">{minute}</text>')
    for index, key in enumerate(keys):
        points = ' '.join(f'{LEFT + WIDTH * row["seconds"] / end:.0f},{top + HEIGHT * (1 - row[key] / high):.1f}'
                          for row in rows if row[key] is not None)
        out.append(f'<polyline points="{points}" fill="none" stroke="{COLOURS[index]}"/>')
        if len(keys) > 1:
            out.append(f'<text x="{LEFT + 300 + index * 110}" y="{top - 6}" fill="{COLOURS[index]}">{key.split()[0]}</text>')
    return out


def plot(rows):
    lines = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{LEFT + WIDTH + 20}" height="{len(PANELS) * (HEIGHT + 40) + 15}" '
             'font-family="sans-serif" font-size="11">', '<rect width="100%" height="100%" fill="#fff"/>']
    for number, (title, keys) in enumerate(PANELS):
        lines += panel(rows, number, title, keys)
    lines.append(f'<text x="{LEFT}" y="{len(PANELS) * (HEIGHT + 40) + 8}">minutes; the agent is restarted in the first third</text>')
    return '\n'.join([*lines, '</svg>']) + '\n'
