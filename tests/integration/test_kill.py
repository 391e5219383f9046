"""Whoever is killed, wherever: the configuration is old or new, and the daemon gets each change once."""
import unittest

from gateway import LAN, SCRIPT_LOG, Gateway, wait_for

OLD = '10.9.9.1'
NEW = '10.1.1.1'
CALL = '2 0 0 0 {} 255.255.255.0'

SET_OLD = [f'set {LAN} ip {OLD}', f'set {LAN} mask 255.255.255.0', 'set snmp trap target 192.0.2.1 162']
SET_NEW = [f'set {LAN} ip {NEW}', 'set snmp trap target 192.0.2.2 162', 'set snmp trap target 192.0.2.3 162']
AGENT_POINTS = {  # where the agent dies -> whether the commit is in force afterwards
    'before-persist': False,
    'before-rename': False,
    'before-swap': True,
    'between-deliveries': True,
    'before-acknowledge': True,
}


class KillTest(unittest.TestCase):
    def setUp(self):
        self.gw = Gateway()
        self.addCleanup(self.gw.close)

    def prepare(self):
        self.gw.up()
        self.gw.commit(*SET_OLD)
        self.gw.in_step()
        SCRIPT_LOG.unlink()

    def expect(self, new, calls=None):
        """All of the commit or nothing of it, here and in the daemon."""
        gw = self.gw
        gw.in_step()
        configuration = gw.configuration()
        self.assertEqual(NEW in configuration, new)
        self.assertEqual(OLD in configuration, not new)
        count = 3 if new else 1
        for n in (1, 2, 3):
            self.assertEqual(f'192.0.2.{n} ' in configuration, n <= count, configuration)
        self.assertEqual(gw.daemon_byte('snmp_trap_enable'), count)
        self.assertEqual(gw.script_calls(), calls if calls is not None else [CALL.format(NEW)] * new)

    def test_agent_killed_at_each_point_of_a_commit(self):
        for point, new in AGENT_POINTS.items():
            with self.subTest(point):
                self.gw.close()
                self.gw = Gateway()
                self.addCleanup(self.gw.close)
                self.prepare()
                self.gw.kill(self.gw.agent)
                self.gw.start_agent(kill_at=point)
                self.gw.in_step()
                self.assertEqual(self.gw.script_calls(), [], 'a reconnect without a change delivers nothing')
                refused = self.gw.commit(*SET_NEW, check=False)
                self.assertEqual(refused.returncode, 1)
                self.assertIn('agent', refused.stderr)
                self.assertEqual(self.gw.agent.wait(), -9, 'the kill point was not reached')
                self.gw.start_agent()
                self.expect(new)

    def test_daemon_killed_and_changed_meanwhile(self):
        self.prepare()
        self.gw.kill(self.gw.daemon)
        said = self.gw.commit('delete snmp trap target 192.0.2.1 162', *SET_NEW[1:])
        self.assertIn('tarvod', said.stdout + said.stderr, 'the operator is told that the daemon is away')
        refused = self.gw.commit(SET_NEW[0], check=False)
        self.assertIn('validate_passthrough_feature_disabled', refused.stderr, 'nobody can say whether this is allowed')
        self.gw.start_daemon()
        self.gw.in_step()
        self.assertEqual(self.gw.daemon_byte('snmp_trap_enable'), 2)
        self.assertEqual(self.gw.script_calls(), [CALL.format(OLD)], 'everything as created')

    def test_both_killed(self):
        self.prepare()
        self.gw.kill(self.gw.agent)
        self.gw.start_agent(kill_at='between-deliveries')
        self.gw.in_step()
        self.gw.commit(*SET_NEW, check=False)
        self.gw.agent.wait()
        self.gw.kill(self.gw.daemon)
        SCRIPT_LOG.unlink(missing_ok=True)
        self.gw.start_agent()
        self.gw.start_daemon()
        self.expect(True)


if __name__ == '__main__':
    unittest.main(verbosity=2)
