#!/usr/bin/env bash
# A fleet of COUNT ONUs in podman's pods (fleet.py), and a Job (job.py). Where that cannot be, says why, and ends with 77.
#   fleet.sh COUNT
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=packaging/podman.sh
. "$here/../../packaging/podman.sh"

skip() {
    echo "Skipped: $*"
    exit 77
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
find_engine "$work/containers.conf" || skip "$engine_reason"
[ "$(id -u)" -eq 0 ] || skip "the tests' OLT enters the pods' network namespaces, which takes root"
python3 -c 'import yaml' 2>/dev/null || skip "Python has no YAML (Debian: python3-yaml)"
engine image exists localhost/vorn-onu || skip "there is no image localhost/vorn-onu: ./dev image makes it"
python3 "$here/fleet.py" "$1" podman ${engine_options[@]+"${engine_options[@]}"}
python3 "$here/job.py" podman ${engine_options[@]+"${engine_options[@]}"}
