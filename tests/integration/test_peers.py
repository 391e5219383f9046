"""Peers that misbehave cost themselves only; slow handlers delay nobody who need not wait."""
import pathlib
import struct
import threading
import time
import unittest

from gateway import LAN, Gateway, Peer, wait_for

GET = 16
REPLY = 128


class PeersTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.gw = Gateway().up()

    @classmethod
    def tearDownClass(cls):
        cls.gw.close()

    def expect_others_served(self, good):
        began = time.monotonic()
        good.frame(GET, 7, struct.pack('>BBI', 0, 0, 0))
        op, request, _ = good.answer()
        self.assertEqual((op, request), (REPLY, 7))
        self.assertLess(time.monotonic() - began, 1)
        self.gw.cli('show', 'configuration')

    def test_malformed_peers_are_closed_alone(self):
        good = Peer()
        good.hello()
        cases = {
            'garbage': b'\x93\x01\xff' * 100,
            'two mebibytes announced': struct.pack('>I', 2 << 20),
            'too short for a header': struct.pack('>I', 3),
            'no such operation': struct.pack('>IBI', 5, 200, 1),
            'a request before hello': struct.pack('>IBI', 5, GET, 1),
            'a hello that cannot be read': struct.pack('>IBI', 6, 1, 1) + b'\x00',
            'another protocol version': struct.pack('>IBIHBII', 16, 1, 1, 99, 1, 0, 0),
        }
        for name, data in cases.items():
            with self.subTest(name):
                bad = Peer()
                bad.send(data)
                self.assertTrue(bad.closed())
                self.expect_others_served(good)

    def test_a_malformed_frame_after_hello_closes_that_peer_only(self):
        good, bad = Peer(), Peer()
        good.hello()
        bad.hello()
        bad.send(struct.pack('>I', 0xffffffff))
        self.assertTrue(bad.closed())
        self.expect_others_served(good)

    def test_half_a_frame_and_silence(self):
        good, half, silent = Peer(), Peer(), Peer()
        good.hello()
        half.send(struct.pack('>IBI', 100, 1, 1) + b'only this much')
        self.expect_others_served(good)
        self.assertTrue(half.closed(), 'no hello within its time')
        self.assertTrue(silent.closed(), 'no hello within its time')
        self.expect_others_served(good)

    def test_a_peer_that_never_reads_is_closed_before_it_fills_the_memory(self):
        deaf = Peer()
        deaf.hello()
        end = time.monotonic() + 60
        with self.assertRaises((ConnectionResetError, BrokenPipeError)):
            while time.monotonic() < end:
                deaf.frame(GET, 2, struct.pack('>BBI', 0, 1, 0))
        self.gw.cli('show', 'configuration')
        if self.gw.sanitized():
            return  # a sanitizer keeps what the program has freed
        status = pathlib.Path(f'/proc/{self.gw.agent.pid}/status').read_text()
        resident = int(status.split('VmRSS:')[1].split()[0])
        self.assertLess(resident, 64 * 1024, 'kB')

    def test_a_slow_handler(self):
        gw = self.gw
        gw.script('echo "$*" >>/tmp/ip_session.log; sleep 5')
        try:
            commit = threading.Thread(target=lambda: gw.commit(f'set {LAN} ip 10.4.4.1', f'set {LAN} mask 255.255.255.0'))
            calls = len(gw.script_calls())
            commit.start()
            wait_for('the handler', lambda: len(gw.script_calls()) > calls)
            began = time.monotonic()
            self.assertIn('10.4.4.1', gw.configuration(), 'the new tree is there during delivery')
            gw.cli('show', 'operational', 'led', check=False)
            self.assertLess(time.monotonic() - began, 1, 'configuration and stored data do not wait')
            gw.cli('show', 'interface', 'brief', check=False)
            waited = time.monotonic() - began
            self.assertGreater(waited, 2, 'what the daemon serves waits for it')
            commit.join()
        finally:
            gw.script()


if __name__ == '__main__':
    unittest.main(verbosity=2)
