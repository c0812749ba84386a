# A life of the packages: installed, asked, disturbed, updated, removed, purged. For tests/packages/run, which sets the
# variables.
# shellcheck shell=bash disable=SC2154

testLife() {
    local before
    inside touch /etc/hosts # as every system that was installed has it
    before=$(filesOf)
    install_ "$(packageFile "$own" mpegfe)" "$(packageFile "$own" mpegfe-tools)"
    refusedCallsKill
    commandLinesAreCompleted
    serviceIsStarted
    directoryIsForTheGroup
    isTheOnlyOne
    boardIsFoundOnceItsNameIsKnown
    consoleIsInTheJournal
    peersComeBackInEveryOrder
    directoryComesBack
    rebootComesBack
    update
    removeAndPurge "$before"
}

# All files of the machine that packages and their scripts could leave; what dpkg and systemd keep for themselves aside.
filesOf() {
    inside find / -xdev \( -path /proc -o -path /sys -o -path /var/lib/dpkg -o -path /var/lib/apt -o -path /var/log -o -path /var/cache \
        -o -path /var/lib/systemd -o -path /tmp -o -path /var/tmp -o -path /run/systemd -o -path /run/log \
        -o -path /root -o -path /etc/group- -o -path /etc/gshadow- -o -path /etc/passwd- -o -path /etc/shadow- \) -prune \
        -o -print | sort
    inside find /run /dev/shm -path /run/systemd -prune -o -path /run/log -prune -o -print | sort
    inside getent passwd
    inside getent group
}

install_() {
    local file
    for file in "$@"; do
        bring "$file" /root
    done
    inside sh -c 'cd /root && apt-get install --yes ./*.deb && rm *.deb' >"$work/install.log" 2>&1 ||
        fail "the packages cannot be installed: $(cat "$work/install.log")"
}

# A call that the unit's filter refuses ends the service here, so that none goes unseen.
refusedCallsKill() {
    inside mkdir -p /etc/systemd/system/mpegfe.service.d
    inside sh -c 'printf "[Service]\nSystemCallErrorNumber=kill\n" >/etc/systemd/system/mpegfe.service.d/test.conf'
    inside systemctl daemon-reload
    inside systemctl restart mpegfe
}

