"""The real agent, daemon and CLI in one test sandbox, started and killed at will.

Everything uses the appliance's absolute paths; the sandbox makes them the test's own.
"""
import contextlib
import json
import os
import pathlib
import re
import shutil
import socket
import struct
import subprocess
import time
import unittest

BIN = pathlib.Path('/opt/gw/bin')
STATE = pathlib.Path('/var/lib/gw-agent')
SYSLOG = pathlib.Path('/var/log/messages')
SCRIPT = pathlib.Path('/etc/dnsmasq/ip_session.sh')
SCRIPT_LOG = pathlib.Path('/tmp/ip_session.log')
PORT = 4565

LAN = 'interface GigabitEthernet 0/0 ip address v4'
DHCP, NAT = 'ip dhcp pool', 'ip nat inside source static tcp-udp-list'
EXCLUDED = 'ip dhcp excluded-address excluded-address-range'


def wait_for(what, condition, seconds=20):
    """The condition's first true value; fails the test when it does not come."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        value = condition()
        if value:
            return value
        time.sleep(0.02)
    raise AssertionError(f'{what} did not happen within {seconds} s')


def run(*command):
    subprocess.run(command, check=True)


def rule(number, protocol, address, local, port):
    """The lines that forward a port of the WAN."""
    leaves = {'tcp_udp': protocol, 'local-addr': address, 'local-port': local, 'interface global-port': port,
              'interface Cellular': '1/0'}
    return [f'set {NAT} {number} {leaf} {value}' for leaf, value in leaves.items()]


class Console:
    """What an operator can ask of a running gateway and tell it."""

    def cli(self, *words, check=True, timeout=60):
        done = subprocess.run([BIN / 'gwcli', *words], capture_output=True, text=True, timeout=timeout,
                              stdin=subprocess.DEVNULL)
        if check and done.returncode != 0:
            raise AssertionError(f'gwcli {words}: status {done.returncode}: {done.stderr}{done.stdout}')
        return done

    def commit(self, *lines, check=True, timeout=150):
        return self.cli('configure', *lines, 'commit', check=check, timeout=timeout)

    def configuration(self):
        return self.cli('show', 'configuration', '--set').stdout

    def status(self):
        return self.cli('show', 'status').stdout

    def in_step(self):
        """Waits until the daemon has acknowledged what is running."""
        wait_for('the daemon to be in step', lambda: re.search(r'tarvod.*in step', self.status()))

    def mark(self):
        return SYSLOG.stat().st_size

    def log(self, mark=0):
        with SYSLOG.open() as f:
            f.seek(mark)
            return f.read()

    def script_calls(self):
        return SCRIPT_LOG.read_text().splitlines() if SCRIPT_LOG.exists() else []


live = unittest.skipUnless(os.path.ismount('/click'), 'the control files are plain files here')


class Lab(Console):
    """The whole lab, booted around this process: see gw_lab_test in CMakeLists.txt."""

    @staticmethod
    def labctl(*words):
        return subprocess.run(['/lab/labctl', *words], capture_output=True, text=True, check=True).stdout

    @staticmethod
    def pid(name):
        """Of a supervised program; 0 while there is none."""
        with contextlib.suppress(FileNotFoundError):
            return int(pathlib.Path(f'/run/lab/{name}.pid').read_text() or 0)
        return 0

    def client(self, mac, *words):
        """What a client got: ip, router, dns, lease and further options, by udhcpc's names."""
        got = self.labctl('client', 'c' + mac, '02:11:22:33:44:' + mac, *words)
        return dict(line.split('=', 1) for line in got.splitlines())

    def led(self):
        return self.shown('operational', 'led').get('gw-led:led', {}).get('status', {}).get('lan')

    @staticmethod
    def in_world(*command):
        """Runs a command in the network behind the gateway's cables."""
        return subprocess.run(['nsenter', '--net=/run/netns/world', *command], capture_output=True, text=True, check=True).stdout

    def shown(self, *words):
        """A view as the CLI gives it to programs."""
        return json.loads(self.cli('show', *words, '--json').stdout)


class Gateway(Console):
    def __init__(self):
        self.children = []
        self.agent = self.daemon = None
        for name in ('wired0', 'srcr2', 'cell_1_0'):  # that validation and the address script look for
            if not os.path.exists(f'/sys/class/net/{name}'):
                run('ip', 'link', 'add', name, 'up', 'type', 'veth', 'peer', 'name', name + '_p')
        shutil.rmtree(STATE, ignore_errors=True)
        for log in (SYSLOG, SCRIPT_LOG):
            log.unlink(missing_ok=True)
        SYSLOG.touch()
        SCRIPT.parent.mkdir(parents=True, exist_ok=True)
        SCRIPT.write_text('#!/bin/sh\necho "$*" >>/tmp/ip_session.log\n')  # in place of the appliance's
        SCRIPT.chmod(0o755)
        self.start('logsink', '/dev/log', str(SYSLOG))
        wait_for('the log socket', lambda: os.path.exists('/dev/log'))

    def start(self, program, *arguments, env=None):
        child = subprocess.Popen([BIN / program, *arguments], env={**os.environ, **(env or {})}, cwd='/',
                                 stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.children.append(child)
        return child

    def start_agent(self, kill_at=None, expect_up=True):
        self.agent = self.start('gw-agent', '--models', '/opt/gw/yang', '--state', str(STATE),
                                env={'GW_AGENT_KILL_AT': kill_at} if kill_at else None)
        if expect_up:
            wait_for('the agent', self.agent_answers)

    def start_daemon(self):
        mark = self.mark()
        self.daemon = self.start('tarvod', '-f', '1')
        wait_for('the registration', lambda: 'tollan module initialized' in self.log(mark))

    def up(self):
        self.start_agent()
        self.start_daemon()
        self.in_step()
        return self

    def kill(self, child):
        child.kill()
        child.wait()

    def close(self):
        for child in self.children:
            with contextlib.suppress(ProcessLookupError):
                child.kill()
            child.wait()

    @staticmethod
    def agent_answers():
        with socket.socket() as probe:
            return probe.connect_ex(('127.0.0.1', PORT)) == 0


class GatewayTest(unittest.TestCase):
    """A gateway of its own for each case."""

    def setUp(self):
        self.gw = Gateway()
        self.addCleanup(self.gw.close)


def frame(op, request, payload=b''):
    return struct.pack('>IBI', 5 + len(payload), op, request) + payload


def hello(role):
    return frame(1, 1, struct.pack('>HBI4sI', 1, role, 4, b'test', 0))


class Peer:
    """A bare connection to the agent, for saying things that no client of ours would."""

    def __init__(self, role):
        self.socket = socket.create_connection(('127.0.0.1', PORT), timeout=20)
        self.stream = self.socket.makefile('rb')
        self.socket.sendall(hello(role))
        self.answer()

    def say(self, op, request, payload=b''):
        self.socket.sendall(frame(op, request, payload))

    def answer(self):
        length, op, request = struct.unpack('>IBI', self.stream.read(9))
        return op, request, self.stream.read(length - 5)

    def __del__(self):
        self.stream.close()
        self.socket.close()
