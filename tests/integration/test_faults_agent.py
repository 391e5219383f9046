"""Full disks, connections by the thousand, readers that do not read, and a clock that is set."""
import contextlib
import datetime
import json
import os
import pathlib
import socket
import struct
import subprocess
import time
import unittest.mock

from faults import full, small_disk
from gateway import BIN, DHCP, EXCLUDED, LAN, PORT, STATE, GatewayTest, Peer, hello, wait_for

FIRST, ADDRESS = [f'set {LAN} ip 10.1.1.1', f'set {LAN} mask 255.255.255.0'], f'set {LAN} ip 10.1.1.{{}}'
POOL, BINDING = f'set {DHCP}', f'set {DHCP} mac-binding 02:aa:00:00:00:{{0}} fixed-address 10.0.23.{{0}}'
EXCLUDE = f'set {EXCLUDED} 10.0.23.{{0}} high-address 10.0.23.{{0}}'
CONF = pathlib.Path('/etc/dnsmasq/conf/dynamic.conf')
FILES = [*(pathlib.Path(f'/tmp/dnsmasq.{name}') for name in ('bind.dhcp_hosts', 'dhcp_opts', 'excl.dhcp_hosts')), CONF]
RANGE = 'dhcp-range=10.0.23.3,10.0.23.254,255.255.255.0,4320m\n' \
        'dhcp-option=option:dns-server,10.0.23.2\ndhcp-option=option:router,10.0.23.1\n'
GET, REPLY, GET_RUNNING = 16, 128, struct.pack('>BBI', 0, 1, 0)
CLOCK, DAY = pathlib.Path('/run/clock_step'), 86400


