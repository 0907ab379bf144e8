# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Functions of the scripts that run commands in a bare Debian 12: sourced by them. When they are
# called, root is the directory of the tree, and work the one for the bare root.

release=bookworm

# The mounts end with the namespace, also after an error.
enter_namespace() {
    if [ -z "${IXLAL_CLEAN_ROOT_INSIDE:-}" ]; then
        IXLAL_CLEAN_ROOT_INSIDE=yes exec unshare --mount --propagation private --pid --fork \
            --kill-child "$0" "$@"
    fi
}

# The sources of apt on this machine, one per line.
list_sources() {
    # shellcheck disable=SC2016 # the names are apt's
    apt-get indextargets --format 'deb $(SITE) $(RELEASE) $(COMPONENT)' \
        'Created-By: Packages' 'Origin: Debian' | grep " $release" | sort -u
}

# Creates $work/base, a root of Debian's smallest variant, with the mirror and the proxy that apt
# uses here, unless an earlier run has left it.
make_base() {
    local mirror
    if [ -d "$work/base" ]; then
        return
    fi
    mirror=$(list_sources | awk -v release="$release" '$3 == release { print $2; exit }')
    eval "$(apt-config shell http_proxy Acquire::http::Proxy)"
    export http_proxy="${http_proxy:-}"
    rm -rf "$work/making"
    mkdir -p "$work/making"
    debootstrap --variant=minbase "$release" "$work/making" "$mirror" >"$work/debootstrap.log" || {
        tail -n 20 "$work/debootstrap.log" >&2
        exit 1
    }
    list_sources >"$work/making/etc/apt/sources.list"
    apt-config dump | grep -E '^Acquire::https?::Proxy' \
        >"$work/making/etc/apt/apt.conf.d/90proxy" || true # none is the usual
    mv "$work/making" "$work/base"
}

# mount_root NAME: copies the bare root to $work/NAME, and mounts what programs need there.
mount_root() {
    local new=$work/$1
    rm -rf "$new"
    cp -a "$work/base" "$new"
    mount -t proc proc "$new/proc"
    mount -t devpts -o newinstance,ptmxmode=0666 devpts "$new/dev/pts"
    mount -t tmpfs -o mode=1777 shm "$new/dev/shm"
    ln -sf pts/ptmx "$new/dev/ptmx"
    printf '127.0.0.1 localhost %s\n' "$(uname -n)" >"$new/etc/hosts" # sudo asks for it
}

# remove_root NAME
remove_root() {
    umount --lazy "$work/$1"/{proc,dev/pts,dev/shm}
    rm -rf "${work:?}/$1"
}

# in_root NAME USER COMMAND: runs the command in a shell, in the user's home.
in_root() {
    local home=/root path=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin
    if [ "$2" != root ]; then
        home=/home/$2
        path=/usr/local/bin:/usr/bin:/bin
    fi
    env -i HOME="$home" PATH="$path" "$(command -v setsid)" --wait \
        "$(command -v chroot)" --userspec="$2:$2" "$work/$1" bash -c "cd; $3" </dev/null
}

# prepare_roots ARGUMENTS...: starts the script again with its arguments, in a namespace of
# its own, and makes the bare root in $work, from here on an absolute path.
prepare_roots() {
    if [ "$(id -u)" -ne 0 ]; then
        echo "$(basename "$0"): must be run as root, to create a root directory" >&2
        exit 1
    fi
    "${root:?}/scripts/install-deps.sh" root
    enter_namespace "$@"
    mkdir -p "$work"
    work=$(cd "$work" && pwd)
    make_base
}
