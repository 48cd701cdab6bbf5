"""pip installs the module from the source tree, without a network."""

import importlib.util
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

import support


def reason_to_skip() -> str:
    missing = [name for name in ("pip", "setuptools", "wheel") if importlib.util.find_spec(name) is None]
    if missing:
        return f"{' and '.join(missing)} not installed (Debian: python3-pip)"
    from importlib.metadata import version

    old = int(version("setuptools").split(".")[0]) < 61
    return "this setuptools reads no pyproject.toml" if old else ""


@unittest.skipIf(reason_to_skip(), reason_to_skip())
class Installing(unittest.TestCase):
    def test_pip_installs_the_module_with_its_types_and_its_fixture(self) -> None:
        with tempfile.TemporaryDirectory() as folder:
            source, target = pathlib.Path(folder, "python"), pathlib.Path(folder, "installed")
            shutil.copytree(support.PYTHON, source, ignore=shutil.ignore_patterns("__pycache__"))
            command = [sys.executable, "-m", "pip", "install", "--no-build-isolation", "--no-index", "--no-deps"]
            command += ["--disable-pip-version-check", "--target", str(target), str(source)]
            told = subprocess.run(command, capture_output=True, text=True, timeout=300, check=False)
            self.assertEqual(told.returncode, 0, told.stdout + told.stderr)
            for name in ("py.typed", "operations.py", "pytest_plugin.py"):
                self.assertTrue((target / "vorn_onu" / name).exists(), name)
            self.assertFalse((target / "tests").exists())
            code = f"""
                import sys
                sys.path.insert(0, {str(target)!r})
                import importlib.metadata, vorn_onu
                found = importlib.metadata.distribution("vorn-onu")
                assert vorn_onu.__file__.startswith({str(target)!r}), vorn_onu.__file__
                print(found.version == vorn_onu.__version__, [one.value for one in found.entry_points])
            """
            self.assertEqual(support.python(code).stdout.strip(), "True ['vorn_onu.pytest_plugin']")


if __name__ == "__main__":
    unittest.main()
