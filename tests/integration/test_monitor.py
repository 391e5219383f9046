"""What the monitor keeps in order, seen by an operator: data-plane settings, LED, traps. Its cycle takes 0.3 s here."""
import json
import pathlib
import subprocess
import time
import unittest

from gateway import BIN, Lab, wait_for

CYCLES = 1.0  # seconds for three of them
SETTINGS = ['/click/wired0_lan_mode/run <- 1', '/click/lldp_nbx_enable/run <- 1',
            '/click/routing/wan0_nat_rw_to_inet/capacity <- 16000']


class MonitorTest(unittest.TestCase):
    lab = Lab()

    def traps(self):
        """Every trap from now on, as the CLI prints them."""
        out = pathlib.Path('/tmp/watched')
        with out.open('w') as file:
            watcher = subprocess.Popen([BIN / 'gwcli', 'watch', 'traps', '--json'], stdout=file)
        self.addCleanup(watcher.wait)
        self.addCleanup(watcher.kill)
        wait_for('the watcher', lambda: self.lab.status().count('gwcli') == 2)
        return lambda: [(trap['name'], [value['value'] for value in trap['values']])
                        for trap in map(json.loads, out.read_text().splitlines())]

    def test_a_settings_and_led(self):
        def settings():
            return [line for line in self.lab.labctl('clicklog').splitlines() if line in SETTINGS]
        wait_for('the settings', lambda: len(settings()) >= 9)
        self.assertEqual(settings(), SETTINGS * 3)
        for cable, lit in ('in', 1), ('out', 0), ('in', 1):
            self.lab.labctl('cable', cable)
            wait_for(f'the LED to be {lit}', lambda: self.lab.led() == lit)

    def test_b_reboot_reason(self):
        traps = self.traps()
        self.lab.labctl('reboot-reason', 'power loss')
        reason = ('kvrRebootReason', ['power loss\\x0a'])
        wait_for('the reason', lambda: traps() == [reason], 5)
        self.lab.labctl('uptime', '1000')
        before = self.lab.pid('tarvod')
        self.lab.labctl('kill', 'daemon', 'KILL')
        wait_for('another daemon', lambda: self.lab.pid('tarvod') not in (0, before))
        self.lab.in_step()
        time.sleep(18 / 10 + 2 * CYCLES)
        self.assertEqual(traps(), [reason], 'too long after the boot')
