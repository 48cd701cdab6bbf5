"""How boards begin, and that they end."""

import os
import pathlib
import signal
import socket
import stat
import subprocess
import sys
import tempfile
import threading
import time
import unittest
import unittest.mock

import support
from vorn_onu import Onu, OnuError, boards, unique_name
from vorn_onu.connection import Connection

# Tells where its board is: the tool's process.
BEGIN = """
import os, sys, time
from vorn_onu import Onu
onu = Onu.start()
print(onu.info().process, flush=True)
"""


class Beginnings(unittest.TestCase):
    def refused(self, code: str, *words: str, **wishes) -> None:
        with self.assertRaises(OnuError) as caught:
            Onu.start(**wishes)
        self.assertEqual(caught.exception.code, code)
        for word in words:
            self.assertIn(word, str(caught.exception))

    def program(self, text: str) -> str:
        path = pathlib.Path(tempfile.mkdtemp(prefix="vorn-onu-test-")) / "tool"
        self.addCleanup(lambda: (path.unlink(), path.parent.rmdir()))
        path.write_text("#!/bin/sh\n" + text)
        path.chmod(path.stat().st_mode | stat.S_IXUSR)
        return str(path)

    def test_what_cannot_begin_says_why_and_leaves_nothing(self) -> None:
        folder = tempfile.TemporaryDirectory(prefix="vorn-onu-test-")
        self.addCleanup(folder.cleanup)
        self.addCleanup(setattr, tempfile, "tempdir", tempfile.tempdir)
        tempfile.tempdir = folder.name
        self.refused("no-tool", "no-such-tool", tool="/no-such-tool")
        self.refused("not-started", "cannot be opened", scenario="/no/such/file.json")
        self.refused("not-started", "out of order", tool=self.program("echo out of order >&2; exit 3\n"))
        slow = self.program(f"echo slow today; exec sleep {support.HANG}\n")
        for seconds in (0.2, 2, 20):  # what it has printed is in the error, once it has come to print
            with self.assertRaises(OnuError) as caught:
                Onu.start(tool=slow, start_timeout=seconds)
            self.assertEqual(caught.exception.code, "timeout")
            if "slow today" in str(caught.exception):
                break
        self.assertIn("slow today", str(caught.exception))
        with tempfile.NamedTemporaryFile("w", suffix=".json") as scenario:
            scenario.write('{"title": "x", "steps": [{"expect": {"bridges": {"br7": true}}}]}')
            scenario.flush()
            self.refused("not-started", "step 1", "br7", scenario=scenario.name)
        with Onu.start() as onu:
            self.refused("not-started", "runs already", name=onu.name)
        self.assertEqual(list(pathlib.Path(folder.name).glob("vorn-onu-py-*")), [])

    def test_what_makes_no_sense_is_an_onu_error_and_leaves_the_board_as_it_is(self) -> None:
        for program in ("ls -l", b"ls", [], ["ls", 5]):
            with self.subTest(program), self.assertRaises(OnuError) as caught:
                Onu.exec(program)
            self.assertEqual(caught.exception.code, "bad-program")
        with self.assertRaises(OnuError) as caught:
            Onu.exec(["ls", "a\0b"])
        self.assertEqual(caught.exception.code, "not-started")
        with Onu.start() as onu:
            for value, code in ((float("nan"), "bad-step"), ({1, 2}, "bad-step"), (10**400, "bad-request")):
                with self.subTest(repr(value)[:20]), self.assertRaises(OnuError) as caught:
                    onu.step({"advance": value})
                self.assertEqual(caught.exception.code, code)
            self.assertEqual(onu.info().process, onu.info().process)
        for timeout in (-1, float("nan"), "soon"):
            with self.subTest(timeout), self.assertRaises(OnuError) as caught:
                Onu.attach("nobody", timeout=timeout)
            self.assertEqual(caught.exception.code, "bad-timeout")

    def test_a_board_is_looked_for_where_this_users_boards_are_alone(self) -> None:
        for name in ("../lab", "a/b", "", ".hidden", "-x", "x" * 41, "new\nline"):
            with self.subTest(name), self.assertRaises(OnuError) as caught:
                Onu.attach(name)
            self.assertEqual(caught.exception.code, "bad-name")
        with tempfile.TemporaryDirectory(prefix="vorn-onu-test-") as folder:
            directory = pathlib.Path(folder, "vorn-onu")
            directory.mkdir()
            listening = socket.socket(socket.AF_UNIX)
            self.addCleanup(listening.close)
            listening.bind(str(directory / "lab.sock"))
            listening.listen()
            for mode, code in ((0o777, "not-yours"), (0o750, "not-yours"), (0o700, "timeout")):
                directory.chmod(mode)
                with unittest.mock.patch.dict(os.environ, XDG_RUNTIME_DIR=folder):
                    with self.subTest(oct(mode)), self.assertRaises(OnuError) as caught:
                        Onu.attach("lab", timeout=0.2)
                self.assertEqual(caught.exception.code, code)

    def test_boards_are_found_by_name_and_a_guest_does_not_end_one(self) -> None:
        with Onu.start(scenario=str(support.SCENARIOS / "bridge.json"), name=unique_name()) as onu:
            self.assertIn(onu.name, [board.name for board in boards()])
            with Onu.attach(onu.name) as guest:
                self.assertEqual(guest.info(), onu.info())
            self.assertTrue(onu.info().hal)
        self.assertNotIn(onu.name, [board.name for board in boards()])
        with self.assertRaises(OnuError) as caught:
            Onu.attach(onu.name)
        self.assertEqual(caught.exception.code, "gone")


