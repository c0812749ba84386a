# What is in the packages. For tests/packages/run, which sets the variables.
# shellcheck shell=bash disable=SC2154

packageFile() {
    local files=("$packages/$1/$2"_*.deb)
    [ -e "${files[0]}" ] || fail "there is no package $2 for $1: packaging/make-packages $1"
    echo "${files[0]}"
}

# packagesAreWhole ARCHITECTURE
packagesAreWhole() {
    local architecture=$1 package file folder found
    found=$(lintian --fail-on error,warning --no-tag-display-limit "$packages/$architecture"/mpegfe*_"$architecture".deb 2>&1) ||
        fail "lintian on $architecture: $found"
    for package in mpegfe mpegfe-tools; do
        file=$(packageFile "$architecture" "$package")
        folder=$work/contents/$architecture/$package
        rm -rf "$folder"
        mkdir -p "$folder"
        dpkg-deb --extract "$file" "$folder"
        [[ $(dpkg-deb --field "$file" Depends) = *libzmq5* ]] || fail "$file does not depend on libzmq"
    done
    manualsNameEveryOption "$architecture"
    versionIsOne "$architecture"
    seen "$architecture: lintian finds nothing, libraries are depended on, manuals name every option, the version is one"
}

# A program of the packages says what it can do.
answerOf() {
    local architecture=$1 program=$2 option=$3 emulator=()
    [ "$architecture" = "$own" ] || emulator=(qemu-arm-static -cpu cortex-a9 -L build/arm-sysroot)
    "${emulator[@]}" "$work/contents/$architecture/mpegfe-tools/usr/bin/$program" "$option"
}

manualsNameEveryOption() {
    local architecture=$1 program option manual
    for program in mpegfe-board mpegfe-manager; do
        manual=$(zcat "$work/contents/$architecture/mpegfe-tools/usr/share/man/man1/$program.1.gz" | sed 's/\\-/-/g')
        for option in $(answerOf "$architecture" "$program" --help | grep -oE -- '--[a-z-]+' | sort -u); do
            grep -q -- "$option" <<<"$manual" || fail "the manual of $program does not name $option"
        done
    done
}

# That of CMakeLists.txt.
versionIsOne() {
    local architecture=$1 version package program manual
    version=$(sed -n 's/^project(mpegFE VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
    for package in mpegfe mpegfe-tools; do
        [ "$(dpkg-deb --field "$(packageFile "$architecture" "$package")" Version)" = "$version" ] ||
            fail "$package for $architecture is not of version $version"
    done
    for program in mpegfe-board mpegfe-manager; do
        [ "$(answerOf "$architecture" "$program" --version)" = "$program $version" ] || fail "$program is not of version $version"
    done
    for manual in "$work/contents/$architecture"/*/usr/share/man/man*/*.gz; do
        [[ $(zcat "$manual" | grep '^\.TH ') = *"mpegFE $version"* ]] || fail "$manual is not of version $version"
    done
}

architecturesHoldTheSame() {
    diff <(cd "$work/contents/$own" && find . | sort | grep -v /.build-id/) \
        <(cd "$work/contents/armhf" && find . | sort | grep -v /.build-id/) ||
        fail "the packages of $own and armhf hold different files"
    seen "both architectures hold the same files"
}

unitIsHardened() {
    local unit=$work/contents/$own/mpegfe/lib/systemd/system/mpegfe.service found
    found=$(systemd-analyze security --offline=yes --threshold=10 "$unit") || fail "the unit is exposed: $(grep ✗ <<<"$found")"
    seen "the unit: $(tail -n 1 <<<"$found" | sed 's/[^ -~]//g')"
}

# pidsFrom ARCHITECTURE: the PIDs of a sample stream, one by line, as the service of that package tells them to the
# programs of this machine's. In namespaces of its own, where nobody has started anything.
pidsFrom() {
    local architecture=$1 emulator=
    [ "$architecture" = "$own" ] || emulator="qemu-arm-static -cpu cortex-a9 -L $PWD/build/arm-sysroot"
    echo '127.0.0.1 localhost mpegfe-parser' >"$work/hosts"
    # shellcheck disable=SC2016 # the other shell's
    unshare --mount --net --pid --fork --kill-child bash -euc '
        perl -MSocket -e "socket(S, AF_INET, SOCK_DGRAM, 0); \$up = pack(q(Z16 s x14), q(lo), 0x49); ioctl(S, 0x8914, \$up) or die" # SIOCSIFFLAGS
        mount -t tmpfs none /run
        mkdir -p /run/shm/zmq
        mount --bind "$1/hosts" /etc/hosts
        tools=$1/contents/$2/mpegfe-tools/usr/bin
        "$tools/mpegfe-board" samples/three-programs.ts 2>/dev/null &
        $4 "$1/contents/$3/mpegfe/usr/bin/mpegFE" >/dev/null &
        timeout 60 "$tools/mpegfe-manager" pidData on
    ' - "$work" "$own" "$architecture" "$emulator" | grep -oE '"pidNum":"[0-9]+"' | sort -u
}

servicesTellTheSame() {
    local pids
    pids=$(pidsFrom "$own") || fail "the packaged service of $own tells no PIDs"
    [ "$(pidsFrom armhf)" = "$pids" ] || fail "the packaged service of armhf does not tell the PIDs that the one of $own does"
    seen "the packaged services of both architectures find the parser by its name and tell the same $(wc -l <<<"$pids") PIDs"
}
