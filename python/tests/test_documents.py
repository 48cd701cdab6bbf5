"""The lines of docs/python.md do what is beside them."""

import contextlib
import io
import re
import unittest

import support

TEXT = (support.PYTHON.parent / "docs" / "python.md").read_text(encoding="utf-8")


class Documents(unittest.TestCase):
    def test_the_first_lines_print_what_they_say(self) -> None:
        code = re.findall(r"```python\n(.*?)```", TEXT, re.DOTALL)[0]
        expected = re.findall(r"print\(.*# (.*)", code)
        printed = io.StringIO()
        with contextlib.redirect_stdout(printed):
            exec(compile(code, "docs/python.md", "exec"), {})
        self.assertEqual(len(expected), 2)
        for line in expected:
            self.assertIn(line, printed.getvalue())

    def test_every_example_is_named(self) -> None:
        named = set(re.findall(r"^\| `(\w+\.py)` \|", TEXT, re.MULTILINE))
        there = {path.name for path in (support.PYTHON / "examples").glob("*.py")} - {"service.py"}
        self.assertEqual(named, there)


if __name__ == "__main__":
    unittest.main()
