"""The SFP module as operators see it, and the PHY's road from 1G to 10G and back, on a board that has both."""
import pathlib
import unittest

from gateway import Lab, wait_for

PHY_LOG = pathlib.Path('/tmp/phy.log')
PORT = 'set interface GigabitEthernet 0/0 media-type'


class TransceiverTest(unittest.TestCase):
    lab = Lab()

    def leaves(self, *module):
        self.lab.labctl('sfp', *module)
        transceiver = self.lab.shown('transceiver')['gw-oper:transceiver']
        return {**transceiver['diagnostics'], **transceiver['idprom']}

    def test_modules(self):
        seen = ('temperature', 'supply-voltage', 'tx-bias', 'tx-power', 'rx-power', 'compliance', 'vendor-name')
        expected = {
            ('calibrated',): ['+25.7', '3300', '1800', '-2.4', '-3.9 ', '10G BASE-LR', 'ACME OPTICS     '],
            ('uncalibrated',): ['+25.5', '3300', '1500', '-2.5', '-3.9 ', '10G BASE-SR', 'ACME OPTICS     '],
            ('none',): ['+0.0', '0', '0', '-40', '-40', 'Unknown', 'Unknown'],
        }
        for module, values in expected.items():
            with self.subTest(module):
                leaves = self.leaves(*module)
                self.assertEqual(([leaves[name] for name in seen], len(leaves)), (values, 22))
        self.assertIn('Unable to read or detect transceiver.', self.lab.log())
        self.assertLessEqual({'Unknown', 'LC', '+25.5'}, set(self.leaves('flaky').values()), 'some leaves are lost')
        self.lab.labctl('kill', 'daemon', 'KILL')
        wait_for('the next daemon', lambda: self.lab.cli('show', 'transceiver', check=False).returncode == 0)
        self.lab.labctl('sfp', 'calibrated')
        self.assertIn('Receive power   -3.9 dBm\n', self.lab.cli('show', 'transceiver').stdout)

    def written(self, media, mac, line, *registers):
        """Selects the media, waits for the log line and for writes in this order, and gives the MAC's mode registers."""
        PHY_LOG.write_text('')
        mark = self.lab.mark()
        self.lab.labctl('mac-link', *mac)
        self.lab.commit(f'{PORT} {media}')
        wait_for(line, lambda: line in self.lab.log(mark), 60)
        writes = '\n'.join(f'write {register}' for register in registers)
        wait_for('the writes', lambda: writes in PHY_LOG.read_text())
        return [row.split()[1] for row in self.lab.labctl('mem').splitlines()[:2]]

    def test_roads(self):
        self.lab.labctl('phy', '30.8301', '1234')
        self.assertEqual(self.written('sfp', ('10g', 'up'), 'Configured reg 30.8301 with value 1234', '31.f000 0001',
                                      '31.f001 0018', '31.f001 8018', '31.f012 0a11', '31.f013 0f04'), ['00000000', '00002000'])
        self.lab.labctl('phy-status', '3ff')
        wait_for('the indication', lambda: PHY_LOG.read_text().endswith('write 31.f012 0a15\nwrite 31.f013 0f00\n'))
        self.assertEqual(self.leaves('none')['phy-link'], 'Not Connected')
        self.assertEqual(self.leaves('none')['sfp-port'], 'Enabled')
        self.assertEqual(self.written('rj45', ('1g', 'up'), 'Configured reg 30.8304 with value 0', '31.f000 0000',
                                      '31.f001 801c', '31.f001 801c'), ['00001000', '00000000'])
