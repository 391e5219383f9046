"""Operators see the interfaces as the kernel counts them, from the time that they choose."""
import unittest

from gateway import Lab, wait_for

COUNTERS = ('rx-octets', 'rx-pkts', 'rx-errors', 'rx-drops', 'tx-octets', 'tx-pkts', 'tx-errors', 'tx-drops')
COLUMNS = (0, 1, 2, 3, 8, 9, 10, 11)  # of /proc/net/dev behind the name
DEVICES = {'wired0': ('GigabitEthernet', '0/0'), 'cell_1_0': ('Cellular', '1/0')}


def kernel(device):
    with open('/proc/net/dev') as f:
        fields = next(line.split() for line in f if line.split()[0] == device + ':')[1:]
    return {name: int(fields[column]) for name, column in zip(COUNTERS, COLUMNS)}


class ShowTest(unittest.TestCase):
    lab = Lab()

    def detail(self, device):
        kind, port = DEVICES[device]
        entry, = self.lab.shown('interface', 'detail', kind, port)['gw-oper:interface-view']['detail'][kind]
        return {name: int(entry[name]) for name in COUNTERS}

    def test_counters(self):
        wait_for('the first sample', lambda: self.detail('cell_1_0')['tx-pkts'], 40)
        for device in DEVICES:
            self.lab.labctl('traffic', device, '2000', '958')
        for device in DEVICES:
            wait_for(device + ' as the kernel counts', lambda d=device: self.detail(d) == kernel(d), 30)
            self.assertGreaterEqual(self.detail(device)['rx-octets'], 2000 * 1000)
        before = kernel('cell_1_0')['tx-pkts']
        self.lab.cli('clear', 'counters')
        self.assertEqual(self.detail('cell_1_0')['tx-octets'], 0)
        self.lab.labctl('traffic', 'cell_1_0', '300')
        shown = wait_for('counters from then on', lambda: self.detail('cell_1_0')['tx-pkts'])
        self.assertLessEqual(shown, kernel('cell_1_0')['tx-pkts'] - before)
