# The Debian packages that the project needs, by purpose, and how they get onto the machine. Sourced by run, test and .ci/run.

VKQT_BUILD_PACKAGES=(g++ cmake ninja-build pkg-config qt6-base-dev libqt6opengl6-dev qt6-tools-dev qt6-l10n-tools libgl1-mesa-dev libdeflate-dev libmount-dev libsystemd-dev libcurl4-openssl-dev libcurl4 ca-certificates libbenchmark-dev libmicrohttpd-dev libgnutls28-dev mandoc)
VKQT_TEST_PACKAGES=(iproute2 unicode-data tzdata bzip2 bsdutils bsdextrautils strace bash-completion groff-base exfat-fuse exfatprogs fuse3 sshfs openssh-sftp-server e2fsprogs util-linux xfsprogs btrfs-progs acl attr libplist-utils python3 squashfs-tools dbus xdg-desktop-portal bubblewrap udev udisks2 polkitd python3-dbus python3-gi trash-cli libglib2.0-bin gvfs gvfs-daemons dbus-daemon bindfs nginx-light libnginx-mod-http-dav-ext python3-httpbin gunicorn openssl xvfb xauth libgl1-mesa-dri pci.ids)
VKQT_CI_PACKAGES=(clang-14 clang-format-14 clang-tidy-14 lld-14 llvm-14 libclang-rt-14-dev)

# vkqt_need_packages NAME... : installs those that are missing, with apt-get. A sentence on stderr and status 1 where that fails.
vkqt_need_packages() {
    local missing=() name
    if ! command -v dpkg-query >/dev/null; then
        echo "This script installs what it needs with apt-get and runs on Debian 12; elsewhere install by hand: $*" >&2
        return 1
    fi
    for name in "$@"; do
        [[ "$(dpkg-query -W -f='${db:Status-Status}' "$name" 2>/dev/null)" == installed ]] || missing+=("$name")
    done
    ((${#missing[@]})) || return 0

    local as_root=()
    if ((EUID != 0)); then
        if ! command -v sudo >/dev/null; then
            echo "These packages are missing and only root can install them: ${missing[*]}" >&2
            return 1
        fi
        as_root=(sudo)
    fi
    echo "Installing ${#missing[@]} missing packages: ${missing[*]}"
    local log
    log=$(mktemp)
    if ! { "${as_root[@]}" apt-get update -qq &&
        "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"; } \
        </dev/null >"$log" 2>&1; then
        tail -n 15 "$log" >&2
        rm -f "$log"
        echo "apt-get could not install: ${missing[*]}" >&2
        return 1
    fi
    rm -f "$log"
}

# vkqt_build PRESET [TARGET...] : configures once and builds; quiet unless something has to be compiled or fails.
vkqt_build() {
    local preset=$1 log
    shift
    if [[ ! -f "$VKQT_ROOT/build/$preset/build.ninja" ]]; then
        echo "Configuring the $preset build"
        log=$(mktemp)
        if ! (cd "$VKQT_ROOT" && cmake --preset "$preset") >"$log" 2>&1; then
            cat "$log" >&2
            rm -f "$log"
            rm -f "$VKQT_ROOT/build/$preset/build.ninja"
            echo "The $preset build could not be configured." >&2
            return 1
        fi
        rm -f "$log"
    fi
    local targets=()
    (($#)) && targets=(--target "$@")
    if ! (cd "$VKQT_ROOT" && NINJA_STATUS="[%f/%t %es] " cmake --build --preset "$preset" "${targets[@]}"); then
        echo "The $preset build failed." >&2
        return 1
    fi
}
