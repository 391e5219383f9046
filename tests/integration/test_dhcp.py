"""Clients on the LAN get what the committed pool says, and operators see their leases."""
import pathlib
import subprocess
import unittest

from gateway import Lab

POOL = 'set ip dhcp pool'


class DhcpTest(unittest.TestCase):
    lab = Lab()

    def client(self, *words):
        """What a client got: ip, router, dns, lease and further options, by udhcpc's names."""
        return dict(line.split('=', 1) for line in self.lab.labctl('client', *words).splitlines())

    def test_pool(self):
        lab = self.lab
        lab.commit(f'{POOL} network dhcp-subnet-prefix 10.7.7.16/28', f'{POOL} lease lease-days 0',
                   f'{POOL} lease lease-minutes 30')
        got = self.client('early', '02:11:22:33:44:01', '10.7.7.28')
        self.assertEqual([got[name] for name in ('ip', 'router', 'dns', 'lease')],
                         ['10.7.7.28', '10.7.7.17', '10.7.7.18', '1800'])
        lab.commit(f'{POOL} network dhcp-subnet-prefix 10.0.23.0/24', f'{POOL} lease lease-days 1',
                   f'{POOL} lease lease-minutes 0')
        self.assertEqual(pathlib.Path('/etc/dnsmasq/conf/dynamic.conf').read_text(),
                         'dhcp-range=10.0.23.3,10.0.23.254,255.255.255.0,1440m\n'
                         'dhcp-option=option:dns-server,10.0.23.2\ndhcp-option=option:router,10.0.23.1\n')
        shown = subprocess.run('ip -4 -br address; ip route show default', shell=True, capture_output=True, text=True)
        self.assertRegex(shown.stdout, r'(?s)srcr2\S* +UP +10.0.23.2/24 \ndhcpd\S* +UP +10.0.23.2/24 \n.*'
                                       r'\ndefault via 10.0.23.1 dev srcr2 \n$')
        first, second = self.client('early', '02:11:22:33:44:01', '10.7.7.28'), self.client('late', '02:11:22:33:44:02')
        self.assertEqual([got['ip'] for got in (first, second)], ['10.0.23.3', '10.0.23.4'], 'the old one is refused')
        self.assertEqual([second[name] for name in ('router', 'dns', 'lease')], ['10.0.23.1', '10.0.23.2', '86400'])
        self.assertIn('Address: 10.0.23.4', lab.in_world('busybox', 'nslookup', '-type=a', 'late', second['dns']))
        rows = lab.shown('ip', 'dhcp', 'binding')['gw-oper:dhcp-server']['binding']
        late = next(row for row in rows if row.pop('lease-remaining')[:4] in ('P1D', 'PT23') and row['host-name'] == 'late')
        self.assertEqual(late, {'client-address': '10.0.23.4', 'mac-address': '02:11:22:33:44:02', 'host-name': 'late',
                                'client-id': '01:02:11:22:33:44:02'})
        self.assertEqual(lab.shown('ip', 'dhcp', 'pool')['gw-oper:dhcp-server']['pool-statistics'],
                         {'leases-in-use': 2, 'free-addresses': 250, 'dhcp-subnet-prefix': '10.0.23.0/24'})


if __name__ == '__main__':
    unittest.main(verbosity=2)
