#!/usr/bin/python3
"""What the whole gateway costs, measured in its lab against bare commands and bare round trips of the same run.

usage, as the last step of a lab: lab_bench.py BOOTED      BOOTED: when the boot began, seconds since 1970
"""
import os
import pathlib
import statistics
import subprocess
import sys
import time

BIN = '/opt/gw/bin/'
LEASES = pathlib.Path('/tmp/dnsmasq.leases')
POOL = 'ip dhcp pool mac-binding'
RELOAD = 'killall -SIGHUP dnsmasq'  # what the daemon runs for each binding
BINDINGS = {f'02:aa:00:00:00:{i:02x}': f'10.0.23.{i}' for i in range(3, 255)}
ROUND_TRIPS = 2 * len(BINDINGS) + 1  # of a walk: a key and its entry each, and the end
SETTLED = 25  # seconds after the daemon's start: its work on the data plane takes 18
IDLE_SECONDS = 60
SIZES = {'tarvod': 8, 'gw-agent': 12, 'gw-snmp': None}  # the bounds, MB


def row(what, ours, unit, peer='', floor=0.0, bound=''):
    print(f'bench|{what}|{ours:g}|{unit}|{peer}|{floor:g}|{bound}', flush=True)


def run_ms(*command):
    begin = time.monotonic()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stdin=subprocess.DEVNULL)
    return (time.monotonic() - begin) * 1000


def in_turns(rounds, *commands):
    """Medians of whole processes, which meet the same machine."""
    samples = [[run_ms(*command) for command in commands] for _ in range(rounds)]
    return [statistics.median(column) for column in zip(*samples)]


def boot(booted):
    subprocess.run([BIN + 'gwcli', 'show', 'status'], check=True, stdout=subprocess.DEVNULL)
    row('lab, from nothing to the first answer of the CLI', time.time() - booted, 's', bound='3')


def views():
    ours, floor = in_turns(200, (BIN + 'gwcli', 'show', 'configuration'), ('/host/usr/bin/true',))
    row('gwcli show configuration, whole process', ours, 'ms', 'true, whole process', floor, '15')
    ours, floor = in_turns(50, (BIN + 'gwcli', 'show', 'interface', 'detail'), ('/host/usr/bin/ip', '-s', '-j', 'link'))
    row('gwcli show interface detail', ours, 'ms', 'ip -s -j link', floor)


def bare_trips_ms():
    """With client and agent on one processor: where they wake each other across two it takes up to ten times as long."""
    agent, free = pid_of('gw-agent'), os.sched_getaffinity(0)
    one = {min(free)}
    os.sched_setaffinity(agent, one)
    took = subprocess.check_output([BIN + 'agent_bench', '--trips', str(ROUND_TRIPS)],
                                   preexec_fn=lambda: os.sched_setaffinity(0, one))
    os.sched_setaffinity(agent, free)
    return float(took)


def binding_view():
    LEASES.write_text(''.join(f'{int(time.time()) + 3600} {mac} {address} client-{i} 01:{mac}\n'
                              for i, (mac, address) in enumerate(BINDINGS.items())))
    shown = subprocess.run([BIN + 'gwcli', 'show', 'ip', 'dhcp', 'binding'], capture_output=True, text=True, check=True)
    assert all(address in shown.stdout for address in BINDINGS.values()), shown
    shows, trips = [], []
    for _ in range(5):
        shows += in_turns(10, (BIN + 'gwcli', 'show', 'ip', 'dhcp', 'binding'))
        trips.append(bare_trips_ms())
    LEASES.write_text('')
    row('show ip dhcp binding with 252 leases, whole process', statistics.median(shows), 'ms',
        f'{ROUND_TRIPS} bare round trips', statistics.median(trips), '1.5x')


def reloads_ms():
    begin = time.monotonic()
    for _ in BINDINGS:
        os.system(RELOAD)
    return (time.monotonic() - begin) * 1000


def commit_of_bindings():
    """The reloads with an empty file, and with the full one: ours grows from the one to the other."""
    lines = [f'set {POOL} {mac} fixed-address {address}' for mac, address in BINDINGS.items()]
    ours, bare = [], []
    for _ in range(3):
        empty = reloads_ms()
        ours.append(run_ms(BIN + 'gwcli', 'configure', *lines, 'commit'))
        bare.append((empty + reloads_ms()) / 2)
        run_ms(BIN + 'gwcli', 'configure', f'delete {POOL}', 'commit')
    row('252 bindings in one commit', statistics.median(ours), 'ms', '252 bare reload commands', statistics.median(bare),
        '1.4x')


def pid_of(name):
    return int(pathlib.Path(f'/run/lab/{name}.pid').read_text())


def processor_seconds(pid):
    """Of all its threads, and of the commands that it waited for."""
    own = sum(int(path.read_text().split()[0]) for path in pathlib.Path(f'/proc/{pid}/task').glob('*/schedstat'))
    fields = pathlib.Path(f'/proc/{pid}/stat').read_text().rpartition(')')[2].split()
    return own / 1e9 + (int(fields[13]) + int(fields[14])) / os.sysconf('SC_CLK_TCK')


def idle():
    time.sleep(max(0.0, SETTLED - (time.time() - float(sys.argv[1]))))
    before, begin = processor_seconds(pid_of('tarvod')), time.monotonic()
    time.sleep(IDLE_SECONDS)
    used = (processor_seconds(pid_of('tarvod')) - before) / (time.monotonic() - begin)
    row('idle daemon with its commands, of one processor', used * 100, '%', bound='0.2')


def sizes():
    for name, bound in SIZES.items():
        status = pathlib.Path(f'/proc/{pid_of(name)}/status').read_text()
        kilobytes = int(status.split('VmRSS:')[1].split()[0])
        row(f'resident size of {name}', kilobytes / 1024, 'MB', bound=bound or '')


if __name__ == '__main__':
    boot(float(sys.argv[1]))
    views()
    binding_view()
    commit_of_bindings()
    idle()
    sizes()
