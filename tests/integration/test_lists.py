"""The pool and all lists reach clients, data plane and operators, and go again."""
import pathlib
import subprocess
import unittest

from gateway import DHCP, EXCLUDED, Lab, live, rule

MAPPED = pathlib.Path('/click/integrated_router/wan0_pf/mapped_ports')
BINDINGS = pathlib.Path('/tmp/dnsmasq.bind.dhcp_hosts')
COMMANDS = pathlib.Path('/tmp/system_cmds_with_timestamp')
HEADER = 'port proto address dport hits\n'


class ListsTest(unittest.TestCase):
    lab = Lab()
    client = lab.client

    def pool(self, prefix, days, minutes):
        self.lab.commit(f'set {DHCP} network dhcp-subnet-prefix {prefix}', f'set {DHCP} lease lease-days {days}',
                        f'set {DHCP} lease lease-minutes {minutes}')

    def test_a_pool(self):  # before others have leases
        lab = self.lab
        self.pool('10.7.7.16/28', 0, 30)
        got = self.client('01', '10.7.7.28')
        self.assertEqual([got[name] for name in ('ip', 'router', 'dns', 'lease')],
                         ['10.7.7.28', '10.7.7.17', '10.7.7.18', '1800'])
        self.pool('10.0.23.0/24', 1, 0)
        shown = subprocess.run('ip -4 -br address; ip route show default', shell=True, capture_output=True, text=True)
        self.assertRegex(shown.stdout, r'(?s)srcr2\S* +UP +10.0.23.2/24 \ndhcpd\S* +UP +10.0.23.2/24 \n.*'
                                       r'\ndefault via 10.0.23.1 dev srcr2 \n$')
        first, second = self.client('01', '10.7.7.28'), self.client('02')
        self.assertEqual([got['ip'] for got in (first, second)], ['10.0.23.3', '10.0.23.4'], 'the old one is refused')
        self.assertEqual([second[name] for name in ('router', 'dns', 'lease')], ['10.0.23.1', '10.0.23.2', '86400'])
        self.assertIn('Address: 10.0.23.4', lab.in_world('busybox', 'nslookup', '-type=a', 'c02', second['dns']))
        rows = lab.shown('ip', 'dhcp', 'binding')['gw-oper:dhcp-server']['binding']
        late = next(row for row in rows if row.pop('lease-remaining')[:4] in ('P1D', 'PT23') and row['host-name'] == 'c02')
        self.assertEqual(late, {'client-address': '10.0.23.4', 'mac-address': '02:11:22:33:44:02', 'host-name': 'c02',
                                'client-id': '01:02:11:22:33:44:02'})
        self.assertEqual(lab.shown('ip', 'dhcp', 'pool')['gw-oper:dhcp-server']['pool-statistics'],
                         {'leases-in-use': 2, 'free-addresses': 250, 'dhcp-subnet-prefix': '10.0.23.0/24'})

    def test_exclusions_and_bindings(self):
        lab, flushes = self.lab, COMMANDS.read_text().count('flush')
        bound, address = f'{DHCP} mac-binding 02:11:22:33:44:0a', '10.0.23.5'
        lab.commit(f'set {EXCLUDED} 10.0.23.3 high-address 10.0.23.9')
        self.assertEqual(self.client('0a', address)['ip'], '10.0.23.10')
        lab.commit(f'set {bound} fixed-address {address}')
        self.assertEqual(self.client('0a')['ip'], address, 'bound, although excluded')
        self.assertIn(self.client('0b', address)['ip'], ('10.0.23.10', '10.0.23.11'))
        lab.commit(f'delete {bound}')
        self.assertNotEqual(self.client('0a', address)['ip'], address)
        lab.commit(f'delete {EXCLUDED} 10.0.23.3')
        self.assertEqual(self.client('0c', address)['ip'], address)
        self.assertEqual(COMMANDS.read_text().count('flush'), flushes, 'the LAN addresses are left alone')

    def test_options(self):
        lab, asked = self.lab, ('-', 'domain', 'rootpath', 'mtu', 'ntpsrv')
        options = {'domain': ('15 raw', 'lan'), 'rootpath': ('17 text', '/srv/a, b'), 'mtu': ('26 number', '1400'),
                   'ntpsrv': ('42 ip', '10.0.23.8 10.0.23.9')}
        lab.commit(*(f'set {DHCP} options option {key} "{value}"' for key, value in options.values() if key != '42 ip'),
                   *(f'set {DHCP} options option 42 ip {value}' for value in options['ntpsrv'][1].split()))
        got = self.client('1a', *asked)
        self.assertEqual({name: got.get(name) for name in options}, {name: value for name, (_, value) in options.items()})
        for name, (key, _) in options.items():
            lab.commit(f'delete {DHCP} options option {key.split()[0]}')
            got = self.client('1a', *asked)
            self.assertNotIn(name, got)
        self.assertFalse(set(options) & set(got))

    @live
    def test_forwarding(self):
        lab = self.lab
        lab.commit(*rule(1, 'tcp', '10.0.23.10', 80, 8080), *rule(2, 'both', '10.0.23.11', 22, 2222))
        lab.labctl('hit', '2222', '3')
        lab.labctl('hit', '8080')
        self.assertEqual(MAPPED.read_text(), HEADER + '8080 tcp 10.0.23.10 80 1\n2222 both 10.0.23.11 22 3\n')
        self.assertEqual(lab.shown('ip', 'nat')['gw-oper:port-forwarding']['mapping'][1],
                         {'index': 1, 'global-port': 2222, 'protocol': 'both', 'dest-address': '10.0.23.11',
                          'dest-port': 22, 'hits': 3})
        pool = f'set {DHCP} network dhcp-subnet-prefix 10.0.23.0/25'
        refused = lab.commit(pool, check=False)
        self.assertIn('There are existing PAT rules and the rules need to be modified', refused.stderr)
        self.assertNotIn('/25', lab.configuration())
        lab.cli('configure', pool, 'commit --accept-warnings')
        lab.cli('configure', pool.replace('/25', '/24'), 'commit --accept-warnings')
        lab.commit('delete ip nat')
        self.assertEqual(MAPPED.read_text(), HEADER)
        self.assertNotIn('mapping', str(lab.shown('ip', 'nat')))

    @live
    def test_as_many_as_there_may_be(self):
        lab = self.lab
        macs = {f'02:aa:00:00:00:{i:02x}': f'10.0.23.{i}' for i in range(3, 255)}
        rules = [line for i in range(28) for line in rule(i, 'both', f'10.0.23.1{i:02}', 65535, 65500 + i)]
        lab.commit(*(f'set {DHCP} mac-binding {mac} fixed-address {address}' for mac, address in macs.items()), *rules)
        self.assertEqual(BINDINGS.read_text(), ''.join(f'{mac},{address}\n' for mac, address in macs.items()))
        self.assertEqual(len(MAPPED.read_text().splitlines()), 29)
        self.assertEqual(len(lab.shown('ip', 'nat')['gw-oper:port-forwarding']['mapping']), 15, 'more are not shown')
        self.assertIn('28', lab.commit(*rule(28, 'tcp', '10.0.23.3', 1, 1), check=False).stderr)
        lab.commit('delete ip nat', f'delete {DHCP} mac-binding')
        self.assertEqual((BINDINGS.read_text(), MAPPED.read_text()), ('', HEADER))
