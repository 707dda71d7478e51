# Sourced by script/fresh: makes a minimal Debian in a folder and runs commands in it. All of it as root.

checkout_inside=/root/quillbay

# The address of the suite's mirror, as this computer's own package sources have it.
mirror_of() {
    # shellcheck disable=SC2016  # apt-get fills these in, not the shell
    apt-get indextargets --format '$(RELEASE) $(COMPONENT) $(REPO_URI)' 'Created-By: Packages' |
        awk -v suite="$1" '$1 == suite && $2 == "main" { print $3; exit }'
}

# The keys that sign the distribution.
keyring() {
    local file
    for file in /usr/share/keyrings/debian-archive-keyring.gpg /etc/apt/trusted.gpg; do
        if [[ -s "$file" ]]; then
            printf '%s\n' "$file"
            return
        fi
    done
}

bootstrap() {
    local system="$1" suite="$2" mirror keys
    mirror="$(mirror_of "$suite")"
    [[ -n "$mirror" ]] || fail "this computer's package sources do not hold Debian's $suite; add it to /etc/apt."
    keys="$(keyring)"
    [[ -n "$keys" ]] || fail "Debian's keys are missing; install debian-archive-keyring."
    local -a options=(--variant=minbase --keyring="$keys")
    # A minimal system cannot check certificates, which a mirror behind https needs from the start.
    if [[ "$mirror" == https:* ]]; then options+=(--include=ca-certificates); fi
    debootstrap "${options[@]}" "$suite" "$system" "$mirror"
}

# make_system FOLDER SUITE USE_CACHE: the minimal system, from the cache where that is there.
make_system() {
    local system="$1" suite="$2" use_cache="$3" cache="$root/build/fresh-cache" file
    file="$cache/$suite-$(dpkg --print-architecture).tar"
    if [[ "$use_cache" == yes && -s "$file" ]]; then
        mkdir "$system"
        tar --extract --numeric-owner --xattrs --file "$file" --directory "$system"
        return
    fi
    bootstrap "$system" "$suite"
    mkdir -p "$cache"
    # Under another name until it is whole: an interrupted run leaves no half of a system.
    tar --create --numeric-owner --xattrs --file "$file.new" --directory "$system" .
    mv "$file.new" "$file"
}

# copy_if_there SYSTEM FILE...: to the same place.
copy_if_there() {
    local system="$1" file
    shift
    for file in "$@"; do
        if [[ -e "$file" ]]; then
            mkdir -p "$system$(dirname "$file")"
            cp --recursive --dereference --no-target-directory "$file" "$system$file"
        fi
    done
}

# take_over_configuration SYSTEM: where packages come from, and how the network is reached.
take_over_configuration() {
    local system="$1" keys
    rm -f "$system/etc/apt/sources.list"
    copy_if_there "$system" /etc/apt/sources.list /etc/apt/sources.list.d /etc/apt/apt.conf /etc/apt/apt.conf.d \
        /etc/apt/keyrings /etc/apt/trusted.gpg /etc/apt/trusted.gpg.d /etc/resolv.conf /etc/hosts \
        /usr/local/share/ca-certificates
    # Keys that the sources name, wherever they lie.
    while IFS= read -r keys; do
        copy_if_there "$system" "$keys"
    done < <(grep -rhoE '(Signed-By: *|signed-by=)/[^] ]+' /etc/apt/sources.list /etc/apt/sources.list.d 2>/dev/null |
        sed -E 's/^[^\/]*//' | sort -u)
    # Packages must not start their services here: these would meet this computer's network.
    printf '#!/bin/sh\nexit 101\n' >"$system/usr/sbin/policy-rc.d"
    chmod 755 "$system/usr/sbin/policy-rc.d"
    printf 'fresh\n' >"$system/etc/hostname"
}

# place_checkout SYSTEM commit|tree
place_checkout() {
    local target="$1$checkout_inside"
    local -a git=(git -c "safe.directory=$root")
    mkdir -p "$target"
    if [[ "$2" == commit ]]; then
        "${git[@]}" rev-parse --verify --quiet HEAD >/dev/null ||
            fail "there is no commit to check out; use --working-tree."
        "${git[@]}" archive HEAD | tar --extract --directory "$target"
    else
        # A file that is deleted but not committed so is listed and not there.
        "${git[@]}" ls-files -z --cached --others --exclude-standard |
            tar --create --null --files-from - --ignore-failed-read | tar --extract --no-same-owner --directory "$target"
    fi
    printf 'placed %d files\n' "$(find "$target" -type f | wc -l)"
}

# run_inside SYSTEM COMMAND: in the checkout, as the only program of its namespaces.
run_inside() {
    local -a variables=(PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LANG=C.UTF-8)
    local name
    for name in http_proxy https_proxy no_proxy HTTP_PROXY HTTPS_PROXY NO_PROXY; do
        if [[ -n "${!name:-}" ]]; then variables+=("$name=${!name}"); fi
    done
    timeout --foreground --kill-after=30 3600 \
        unshare --mount --propagation private --pid --fork --kill-child --uts \
        bash "$root/script/lib/fresh_enter.sh" "$1" "$checkout_inside" "$2" "${variables[@]}"
}

# last_line_is_good COMMAND LINE: what the commands promise about their last line.
last_line_is_good() {
    case "$1" in
        *script/demo*) [[ "$2" =~ ^([1-9][0-9]*)\ of\ ([1-9][0-9]*)\ steps\ seen$ && "${BASH_REMATCH[1]}" == "${BASH_REMATCH[2]}" ]] ;;
        *script/test*) [[ "$2" =~ ^[1-9][0-9]*\ passed,\ 0\ failed$ ]] ;;
        *) [[ -n "$2" ]] ;;
    esac
}
