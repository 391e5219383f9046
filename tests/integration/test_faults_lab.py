"""What may befall the gateway around it: no agent, control files and commands that are missing, fail or hang."""
import contextlib
import os
import pathlib
import re
import signal
import subprocess
import time
import unittest

from faults import Held, mounted, replace
from gateway import BIN, DHCP, Lab, live, rule, wait_for

ROUTER, CONF = pathlib.Path('/click/integrated_router'), pathlib.Path('/etc/dnsmasq/conf/dynamic.conf')
POOL = f'set {DHCP}'
IFCONFIG, IP = '/sbin/ifconfig', '/usr/bin/ip'
LAN_ENTRY = ('interface-view', 'brief', 'GigabitEthernet', '0/0')
MINUTE = 60 / 20  # as it is hurried here
LAN, NONE = ('10.0.23.2', '255.255.255.0'), ('0.0.0.0', '0.0.0.0')
GET_NAME = ['snmpget', '-v2c', '-cpublic', '-r0', '-t3', '127.0.0.1', '.1.3.6.1.2.1.2.2.1.2.1']
TRAP = 'trap kvrInterfaceIpAddrChange'


def forward(number):
    return rule(number, 'tcp', '10.0.23.9', 80, 8000 + number)


class FaultsTest(unittest.TestCase):
    lab = Lab()

    @contextlib.contextmanager
    def gone(self, name):
        """Killed, and not started again meanwhile."""
        victim = Lab.pid(name)
        supervisor = int(pathlib.Path(f'/proc/{victim}/stat').read_text().split()[3])
        os.kill(supervisor, signal.SIGSTOP)
        os.kill(victim, signal.SIGKILL)
        try:
            yield
        finally:
            os.kill(supervisor, signal.SIGCONT)
            wait_for('the next one', lambda: Lab.pid(name) not in (0, victim) and
                     self.lab.cli('show', 'status', check=False).returncode == 0)

    def asked(self, *words):
        """A command of the CLI under way; everybody is served meanwhile who does not need the daemon."""
        cli = subprocess.Popen([BIN / 'gwcli', *words], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        self.addCleanup(cli.stdout.close)
        time.sleep(0.5)
        self.lab.configuration()
        self.lab.led()
        self.lab.cli('configure', 'set interface GigabitEthernet 0/0 description x', 'diff')
        self.assertIsNone(cli.poll())
        return cli

    def addresses(self):
        """Address and mask of each interface, LAN first."""
        return re.findall(r' (\d+\.[\d.]+) +([\d.]+) ', self.lab.cli('show', 'interface', 'brief').stdout)

    def mappings(self):
        return [row['global-port'] for row in self.lab.shown('ip', 'nat')['gw-oper:port-forwarding'].get('mapping', [])]

    @staticmethod
    def threads(process):
        return [path.read_text() for path in pathlib.Path(f'/proc/{process}/task').glob('*/comm')]

    def test_agent_gone_for_a_minute(self):
        lab = self.lab
        wait_for('the LED', lambda: self.lab.led() == 1)
        daemon, mark = Lab.pid('tarvod'), lab.mark()
        with self.gone('gw-agent'):
            time.sleep(MINUTE)
            self.assertIn('monitor_iface\n', self.threads(daemon))
        lab.in_step()
        lab.labctl('cable', 'out')
        wait_for('the LED to go out', lambda: self.lab.led() == 0)
        with self.gone('gw-agent'):
            lab.labctl('cable', 'in')
            time.sleep(MINUTE)
            self.assertEqual(lab.log(mark).count('Failed to start cdb session'), 1)
            self.assertNotIn('monitor_iface\n', self.threads(daemon))
        lab.in_step()
        lab.commit(f'{POOL} lease lease-days 2')
        self.assertIn(',2880m\n', CONF.read_text())
        self.assertEqual(self.addresses()[0], LAN)
        self.assertEqual((self.lab.led(), Lab.pid('tarvod')), (0, daemon))
        lab.labctl('kill', 'daemon')
        wait_for('the LED to come back', lambda: self.lab.led() == 1)

    @live
    def test_control_files(self):
        lab = self.lab
        lab.labctl('wan', '198.51.100.77', '255.255.255.252')
        self.assertEqual(self.addresses()[1], ('198.51.100.77', '255.255.255.252'))
        with mounted('-t', 'tmpfs', '-o', 'ro', 'none', ROUTER / 'wan0_arpq'):
            self.assertEqual(self.addresses(), [LAN, ('198.51.100.2', '0.0.0.0')], "the device's own address instead")
        with mounted('-t', 'tmpfs', '-o', 'ro', 'none', ROUTER / 'wan0_pf'):
            lab.commit(*forward(1))
            self.assertEqual(self.mappings(), [])
        self.assertEqual(self.mappings(), [], 'what failed is not tried again')
        os.mkfifo('/run/blocking')
        with mounted('--bind', '/run/blocking', ROUTER / 'wan0_pf/set_mapped_ports'):
            commit = self.asked('configure', *forward(2), 'commit')
        self.assertEqual(pathlib.Path('/run/blocking').read_text(), '8001 80 10.0.23.9 tcp\n8002 80 10.0.23.9 tcp\n')
        self.assertEqual(commit.wait(20), 0)
        lab.commit(*forward(3))
        self.assertEqual(self.mappings(), [8001, 8002, 8003], 'all of them at the next change')

    def test_commands(self):
        lab = self.lab
        for script in (None, 'exit 1', 'echo rubbish', 'kill -9 $$'):
            with self.subTest(script):
                replace(IFCONFIG, script)
                self.assertEqual(self.addresses()[0], NONE)
        replace(IP, None)
        lab.commit(f'{POOL} lease lease-days 3')
        self.assertIn(',4320m\n', CONF.read_text())
        replace(IP, 'exec REAL "$@"')
        with Held(IFCONFIG) as held:
            said = self.asked('show', 'operational', *LAN_ENTRY, '--json').communicate(timeout=30)[0]
            self.assertIn('"path":"/interface-view/brief/GigabitEthernet{0/0}","text":"no answer within 10 s"', said)
            held.let_go()
        self.assertEqual(self.addresses()[0], LAN)

    def test_dnsmasq_down(self):
        lab = self.lab
        os.kill(Lab.pid('dnsmasq'), signal.SIGKILL)
        lab.commit(f'{POOL} mac-binding 02:11:22:33:44:0a fixed-address 10.0.23.77')
        lab.commit(f'{POOL} lease lease-days 4')
        self.assertEqual('10.0.23.77', lab.client('0a')['ip'])

    def test_snmp_agent_killed(self):
        """The request it had is lost, the trap that comes while it is away is not."""
        lab = self.lab
        lab.labctl('wan', '198.51.100.2', '255.255.255.252')
        lab.commit('set snmp trap target 198.51.100.1 1162')
        time.sleep(MINUTE / 2)  # the address is seen before it changes
        mark = lab.mark()
        with Held('/bin/cat', '*wired0/speed') as held:
            manager = subprocess.Popen(GET_NAME, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
            held.reached()
            with self.gone('gw-snmp'):
                held.let_go()
                self.assertIn('Timeout', manager.communicate()[1])
                lab.labctl('wan', '198.51.100.78', '255.255.255.252')
                wait_for('the trap to be kept', lambda: re.search('traps-kept +1\n', lab.status()))
        wait_for('the trap', lambda: f'{TRAP} sent to 198.51.100.1' in lab.log(mark))
        wait_for('an answer', lambda: subprocess.run(GET_NAME, capture_output=True).returncode == 0)
        self.assertEqual(lab.log(mark).count(TRAP), 1)
