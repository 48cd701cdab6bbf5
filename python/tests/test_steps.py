"""Calls and steps by keyword, and what comes back."""

import threading
import unittest

import support  # noqa: F401  finds the module
from vorn_onu import Onu, OnuError, StepFailed


class Steps(unittest.TestCase):
    def setUp(self) -> None:
        self.onu = Onu.start()
        self.addCleanup(self.onu.close)

    def test_a_call_tells_result_output_and_effects(self) -> None:
        made = self.onu.call.vorn_omci_hal_configureBridge(bridgeId=3, uniPort=0)
        self.assertEqual((made.result, made.passed), (0, True))
        self.assertIn("br3", made.effects)
        self.onu.board(serialNumber="ACME12345678")
        self.onu.call.nvram_info_get()
        self.assertEqual(self.onu.call.sn_get().output, {"text": "ACME12345678"})
        self.assertIn("CONFIGURE BRIDGE", self.onu.hal_output())

    def test_records_are_names_mappings_or_a_null_pointer(self) -> None:
        gem = {"tContAllocId": 256, "xgemPortId": 1001, "upstreamQueue": 0}
        self.onu.call.tcont_set(allocId=256, tContIndex=1)
        self.onu.records["gem"] = gem
        self.onu.call.gemflow_add(record="gem")
        self.onu.call.gemflow_add(record=gem, xgemPortId=1002)
        self.assertEqual([port.portId for port in self.onu.state().pon.gemPorts], [1001, 1002])
        self.assertEqual(self.onu.call.gemflow_add(record=None).words, "a null pointer")
        with self.assertRaises(OnuError) as caught:
            self.onu.call.gemflow_add(record="jem")
        self.assertEqual(caught.exception.code, "bad-step")

    def test_a_mistake_is_refused_and_changes_nothing(self) -> None:
        before = self.onu.state_json("all")
        for code, step in (
            ("bad-step", lambda: self.onu.call.tcont_set(allocId=1)),
            ("bad-step", lambda: self.onu.call.tcont_set(allocId=70000, tContIndex=1)),
            ("bad-step", lambda: self.onu.frame(from_="sid0", etherType="ipv5")),
            ("bad-step", lambda: self.onu.gateway("silent", answersAfterMs=5)),
            ("bad-step", lambda: self.onu.step({"bord": {}})),
            ("bad-frame", lambda: self.onu.send(b"short", at="sid0")),
            ("bad-request", lambda: self.onu.state(trace="some")),
        ):
            with self.assertRaises(OnuError) as caught:
                step()
            self.assertEqual(caught.exception.code, code)
            self.assertIn(code, str(caught.exception))
        with self.assertRaises(TypeError):
            self.onu.call.tcont_set(alokId=1)  # type: ignore[call-arg]
        self.assertEqual(self.onu.state_json("all"), before)

    def test_what_does_not_hold_has_both_sides_and_the_way_of_a_frame(self) -> None:
        self.onu.call.configureBridge(bridgeId=3, uniPort=0)
        with self.assertRaises(AssertionError) as caught:
            self.onu.expect(bridges={"br3": ["sid0.3"]})
        for word in ("br3", "expected  sid0.3", "actual    gpon3.3"):
            self.assertIn(word, str(caught.exception))
        with self.assertRaises(StepFailed) as failed:
            self.onu.frame(from_="sid0", expect={"leaves": [{"at": "gpondef"}]})
        self.assertIn("sid0", str(failed.exception))
        self.assertIs(failed.exception.result, self.onu.last_frame)
        unchecked = self.onu.step({"expect": {"bridges": {"br4": True}}}, check=False)
        self.assertFalse(unchecked.passed)

    def test_armed_faults_are_shown_until_they_are_cleared(self) -> None:
        self.onu.fault(function="tmctl_setQueueCfg", nth=2, may=True)
        for faults in (self.onu.state().faults, self.onu.counters().faults):
            self.assertEqual([(one["function"], one["nth"]) for one in faults], [("tmctl_setQueueCfg", 2)])
        self.onu.fault("clear")
        self.assertEqual(self.onu.state().faults, [])

    def test_an_expectation_can_wait_longer_than_a_request_may_take(self) -> None:
        with Onu.attach(self.onu.name, timeout=1.0) as other:
            threading.Timer(1.5, lambda: self.onu.call.configureBridge(bridgeId=3, uniPort=0)).start()
            other.expect(bridges={"br3": True}, within=60000)

    def test_threads_share_a_board(self) -> None:
        wrong = []

        def work(bridge: int) -> None:
            for _ in range(15):
                words = self.onu.call.configureBridge(bridgeId=bridge, uniPort=0).words
                if words != f"bridgeId {bridge}, uniPort 0":
                    wrong.append(words)

        threads = [threading.Thread(target=work, args=(bridge,)) for bridge in range(3, 9)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(wrong, [])
        self.assertEqual(len(self.onu.state().network.bridges), 7)

    def test_events_come_until_the_board_ends(self) -> None:
        with self.onu.subscribe("trace", "changes") as events:
            self.onu.call.configureBridge(bridgeId=3, uniPort=0)
            first = events.next(timeout=support.HANG)
            assert first is not None
            self.assertIn(first["event"], ("trace", "change"))
            self.onu.close()
            last = [event["event"] for event in events][-1]
            self.assertEqual(last, "end")
        with self.assertRaises(OnuError) as caught:
            self.onu.call.configureBridge(bridgeId=4, uniPort=0)
        self.assertEqual(caught.exception.code, "gone")


if __name__ == "__main__":
    unittest.main()
