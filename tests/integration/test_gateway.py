"""A committed LAN address reaches the appliance; what is refused leaves everything as it was."""
import os
import subprocess
import time
import unittest

from gateway import BIN, LAN, STATE, Gateway, wait_for


class GatewayTest(unittest.TestCase):
    def setUp(self):
        self.gw = Gateway()
        self.addCleanup(self.gw.close)

    def test_address_and_refusals(self):
        gw = self.gw.up()
        mark = gw.mark()
        gw.commit(f'set {LAN} ip 10.1.1.1', f'set {LAN} mask 255.255.255.0')
        self.assertEqual(gw.script_calls()[-1], '2 0 0 0 10.1.1.1 255.255.255.0')
        log = gw.log(mark)
        for line in ('tarvo modified op [4] if [wired0] ip [10.1.1.1] [24] [2]',
                     'Changing the interface [wired0] IP address to [10.1.1.1/24], mask:0xffffff, 255.255.255.0',
                     '__tarvo_configure_eth: cmd: /etc/dnsmasq/ip_session.sh 2 0 0 0 10.1.1.1 255.255.255.0'):
            self.assertIn(line, log)
        before = gw.configuration()
        calls = gw.script_calls()
        refused = {
            f'set {LAN} mask 255.0.255.0': 'invalid netmask',
            'set interface GigabitEthernet 0/7': 'Could not find interface : [  ]',
            f'delete {LAN} mask': 'address and mask go together',
            f'set {LAN} ip 10.1.1': 'ip',
            'set interface GigabitEthernet 0/0 media-type copper': 'sfp or rj45',
            'set ip dhcp pool lease lease-hours 24': '23',
            'set interface GigabitEthernet': 'port',
            'set interface Ethernet 0/0': 'GigabitEthernet',
            'set snmp trap target 192.0.2.1 0': '65535',
        }
        for line, reason in refused.items():
            with self.subTest(line):
                done = gw.commit(line, check=False)
                self.assertEqual(done.returncode, 1)
                self.assertIn(reason, done.stderr)
                self.assertEqual(done.stderr.count('\n'), 1, done.stderr)
                self.assertEqual(gw.configuration(), before)
        self.assertEqual(gw.script_calls(), calls)
        self.assertIn('/interface/GigabitEthernet{0/0}/ip/address/v4/mask',
                      gw.commit(f'set {LAN} mask 255.0.255.0', check=False).stderr)

    def test_deleting_the_address_restores_the_default(self):
        gw = self.gw.up()
        gw.commit(f'set {LAN} ip 10.1.1.1', f'set {LAN} mask 255.255.0.0')
        gw.commit(f'delete {LAN}')
        self.assertEqual(gw.script_calls()[-2:], ['2 0 0 0 10.1.1.1 255.255.0.0', '2 0 0 0 192.168.1.1 255.255.255.0'])

    def test_no_agent(self):
        done = self.gw.cli('show', 'configuration', check=False)
        self.assertEqual(done.returncode, 1)
        self.assertIn('Connection refused', done.stderr)
        daemon = self.gw.start('tarvod', '-f', '1')
        self.assertEqual(daemon.wait(timeout=20), 1)
        self.assertIn('Failed to connect to confd', self.gw.log())
        self.assertEqual(self.gw.cli('no-such-command', check=False).returncode, 2)

    def test_damaged_configuration_is_kept_aside_and_the_previous_one_used(self):
        gw = self.gw.up()
        gw.commit(f'set {LAN} ip 10.1.1.1', f'set {LAN} mask 255.255.255.0')
        gw.commit(f'set {LAN} ip 10.2.2.1')
        running = next(STATE.glob('running*'))
        whole = running.read_bytes()
        damages = {'cut': whole[:len(whole) // 2], 'empty': b'', 'one byte changed': whole.replace(b'10.2.2.1', b'10.2.2.9')}
        for name, content in damages.items():
            with self.subTest(name):
                gw.kill(gw.agent)
                running.unlink()
                os.link(self.copy_of(STATE / 'config.3.json', whole), running)
                before = set(STATE.iterdir())
                with running.open('r+b') as f:  # in place: the file of the newest transaction is the same one
                    f.truncate()
                    f.write(content)
                mark = gw.mark()
                gw.start_agent()
                self.assertIn('10.1.1.1', gw.configuration())
                self.assertRegex(gw.log(mark), r'running.json is not used: (it is cut|it is empty|its hash does not match)')
                kept = set(STATE.iterdir()) - before
                self.assertIn(content, [f.read_bytes() for f in kept], 'the damaged file is kept aside')

    @staticmethod
    def copy_of(path, content):
        path.unlink(missing_ok=True)
        path.write_bytes(content)
        return path

    def test_confirmed_commit_rolls_back_by_itself_also_over_a_restart(self):
        gw = self.gw.up()
        gw.commit(f'set {LAN} ip 10.1.1.1', f'set {LAN} mask 255.255.255.0')
        gw.cli('configure', f'set {LAN} ip 10.2.2.1', 'commit confirmed 2')
        self.assertIn('10.2.2.1', gw.configuration())
        gw.kill(gw.agent)
        gw.start_agent()
        wait_for('the rollback', lambda: '10.1.1.1' in gw.configuration())
        gw.in_step()
        self.assertEqual(gw.script_calls()[-1], '2 0 0 0 10.1.1.1 255.255.255.0')
        gw.cli('configure', f'set {LAN} ip 10.3.3.1', 'commit confirmed 600', 'confirm')
        gw.cli('configure', 'rollback 1', 'commit')
        self.assertIn('10.1.1.1', gw.configuration())

    def test_detached_daemon_works_as_the_foreground_one(self):
        gw = self.gw
        gw.start_agent()
        self.assertEqual(subprocess.run([BIN / 'tarvod'], timeout=20).returncode, 0)
        pid = min(wait_for('the detached daemon', self.daemons))  # a command that it forks has its name at first
        try:
            gw.in_step()
            self.assertEqual(os.readlink(f'/proc/{pid}/cwd'), '/')
            gw.commit(f'set {LAN} ip 10.1.1.1', f'set {LAN} mask 255.255.255.0')
            self.assertEqual(gw.script_calls()[-1], '2 0 0 0 10.1.1.1 255.255.255.0')
            self.reaps_children_of(pid)
        finally:
            os.kill(pid, 9)

    @staticmethod
    def daemons():
        return [int(pid) for pid in subprocess.run(['pidof', 'tarvod'], capture_output=True, text=True).stdout.split()]

    def reaps_children_of(self, pid):
        """SIGCHLD still reaches the event loop that was made before the fork: a signal with no child logs nothing,
        and the daemon goes on."""
        mark = self.gw.mark()
        os.kill(pid, 17)
        time.sleep(0.1)
        self.gw.commit(f'set {LAN} ip 10.1.1.2')
        self.assertNotIn('Handle sig event', self.gw.log(mark))

    def test_the_daemon_outlives_the_agent(self):
        gw = self.gw.up()
        for _ in range(3):
            gw.kill(gw.agent)
            gw.start_agent()
            gw.in_step()
        self.assertIsNone(gw.daemon.poll())


if __name__ == '__main__':
    unittest.main(verbosity=2)
