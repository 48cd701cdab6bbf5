"""A record of texts that are to stay as they are, by their SHA-256: NAME.txt beside the test NAME.py.

    ... TOOL              compare with the record
    ... TOOL --renew      take today's texts as the record
    ... TOOL --text NAME  print one of them, to compare two builds by diff
"""

import concurrent.futures
import hashlib
import os
import signal


def sha256(octets):
    return hashlib.sha256(octets).hexdigest()


def check(record, texts, words, at_once=2):
    """TEXTS: functions by the names of their texts. The test's exit code."""
    for number in (signal.SIGINT, signal.SIGQUIT, signal.SIGHUP):  # ignored in the background and under nohup
        signal.signal(number, signal.SIG_DFL)
    if words[:1] == ("--text",):
        print(texts[words[1]](), end="")
        return 0
    with concurrent.futures.ThreadPoolExecutor(at_once) as pool:
        digests = pool.map(lambda text: sha256(text().encode()), texts.values())
        if words == ("--renew",):
            record.write_text("".join(f"{digest}  {name}\n" for name, digest in zip(texts, digests)))
            return 0
        recorded = {name: digest for digest, name in (line.split("  ", 1) for line in record.read_text().splitlines())}
        different = sorted(recorded.keys() - texts.keys())
        for name, digest in zip(texts, digests):
            if recorded.get(name) != digest:
                different.append(name)
            if different and "VORN_MUTANT" in os.environ:  # seen
                pool.shutdown(cancel_futures=True)
                break
    for name in different:
        print(f"{name}: not as recorded; compare --text '{name}' of this build and of one before")
    return 1 if different else 0
