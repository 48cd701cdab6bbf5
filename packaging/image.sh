#!/usr/bin/env bash
# Builds the image of packaging/Containerfile out of packages that ./dev package has made.
#   image.sh PACKAGES [TAG]
# The base is the Debian that the packages were built on, from a registry; where none is reached, from this machine's package
# archive by debootstrap (Debian: debootstrap), which needs root.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
packages=$(cd "$1" && pwd)
tag=${2:-vorn-onu}
# shellcheck source=packaging/podman.sh
. "$here/podman.sh"

fail() {
    echo "image.sh: $*" >&2
    exit 1
}

# The archive that apt has this release from, as its sources name it.
mirror() {
    # shellcheck disable=SC2016  # for apt to expand
    apt-get indextargets --format '$(SITE) $(RELEASE)' 'Identifier: Packages' | awk -v release="$release" '$2 == release { print $1; exit }'
}

# Packages that those of the image need.
needed() {
    local file
    for file in "$packages"/vorn-onu_*.deb "$packages"/libvorn-hal1_*.deb; do dpkg-deb --field "$file" Depends; done |
        tr ',' '\n' | sed 's/(.*//; s/ //g' | grep -v '^libvorn-hal1$' | sort -u | paste -sd,
}

# A folder for a root file system, in memory where that is possible: devices are made and programs run in it.
root_folder() {
    if findmnt -no OPTIONS -T "$work" | grep -qE '(^|,)(nodev|noexec)(,|$)'; then mktemp -d -p /var/tmp; else echo "$work/root"; fi
}

# A base without a registry: with what the packages need, so that their installation asks nobody.
bootstrap_base() {
    local root site
    [ "$(id -u)" -eq 0 ] || fail "no registry gives a base, and debootstrap needs root"
    command -v debootstrap >/dev/null || fail "no registry gives a base, and debootstrap is not installed (Debian: debootstrap)"
    site=$(mirror)
    [ -n "$site" ] || fail "no registry gives a base, and apt knows no archive of $release"
    root=$(root_folder)
    echo "debootstrap makes it; that takes minutes."
    debootstrap --variant=minbase --include="$(needed)" "$release" "$root" "$site" >"$work/debootstrap.log" 2>&1 ||
        fail "debootstrap: $(tail -n 1 "$work/debootstrap.log")"
    umount "$root/proc" "$root/sys" 2>/dev/null || true
    rm -rf "${root:?}"/var/cache/apt/* "${root:?}"/var/lib/apt/lists/* "${root:?}"/usr/share/{doc,man,locale}/*
    tar --one-file-system -C "$root" -c . | engine import --quiet - "$own_base" >/dev/null
    rm -rf --one-file-system "${root:?}"
}

work=$(mktemp -d)
trap 'rm -rf --one-file-system "$work"' EXIT
find_engine "$work/containers.conf" || fail "$engine_reason"
release=$(. /etc/os-release && echo "$VERSION_CODENAME")
own_base=localhost/vorn-base:$release-$(needed | cksum | cut -d ' ' -f 1)
base=debian:$release-slim network=()
if engine image exists "$own_base"; then
    base=$own_base network=(--network none)
elif ! engine pull --quiet "$base" >/dev/null 2>"$work/pull.log"; then
    echo "No registry gives $base: $(grep . "$work/pull.log" | tail -n 1 | cut -c 1-200)"
    bootstrap_base
    base=$own_base network=(--network none)
fi
# No layer of an earlier build: podman does not see that the packages are others.
engine build --quiet --no-cache --format docker --build-arg "BASE=$base" ${network[@]+"${network[@]}"} --file "$here/Containerfile" \
    --tag "$tag" "$packages" >/dev/null
engine image inspect --format '{{index .RepoTags 0}}: {{.Size}} bytes, {{.Architecture}}, runs as {{.Config.User}}' "$tag"
