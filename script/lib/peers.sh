# Sourced after packages.sh. The forwarders that the relays are measured beside.

# peer_packages: the Debian packages, and what each brings.
peer_packages=(haproxy nginx libnginx-mod-stream)
peer_files=(usr/sbin/haproxy usr/sbin/nginx usr/lib/nginx/modules/ngx_stream_module.so)

# unpack_peers FOLDER: Debian's HAProxy and nginx, unpacked there and not installed. Installing them would start a service
# on this computer, now and with every boot.
unpack_peers() {
    local folder="$1" file missing=no
    for file in "${peer_files[@]}"; do
        if [[ ! -e "$folder/$file" ]]; then missing=yes; fi
    done
    [[ "$missing" == yes ]] || return 0
    local log="$root/build/logs/peers.log"
    run_logged "$log" download_peers "$folder"
    if ((logged_status != 0)); then
        show_log_tail "$log" 20
        fail "Debian's packages of ${peer_packages[*]} could not be fetched. Check this computer's package sources and \
network, then try again."
    fi
}

download_peers() {
    local folder="$1" fetched
    rm -rf "$folder"
    mkdir -p "$folder"
    fetched="$(realpath "$folder")/packages"
    mkdir -p "$fetched"
    cd "$fetched" || return
    # The lists of packages may be missing or old.
    if ! apt-get download "${peer_packages[@]}"; then
        as_root apt-get update
        apt-get download "${peer_packages[@]}"
    fi
    local package
    for package in ./*.deb; do dpkg-deb --extract "$package" ..; done
}
