"""Passthrough on, off and on again with every command in order; what is refused meanwhile."""
import pathlib
import re
import unittest

from gateway import LAN, Lab, wait_for

LOGS = {'logged': '/tmp/system_cmds_with_timestamp', 'script': '/tmp/ip_session.log', 'click': '/tmp/click.log'}
SIGNALS = pathlib.Path('/run/lab/platformd.signals')
MONITORS = re.compile('lan_mode|capacity|probe_interval')  # written by the interface monitor, at any time
STOP, STOPPED = 'echo 1 > /click/ip_passthru_disable/run', '/click/ip_passthru_disable/run <- 1'


class PassthroughTest(unittest.TestCase):
    lab = Lab()

    def lines(self):
        logs = {name: pathlib.Path(path).read_text().splitlines() for name, path in LOGS.items()}
        return {**logs, 'logged': logs['logged'][1::2], 'click': [x for x in logs['click'] if not MONITORS.search(x)]}

    def told(self, action):
        """The commands of the command log, the script's arguments and the data plane's writes that the action causes."""
        before = self.lines()
        action()
        return {name: lines[len(before[name]):] for name, lines in self.lines().items() if lines != before[name]}

    def switch(self, enabled):
        signals = int(SIGNALS.read_text())
        told = self.told(lambda: self.lab.commit(f'set system passthrough enabled {enabled}'))
        wait_for('the platform signal', lambda: int(SIGNALS.read_text() or 0) == signals + 1)
        return told

    def readdressed(self):
        """The network gives the modem another address."""
        mark = self.lab.mark()
        self.lab.labctl('cellular', '203.0.113.3', '255.255.255.248', '203.0.113.1', '192.0.2.53', '0.0.0.0')
        wait_for('the callback', lambda: 'Callback from CWAN passthrough: 0' in self.lab.log(mark))
        self.lab.cli('show', 'interface', 'brief')  # answered by the daemon, hence after the callback has ended

    def test_passthrough(self):
        self.lab.commit(f'set {LAN} ip 10.1.1.1', f'set {LAN} mask 255.255.0.0')
        lan = '2 0 0 0 10.1.1.1 255.255.255.0'
        on = {'logged': ['echo true > /tmp/passthrough'],
              'script': ['1 198.51.100.2 255.255.255.252 198.51.100.1 10.1.1.1 255.255.0.0 192.0.2.53 192.0.2.54 0', lan]}
        off = {'logged': [STOP, 'echo false > /tmp/passthrough'], 'click': [STOPPED]}
        self.assertEqual(self.switch('true'), on)
        self.assertEqual(pathlib.Path('/tmp/passthrough').read_text(), 'true\n')
        for line in (f'set {LAN} ip 10.2.2.1', f'set {LAN} mask 255.255.255.0',
                     'set ip dhcp pool network dhcp-subnet-prefix 10.9.9.0/24'):
            refused = self.lab.commit(line, check=False)
            self.assertEqual((refused.returncode, refused.stderr.count('Operation not allowed in passthrough disabled mode')),
                             (1, 1), line)
        self.assertEqual(self.switch('false'), off)
        told = self.told(self.readdressed)
        self.assertEqual((told['logged'][0], told['logged'][-2:], len(told['logged'])),
                         ("echo '10.0.23.1 24' > /click/intg_router_lan_conf/run",
                          ['echo 1 > /var/log/dns/dnsmasq_start', STOP], 11))
        self.assertEqual((told['click'][-1], len(told['click'])), (STOPPED, 4))
        on['script'][0] = '1 203.0.113.3 255.255.255.248 203.0.113.1 10.1.1.1 255.255.0.0 192.0.2.53 0.0.0.0 0'
        self.assertEqual(self.switch('true'), on)
