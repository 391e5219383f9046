"""Managers see what operators see, through gw-snmp, and get the traps; nothing is lost without being counted."""
import base64
import os
import pathlib
import struct
import subprocess
import tempfile
import time
import unittest

from gateway import Lab, Peer, wait_for

MIB = pathlib.Path(__file__).parents[2] / 'mib'
IF_TABLE, IF_X_TABLE = '.1.3.6.1.2.1.2.2', '.1.3.6.1.2.1.31.1.1'
COLUMNS = {  # as RFC 2863 numbers them; None: not served
    IF_TABLE: 'ifIndex ifDescr ifType ifMtu ifSpeed ifPhysAddress ifAdminStatus ifOperStatus None ifInOctets '
              'ifInUcastPkts None ifInDiscards ifInErrors None ifOutOctets ifOutUcastPkts None ifOutDiscards ifOutErrors',
    IF_X_TABLE: 'ifName ifInMulticastPkts ifInBroadcastPkts ifOutMulticastPkts ifOutBroadcastPkts ifHCInOctets '
                'ifHCInUcastPkts ifHCInMulticastPkts ifHCInBroadcastPkts ifHCOutOctets ifHCOutUcastPkts '
                'ifHCOutMulticastPkts ifHCOutBroadcastPkts None ifHighSpeed',
}
NUMBERS = {'up': '1', 'down': '2', 'other': '1', 'gigabitEthernet': '117'}
SENT, WITHOUT_TARGET, UNKNOWN, UNKNOWN_BINDINGS = 1, 3, 4, 5
TRAPS = '/tmp/traps'
BASE_MODULES = {  # the names that the trap module builds on; the IETF's own are not at hand
    'SNMPv2-SMI': 'enterprises OBJECT IDENTIFIER ::= { iso 3 6 1 4 1 }',
    'SNMPv2-TC': 'DisplayString ::= OCTET STRING',
    'SNMPv2-CONF': '',
}


def snmp(command, *words, world=False, check=True):
    address = '198.51.100.2' if world else '127.0.0.1'
    words = ['snmp' + command, '-v2c', '-c', 'public', '-r0', '-t5', '-Onqe', address, *words]
    if world:
        words = ['nsenter', '--net=/run/netns/world', *words]
    return subprocess.run(words, capture_output=True, text=True, check=check).stdout.splitlines()


def pairs(lines):
    return {line.split(' ', 1)[0]: line.split(' ', 1)[1].strip('" ') for line in lines}


def text(value):
    return struct.pack('>I', len(value)) + value.encode()


def raise_trap(name, *bindings):
    """What the daemon's library sends, for names that the daemon has none of."""
    application = Peer(role=2)
    body = b''.join(text(word) for binding in bindings for word in binding)
    application.say(82, 0, text(name) + struct.pack('>I', len(bindings)) + body)
    application.say(30, 2)  # refused, and by then the trap has been taken
    application.answer()