class Programs(unittest.TestCase):
    def test_a_daemon_is_looked_at_and_ends_with_its_board(self) -> None:
        with Onu.exec([os.environ["EXAMPLE_DAEMON"], "--stay"]) as onu:
            onu.expect(bridges={"br3": ["gpon3.3", "sid1.3"]}, within=60000)
            self.assertFalse(onu.info().hal)
            self.assertIn("daemon: the service is up", onu.output())
            with self.assertRaises(OnuError) as caught:
                onu.call.configureBridge(bridgeId=4, uniPort=0)
            self.assertEqual(caught.exception.code, "not-here")

    def test_a_program_that_ends_has_an_exit_code(self) -> None:
        folder = tempfile.TemporaryDirectory(prefix="vorn-onu-test-")
        self.addCleanup(folder.cleanup)
        gate = os.path.join(folder.name, "gate")
        os.mkfifo(gate)
        program = ["/bin/sh", "-c", "read line <$GATE; exit $CODE"]
        with Onu.exec(program, environment={"CODE": "7", "GATE": gate}) as onu:
            with self.assertRaises(OnuError) as caught:
                onu.wait(0.01)
            self.assertEqual(caught.exception.code, "timeout")
            pathlib.Path(gate).write_text("go\n")
            self.assertEqual(onu.wait(support.HANG), 7)
            with self.assertRaises(OnuError) as gone:
                onu.state()
            self.assertEqual(gone.exception.code, "gone")
            self.assertIn("exit code 7", gone.exception.text)
        with self.assertRaises(OnuError) as missing:
            Onu.exec(["/no/such/program"])
        self.assertEqual(missing.exception.code, "not-started")

    def test_a_program_that_does_not_listen_is_killed(self) -> None:
        onu = Onu.exec(["/bin/sh", "-c", "trap '' TERM INT HUP; echo $$; while :; do sleep 0.2; done"])
        while "\n" not in onu.output():
            time.sleep(0.02)
        pid = int(onu.output().split()[0])
        self.assertTrue(support.is_alive(pid))
        onu.close()
        self.assertFalse(support.is_alive(pid))


