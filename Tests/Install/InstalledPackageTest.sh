#!/usr/bin/env bash
# Installs the build into a temporary prefix and uses nothing but that: find_package, pkg-config, every header
# alone, the tool, its man page and completion.
set -euo pipefail
build=$1 compiler=$2 cmake=$3
source_folder=$(cd "$(dirname "${BASH_SOURCE[0]}")/Application" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf -- "$scratch"' EXIT
prefix=$scratch/prefix
fail() {
    echo "InstalledPackage: $*" >&2
    exit 1
}

"$cmake" --install "$build" --prefix "$prefix" >"$scratch/install.log" || fail "the installation failed: $(tail -n 5 "$scratch/install.log")"

"$cmake" -G Ninja -S "$source_folder" -B "$scratch/application" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_CXX_COMPILER="$compiler"
"$cmake" --build "$scratch/application"
"$scratch/application/outside"
"$scratch/application/outside-core"

# The libraries that the application loads are the installed ones, by their versioned names.
ldd "$scratch/application/outside" | tee "$scratch/ldd.log" | grep -F "$prefix" || fail "the application does not load the installed library"
grep -qE "libVKQtCoreLite\.so\.[0-9]+ => $prefix/" "$scratch/ldd.log" || fail "libVKQtCoreLite has no versioned name"
grep -qE "libVKCoreKit\.so\.[0-9]+ => $prefix/" "$scratch/ldd.log" || fail "libVKCoreKit has no versioned name"

# Nothing but marked names leaves a library: no name of the inner storeys, none of the standard library's templates as a strong symbol.
leaked=$(nm -DC --defined-only "$prefix"/lib*/libVKCoreKit.so "$prefix"/lib*/*/libVKCoreKit.so 2>/dev/null | grep ' [TDBR] ' | grep -F 'VKPlatform::' || true)
[[ -z $leaked ]] || fail "the platform storey leaves the library: $leaked"

# pkg-config
pc=$(find "$prefix" -name VKQtCoreLite.pc)
[[ -n $pc ]] || fail "no VKQtCoreLite.pc is installed"
export PKG_CONFIG_PATH=${pc%/*}
read -ra flags <<<"$(pkg-config --cflags --libs VKQtCoreLite)"
"$compiler" -std=c++20 -fPIC "$source_folder/main.cpp" -o "$scratch/by-pkg-config" "${flags[@]}"
libraries=$(pkg-config --variable=libdir VKQtCoreLite)
LD_LIBRARY_PATH=$libraries "$scratch/by-pkg-config"

# The tool runs from the prefix, and the prefix can be moved.
"$prefix/bin/vkqt" --version
mv "$prefix" "$scratch/moved"
"$scratch/moved/bin/vkqt" --version >/dev/null || fail "vkqt does not run from a moved prefix"
[[ -s $scratch/moved/share/man/man1/vkqt.1 ]] || fail "no man page is installed"
[[ -s $scratch/moved/share/bash-completion/completions/vkqt ]] || fail "no completion is installed"
! find "$scratch/moved" -name '*samplephotos*' -o -name '*Test*' | grep . || fail "tests or build tools are installed"
echo "InstalledPackage: fine"
