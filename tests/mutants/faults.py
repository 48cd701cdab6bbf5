"""The small faults that can be planted in a source, and the source with some of them in it."""

import re
from dataclasses import dataclass

from cpp_tokens import Source

# How tightly binary operators bind.
BINDING = {text: strength for strength, texts in enumerate(
    ("||", "&&", "|", "^", "&", "== !=", "< <= > >=", "<< >>", "+ -", "* / %"), 4) for text in texts.split()}
CHANGED = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==", "&&": "||", "||": "&&",
           "+": "-", "-": "+", "&": "|", "|": "&", ">>": "<<", "<<": ">>"}
ASSIGNING = {"=", "+=", "-=", "*=", "/=", "%=", "&=", "|=", "^=", "<<=", ">>="}
KEYWORDS = set("return throw else do case goto if while for switch sizeof alignof catch new delete using typedef static "
               "const constexpr static_assert default break continue decltype static_cast reinterpret_cast const_cast "
               "dynamic_cast co_return operator auto template typename struct class enum public private".split())
ENDS = {";", ",", "?", ":"} | ASSIGNING
MAX_LENGTH = 400  # a longer text is not repeated


@dataclass
class Fault:
    file: str
    line: int
    start: int  # in the text
    end: int
    kind: str  # condition, boundary, operator, constant, statement, arguments
    original: str
    changed: str  # empty: a statement that is left out
    source_line: str
    lines: int = 1  # how many it takes
    nth: int = 1  # of the equal ones in its line

    def key(self):
        return self.file, self.source_line, self.change() + (f" ({self.nth})" if self.nth > 1 else "")

    def is_on(self, places):
        return any((self.file, line) in places for line in range(self.line, self.line + self.lines))

    def change(self):
        return f"{self.original} -> {self.changed or 'nothing'}"


