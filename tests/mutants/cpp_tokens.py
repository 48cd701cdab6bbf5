"""C++ as tokens, and which of them run: the text of function bodies. Relies on clang-format's spaces: binary operators have
them on both sides, templates and references do not."""

import re
from collections import namedtuple

Token = namedtuple("Token", "kind text start end")  # kind: word, number, string, sign

_TOKEN = re.compile(
    r"""(?P<skip>\s+|//[^\n]*|/\*.*?\*/)
      | (?P<line>^[ \t]*\#(?:[^\n\\]|\\.)*)
      | (?P<string>(?:u8|[uUL])?R"(?P<mark>[^(\s]*)\(.*?\)(?P=mark)"|(?:u8|[uUL])?"(?:[^"\\\n]|\\.)*"
                   |(?:u8|[uUL])?'(?:[^'\\\n]|\\.)+')
      | (?P<number>\.?\d(?:'?[\w.]|(?<=[eEpP])[+-])*)
      | (?P<word>[A-Za-z_]\w*)
      | (?P<sign>->\*|<=>|<<=|>>=|\.\.\.|::|->|\+\+|--|<<|>>|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|.)""",
    re.X | re.S | re.M)

PAIRS = {"(": ")", "[": "]", "{": "}"}


def tokens_of(text):
    return [Token(m.lastgroup if m.lastgroup != "mark" else "string", m[0], m.start(), m.end())
            for m in _TOKEN.finditer(text) if m.lastgroup not in ("skip", "line")]


class Source:
    """The tokens of a file, with the partner of each bracket."""

    def __init__(self, text):
        self.text = text
        self.tokens = tokens_of(text)
        self.partner = {}
        opened = []
        for i, token in enumerate(self.tokens):
            if token.kind != "sign":
                continue
            if token.text in PAIRS:
                opened.append(i)
            elif opened and PAIRS[self.tokens[opened[-1]].text] == token.text:
                self.partner[i] = opened.pop()
                self.partner[self.partner[i]] = i

    def is_spaced(self, i):
        token = self.tokens[i]
        return self.text[token.start - 1:token.start].isspace() and self.text[token.end:token.end + 1].isspace()

    def slice(self, first, last):
        """The text from token FIRST to token LAST, on one line and without comments."""
        pieces = []
        for i in range(first, last + 1):
            if i > first and self.tokens[i - 1].end != self.tokens[i].start:
                pieces.append(" ")
            pieces.append(self.tokens[i].text)
        return "".join(pieces)

    def line_of(self, i):
        return self.text.count("\n", 0, self.tokens[i].start) + 1

    def bodies(self):
        """(first, last) of what lies between the braces of each function that runs when the program does."""
        i, head = 0, 0
        while i < len(self.tokens):
            text = self.tokens[i].text
            if text in (";", "}"):
                head = i + 1
            elif text in ("(", "[") and i in self.partner:
                i = self.partner[i]
            elif text == "{" and i in self.partner:
                words = [t.text for t in self.tokens[head:i]]
                before = words.index("(") if "(" in words else len(words)
                if not self.text[self.tokens[i].start - 1].isspace():  # a member's initialiser
                    i = self.partner[i]
                elif "namespace" in words[:before] or "extern" in words[:before] and before == len(words) or (
                        {"class", "struct", "union"} & set(words[:before]) and "enum" not in words):
                    head = i + 1
                else:
                    if before < len(words) and "=" not in words[:before] and "constexpr" not in words:
                        yield i + 1, self.partner[i] - 1
                    i = self.partner[i]
                    if self.tokens[i + 1:i + 2] and self.tokens[i + 1].text != ";":
                        head = i + 1
            i += 1