class Endings(unittest.TestCase):
    def begun(self, code: str) -> "subprocess.Popen[str]":
        command = [sys.executable, "-c", BEGIN + code]
        program = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.addCleanup(program.wait)
        self.addCleanup(program.kill)
        self.addCleanup(program.stdout.close)
        return program

    def test_the_tool_ends_with_its_python_however_that_ends(self) -> None:
        waits = f"time.sleep({support.HANG})"
        for name, code, number in (
            ("end of the program", "", None),
            ("exception", "raise RuntimeError()", None),
            ("sys.exit", "sys.exit(3)", None),
            ("Ctrl-C", waits, signal.SIGINT),
            ("SIGTERM", waits, signal.SIGTERM),
            ("SIGKILL", waits, signal.SIGKILL),
            ("os._exit", "os._exit(1)", None),
        ):
            with self.subTest(name):
                program = self.begun(code)
                tool = int(program.stdout.readline())
                if number is not None:
                    self.assertTrue(support.is_alive(tool))
                    program.send_signal(number)
                has_ended = support.ends(tool)
                if not has_ended:
                    os.kill(tool, signal.SIGKILL)
                self.assertTrue(has_ended)

    def test_a_forked_child_does_not_end_its_parents_board(self) -> None:
        program = self.begun(
            "child = os.fork()\n"
            "sys.exit(0) if child == 0 else os.waitpid(child, 0)\n"
            "print(onu.state().calls >= 0, flush=True)"
        )
        program.stdout.readline()
        self.assertEqual(program.stdout.readline().strip(), "True")

    def test_a_killed_board_is_gone(self) -> None:
        with Onu.start() as onu:
            os.kill(onu.info().process, signal.SIGKILL)
            with self.assertRaises(OnuError) as caught:
                for _ in range(50):
                    onu.state()
            self.assertEqual(caught.exception.code, "gone")


class OtherEnds(unittest.TestCase):
    """Boards that misbehave."""

    def listening(self, answer: bytes) -> str:
        folder = tempfile.mkdtemp(prefix="vorn-onu-test-")
        path = os.path.join(folder, "socket")
        server = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        server.bind(path)
        server.listen()
        held = []

        def serve() -> None:
            while True:
                try:
                    client, _ = server.accept()
                except OSError:
                    return
                held.append(client)
                client.recv(1000)
                client.sendall(answer)

        thread = threading.Thread(target=serve, daemon=True)
        thread.start()

        def end() -> None:
            server.shutdown(socket.SHUT_RDWR)
            server.close()
            thread.join()
            for client in held:
                client.close()
            os.remove(path)
            os.rmdir(folder)

        self.addCleanup(end)
        return path

    def test_answers_that_do_not_come_or_make_no_sense_are_errors_in_time(self) -> None:
        for code, answer in (
            ("timeout", b""),
            ("timeout", b'{"v":1,"id":1,"ok":tr'),
            ("timeout", b'{"v":1,"id":99,"ok":true}\n'),
            ("bad-reply", b"hello\n"),
            ("bad-reply", b"[1]\n"),
            ("busy", b'{"v":1,"ok":false,"code":"busy","error":"64 clients are connected"}\n'),
        ):
            with self.subTest(answer):
                connection = Connection(self.listening(answer), timeout=0.3 if code == "timeout" else support.HANG)
                self.addCleanup(connection.close)
                with self.assertRaises(OnuError) as caught:
                    connection.ask("hello")
                self.assertEqual(caught.exception.code, code)

    def test_an_answer_that_comes_too_late_is_not_taken_for_the_next_one(self) -> None:
        with Onu.start() as onu:
            onu.call.configureBridge(bridgeId=3, uniPort=0)
            with self.assertRaises(OnuError) as caught:
                slow = {"expect": {"bridges": {"br9": True}}, "within": 800}
                onu._connection.ask("step", timeout=0.2, step=slow)
            self.assertEqual(caught.exception.code, "timeout")
            self.assertEqual(onu.call.configureBridge(bridgeId=4, uniPort=0).words, "bridgeId 4, uniPort 0")


if __name__ == "__main__":
    unittest.main()
