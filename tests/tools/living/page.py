"""The page of a board, as a browser gets it."""

import http.client
import itertools
import json
import urllib.parse

STEPS = (
    {"frame": {"from": "sid0", "tags": [{"vid": 20, "pbits": 3}], "dscp": 46}}, {"frame": {"from": "sid9"}},
    {"frame": {"from": "gem 1001", "tags": [{"vid": 100}], "expect": {"leaves": {"sid0": {}}}}},
    {"frame": {"from": "gem 1002", "tags": [{"vid": 100}, {"vid": 200}], "destination": "ff:ff:ff:ff:ff:ff"}},
    {"board": {"links": {"sid0": "down"}}}, {"board": {"optics": {"receive": 0}}}, {"gateway": "silent"}, {"gateway": {"answersAfterMs": 3}},
    {"fault": {"function": "tmctl_setQueueCfg", "nth": 2}}, {"fault": {"ioctl": "SIOCBRADDIF", "code": -16}}, {"fault": "clear"},
    {"fault": {"omci": "drop"}}, {"board": {"links": {"sid0": "up"}}}, {"advance": 7}, {"expect": {}}, [], {"advance": -1},
)
QUIET = 2.5  # seconds: counters are looked at each second
MOST_LINES = 3000  # of a page that never comes to rest


class Page:
    def __init__(self, link, token):
        self.place, self.token = urllib.parse.urlsplit(link).netloc, token

    def ask(self, path, method="GET", body=None, **headers):
        connection = http.client.HTTPConnection(self.place, timeout=20)
        connection.request(method, path, body, {name.replace("_", "-"): value for name, value in headers.items()})
        answer = connection.getresponse()
        heads = "".join(f"{name}: {value}\n" for name, value in answer.getheaders())
        return f"{method} {path} {answer.status}\n{heads}{answer.read().decode()}\n"

    def events(self, work):
        """Until nothing more comes, of a reader who is there before WORK, which begins when the page is whole."""
        connection = http.client.HTTPConnection(self.place, timeout=QUIET)
        connection.request("GET", "/events")
        answer = connection.getresponse()
        whole, name = {"counters", "devices"}, ""
        try:
            for line in itertools.islice(answer, MOST_LINES):
                kind, _, text = line.decode().strip().partition(": ")
                name = text if kind == "event" else name
                if kind == "data":
                    content = json.loads(text)
                    yield name, content
                    if whole and not (whole := whole - content.keys()):
                        work()
        except TimeoutError:
            return
        yield "end", {}

    def parts(self, work=lambda: None):
        parts = {}
        for _, content in self.events(work):
            parts.update(content)
        return parts

    def without_board(self, end):
        """What it says when the board is ended."""
        said = [f"{name} {content}" for name, content in self.events(end) if name != "parts"]
        return [*said, self.ask("/step", "POST", json.dumps(STEPS[0]), X_Vorn_Token=self.token), self.ask("/metrics"), self.ask("/nothing")]

    def visited(self, left_out, steps=STEPS):
        """What a browser gets: the page, answers to steps, refusals, then the parts of the page."""
        answers = []

        def take_steps():
            answers.extend(self.ask("/step", "POST", json.dumps(step), X_Vorn_Token=self.token) for step in steps)

        yield from (self.ask(f"/?token={self.token}"), self.ask("/page.css"), self.ask("/page.js"), self.ask("/token"),
                    self.ask("/token", X_Vorn_Token=self.token), self.ask("/nothing"), self.ask("/step"), self.ask("/", Range="bytes=0-3"),
                    self.ask("/step", "POST", "{}"), self.ask("/step", "POST", "{", X_Vorn_Token=self.token),
                    self.ask("/", Host="example.org"), self.ask("/", Sec_Fetch_Site="cross-site"), self.ask("/metrics"))
        for parts in (self.parts(), self.parts(take_steps)):
            yield from (f"{name}: {parts[name]}".replace("><", ">\n<") for name in sorted(parts.keys() - left_out))
        yield from answers