class AgentTest(GatewayTest):
    def expect_step(self, number):
        self.assertIn(f' ip 10.1.1.{number}\n', self.gw.configuration())
        self.gw.in_step()
        self.assertIn(f' 10.1.1.{number} ', self.gw.script_calls()[-1])

    def test_full_disk_for_the_configuration(self):
        gw = self.gw
        with small_disk(STATE):
            gw.up().commit(*FIRST)
            with full(STATE):
                before, calls = gw.configuration(), gw.script_calls()
                for commit in ('commit', 'commit confirmed 60'):
                    refused = gw.cli('configure', ADDRESS.format(2), commit, check=False)
                    self.assertEqual((refused.returncode, refused.stderr.count('\n')), (1, 1))
                    self.assertIn('.new: No space left on device', refused.stderr)
                    self.assertEqual((gw.configuration(), gw.script_calls()), (before, calls))
            gw.commit(ADDRESS.format(2))
            self.expect_step(2)
            for blocks in range(4):  # whatever little is left
                with self.subTest(blocks=blocks), full(STATE, blocks):
                    done = gw.commit(ADDRESS.format(10 + blocks), check=False)
                    gw.kill(gw.agent)
                    gw.start_agent()
                    self.assertEqual(f'10.1.1.{10 + blocks}' in gw.configuration(), done.returncode == 0, done.stderr)
                    gw.in_step()
            self.expect_step(13)
            self.assertEqual(len(gw.script_calls()), len(set(gw.script_calls())), 'each once')

    def test_full_disk_and_a_damaged_configuration(self):
        gw = self.gw
        with small_disk(STATE):
            gw.up().commit(*FIRST)
            gw.commit(ADDRESS.format(2))
            gw.kill(gw.agent)
            before, mark = set(STATE.iterdir()), gw.mark()
            cut = (STATE / 'running.json').read_bytes()[:-9]
            os.truncate(STATE / 'running.json', len(cut))  # in place: the file of the newest transaction is the same one
            with full(STATE):
                gw.start_agent(expect_up=False)
                self.assertNotEqual(gw.agent.wait(20), 0)
            gw.start_agent()
            self.expect_step(1)
            self.assertIn('running.json is not used: it is cut', gw.log(mark))
            self.assertIn(cut, [file.read_bytes() for file in set(STATE.iterdir()) - before], 'the damaged file is kept')

    def test_full_disk_for_the_files_of_the_appliance(self):
        gw = self.gw
        with small_disk('/tmp'), small_disk(CONF.parent):
            gw.up().commit(BINDING.format(10), f'{POOL} options option 26 number 1400')
            CONF.unlink()
            mark = gw.mark()
            with full('/tmp'), full(CONF.parent):
                gw.commit(BINDING.format(11), f'{POOL} options option 26 number 1500', f'{POOL} lease lease-days 2',
                          EXCLUDE.format(20))
                self.assertEqual([path.read_text() for path in FILES], ['02:aa:00:00:00:10,10.0.23.10\n', '26,1400\n', '', ''])
            for path in (f'{FILES[0]}.tmp', f'{FILES[1]}.tmp', FILES[2], 'dhcp conf file'):
                self.assertIn(f'unable to write {path}\n', gw.log(mark))
            gw.commit(f'{POOL} lease lease-days 3', EXCLUDE.format(30))
            excluded = '10.0.23.20\n\n10.0.23.30\n\n'
            self.assertEqual([path.read_text() for path in FILES[2:]], [excluded, RANGE], 'whole at the next change')
            gw.kill(gw.daemon)
            gw.start_daemon()
            gw.in_step()
            self.assertEqual([path.read_text() for path in FILES], [
                '02:aa:00:00:00:10,10.0.23.10\n02:aa:00:00:00:11,10.0.23.11\n', '26,1500\n', excluded, RANGE])

    def footprint(self):
        """Open descriptors and resident kilobytes of the agent."""
        process = pathlib.Path(f'/proc/{self.gw.agent.pid}')
        return len(os.listdir(process / 'fd')), int((process / 'status').read_text().split('VmRSS:')[1].split()[0])

    def half_open(self, count):
        """Connections in turn that say 0 to 8 bytes of a hello. One in fifty stays, the others leave, some rudely."""
        staying = []
        for n in range(count):
            peer = socket.create_connection(('127.0.0.1', PORT), timeout=20)
            peer.send(hello(role=1)[:n % 9])
            if n % 50 == 0:
                staying.append(peer)
                continue
            if n % 3 == 0:
                peer.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack('ii', 1, 0))
            peer.close()
        return staying

    def test_connections_by_the_thousand(self):
        gw = self.gw.up()
        gw.commit(*(BINDING.format(n) for n in range(10, 100)))
        slow = [Peer(role=1) for _ in range(20)]
        descriptors = self.footprint()[0]
        staying = self.half_open(1000)
        resident = self.footprint()[1]
        for turn in range(1, 21):
            staying += self.half_open(500)
            for peer in slow:
                peer.say(GET, turn, GET_RUNNING)
            self.assertIn('10.0.23.99', gw.configuration())
        for peer in staying:
            with contextlib.suppress(ConnectionError):
                self.assertEqual(peer.recv(1), b'', 'no hello within its time')
            peer.close()
        for peer in slow:
            self.assertEqual([peer.answer()[:2] for _ in range(20)], [(REPLY, turn) for turn in range(1, 21)])
        wait_for('descriptors to be given back', lambda: self.footprint()[0] <= descriptors)
        if 'san.so' not in pathlib.Path(f'/proc/{gw.agent.pid}/maps').read_text():  # a sanitizer keeps what was freed
            self.assertLess(self.footprint()[1], resident + 4096)

    def test_a_clock_that_is_set(self):
        preload = {'LD_PRELOAD': str(BIN / 'clock_step.so'), 'ASAN_OPTIONS': 'verify_asan_link_order=0'}
        self.enterContext(unittest.mock.patch.dict(os.environ, preload))
        gw = self.gw.up()
        pathlib.Path('/tmp/dnsmasq.leases').write_text(f'{int(time.time()) + 90} 02:aa:00:00:00:01 10.0.23.7 one *\n')
        for days, left in {-2: 'P2DT', 400: 'PT0S', 15000: 'PT0S'}.items():  # the last is beyond 2038
            with self.subTest(days=days):
                watch = subprocess.Popen([BIN / 'gwcli', 'watch', 'notifications', '--count', '1', '--json'],
                                         stdout=subprocess.PIPE, text=True)
                wait_for('the watcher', lambda: gw.status().count('gwcli') == 2)
                CLOCK.write_text(str(days * DAY))
                self.assertIn(f'"lease-remaining":"{left}', gw.cli('show', 'ip', 'dhcp', 'binding', '--json').stdout)
                self.assertNotRegex(gw.status(), r'uptime +-|, -\d+ s')
                gw.commit(f'{POOL} lease lease-minutes {days % 59}', *FIRST)
                told = json.loads(watch.communicate(timeout=20)[0])['time'].replace('Z', '+00:00')
                told = datetime.datetime.fromisoformat(told).timestamp()
                self.assertLess(abs(told - time.time() - days * DAY), 60)
                gw.cli('configure', ADDRESS.format(2), 'commit confirmed 4')
                CLOCK.write_text(str(-days * DAY))
                self.assertRegex(gw.status(), r'unconfirmed +transaction \d+, [1-4] s left')
                self.expect_step(2)
                wait_for('the way back', lambda: ' ip 10.1.1.1\n' in gw.configuration())
                self.expect_step(1)
