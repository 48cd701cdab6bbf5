# shellcheck shell=bash
# For scripts that source this: podman as it works on this machine. Images and containers are those of the user's own storage.

engine() { podman ${engine_options[@]+"${engine_options[@]}"} "$@"; }
engine_options=()

# Finds a way in which podman starts a container: as it is configured; with limits that are said, where none may be raised; with cgroups
# made without systemd, and another runtime. CONFIGURATION is a file that it may write. False, with the reason in engine_reason, where
# none does.
#   find_engine CONFIGURATION
find_engine() {
    local options
    engine_reason="podman is not installed (Debian: podman)"
    command -v podman >/dev/null || return 1
    engine_reason=$(container_starts) && return 0
    export CONTAINERS_CONF=$1
    printf '[containers]\ndefault_ulimits = ["nofile=%s:%s", "nproc=%s:%s"]\n' \
        "$(at_most 16384 n)" "$(at_most 16384 n)" "$(at_most 32768 u)" "$(at_most 32768 u)" >"$CONTAINERS_CONF"
    for options in "" "--cgroup-manager cgroupfs" "--cgroup-manager cgroupfs --runtime runc"; do
        read -ra engine_options <<<"$options"
        engine_reason=$(container_starts) && return 0
    done
    engine_reason="podman starts no container here: $(grep . <<<"$engine_reason" | tail -n 1)"
    return 1
}

# A limit of this process, as ulimit names it, and no more than so many.
at_most() {
    local limit
    limit=$(ulimit "-H$2")
    if [ "$limit" = unlimited ] || [ "$limit" -gt "$1" ]; then echo "$1"; else echo "$limit"; fi
}

# A container of this machine's own true; says why where it does not start.
container_starts() {
    local root file result=0
    root=$(mktemp -d)
    mkdir "$root/dev" "$root/proc" "$root/sys" "$root/etc" "$root/run" "$root/tmp"
    for file in /bin/true $(ldd /bin/true | grep -o '/[^ ]*'); do
        mkdir -p "$root/$(dirname "$file")" && cp -L "$file" "$root/$file"
    done
    engine run --rm --network none --rootfs "$root" /bin/true 2>&1 || result=$?
    rm -rf "$root"
    return $result
}
