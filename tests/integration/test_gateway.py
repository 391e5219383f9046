"""A committed LAN address reaches the appliance; what is refused leaves everything as it was."""
import os
import subprocess

from gateway import BIN, LAN, GatewayTest, wait_for


class ServiceTest(GatewayTest):
    def test_address_and_refusals(self):
        self.assertIn('Connection refused', self.gw.cli('show', 'configuration', check=False).stderr)
        gw = self.gw.up()
        gw.commit(f'set {LAN} ip 10.1.1.1', f'set {LAN} mask 255.255.255.0')
        self.assertEqual(gw.script_calls()[-1], '2 0 0 0 10.1.1.1 255.255.255.0')
        before = gw.configuration()
        calls = gw.script_calls()
        refused = {
            f'set {LAN} mask 255.0.255.0': '/interface/GigabitEthernet{0/0}/ip/address/v4/mask: invalid netmask',
            'set interface GigabitEthernet 0/7': 'Could not find interface : [  ]',
            f'delete {LAN} mask': 'address and mask go together',
        }
        for line, reason in refused.items():
            with self.subTest(line):
                done = gw.commit(line, check=False)
                self.assertEqual(done.returncode, 1)
                self.assertIn(reason, done.stderr)
                self.assertEqual(done.stderr.count('\n'), 1, done.stderr)
                self.assertEqual(gw.configuration(), before)
        self.assertEqual(gw.script_calls(), calls)
        gw.commit(f'delete {LAN}')
        self.assertEqual(gw.script_calls()[-1], '2 0 0 0 192.168.1.1 255.255.255.0', 'the default')

    def test_detached_daemon_works_as_the_foreground_one(self):
        gw = self.gw
        gw.start_agent()
        self.assertEqual(subprocess.run([BIN / 'tarvod'], timeout=20).returncode, 0)
        pids = wait_for('the detached daemon', lambda: subprocess.run(['pidof', 'tarvod'], capture_output=True).stdout)
        pid = min(map(int, pids.split()))  # a command that it forks has its name at first
        try:
            gw.in_step()
            self.assertEqual(os.readlink(f'/proc/{pid}/cwd'), '/')
            gw.commit(f'set {LAN} ip 10.1.1.1', f'set {LAN} mask 255.255.255.0')
            self.assertEqual(gw.script_calls()[-1], '2 0 0 0 10.1.1.1 255.255.255.0')
        finally:
            os.kill(pid, 9)
