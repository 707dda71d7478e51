# Sourced by the scripts of this folder, never run. Gives them strict mode, a fixed locale and umask, the checkout as
# working directory ($root), and the functions below.
set -euo pipefail
umask 022
export LC_ALL=C.UTF-8
unset CDPATH GREP_OPTIONS CLICOLOR_FORCE NINJA_STATUS CTEST_PARALLEL_LEVEL

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd -P)"
cd "$root"

# Service accounts and containers may have no home, or one that is not theirs; some tools need a writable one.
if [[ ! -w "${HOME:-}" ]]; then
    export HOME="$root/build/home"
    mkdir -p "$HOME"
fi

# Debian's own, which has Debian's pytest, whatever else comes first in the PATH.
python=/usr/bin/python3

# fail SENTENCE: says why and what helps, and ends the script.
fail() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

note() { printf '    %s\n' "$*"; }

# need_root WHAT: asks for the password now rather than in the middle, and fails where nobody can become root.
need_root() {
    ((EUID != 0)) || return 0
    command -v sudo >/dev/null ||
        fail "$1 needs root. Run this as root, or install sudo and allow your user to use it."
    sudo -v || fail "$1 needs root, and sudo did not allow it."
}

# as_root COMMAND...: runs it as root.
as_root() {
    if ((EUID == 0)); then
        "$@"
    else
        need_root "\"$1\""
        sudo "$@"
    fi
}

# show_progress: reads a command's output and shows where it is, in one changing line on a terminal and now and then
# elsewhere. Everything is in the log; this is only for the person who waits.
show_progress() {
    local line last="" shown=$SECONDS status
    while true; do
        status=0
        IFS= read -r -t 15 line || status=$?
        if ((status == 0)); then
            last="$line"
        elif ((status < 128)); then
            break
        fi
        if [[ -t 1 ]]; then
            printf '\r\033[K    %.100s' "$last"
        elif ((SECONDS - shown >= 15)); then
            printf '    … %.150s\n' "$last"
            shown=$SECONDS
        fi
    done
    if [[ -t 1 ]]; then printf '\r\033[K'; fi
}

# run_logged LOG COMMAND...: runs a command or function, in a subshell with strict mode, with its whole output in LOG;
# leaves its exit status in $logged_status and the seconds it took in $logged_seconds. To be called as a statement of
# its own: inside a condition the shell would switch strict mode off for the function too.
run_logged() {
    local log="$1" begin=$SECONDS
    shift
    mkdir -p "$(dirname "$log")"
    set +e
    (
        set -e
        "$@"
    ) </dev/null 2>&1 | tee "$log" | show_progress
    logged_status=${PIPESTATUS[0]}
    set -e
    logged_seconds=$((SECONDS - begin))
}

# stage_line VERDICT NAME SECONDS [REMARK]: the one line of a stage that has ended.
stage_line() { printf '%-7s %-10s %5d s%s\n' "$1" "$2" "$3" "${4:+  $4}"; }

# show_log_tail LOG [LINES]: the end of a log, set off from our own lines.
show_log_tail() {
    tail -n "${2:-40}" "$1" | sed 's/^/    | /'
    note "The whole log: ${1#"$root"/}"
}

# without_aslr COMMAND...: runs it without address randomisation where the system allows that: ThreadSanitizer's
# shadow memory does not fit beside the layouts that kernels with high-entropy randomisation choose.
without_aslr() {
    if setarch "$(uname -m)" -R true 2>/dev/null; then
        setarch "$(uname -m)" -R "$@"
    else
        "$@"
    fi
}
