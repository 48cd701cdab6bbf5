"""Numbers by chance, the same for a name each time."""

import hashlib
import itertools


def chances(name):
    """Numbers by chance, the same for a name each time: a function that answers one below a limit."""
    count = itertools.count()
    return lambda limit: int.from_bytes(hashlib.sha256(f"{name} {next(count)}".encode()).digest()[:6], "big") % limit
