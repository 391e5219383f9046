"""Each process killed at each phase of what it takes part in: nothing is lost or done twice, and files are whole."""
import os
import pathlib
import subprocess
import unittest

from faults import Held, replace
from gateway import BIN, DHCP, EXCLUDED, LAN, SCRIPT, SCRIPT_LOG, Gateway, wait_for

COMMANDS = pathlib.Path('/tmp/system_cmds_with_timestamp')
PUBLISHED, EXPORTS = pathlib.Path('/tmp/psv/Intf'), pathlib.Path('/tmp/tmp/Intf')
PUBLISH = '/usr/bin/psv_stats.sh'

# Two configurations, by their LAN address, that differ in every kind of entry: how to come to one from the other, and
# what the appliance's files hold then.
A, B = '10.9.9.1', '10.1.1.1'
BINDING = f'{DHCP} mac-binding 02:aa:00:00:00'
FIRST = [f'set {LAN} ip {A}', f'set {LAN} mask 255.255.255.0', f'set {DHCP} network dhcp-subnet-prefix 10.0.23.0/24',
         f'set {BINDING}:0a fixed-address 10.0.23.10', f'set {EXCLUDED} 10.0.23.20 high-address 10.0.23.21']
WAYS = {
    A: [*FIRST, f'delete {BINDING}:0b', f'delete {DHCP} options option 26', f'delete {EXCLUDED} 10.0.23.30'],
    B: [f'set {LAN} ip {B}', f'set {DHCP} network dhcp-subnet-prefix 10.0.23.0/25', f'set {BINDING}:0b fixed-address 10.0.23.11',
        f'set {DHCP} options option 26 number 1400', f'set {EXCLUDED} 10.0.23.30 high-address 10.0.23.30',
        f'delete {BINDING}:0a', f'delete {EXCLUDED} 10.0.23.20'],
}
CONF = 'dhcp-range=10.0.23.3,10.0.23.{},1440m\ndhcp-option=option:dns-server,10.0.23.2\ndhcp-option=option:router,10.0.23.1\n'
FILES = {
    '/etc/dnsmasq/conf/dynamic.conf': {A: CONF.format('254,255.255.255.0'), B: CONF.format('126,255.255.255.128')},
    '/tmp/dnsmasq.bind.dhcp_hosts': {A: '02:aa:00:00:00:0a,10.0.23.10\n', B: '02:aa:00:00:00:0b,10.0.23.11\n'},
    '/tmp/dnsmasq.dhcp_opts': {A: '', B: '26,1400\n'},
    '/tmp/dnsmasq.excl.dhcp_hosts': {A: '10.0.23.20\n10.0.23.21\n\n', B: '10.0.23.30\n\n'},
    '/click/intg_router_lan_conf/run': {A: '10.0.23.1 24\n', B: '10.0.23.1 25\n'},
}

LIST, POOL_DELIVERY, VALIDATION, READ = '/bin/killall', '/usr/bin/ip', '/bin/cat', '/sbin/ifconfig'  # what hangs in a phase
DELIVERIES = (POOL_DELIVERY, LIST, str(SCRIPT))
LOST, LEFT, KILLED = (1, 'lost the agent'), 'the application has disconnected', (-9, '')
OUTCOMES = {  # victim: the asker's status and what he reads when it dies in validation, in delivery and in a read
    'gw-agent': (LOST, LOST, LOST),
    'tarvod': ((1, f'validate_dhcp_subnet_prefix: {LEFT}'), (0, 'warning: tarvod is away'), (1, LEFT)),
    'gwcli': (KILLED, KILLED, KILLED),
    'gw-snmp': ((0, ''), (0, ''), (0, 'GigabitEthernet 0/0')),
}
UNCOMMITTED = {(VALIDATION, 'gw-agent'), (VALIDATION, 'tarvod')}
LOST_POINTS = ('before-persist', 'before-rename')  # where the agent dies of itself, and the commit is gone or in force
KEPT_POINTS = ('before-swap', 'between-deliveries', 'before-acknowledge')
HURRIED = {'GW_HURRY': '300', 'LD_PRELOAD': str(BIN / 'hurry.so'), 'ASAN_OPTIONS': 'verify_asan_link_order=0'}


class KillTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        for folder in ('/click/intg_router_lan_conf', '/click/routing/wan0_pf', PUBLISHED, EXPORTS):
            os.makedirs(folder)
        pathlib.Path('/click/routing/wan0_pf/mapped_ports').write_text('port proto address dport hits\n')
        cls.gw = Gateway().up()
        cls.addClassCleanup(cls.gw.close)
        cls.snmp = cls.gw.start('gw-snmp')
        cls.gw.commit(*FIRST)
        cls.lan, cls.calls = A, {}
        for lan in (B, A):  # undisturbed
            cls.forget_calls()
            cls.gw.commit(*WAYS[lan])
            cls.calls[lan] = cls.called()

    @staticmethod
    def forget_calls():
        COMMANDS.write_text('')
        SCRIPT_LOG.write_text('')

    @classmethod
    def called(cls):
        """What the appliance was told since then: the command log, and addresses."""
        return COMMANDS.read_text().splitlines()[1::2] + cls.gw.script_calls()

    def kill(self, victim, cli=None):
        self.gw.kill({'gw-agent': self.gw.agent, 'tarvod': self.gw.daemon, 'gwcli': cli, 'gw-snmp': self.snmp}[victim])

    def start_again(self, victim):
        if victim == 'gw-agent':
            self.gw.start_agent()
        elif victim == 'tarvod':
            self.gw.start_daemon()
        elif victim == 'gw-snmp':
            type(self).snmp = self.gw.start('gw-snmp')

    def killed(self, victim, program, *words):
        """Kills while the CLI's command waits for the program. The CLI's status and what it said."""
        self.forget_calls()
        with Held(program, '*mapped_ports' if program == VALIDATION else '*') as held:
            cli = subprocess.Popen([BIN / 'gwcli', *words], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
            held.reached()
            self.kill(victim, cli)
            held.let_go()  # before the next daemon begins
            self.start_again(victim)
        said = cli.communicate(timeout=60)[0]
        return cli.returncode, said

    def expect(self, lan):
        wait_for(f'{lan} to be configured', lambda: f'{LAN} ip {lan}\n' in self.gw.configuration())
        self.gw.in_step()
        self.assertEqual({name: pathlib.Path(name).read_text() for name in FILES},
                         {name: texts[lan] for name, texts in FILES.items()})
        shown = subprocess.run(['ip', '-4', '-br', 'address', 'show', 'srcr2'], capture_output=True, text=True).stdout
        self.assertIn('10.0.23.2/' + FILES['/click/intg_router_lan_conf/run'][lan].split()[1], shown)
        type(self).lan = lan

    def other(self):
        return B if self.lan == A else A

    def test_phases(self):
        whole = self.gw.cli('show', 'interface', 'brief').stdout
        for program in (VALIDATION, *DELIVERIES, READ):
            for victim, (in_validation, in_delivery, in_read) in OUTCOMES.items():
                with self.subTest(program, victim=victim):
                    new = self.other()
                    words = ('show', 'interface', 'brief') if program == READ else ('configure', *WAYS[new], 'commit')
                    status, said = self.killed(victim, program, *words)
                    expected, text = {VALIDATION: in_validation, READ: in_read}.get(program, in_delivery)
                    self.assertEqual(status, expected, said)
                    self.assertIn(text, said)
                    committed = program != READ and (program, victim) not in UNCOMMITTED
                    self.expect(new if committed else self.lan)
                    if victim != 'tarvod':
                        self.assertEqual(self.called(), self.calls[new] if committed else [])
                    elif committed:
                        self.assertIn(new, self.gw.script_calls()[-1])
        self.assertEqual(self.gw.cli('show', 'interface', 'brief').stdout, whole)

    def die_at(self, point, *words):
        """The agent dies there in the commit; nobody was told anything before."""
        self.kill('gw-agent')
        self.forget_calls()
        self.gw.start_agent(kill_at=point)
        self.gw.in_step()
        self.assertEqual(self.called(), [], 'a reconnect without a change delivers nothing')
        refused = self.gw.commit(*words, check=False)
        self.assertEqual((refused.returncode, self.gw.agent.wait()), (1, -9), 'the point was not reached')
        self.assertIn('lost the agent', refused.stderr)

    def test_points_of_a_commit(self):
        for point in (*LOST_POINTS, *KEPT_POINTS):
            with self.subTest(point):
                new, committed = self.other(), point in KEPT_POINTS
                self.die_at(point, *WAYS[new])
                self.gw.start_agent()
                self.expect(new if committed else self.lan)
                self.assertEqual(self.called(), self.calls[new] if committed else [])

    def test_both_killed(self):
        new = self.other()
        self.die_at('between-deliveries', *WAYS[new])
        self.kill('tarvod')
        self.gw.start_agent()
        self.gw.start_daemon()
        self.expect(new)

    def test_changed_while_the_daemon_is_away(self):
        self.kill('tarvod')
        refused = self.gw.commit(*WAYS[self.other()], check=False)
        self.assertIn('validate_', refused.stderr, 'nobody can say whether this is allowed')
        said = self.gw.commit(f'set {DHCP} options option 27 number 1')
        self.assertIn('tarvod is away', said.stdout + said.stderr)
        self.gw.start_daemon()
        self.gw.in_step()
        self.assertIn('27,1\n', pathlib.Path('/tmp/dnsmasq.dhcp_opts').read_text())
        self.gw.commit(f'delete {DHCP} options option 27')
        self.expect(self.lan)

    def test_daemon_killed_again_while_it_catches_up(self):
        new = self.other()
        self.killed('tarvod', DELIVERIES[0], 'configure', *WAYS[new], 'commit')
        for program in DELIVERIES:
            self.kill('tarvod')
            with Held(program) as held:
                self.gw.start_daemon()
                held.reached()
                self.kill('tarvod')
                held.let_go()
            self.gw.start_daemon()
        self.expect(new)

    def test_export(self):
        """What was sampled is published once, whoever dies meanwhile and however often publishing fails."""
        self.kill('tarvod')
        mark = self.gw.mark()
        replace(PUBLISH, 'exit 1')
        self.gw.daemon = self.gw.start('tarvod', '-f', '1', env=HURRIED)
        wait_for('failures', lambda: self.gw.log(mark).count('Failed to publish PSV stats') > 1)
        self.assertEqual(list(PUBLISHED.iterdir()), [])
        published = 3  # two steps of two devices at least
        for victim in ('gw-agent', 'tarvod'):
            with self.subTest(victim), Held(PUBLISH) as held:
                held.reached()
                self.kill(victim)
                held.let_go()
                self.start_again(victim)
                self.gw.in_step()
                rows = [row for file in PUBLISHED.iterdir() for row in file.read_text().split('\n')[1:] if row]
                self.assertEqual(len(rows), len(set(rows)))
                self.assertGreater(len(rows), published)
                published = len(rows)
