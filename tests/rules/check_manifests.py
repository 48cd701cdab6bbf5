#!/usr/bin/env python3
"""The manifests of a fleet: their types and fields are Kubernetes' own, as kubectl knows them; what refers to something finds it; the
tool has the options that they use, and the dashboard asks for metrics that there are.

    check_manifests.py SOURCE TOOL
"""

import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

try:
    import yaml
except ImportError:
    yaml = None

SOURCE, TOOL = pathlib.Path(sys.argv[1]), sys.argv[2]
FOLDER = SOURCE / "packaging/kubernetes"


def missing(wanted, known, path=""):
    """What kubectl, which passes over what it does not know, has left out of the file."""
    if isinstance(wanted, dict):
        return [fault for key, value in wanted.items()
                for fault in (missing(value, known[key], f"{path}.{key}") if isinstance(known, dict) and key in known else [f"{path}.{key}"])]
    if isinstance(wanted, list):
        if not isinstance(known, list) or len(known) < len(wanted):
            return [path]
        return [fault for number, value in enumerate(wanted) for fault in missing(value, known[number], f"{path}[{number}]")]
    return []


@unittest.skipIf(yaml is None, "Python has no YAML (Debian: python3-yaml)")
class Manifests(unittest.TestCase):
    def setUp(self):
        self.documents = {path.name: list(yaml.safe_load_all(path.read_text())) for path in FOLDER.glob("*.yaml")}

    def templates(self):
        for name, documents in self.documents.items():
            for one in documents:
                if "template" in one.get("spec", {}):
                    yield name, documents, one, one["spec"]["template"]

    @unittest.skipUnless(shutil.which("kubectl"), "kubectl is not installed (Debian: kubernetes-client)")
    def test_kubectl_knows_every_field(self):
        for name, documents, one, _ in self.templates():
            done = subprocess.run(["kubectl", "set", "env", "--local", "-f", "-", "CHECKED=yes", "-o", "json"], input=json.dumps(one),
                                  capture_output=True, text=True, timeout=60, check=False)
            self.assertEqual(done.returncode, 0, f"{name}: {done.stderr}")
            self.assertEqual(missing(one, json.loads(done.stdout)), [], name)
        misspelt = dict(one, spec=dict(one["spec"], template={"spec": {"container": []}}))
        done = subprocess.run(["kubectl", "set", "env", "--local", "-f", "-", "CHECKED=yes", "-o", "json"], input=json.dumps(misspelt),
                              capture_output=True, text=True, timeout=60, check=False)
        self.assertNotEqual((done.returncode, missing(misspelt, json.loads(done.stdout or "{}"))), (0, []), "the check sees nothing")

    def test_what_is_referred_to_is_there(self):
        for name, documents, one, template in self.templates():
            spec = template["spec"]
            labels = template["metadata"]["labels"].items()
            if one["kind"] == "StatefulSet":
                self.assertLessEqual(one["spec"]["selector"]["matchLabels"].items(), labels)
                service = next(other for other in documents if other["kind"] == "Service")
                self.assertEqual(one["spec"]["serviceName"], service["metadata"]["name"])
                self.assertLessEqual(service["spec"]["selector"].items(), labels)
            claims = [claim["metadata"]["name"] for claim in one["spec"].get("volumeClaimTemplates", [])]
            volumes = claims + [volume["name"] for volume in spec["volumes"]]
            for container in spec["containers"]:
                self.assertEqual(sorted(mount["name"] for mount in container["volumeMounts"]), sorted(volumes), name)
                ports = [port["name"] for port in container.get("ports", [])]
                for kind in ("startupProbe", "readinessProbe"):
                    if kind in container:
                        self.assertIn(container[kind]["httpGet"]["port"], ports)
                for variable in container["env"]:
                    for reference in variable.get("valueFrom", {}).values():
                        values = [{**other.get("data", {}), **other.get("stringData", {})} for other in documents
                                  if other["metadata"]["name"] == reference["name"]]
                        self.assertIn(reference["key"], values[0])
                known = {variable["name"] for variable in container["env"]}
                self.assertLessEqual(set(re.findall(r"\$\((\w+)\)", " ".join(container.get("args", [])))), known)
                self.assertTrue(container["securityContext"]["readOnlyRootFilesystem"])

    def test_the_tool_has_their_options_and_variables(self):
        environment = subprocess.run([TOOL, "help", "environment"], capture_output=True, text=True, check=True).stdout
        for name, _, _, template in self.templates():
            for container in template["spec"]["containers"]:
                words = container.get("args") or re.search(r"vorn-onu (.*)", container["command"][-1]).group(1).split()
                options = subprocess.run([TOOL, words[0], "--help"], capture_output=True, text=True, check=True).stdout
                for word in words:
                    if word.startswith("--"):
                        self.assertRegex(options, rf"{word}\b", name)
                for variable in container["env"]:
                    if variable["name"].startswith("VORN_"):
                        self.assertRegex(environment, rf"\b{variable['name']}\b", name)

    def test_the_image_is_theirs(self):
        image = (SOURCE / "packaging/Containerfile").read_text()
        user = re.search(r"^USER (\d+):(\d+)$", image, re.MULTILINE)
        for name, _, _, template in self.templates():
            context = template["spec"]["securityContext"]
            self.assertEqual((context["runAsUser"], context["runAsGroup"]), (int(user[1]), int(user[2])), name)


class Dashboard(unittest.TestCase):
    def setUp(self):
        dashboard = json.loads((FOLDER / "dashboard.json").read_text())
        self.assertEqual(len({panel["id"] for panel in dashboard["panels"]}), len(dashboard["panels"]))
        self.queries = [target["expr"] for panel in dashboard["panels"] for target in panel["targets"]]

    def test_it_asks_for_metrics_that_there_are(self):
        sources = "".join(path.read_text() for path in (SOURCE / "tools/vorn-onu/living").glob("*.cpp"))
        known = set(re.findall(r'"((?:vorn_onu|process)_\w+)"', sources)) | {"up"}
        for query in self.queries:
            asked = set(re.findall(r"\b(?:vorn_onu|process)_\w+|\bup\b", query))
            self.assertTrue(asked, query)
            self.assertEqual({re.sub("_bucket$", "", name) for name in asked} - known, set(), query)

    @unittest.skipUnless(shutil.which("promtool"), "promtool is not installed (Debian: prometheus)")
    def test_promtool_reads_its_queries(self):
        rules = [{"record": f"query{number}", "expr": query.replace("$__rate_interval", "5m").replace("$job", ".+")}
                 for number, query in enumerate(self.queries)]
        with tempfile.NamedTemporaryFile("w", suffix=".yaml") as file:
            json.dump({"groups": [{"name": "dashboard", "rules": rules}]}, file)  # JSON is YAML
            file.flush()
            done = subprocess.run(["promtool", "check", "rules", file.name], capture_output=True, text=True, check=False)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
