"""Numbers by chance, the same for a name each time."""

import hashlib


class Chances:
    """A call answers a number below a limit."""

    def __init__(self, name):
        self.name, self.count = name, 0

    def __call__(self, limit):
        digest = hashlib.sha256(f"{self.name} {self.count}".encode()).digest()
        self.count += 1
        return int.from_bytes(digest[:6], "big") % limit

    def one_of(self, *values):
        return values[self(len(values))]
