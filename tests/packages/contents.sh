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
    seen "$architecture: lintian finds nothing, libraries are depended on, manuals name every option"
}

# A program of the packages says what it can do.
helpOf() {
    local architecture=$1 program=$2 emulator=()
    [ "$architecture" = "$own" ] || emulator=(qemu-arm-static -cpu cortex-a9 -L build/arm-sysroot)
    "${emulator[@]}" "$work/contents/$architecture/mpegfe-tools/usr/bin/$program" --help
}

manualsNameEveryOption() {
    local architecture=$1 program option manual
    for program in mpegfe-board mpegfe-manager; do
        manual=$(zcat "$work/contents/$architecture/mpegfe-tools/usr/share/man/man1/$program.1.gz" | sed 's/\\-/-/g')
        for option in $(helpOf "$architecture" "$program" | grep -oE -- '--[a-z-]+' | sort -u); do
            grep -q -- "$option" <<<"$manual" || fail "the manual of $program does not name $option"
        done
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
