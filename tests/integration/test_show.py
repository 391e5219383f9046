"""Operators see the interfaces as the kernel counts them, with rates that agree with the traffic."""
import time
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
        return {name: int(value) if name in COUNTERS or name.endswith('ps') else value for name, value in entry.items()}

    def counts_like_the_kernel(self, device, baseline):
        shown, counted = self.detail(device), kernel(device)
        return all(shown[name] == counted[name] - baseline[name] for name in COUNTERS)

    def test_counters_rates_and_clear(self):
        nothing = dict.fromkeys(COUNTERS, 0)
        wait_for('the first sample', lambda: self.detail('cell_1_0')['tx-pkts'], 40)
        for device in DEVICES:
            self.lab.labctl('traffic', device, '2000', '958')
        for device in DEVICES:
            wait_for(device + ' as the kernel counts', lambda d=device: self.counts_like_the_kernel(d, nothing), 30)
            self.assertGreaterEqual(self.detail(device)['rx-octets'], 2000 * 1000)
        self.clear_and_measure()

    def clear_and_measure(self):
        self.lab.cli('clear', 'counters')
        self.assertEqual(self.detail('cell_1_0')['tx-octets'], 0)
        before, begin = kernel('cell_1_0'), time.monotonic()
        while time.monotonic() - begin < 15:  # two samples whose rates count, whatever part of the first is missed
            self.lab.labctl('traffic', 'cell_1_0', '10', '958')
            time.sleep(0.05)
        after, shown = kernel('cell_1_0'), self.detail('cell_1_0')
        seconds = time.monotonic() - begin
        self.assertLessEqual(shown['tx-octets'], after['tx-octets'] - before['tx-octets'])
        for rate, counter, unit in ('tx-pps', 'tx-pkts', 1), ('tx-bps', 'tx-octets', 8), ('rx-bps', 'rx-octets', 8):
            sent = (after[counter] - before[counter]) * unit / seconds
            self.assertAlmostEqual(shown[rate], sent, delta=sent * 0.2, msg=rate)

    def test_ports_that_are_down(self):
        brief = self.lab.cli('show', 'interface', 'brief').stdout
        self.assertRegex(brief, r'GigabitEthernet 0/0 .* up +up +RJ45')
        self.lab.labctl('modem', 'down')
        self.addCleanup(self.lab.labctl, 'modem', 'up')
        self.lab.labctl('cable', 'out')
        self.addCleanup(self.lab.labctl, 'cable', 'in')
        brief = self.lab.cli('show', 'interface', 'brief').stdout
        self.assertRegex(brief, r'Cellular 1/0 +0\.0\.0\.0 +0\.0\.0\.0 +down +down')
        self.assertRegex(brief, r'GigabitEthernet 0/0 .* up +down +RJ45')
