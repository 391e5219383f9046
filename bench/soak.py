#!/usr/bin/python3
"""A day of the gateway's life in a quarter of an hour: everything that changes, reads and disturbs it, all at once.

Runs as the last step of a lab booted with --hurry: ./gw soak [SECONDS]. Writes samples.csv, soak.svg and summary.txt
into the folder given, and ends with 1 when something grew, slowed down or failed. How that is judged: soak_report.py.

usage: soak.py SECONDS FOLDER
"""
import csv
import os
import pathlib
import re
import statistics
import subprocess
import sys
import threading
import time

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / 'tests' / 'integration'))

import soak_report  # noqa: E402
from gateway import BIN, Lab, wait_for  # noqa: E402

SAMPLE_PERIOD = 5  # seconds
RESTARTS = 0.35  # part of the run in which the agent is restarted again and again; then it lives on
RECOVERY = 10  # seconds after a restart in which a failure is the restart's
SYSLOG_LIMIT = 8 << 20  # octets; the log lives in memory here, and nobody rotates it
COMMAND_LOG = pathlib.Path('/tmp/system_cmds_with_timestamp')
PUBLISHED = pathlib.Path('/tmp/psv/Intf')

POOL, NAT, LAN = 'ip dhcp pool', 'ip nat inside source static tcp-udp-list', 'interface GigabitEthernet 0/0 ip address v4'
RULE = {'tcp_udp': 'tcp', 'local-addr': '10.0.23.10', 'local-port': '80', 'interface Cellular': '1/0'}
BINDINGS = [f'{POOL} mac-binding 02:aa:00:00:00:{i:02x} fixed-address 10.0.23.{i}' for i in range(100, 120)]
OPTIONS = ['option 15 raw lan', 'option 26 number 1400', 'option 42 ip 10.0.23.8', 'option 42 ip 10.0.23.9']
RULES = [f'{NAT} {i} {leaf} {value}' for i in range(10) for leaf, value in RULE.items()]
RULES += [f'{NAT} {i} interface global-port {8000 + i}' for i in range(10)]

PROBE = f'{POOL} mac-binding 02:bb:00:00:00:01'
BARE = '/bin/sh', '-c', 'killall -0 dnsmasq'  # what the commit of a binding cannot do without is like this

COMMITS = [  # one after the other, again and again; after the last everything is as before the first
    [f'set {line}' for line in BINDINGS],
    [f'set {POOL} options {line}' for line in OPTIONS],
    [f'set {line}' for line in RULES],
    ['set ip dhcp excluded-address excluded-address-range 10.0.23.3 high-address 10.0.23.9'],
    [f'set {LAN} ip 10.1.1.1'],
    [f'set {LAN} ip 10.0.23.2'],
    ['set snmp trap target 198.51.100.1 1162'],
    ['delete ip nat', f'delete {POOL} options'],
    [f'delete {line.split(" fixed")[0]}' for line in BINDINGS],  # not the list: the probe of the latency is in it
    ['delete ip dhcp excluded-address', 'delete snmp trap target 198.51.100.1 1162'],
]
# These take the LAN port's link away for a moment: only while the agent stays, see docs/operations.md.
LINK_COMMITS = [['set system passthrough enabled true'], ['set system passthrough enabled false']]
LINK_CHANGES = ['cable out', 'cable in', 'modem down', 'modem up']
VIEWS = ['configuration', 'configuration --defaults --set', 'interface brief', 'interface detail', 'interface table',
         'ip dhcp binding', 'ip dhcp pool', 'ip nat', 'snmp interfaces', 'status', 'transceiver', 'operational']
DISTURBANCES = ['wan 198.51.100.6 255.255.255.252', 'traffic cell_1_0 50', 'wan 198.51.100.2 255.255.255.252',
                'sfp none', 'traffic wired0 50', 'sfp calibrated']