class SnmpTest(unittest.TestCase):
    lab = Lab()

    def expected(self, table):
        """The table as the CLI's data has it."""
        objects = {}
        for row in self.lab.shown('snmp', 'interfaces')['gw-oper:if-mib']['ifEntry']:
            if 'ifSpeed' in row:
                row['ifSpeed'] = min(row['ifHighSpeed'] * 10**6, 2**32 - 1)
            row['ifPhysAddress'] = base64.b64decode(row['ifPhysAddress'])[:17].decode().replace(':', ' ')
            for number, leaf in enumerate(COLUMNS[table].split(), 1):
                if leaf in row:
                    value = str(row[leaf])
                    objects[f'{table}.1.{number}.{row["ifIndex"]}'] = NUMBERS.get(value, value)
        return objects

    def counter(self, number):
        line, = snmp('get', f'.1.3.6.1.4.1.32473.1.2.{number}.0')
        return int(line.split()[1])

    def test_tables(self):
        self.lab.labctl('traffic', 'wired0', '300')
        self.lab.labctl('traffic', 'cell_1_0', '300')
        wait_for('the first sample', lambda: int(snmp('get', IF_TABLE + '.1.10.1')[0].split()[1]) > 30000, 30)
        for table in COLUMNS:
            wait_for(table + ' as the CLI shows it',
                     lambda t=table: pairs(snmp('walk', t)) == self.expected(t) == pairs(snmp('bulkwalk', t, world=True)))
        self.assertEqual(snmp('get', '.1.3.6.1.2.1.2.1.0', IF_TABLE + '.1.5.2', '.1.3.6.1.2.1.1.5.0'),
                         ['.1.3.6.1.2.1.2.1.0 2', IF_TABLE + '.1.5.2 No Such Instance currently exists at this OID',
                          '.1.3.6.1.2.1.1.5.0 "gateway"'])

    def test_faults_below(self):
        self.lab.labctl('kill', 'daemon', 'STOP')
        failed = wait_for('old data to be refused', lambda: subprocess.run(
            ['snmpget', '-v2c', '-cpublic', '-r0', '-t5', '127.0.0.1', IF_TABLE + '.1.1.1'], capture_output=True, text=True).stderr)
        self.assertIn('genError', failed)
        self.lab.labctl('kill', 'daemon', 'CONT')
        self.lab.commit('set snmp disable true')
        wait_for('silence', lambda: not snmp('get', '.1.3.6.1.2.1.1.3.0', check=False))
        self.lab.commit('set snmp disable false')
        wait_for('an answer', lambda: snmp('get', '.1.3.6.1.2.1.1.3.0', check=False))

    def traps(self, number):
        lines = [line.split('\t') for line in pathlib.Path(TRAPS).read_text().splitlines()]
        found = [line for line in lines if line[1:] and line[1].endswith(f' .1.3.6.1.4.1.32473.1.0.{number}')]
        return [dict(binding.split(' = ') for binding in line[2:]) for line in found]

    def readdressed(self, values):
        """The trap about a change that the daemon's monitor is given time to see both sides of."""
        for address, mask in zip(values[1:3], values[3:]):
            self.lab.labctl('wan', address, mask)
            time.sleep(1)
        wanted = [f'STRING: "{value}"' for value in values]
        return next((trap for trap in self.traps(1) if list(trap.values()) == wanted), None)

    def names(self, oids):
        with tempfile.TemporaryDirectory() as folder:
            for module, body in BASE_MODULES.items():
                pathlib.Path(folder, module).write_text(f'{module} DEFINITIONS ::= BEGIN\n{body}\nEND\n')
            said = subprocess.run(['snmptranslate', '-M', f'{MIB}:{folder}', '-m', 'GW-TRAP-MIB', *oids], check=True,
                                  env={**os.environ, 'MIBS': 'GW-TRAP-MIB'}, capture_output=True, text=True).stdout
        return said.split()

    def test_traps(self):
        lost, sent = self.counter(WITHOUT_TARGET), self.counter(SENT)
        raise_trap('kvrRebootReason', ('kvrRebootReasonType', 'nobody listens'))
        wait_for('the loss to be counted', lambda: self.counter(WITHOUT_TARGET) > lost)
        self.assertEqual(self.counter(SENT), sent)

        receiver = subprocess.Popen(['nsenter', '--net=/run/netns/world', 'snmptrapd', '-f', '-On', '-C', '-Lf', TRAPS,
                                     '-F', '%v\n', '--disableAuthorization=yes', 'udp:198.51.100.1:1162'])
        self.addCleanup(receiver.wait)
        self.addCleanup(receiver.kill)
        wait_for('the receiver', lambda: ':1162' in self.lab.in_world('ss', '-lun'))
        self.lab.commit('set snmp trap target 198.51.100.1 1162')
        bindings = wait_for('the trap', lambda: self.readdressed(
            ('Cellular 1/0', '198.51.100.2', '198.51.100.77', '255.255.255.252', '255.255.255.0')), 40)
        self.assertEqual(self.names(bindings), [f'GW-TRAP-MIB::kvr{name}.0' for name in (
            'IfName', 'OldIpAddr', 'NewIpAddr', 'OldSubMask', 'NewSubMask')])

        raise_trap('kvrUnheardOf')
        raise_trap('kvrRebootReason', ('kvrRebootReasonType', 'watchdog'), ('kvrElse', 'x'))
        self.assertEqual(wait_for('what is known', lambda: self.traps(2)),
                         [{'.1.3.6.1.4.1.32473.1.1.6.0': 'STRING: "watchdog"'}])
        self.assertEqual((self.counter(UNKNOWN), self.counter(UNKNOWN_BINDINGS)), (1, 1))