# completionOf COMMAND... WORD: what the shell offers for the last word, which may be empty.
completionOf() {
    # shellcheck disable=SC2016 # the other shell's
    inside bash -c '
        . /usr/share/bash-completion/bash_completion
        . "/usr/share/bash-completion/completions/$1"
        compopt() { :; } # there is no line to complete
        COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMP_LINE=$* COMP_POINT=${#COMP_LINE}
        "_${1//-/_}" "$1" "${!#}" "${@:$#-1:1}"
        echo "${COMPREPLY[*]}"' bash "$@"
}

# isCompleted "EXPECTED" COMMAND... WORD
isCompleted() {
    local expected=$1 found
    shift
    found=$(completionOf "$@") || true
    [ "$found" = "$expected" ] || fail "'$*' is completed to '$found', not '$expected'"
}

commandLinesAreCompleted() {
    isCompleted 'pgmData pgmDetail' mpegfe-manager pg
    isCompleted 'PAT' mpegfe-manager --json PA
    isCompleted 'on off' mpegfe-manager pidData ''
    isCompleted '' mpegfe-manager --timeout ''
    isCompleted '--table --timeout' mpegfe-manager --t
    isCompleted '--record --replay' mpegfe-board --re
    isCompleted '/etc/hostname' mpegfe-board --replay /etc/hostn
    isCompleted '' mpegfe-board --bind /etc/hostn
    seen "command lines are completed"
}

pidOf() {
    inside systemctl show --property MainPID --value "$1"
}

serviceRuns() {
    [ "$(inside cat "/proc/$(pidOf mpegfe)/comm")" = mpegFE ]
}

serviceIsStarted() {
    inside systemctl is-enabled mpegfe >/dev/null || fail "the service is not started with the system"
    until_ "a service" serviceRuns
    [ "$(inside stat --format %U "/proc/$(pidOf mpegfe)")" = mpegfe ] || fail "the service is not the user mpegfe"
    seen "installed: the service runs as its own user"
}

directoryIsThere() {
    [ "$(inside stat --dereference --format '%a %U %G' /run/shm/zmq)" = '2770 mpegfe mpegfe' ] ||
        fail "/run/shm/zmq is $(inside stat --format '%a %U %G' /run/shm/zmq)"
}

directoryIsForTheGroup() {
    directoryIsThere
    [ "$(inside readlink /run/shm)" = /dev/shm ] || fail "/run/shm is no link here"
    seen "the endpoints' directory is for user and group, behind a link too"
}

# The unit's own command, a second time.
isTheOnlyOne() {
    local command status=0
    command=$(inside sed -n 's/^ExecStart=//p' /lib/systemd/system/mpegfe.service)
    # shellcheck disable=SC2086 # words are wanted
    inside runuser -u mpegfe -- timeout 20 $command >/dev/null || status=$?
    [ "$status" -eq 75 ] || fail "a second service ended with $status"
    seen "a second service does not start beside the first"
}

startBoard() {
    bring samples/three-programs.ts /var/tmp/stream.ts
    inside sh -c 'printf "%s\n" "[Unit]" "StartLimitIntervalSec=0" "[Service]" "User=mpegfe" "Restart=always" "RestartSec=1" \
        "ExecStart=/usr/bin/mpegfe-board /var/tmp/stream.ts" "[Install]" "WantedBy=multi-user.target" \
        >/etc/systemd/system/test-board.service'
    inside systemctl enable --now test-board 2>/dev/null
}

manager() {
    inside runuser -u mpegfe -- mpegfe-manager "$@"
}

# The first request waits for the board, which comes last of all, and is answered once its name is known.
boardIsFoundOnceItsNameIsKnown() {
    manager pidData on --table --timeout 1 >"$work/early.txt" 2>&1 && fail "there was an answer without a board"
    startBoard
    manager pidData on --table --timeout 2 >"$work/early.txt" 2>&1 && fail "there was an answer without the board's name"
    inside sh -c 'echo "127.0.0.1 mpegfe-parser" >>/etc/hosts'
    isAnswered "the board's name has become known"
}

bringsPidList() {
    manager pidData on --table --timeout 10 >"$work/answer.txt" && grep --quiet '^PID list: 14 PIDs' "$work/answer.txt"
}

# isAnswered "WHAT HAS HAPPENED"
isAnswered() {
    until_ "an answer after $1" bringsPidList
    manager pidData off --timeout 20 >/dev/null || fail "no end of a session after $1"
    seen "answered: $1"
}

consoleIsInTheJournal() {
    local lines
    lines=$(inside journalctl --unit mpegfe --output cat)
    for line in 'PIDs sent to Client' 'GUI Requests All PIDs' 'Stop MPEG, Wait for new Command'; do
        grep --quiet --line-regexp --fixed-strings "$line" <<<"$lines" || fail "the journal has no line '$line'"
    done
    grep --quiet '^SYSLOG_IDENTIFIER=mpegFE$' <<<"$(inside journalctl --unit mpegfe --output export)" ||
        fail "lines of the journal are not mpegFE's"
    seen "the journal has the console line by line"
}

killService() {
    inside systemctl kill --signal KILL mpegfe
}

killBoard() {
    inside systemctl kill --signal KILL test-board
}

# One that would go on asking.
killManager() {
    manager pidData on --watch >/dev/null 2>&1 &
    until_ "a manager" inside pidof mpegfe-manager
    inside pidof mpegfe-manager | xargs --no-run-if-empty nsenter --target "$init" --pid -- kill -KILL
    wait $! || true
}

peersComeBackInEveryOrder() {
    local order one
    for order in 'Service Board Manager' 'Service Manager Board' 'Board Service Manager' 'Board Manager Service' \
        'Manager Service Board' 'Manager Board Service'; do
        for one in $order; do
            "kill$one"
        done
        isAnswered "killed: $order"
    done
}

directoryComesBack() {
    inside rm -rf /run/shm/zmq
    inside systemctl restart mpegfe
    inside systemctl restart test-board
    directoryIsForTheGroup >/dev/null
    isAnswered "the directory was removed, and the service restarted"
    # A system that knows no link makes /run/shm itself.
    inside rm -rf /dev/shm/zmq /run/shm
    inside systemctl restart mpegfe
    inside systemctl restart test-board
    directoryIsThere
    inside test -d /run/shm -a ! -L /run/shm || fail "/run/shm is no directory here"
    isAnswered "the directory was made anew where /run/shm is no link"
}

rebootComesBack() {
    halt
    boot
    until_ "a service" serviceRuns
    directoryIsForTheGroup >/dev/null
    isAnswered "the machine was started again"
}

# The same packages with a higher version.
update() {
    local package folder before
    before=$(pidOf mpegfe)
    for package in mpegfe mpegfe-tools; do
        folder=$work/next/$package
        rm -rf "$folder"
        mkdir -p "$work/next"
        dpkg-deb --raw-extract "$(packageFile "$own" "$package")" "$folder"
        sed -i 's/^Version: .*/&+next/' "$folder/DEBIAN/control"
        dpkg-deb --root-owner-group --build "$folder" "$work/next/$package.deb" >/dev/null
    done
    install_ "$work/next/mpegfe.deb" "$work/next/mpegfe-tools.deb"
    until_ "a service" serviceRuns
    [ "$(pidOf mpegfe)" != "$before" ] || fail "the service of before the update runs on"
    isAnswered "updated"
}

# The service is started again once it is installed again, as the same user, whose directory others may be using.
keptUntilPurge='> /etc/systemd/system/multi-user.target.wants/mpegfe.service
> /dev/shm/zmq
> /dev/shm/zmq/mpegfe-board.lock
> /dev/shm/zmq/mpegfe-manager.lock
> /dev/shm/zmq/uRO_MMR_MPEGFE-1
> /dev/shm/zmq/uRO_MMR_MpegFE
> /dev/shm/zmq/uRO_MpegFE_MMR
> /run/mpegfe.lock
> mpegfe
> mpegfe'

removeAndPurge() {
    local left
    inside systemctl disable --now test-board 2>/dev/null
    inside rm -rf /etc/systemd/system/test-board.service /etc/systemd/system/mpegfe.service.d /var/tmp/stream.ts
    inside sed -i '/mpegfe-parser/d' /etc/hosts
    inside apt-get remove --yes mpegfe mpegfe-tools >"$work/remove.log" 2>&1 || fail "cannot be removed: $(cat "$work/remove.log")"
    inside pidof mpegFE && fail "the service outlives its package"
    left=$({ diff <(echo "$1") <(filesOf) || true; } | sed -n 's/^\([<>] [^:]*\).*/\1/p')
    [ "$left" = "$keptUntilPurge" ] || fail "not what stays until the purge: $left"
    inside apt-get purge --yes mpegfe mpegfe-tools >"$work/purge.log" 2>&1 || fail "cannot be purged: $(cat "$work/purge.log")"
    left=$(diff <(echo "$1") <(filesOf) || true)
    [ -z "$left" ] || fail "left behind after the purge: $left"
    seen "removed and purged: user, directory and start link stay until the purge, and nothing behind it"
}