class Soak:
    def __init__(self, seconds):
        self.lab = Lab()
        self.seconds = seconds
        self.begin = time.monotonic()
        self.stop = threading.Event()
        self.restarted = -RECOVERY  # seconds since the beginning
        self.restarts = self.published = 0
        self.done = dict.fromkeys(('commits', 'views', 'walks', 'leases', 'disturbances'), 0)
        self.failures, self.excused = [], 0

    def now(self):
        return time.monotonic() - self.begin

    def agent_stays(self):
        return self.now() > RESTARTS * self.seconds + 3 * RECOVERY

    def attempt(self, kind, work, *arguments):
        """A failure is one of the gateway's unless the agent was away meanwhile."""
        begin = self.now()
        try:
            work(*arguments)
            self.done[kind] += 1
        except (AssertionError, subprocess.SubprocessError) as failure:
            if begin - self.restarted < RECOVERY or self.restarted > begin:
                self.excused += 1
                self.stop.wait(1)
                return False
            said = (getattr(failure, 'stderr', None) or getattr(failure, 'stdout', None) or str(failure)).strip()
            self.failures.append(f'{begin:.0f} s: {kind} {arguments}: {said[-300:]}')
            print('FAILED', self.failures[-1], flush=True)
            return False
        return True

    # ---- what goes on, each in a thread of its own

    def commit_again_and_again(self):
        turn = 0
        while not self.stop.is_set():
            turn += 1
            for lines in COMMITS + (LINK_COMMITS if self.agent_stays() else []):
                if not self.attempt('commits', self.commit, *lines):
                    self.attempt('commits', self.commit, *lines)
                self.stop.wait(0.5)
            self.attempt('leases', self.lab.labctl, 'client', f'c{turn % 8}', f'02:11:22:33:44:{turn % 200:02x}')

    def commit(self, *lines):
        """Deletes what is there: a commit whose answer was lost with the agent may have been carried out."""
        running = self.lab.configuration()
        lines = [line for line in lines if not line.startswith('delete') or line.removeprefix('delete ') in running]
        self.lab.cli('configure', *lines, 'commit --accept-warnings')

    def read_again_and_again(self):
        while not self.stop.is_set():
            for view in VIEWS:
                self.attempt('views', self.lab.cli, 'show', *view.split())
                self.stop.wait(0.3)

    def walk_again_and_again(self):
        command = 'snmpbulkwalk -v2c -c public -r1 -t5 -Onq 127.0.0.1 .1.3.6.1.2.1'.split()
        while not self.stop.wait(0.6):
            self.attempt('walks', lambda: subprocess.run(command, capture_output=True, text=True, check=True))

    def disturb_again_and_again(self):
        turn = 0
        while not self.stop.wait(1):
            changes = DISTURBANCES + (LINK_CHANGES if self.agent_stays() else [])
            self.attempt('disturbances', self.lab.labctl, *changes[turn % len(changes)].split())
            turn += 1

    def restart_again_and_again(self):
        while self.now() < RESTARTS * self.seconds and not self.stop.wait(20):
            self.restarted = self.now()
            self.restarts += 1
            self.lab.labctl('kill', 'agent', 'KILL' if self.restarts % 2 else 'TERM')

    # ---- what is looked at

    def sample(self):
        row = {'seconds': round(self.now(), 1)}
        for name in soak_report.PROGRAMS:
            pid, facts = process(name)
            row.update({f'{name} {fact}': value for fact, value in {'pid': pid, **facts}.items()})
        probe = f'{POOL} mac-binding 02:bb:00:00:00:01'
        row.update(self.latencies())
        row['command log'] = COMMAND_LOG.stat().st_size
        row['files'] = sum(1 for path in pathlib.Path('/tmp').rglob('*') if path.is_file())
        self.published += self.collect()
        row['published'] = self.published
        if os.stat('/var/log/messages').st_size > SYSLOG_LIMIT:
            os.truncate('/var/log/messages', 0)
        return row

    def latencies(self):
        """In turns with a bare command, so that all meet the same machine; none while the agent comes back."""
        samples = {'bare ms': [], 'show ms': [], 'commit ms': []}
        for turn in range(6):
            if self.now() - self.restarted < RECOVERY / 2:
                return dict.fromkeys(samples)
            probe = f'delete {PROBE}' if turn % 2 else f'set {PROBE} fixed-address 10.0.23.200'
            commands = BARE, (BIN / 'gwcli', 'show', 'configuration'), (BIN / 'gwcli', 'configure', probe, 'commit')
            for times, command in zip(samples.values(), commands):
                times.append(self.time_ms(command))
        return {name: round(statistics.median(times), 2) for name, times in samples.items()}

    def time_ms(self, command):
        begin = self.now()
        done = subprocess.run(command, capture_output=True, text=True, stdin=subprocess.DEVNULL)
        time_ms = (self.now() - begin) * 1000
        if done.returncode != 0 and self.now() - self.restarted > RECOVERY:
            self.failures.append(f'{begin:.0f} s: probe {command}: {done.stderr}')
        return time_ms

    def collect(self):
        """Takes the published statistics away, as the collector of the platform does."""
        files = list(PUBLISHED.glob('*.psv'))
        for file in files:
            header, *rows = file.read_text().splitlines()
            rows = [row.split('|') for row in rows if row]
            names = [row[1] for row in rows]
            if names != ['GigabitEthernet 0/0', 'Cellular 1/0'] or {len(row) for row in rows} != {len(header.split('|'))}:
                self.failures.append(f'{file}: {rows}')
            file.unlink()
        return len(files)

    def run(self, folder):
        threads = [threading.Thread(target=getattr(self, name)) for name in dir(self) if name.endswith('_again_and_again')]
        for thread in threads:
            thread.start()
        rows = []
        with open(folder / 'samples.csv', 'w', newline='') as file:
            writer = None
            while self.now() < self.seconds:
                rows.append(self.sample())
                writer = writer or csv.DictWriter(file, rows[0])
                if len(rows) == 1:
                    writer.writeheader()
                writer.writerow(rows[-1])
                file.flush()
                self.stop.wait(max(0, len(rows) * SAMPLE_PERIOD - self.now()))
        self.stop.set()
        for thread in threads:
            thread.join()
        return rows


def process(name):
    """The process id of a supervised program, and what it holds; between two lives the figures of the next."""
    def read():
        try:
            pid = int(pathlib.Path(f'/run/lab/{name}.pid').read_text())
            status = pathlib.Path(f'/proc/{pid}/status').read_text()
            rss, threads = (int(re.search(rf'^{key}:\s+(\d+)', status, re.M)[1]) for key in ('VmRSS', 'Threads'))
            return pid, {'kB': rss, 'fds': len(os.listdir(f'/proc/{pid}/fd')), 'threads': threads}
        except (OSError, TypeError, ValueError):
            return None
    return wait_for(name, read)


def main():
    seconds, folder = int(sys.argv[1]), pathlib.Path(sys.argv[2])
    soak = Soak(seconds)
    soak.lab.in_step()
    rows = soak.run(folder)
    done = {'agent restarts': soak.restarts, **soak.done, 'failed while the agent was away': soak.excused}
    verdicts = soak_report.judge(rows, soak.failures)
    text = soak_report.summary(rows, done, verdicts)
    (folder / 'summary.txt').write_text(text)
    (folder / 'soak.svg').write_text(soak_report.plot(rows))
    print(text, end='')
    return 0 if all(ok for ok, _ in verdicts) else 1


if __name__ == '__main__':
    sys.exit(main())
