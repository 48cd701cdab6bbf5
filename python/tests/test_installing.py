"""pip installs the module from the build folder, without a network, also where it wants a virtual environment."""

import importlib.util
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

import support
import vorn_onu

MODULE = pathlib.Path(vorn_onu.__file__).parents[1]


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
            shutil.copytree(MODULE, source, ignore=shutil.ignore_patterns("__pycache__", "CMakeFiles"))
            self.install([sys.executable, "-m", "pip"], ["--target", str(target), str(source)])
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

    def test_pip_installs_it_into_an_environment_that_sees_the_system(self) -> None:
        with tempfile.TemporaryDirectory() as folder:
            source, environment = pathlib.Path(folder, "python"), pathlib.Path(folder, "venv")
            shutil.copytree(MODULE, source, ignore=shutil.ignore_patterns("__pycache__", "CMakeFiles"))
            # Without a pip of its own, whose installation takes most of the time: the system's does the same.
            made = [sys.executable, "-m", "venv", "--without-pip", "--system-site-packages", str(environment)]
            subprocess.run(made, check=True)
            self.install([str(environment / "bin" / "python"), "-m", "pip"], [str(source)])
            shown = "import vorn_onu; print(vorn_onu.__file__)"
            # -E: the tests' own path leads to the build folder.
            command = [str(environment / "bin" / "python"), "-E", "-c", shown]
            ended = subprocess.run(command, capture_output=True, text=True, check=True, cwd=folder)
            self.assertTrue(ended.stdout.startswith(str(environment)), ended.stdout)

    def install(self, pip: list[str], words: list[str]) -> None:
        command = pip + ["install", "--no-build-isolation", "--no-index", "--no-deps", "--disable-pip-version-check"]
        ended = subprocess.run(command + words, capture_output=True, text=True, timeout=300, check=False)
        self.assertEqual(ended.returncode, 0, ended.stdout + ended.stderr)


if __name__ == "__main__":
    unittest.main()
