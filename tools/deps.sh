#!/usr/bin/env bash
# Installs what the builds and tests need on a Debian 12 machine. Idempotent: packages that are
# already there are not fetched again, and an index that fails to download while a mirror syncs
# does not stop the install.
set -euo pipefail

PACKAGES=(
    cmake ninja-build g++ gcc g++-multilib gcc-multilib clang libclang-rt-14-dev
    googletest libgtest-dev libgmock-dev libbenchmark-dev libbenchmark-dev:i386 libstb-dev
    libjsoncpp-dev libjsoncpp-dev:i386 libspdlog-dev libspdlog-dev:i386
    util-linux procps psmisc file man-db groff-base time strace gdb binutils gzip lintian
)

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi

if ! dpkg --print-foreign-architectures | grep -qx i386; then
    $SUDO dpkg --add-architecture i386
    NEED_UPDATE=1
fi

missing=()
for p in "${PACKAGES[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$p")
    fi
done

if [ "${#missing[@]}" -gt 0 ] || [ -n "${NEED_UPDATE:-}" ]; then
    export DEBIAN_FRONTEND=noninteractive
    $SUDO apt-get update || echo "deps: apt-get update reported errors; going on with the indexes we have"
    if [ "${#missing[@]}" -gt 0 ]; then
        $SUDO apt-get install -y --no-install-recommends "${missing[@]}"
    fi
fi
