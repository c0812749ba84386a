# The fresh root as a machine of its own: processes, network, mounts and cgroups apart, a systemd as process 1. What it
# writes stays in build/package-test. For tests/packages/run, which sets the variables.
# shellcheck shell=bash disable=SC2154

# As a command of that machine.
inside() {
    nsenter --target "$init" --all --wdns=/ -- env --ignore-environment PATH=/usr/sbin:/usr/bin LC_ALL=C.UTF-8 "$@"
}

# bring FILE DIRECTORY: copies a file into a directory of that machine.
bring() {
    cp "$1" "/proc/$init/root$2"
}

# until "WHAT" COMMAND...: waits for the command to succeed.
until_() {
    local what=$1 deadline=$((SECONDS + patience))
    shift
    until "$@" >/dev/null 2>&1; do
        [ "$SECONDS" -lt "$deadline" ] || fail "there never was $what"
        sleep 0.2
    done
}

# What runs in the namespaces, up to process 1.
becomeMachine() {
    local merged=$1 device
    mount --make-rprivate /
    mount -t overlay overlay -o "lowerdir=$root,upperdir=$work/upper,workdir=$work/overlay" "$merged"
    mount -t tmpfs -o mode=755 tmpfs "$merged/dev"
    for device in null zero full random urandom tty; do
        touch "$merged/dev/$device"
        mount --bind "/dev/$device" "$merged/dev/$device"
    done
    mkdir "$merged/dev/pts"
    mount -t devpts -o newinstance,ptmxmode=0666 devpts "$merged/dev/pts"
    ln -s pts/ptmx "$merged/dev/ptmx"
    mount -t proc proc "$merged/proc"
    mount -t sysfs sysfs "$merged/sys"
    # The kernel is this machine's, and stays as it is.
    mount --bind "$merged/proc/sys" "$merged/proc/sys"
    mount -o remount,bind,ro "$merged/proc/sys"
    mount -o remount,bind,ro "$merged/sys"
    mount -t cgroup2 cgroup2 "$merged/sys/fs/cgroup"
    mkdir -p "$merged/mnt/before"
    cd "$merged" || exit
    pivot_root . mnt/before
    # shellcheck disable=SC2093 # nothing follows
    exec env --ignore-environment container=mpegfe-test PATH=/usr/sbin:/usr/bin /bin/sh -c \
        'umount -l /mnt/before && exec /lib/systemd/systemd --system --log-target=journal --show-status=no'
}
export -f becomeMachine

enter() {
    rm -rf "$work/upper" "$work/overlay"
    mkdir -p "$work"/{upper,overlay,merged}
    boot
}

# Starts the machine with what it wrote before. Its cgroups stand under one of its own.
boot() {
    local hierarchy
    hierarchy=$(findmnt --noheadings --first-only --types cgroup2 --output TARGET) || fail "this machine has no cgroup2"
    cgroup=$hierarchy/mpegfe-package-test-$$
    mkdir -p "$cgroup" || fail "no cgroup can be made in $hierarchy"
    (
        echo "$BASHPID" >"$cgroup/cgroup.procs"
        export root work
        exec unshare --mount --net --pid --ipc --uts --cgroup --fork --kill-child \
            bash -c "becomeMachine $work/merged" >"$work/console.log" 2>&1
    ) &
    container=$!
    until_ "a process 1" findInit
    until_ "a started system" isStarted
}

findInit() {
    init=$(pgrep --parent "$container")
    [ "$(cat "/proc/$init/comm")" = systemd ]
}

isStarted() {
    local state
    state=$(inside systemctl is-system-running) || true
    [ "$state" = running ] || [ "$state" = degraded ]
}

# What lies in memory is gone afterwards.
halt() {
    kill -KILL "$init" 2>/dev/null || true
    wait "$container" 2>/dev/null || true
    init=
    container=
    find "$cgroup" -depth -type d -exec rmdir {} \; 2>/dev/null || true
}

leave() {
    if [ -n "$container" ]; then
        halt
    fi
}
