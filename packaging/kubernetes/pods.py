#!/usr/bin/env python3
"""What a cluster would make of a manifest's StatefulSet or Job, as Pods that podman kube play takes: with the names, claims and
environment that the controllers give them. Everything else of the file goes along as it is.

    pods.py MANIFEST [COUNT] [KEY=VALUE...]

COUNT pods in the place of spec.replicas or spec.completions. KEY=VALUE: another value of a ConfigMap's data.
"""

import copy
import re
import sys

import yaml


def pod(name, template, labels):
    made = {"apiVersion": "v1", "kind": "Pod", "metadata": copy.deepcopy(template.get("metadata", {})),
            "spec": copy.deepcopy(template["spec"])}
    made["metadata"].update(name=name, labels={**made["metadata"].get("labels", {}), **labels})
    made["spec"].setdefault("hostname", name)
    # podman keeps an emptyDir as a volume of its name, which all pods would share.
    names = {volume["name"]: f"{volume['name']}-{name}" for volume in made["spec"].get("volumes", []) if "emptyDir" in volume}
    for volume in made["spec"].get("volumes", []):
        volume["name"] = names.get(volume["name"], volume["name"])
    for container in made["spec"]["containers"]:
        container.pop("ports", None)  # podman would publish them on this machine, the same of each pod
        for mount in container.get("volumeMounts", []):
            mount["name"] = names.get(mount["name"], mount["name"])
    return made


def of_stateful_set(one, count):
    spec = one["spec"]
    for ordinal in range(spec["replicas"] if count is None else count):
        name = f"{one['metadata']['name']}-{ordinal}"
        made = pod(name, spec["template"], {"statefulset.kubernetes.io/pod-name": name})
        for template in spec.get("volumeClaimTemplates", []):
            volume = template["metadata"]["name"]
            claim = f"{volume}-{name}"
            yield {"apiVersion": "v1", "kind": "PersistentVolumeClaim", "metadata": {"name": claim}, "spec": template["spec"]}
            made["spec"].setdefault("volumes", []).append({"name": volume, "persistentVolumeClaim": {"claimName": claim}})
        yield made


def of_job(one, count):
    spec = one["spec"]
    for index in range(spec["completions"] if count is None else count):
        made = pod(f"{one['metadata']['name']}-{index}", spec["template"], {"batch.kubernetes.io/job-name": one["metadata"]["name"]})
        for container in made["spec"]["containers"]:
            container.setdefault("env", []).append({"name": "JOB_COMPLETION_INDEX", "value": str(index)})
        yield made


def resolved(container, sources):
    """Environment and arguments with their values: podman 4.3 reads no value back from a Secret, and none into an argument."""
    values = {}
    for variable in container.get("env", []):
        for kind, reference in variable.pop("valueFrom", {}).items():
            variable["value"] = sources[kind][reference["name"]][reference["key"]]
        values[variable["name"]] = variable["value"]
    for words in ("command", "args"):
        if words in container:
            container[words] = [re.sub(r"\$\((\w+)\)", lambda name: values.get(name[1], name[0]), word) for word in container[words]]


def pods(documents, count=None, values=None):
    """The documents, with Pods for what podman does not know. Left out are Services, which it has not, and Secrets."""
    made, sources = [], {"configMapKeyRef": {}, "secretKeyRef": {}}
    for one in copy.deepcopy(documents):
        if one["kind"] == "ConfigMap":
            one["data"].update({key: value for key, value in (values or {}).items() if key in one["data"]})
            sources["configMapKeyRef"][one["metadata"]["name"]] = one["data"]
            made.append(one)
        elif one["kind"] == "Secret":
            sources["secretKeyRef"][one["metadata"]["name"]] = one["stringData"]
        elif one["kind"] in CONTROLLERS:
            made += CONTROLLERS[one["kind"]](one, count)
        elif one["kind"] != "Service":
            made.append(one)
    for one in made:
        for container in one["spec"]["containers"] if one["kind"] == "Pod" else []:
            resolved(container, sources)
    return made


CONTROLLERS = {"StatefulSet": of_stateful_set, "Job": of_job}


def main():
    path, *words = sys.argv[1:]
    values = dict(word.split("=", 1) for word in words if "=" in word)
    counts = [int(word) for word in words if "=" not in word]
    with open(path, encoding="utf-8") as manifest:
        documents = list(yaml.safe_load_all(manifest))
    yaml.safe_dump_all(pods(documents, counts[0] if counts else None, values), sys.stdout, sort_keys=False)


if __name__ == "__main__":
    main()
