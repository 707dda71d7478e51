# Sourced by the scripts of this folder, never run. Gives them strict mode, a fixed locale and umask, the checkout as
# working directory ($root), and the functions below.
set -euo pipefail
umask 022
export LC_ALL=C.UTF-8
unset CDPATH GREP_OPTIONS CLICOLOR_FORCE NINJA_STATUS CTEST_PARALLEL_LEVEL

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd -P)"
# Before the working directory changes, which a relative name would not survive.
script_file="$(realpath "$0")"
cd "$root"

# Debian's own, which has Debian's pytest, whatever else comes first in the PATH.
python=/usr/bin/python3

# fail SENTENCE: says why and what helps, and ends the script.
fail() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

# print_usage: the comment at the head of the script that runs.
print_usage() { awk 'NR > 1 { if (!/^#/) exit; sub(/^# ?/, ""); print }' "$script_file"; }

# wrong_usage: for arguments that the script does not know.
wrong_usage() {
    print_usage >&2
    exit 2
}

if [[ "${1:-}" == --help || "${1:-}" == -h ]]; then
    print_usage
    exit 0
fi

if ! mkdir -p build 2>/dev/null || [[ ! -w build ]]; then
    fail "$root/build cannot be written by $(id -un), and everything that is built goes there. Give it to that user, or \
work in a copy of this checkout that is theirs."
fi

# Service accounts and containers may have no home, or one that is not theirs; some tools need a writable one.
if [[ ! -w "${HOME:-}" ]]; then
    export HOME="$root/build/home"
    mkdir -p "$HOME"
fi

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

# with_build_lock COMMAND...: runs it while no other script builds in this checkout: two builds in one folder would write
# over each other's files. Not for what runs the built programs: a build that has nothing to do touches none of them.
with_build_lock() {
    (
        exec 9>>build/.lock
        if ! flock --nonblock 9; then
            printf 'Waiting for another script that builds in this checkout (lock: build/.lock)\n'
            flock 9
        fi
        # A program that outlives its script must not hold the lock.
        "$@" 9>&-
    )
}

# one_at_a_time: from here on only one run of this script in this checkout; another one waits until it has ended.
one_at_a_time() {
    local lock="build/${0##*/}.lock"
    exec 8>>"$lock"
    if ! flock --nonblock 8; then
        printf 'Waiting for another script/%s in this checkout (lock: %s)\n' "${0##*/}" "$lock"
        flock 8
    fi
}

# give_back PATH...: what root has left in a checkout that is somebody else's, that user could not remove.
give_back() {
    if ((EUID != 0)); then as_root chown -R "$(id -u):$(id -g)" "$@"; fi
}

# show_progress: reads a command's output and shows where it is, in one changing line on a terminal and now and then
# elsewhere. Everything is in the log; this is only for the person who waits.
show_progress() {
    local piece line="" last="" said="" shown=$SECONDS status
    while true; do
        status=0
        IFS= read -r -t 15 piece || status=$?
        # What came before the time was up is the beginning of a line.
        line+="$piece"
        if ((status == 0)); then
            if [[ "$line" == *[[:alnum:]]* ]]; then last="$line"; fi
            line=""
        elif ((status < 128)); then
            break
        fi
        if [[ -t 1 ]]; then
            printf '\r\033[K    %.100s' "$last"
        elif ((SECONDS - shown >= 30)); then
            # Leaders of dots and columns of blanks are for a terminal's width.
            said="$(tr -s '. ' <<<"$last")"
            printf '    after %d s: %.110s\n' "$SECONDS" "${said# }"
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
    ) </dev/null 2>&1 8>&- | tee "$log" | show_progress
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
