# Sourced after common.sh. The Debian packages that this project needs, by purpose, and how they get there.

package_sets=(build test lab check bench fresh)

# What the windows load when they run.
windows=(qml6-module-qtqml qml6-module-qtqml-models qml6-module-qtqml-workerscript qml6-module-qtquick
    qml6-module-qtquick-layouts qml6-module-qtquick-templates qml6-module-qtquick-window)
# A screen in memory with a window manager and a tray, and the fonts of the pictures.
screen=(at-spi2-core fonts-inter fonts-jetbrains-mono openbox tint2 x11-xserver-utils xdotool xvfb)

# packages_of SET: the names, one per line.
packages_of() {
    case "$1" in
        build)
            printf '%s\n' build-essential cmake ninja-build pkg-config libboost1.81-dev nlohmann-json3-dev libicu-dev \
                libre2-dev libfmt-dev libcurl4-openssl-dev ca-certificates libavahi-client-dev libsystemd-dev libgtest-dev \
                libgmock-dev libxcb1-dev qt6-base-dev qt6-declarative-dev qt6-declarative-dev-tools qt6-svg-dev "${windows[@]}"
            ;;
        # What the unit and component tests start (a D-Bus daemon, ip, openssl, ps, zip, a screen), and what reads their
        # reports.
        test) printf '%s\n' dbus iproute2 openssl procps python3 zip qml6-module-qttest "${screen[@]}" ;;
        lab)
            printf '%s\n' avahi-daemon avahi-utils binutils dbus iproute2 openssl procps python3 python3-pytest \
                python3-pytest-xdist systemd util-linux zip gir1.2-atspi-2.0 imagemagick python3-gi \
                "${screen[@]}"
            ;;
        check)
            printf '%s\n' clang-19 clang-format-19 clang-tidy-19 libclang-19-dev libclang-rt-19-dev llvm-19 llvm-19-dev \
                npm nodejs file git shellcheck util-linux appstream desktop-file-utils librsvg2-bin libxml2-utils
            ;;
        # The libraries of the peers, which themselves are unpacked and not installed: see peers.sh.
        bench) printf '%s\n' libcrypt1 liblua5.3-0 libopentracing-c-wrapper0 libpcre2-8-0 libssl3 nmap python3 socat zlib1g ;;
        fresh) printf '%s\n' debootstrap util-linux git ;;
        *) fail "there is no package set \"$1\"; there are: ${package_sets[*]}." ;;
    esac
}

# Every name that an installed package has or provides: a nodejs that brings its own npm needs no other one.
installed_names() {
    dpkg-query --show --showformat='${db:Status-Status}\t${Package}, ${Provides}\n' |
        awk -F '\t' '$1 == "installed" { gsub(/ *\([^)]*\)/, "", $2); gsub(/, */, "\n", $2); print $2 }'
}

# missing_packages SET...: what is not installed yet, one per line.
missing_packages() {
    local set
    for set in "$@"; do packages_of "$set"; done | sort -u | grep --fixed-strings --line-regexp --invert-match \
        --file=<(installed_names | grep . | sort -u) || true
}

# ensure_packages SET...: installs what is missing, saying so; asks for nothing when everything is there.
ensure_packages() {
    if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
        fail "this script installs what it needs with apt-get, on Debian 12; here there is none. Install by hand what \
script/lib/packages.sh lists."
    fi
    local missing
    missing="$(missing_packages "$@")"
    [[ -n "$missing" ]] || return 0

    local -a names
    mapfile -t names <<<"$missing"
    printf 'Installing from Debian: %s\n' "${names[*]}"
    local log="$root/build/logs/packages.log" sets="$*"
    run_logged "$log" install_packages "${names[@]}"
    if ((logged_status != 0)); then
        show_log_tail "$log" 20
        fail "apt-get could not install what \"$sets\" needs. Check this computer's package sources and network, then \
try again."
    fi
    stage_line ok packages "$logged_seconds" "${#names[@]} installed"
}

install_packages() {
    # Without the lock time-out, a package manager that runs in the background makes us fail at once.
    local -a apt=(env DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8 apt-get -o DPkg::Lock::Timeout=300)
    as_root "${apt[@]}" update
    as_root "${apt[@]}" install --yes --no-install-recommends "$@"
}