class Finder:
    def __init__(self, file, text):
        self.file = file
        self.source = Source(text)
        self.tokens = self.source.tokens
        self.lines = text.split("\n")
        self.faults = []

    def find(self):
        for first, last in self.source.bodies():
            i = first
            while i <= last:
                i = self.look_at(i, last) + 1
        return self.faults

    def look_at(self, i, last):
        """Faults of token I; answers the last token that is done with."""
        token, before = self.tokens[i], self.tokens[i - 1].text
        if token.text in ("constexpr", "static_assert", "case", "enum", "using"):
            stop = ":" if token.text == "case" else ";"
            while i < last and self.tokens[i].text != stop:
                i += 1
            return i
        if before in ("{", "}", ";", "else") or before == ")" and self.is_control(i - 1):
            self.statement(i, last)
        if token.kind == "number":
            self.number(i)
        elif token.text in ("true", "false"):
            self.add("constant", i, i, "false" if token.text == "true" else "true")
        elif token.text in ("if", "while") and self.tokens[i + 1].text == "(":
            self.condition(i + 2, self.source.partner[i + 1] - 1)
        elif token.text in CHANGED and self.source.is_spaced(i) and self.ends_operand(i - 1):
            self.operator(i)
        elif token.text == "?":
            first = self.extent(i, -1, 3)
            self.condition(first, i - 1)
        elif token.text == "(" and self.tokens[i - 1].kind == "word" and self.tokens[i - 1].end == token.start:
            self.call(i)
        return i

    def add(self, kind, first, last, changed, original=None):
        original = original or self.source.slice(first, last)
        if original == changed or len(original) > MAX_LENGTH or "\n" in original + changed:
            return
        line = self.source.line_of(first)
        nth = 1 + sum((fault.line, fault.original, fault.changed) == (line, original, changed) for fault in self.faults)
        self.faults.append(Fault(self.file, line, self.tokens[first].start, self.tokens[last].end, kind, original, changed,
                                 " ".join(self.lines[line - 1].split()), self.source.line_of(last) - line + 1, nth))

    def is_control(self, closing):
        opening = self.source.partner.get(closing, 0)
        return self.tokens[opening - 1].text in ("if", "for", "while")

    def ends_operand(self, i):
        token = self.tokens[i]
        return token.text in (")", "]", "}") or token.kind in ("number", "string") or (
            token.kind == "word" and token.text not in KEYWORDS)

    def extent(self, i, step, strength):
        """The far end of the operand beside operator I; operators weaker than STRENGTH end it, and to the right as strong ones."""
        at = i + step
        while True:
            token = self.tokens[at]
            if token.kind == "sign":
                if at in self.source.partner:
                    inward = self.source.partner[at]
                    if (inward - at) * step < 0 or token.text in "{}" and self.source.text[
                            self.tokens[min(at, inward)].start - 1].isspace():
                        break
                    at = inward
                elif token.text in ENDS or (token.text in BINDING and self.source.is_spaced(at) and self.ends_operand(at - 1)
                                            and (BINDING[token.text] < strength + (step > 0))):
                    break
            elif token.text in ("return", "throw", "else", "do", "case"):
                break
            at += step
        return at - step

    def operator(self, i):
        text = self.tokens[i].text
        if text == "<<" and "number" not in (self.tokens[i - 1].kind, self.tokens[i + 1].kind):
            return  # most likely a stream
        first, last = self.extent(i, -1, BINDING[text]), self.extent(i, 1, BINDING[text])
        if first <= i - 1 and last >= i + 1 and not (text == "+" and self.is_text(first, last)):
            self.add("boundary" if text in "<=>=" else "operator", first, last,
                     f"{self.source.slice(first, i - 1)} {CHANGED[text]} {self.source.slice(i + 1, last)}")

    def is_text(self, first, last):
        return any(self.tokens[i].kind == "string" and not self.tokens[i].text.startswith("'") for i in range(first, last + 1))

    def condition(self, first, last):
        i = first
        while i <= last:  # no declaration, no second part
            if self.tokens[i].text in (";", "="):
                return
            i = max(i, self.source.partner.get(i, i)) + 1
        if first <= last:
            text = self.source.slice(first, last)
            self.add("condition", first, last, f"!({text})", text)

    def number(self, i):
        match = re.fullmatch(r"(0[xX])?([0-9a-fA-F']+?)([uUlLzZ]*)", self.tokens[i].text)
        if not match or not match[1] and re.search("[a-fA-F]", match[2]):
            return
        value = int(match[2].replace("'", ""), 16 if match[1] else 10)
        # Of a mask the lowest bit that is set goes.
        changed = hex(value & value - 1 if value else 1) if match[1] else str(value + 1)
        self.add("constant", i, i, changed + match[3])

    def statement(self, i, last):
        """A call, or an assignment to something that exists, which ends with the first semicolon."""
        first, named = i, False
        while i < last:
            token = self.tokens[i]
            if token.text in ("(", "[") and named:
                i = self.source.partner[i]
            elif token.kind == "word":
                if named and self.tokens[i - 1].text not in ("::", ".", "->") or token.text in KEYWORDS:
                    return
                named = True
            elif token.text == "*" and i == first:
                pass
            elif token.text in ASSIGNING or token.text in ("++", "--") or token.text == ";":
                break
            elif token.text not in ("::", ".", "->"):
                return
            i += 1
        if not named or self.tokens[i].text == ";" and self.tokens[i - 1].text != ")":
            return
        while i < last and self.tokens[i].text != ";":
            i = max(i, self.source.partner.get(i, i)) + 1
        if self.tokens[i].text == ";":
            self.add("statement", first, i, "")

    def call(self, opening):
        """Two neighbours among the arguments change places."""
        first = opening - 1
        if self.tokens[first].text in KEYWORDS or self.tokens[first].text.isupper():
            return
        while self.tokens[first - 1].text in ("::", ".", "->"):
            first -= 2
            while self.tokens[first].text in (")", "]"):
                first = self.source.partner[first] - 1
            if self.tokens[first].kind != "word":
                return
        if self.tokens[first - 1].kind == "word" and self.tokens[first - 1].text not in ("return", "else", "do", "throw"):
            return  # a declaration
        closing = self.source.partner[opening]
        commas, i = [opening], opening + 1
        while i < closing:
            if self.tokens[i].text == ",":
                commas.append(i)
            i = max(i, self.source.partner.get(i, i)) + 1
        parts = [(a + 1, b - 1) for a, b in zip(commas, commas[1:] + [closing])]
        texts = [self.source.slice(*part) for part in parts if part[0] <= part[1]]
        if len(texts) == 2 and self.tokens[opening - 1].text in ("max", "min"):
            return  # the same in either order
        for at in range(len(texts) - 1):
            if not any("{" in text or text.startswith('"') for text in texts[at:at + 2]):
                swapped = texts[:at] + [texts[at + 1], texts[at]] + texts[at + 2:]
                self.add("arguments", first, closing, f"{self.source.slice(first, opening)}{', '.join(swapped)})")


def rewritten(text, faults):
    """TEXT with the (number, fault) pairs in it; its lines stay where they are. What a fault changes holds no other fault."""
    out, at, waiting = [], 0, sorted(faults, key=lambda pair: (pair[1].start, -pair[1].end))
    while waiting:
        number, fault = waiting.pop(0)
        within = [pair for pair in waiting if pair[1].start < fault.end]
        waiting = waiting[len(within):]
        inner = rewritten(text[fault.start:fault.end], [(n, _moved(f, fault.start)) for n, f in within
                                                        if f.end <= fault.end])
        if not fault.changed:
            planted = f"{{ if (!vornMutant({number})) {inner} }}"
        elif fault.kind == "condition":
            planted = f"(vornMutant({number}) ? {fault.changed} : static_cast<bool>({inner}))"
        else:
            planted = f"(vornMutant({number}) ? ({fault.changed}) : ({inner}))"
        out += [text[at:fault.start], planted]
        at = fault.end
    return "".join(out + [text[at:]])


def _moved(fault, by):
    return Fault(**{**vars(fault), "start": fault.start - by, "end": fault.end - by})
