"""How programs end under the tool: of signals, with others of theirs in the background, with more boards than one."""

READY = "until [ -e $TMPDIR/ready ];do :;done"


def _asks(*signals, answers=None, text="asked ", ends=None):
    """A program that has the tool get these signals one after the other. It answers one of them, and ends then if it is told to.

    Not a shell: what that starts would get the signal before it ignores it, and the next would come too soon."""
    usual = "".join(f"signal.signal(signal.SIG{one},signal.SIG_DFL);" for one in ("INT", "PIPE"))
    end = "" if ends is None else f",os._exit({ends})"
    answer = f"signal.signal(signal.SIG{answers},lambda *_:(os.write(1,b\"{text}\"){end}));" if answers else ""
    sends = ",".join(f"os.kill(os.getppid(),signal.SIG{one}),time.sleep(0.8)" for one in signals)
    return f"python3 -c 'import os,signal,time;{usual}{answer}{sends};time.sleep(1.5);os._exit(9)'"


def _bridge(device, seconds=0):
    """Who makes one, says so, and stays so long."""
    return (f"python3 -c \"import os,time;os.system(\\\"brctl addbr {device}\\\");open(os.environ[\\\"TMPDIR\\\"]+\\\"/ready\\\",\\\"w\\\");"
            f"time.sleep({seconds})\"")


# Characters of UTF-8 that are wide, combine, act on a terminal or on the reader, and octets that are none.
OCTETS = ("c280", "c3bc", "c1bf", "c3", "e0a080", "e09f80", "ed9fbf", "eda080", "e282ac", "e2808b", "e280ae", "e281a6", "efbbbf", "e4b8ad", "efbca1", "cc88", "f09f9880", *(one * 40 for one in ("c3bc", "e4b8ad", "cc88", "f09f9880", "ff")),
          "f0908080", "f08f8080", "f48fbfbf", "f4908080", "f5808080", "80", "ff", "7f", "1b5b316d", "c2ad", "d89c", "e380ff", "f9808080", "fc808080")
SHOWN = 8  # of commands that are not understood


def _names(octets):
    return f"python3 -c \"import os;[os.system(b\\\"frob \\\"+bytes.fromhex(x)) for x in \\\"{' '.join(octets)}\\\".split()]\""


ENDINGS = {
    "octets in calls": "; ".join(f"{mark}exec --report OUT-report.html -- sh -c '{_names(OCTETS[at:at + SHOWN])}'"
                                 for at in range(0, len(OCTETS), SHOWN) for mark in ("", "[")[:1 + (at == 0)]),
    **{f"a program that gets {' and '.join(signals)}{', with an answer' if answer else ''}": f"exec {options}-- {_asks(*signals, **answer)}"
       for options, signals, answer in (
           ("", ("INT",), {}), ("--quiet ", ("QUIT",), {}), ("--json OUT-state.json ", ("TERM",), {}), ("", ("HUP",), {}), ("", ("PIPE",), {}),
           ("", ("CHLD", "TERM"), {}), ("", ("INT",), {"answers": "INT", "ends": 3}), ("", ("INT", "INT"), {"answers": "INT"}),
           ("", ("QUIT", "INT"), {"answers": "QUIT", "text": ""}), ("", ("TERM", "TERM"), {"answers": "TERM"}),
           ("", ("HUP", "QUIT"), {"answers": "HUP"}), ("", ("PIPE", "HUP"), {"answers": "TERM"}))},
    "a program that leaves one that does not listen": "exec -- sh -c 'exec 2>/dev/null;(trap \"\" TERM;sleep 40)& setsid sh -c \"trap \\\"echo told;exit\\\" TERM;>$TMPDIR/ready;"
                                                      f"sleep 1;sleep 40\" & {READY};kill -TERM $PPID;wait;wait'",
    "a program in the background": "exec -- sh -c 'sleep 1.5 & exit 4'",
    "two in the background": "exec --json OUT-state.json -- sh -c '(sleep 1.5;echo late)& sleep 1.6 & exit 4'",
    "a program that ends soon after": "exec -- sh -c '(sleep 0.02;echo late)& exit 4'",
    "a board in the background": f"exec --trace OUT-trace -- sh -c '{_bridge('br4', 1.5)} & {READY}'",
    "a board in the background, with its files": "exec --json OUT-state.json --record OUT-calls.json --pcap OUT-frames.pcap --report OUT-report.html -- "
                                                 f"sh -c '{_bridge('br4', 1.5)} & {READY}'",
    "a board, and another in the background": f"exec -- sh -c '{_bridge('br4')};sleep 1.5 &'",
    "two boards, one after the other": f"exec --quiet --json OUT-state.json -- sh -c '{_bridge('br4')};{_bridge('br5')}'",
    **{f"two boards{options}": f"exec {options} -- sh -c 'exec 2>/dev/null;{_bridge('br4', 20)} & {READY};{_bridge('br5')};kill $!;wait'"
       for options in ("", " --json OUT-state.json", " --record OUT-calls.json --quiet")},
    "an end while the device is written": f"exec --json OUT-state.json -- sh -c '{_bridge('br4', 9)} & {READY};kill -TERM $PPID;wait'",
    "a program's trace": f"exec --trace - -- sh -c '{_bridge('br4', 0.3)};exit 5'; exec --trace - --json - -- true",
}
