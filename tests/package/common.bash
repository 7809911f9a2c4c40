# shellcheck shell=bash
# What the scripts of this folder share. They run in the top folder of the source.

work=$PWD/build/package
jobs=${DATAPROCESSING_JOBS:-2}
cxx=${CXX:-c++}
strict=(-std=c++20 -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)

say() { printf '== package: %s\n' "$*"; }
fail() {
    printf 'package: %s\n' "$*" >&2
    exit 1
}

# quietly COMMAND...: its output is shown only when it fails.
quietly() {
    local log
    log=$("$@" 2>&1) || fail "failed: $*
$log"
}

# expect_linkage VARIANT PROGRAM: the program uses the library that it was meant to use.
expect_linkage() {
    if readelf -d "$2" | grep -q 'NEEDED.*libDataProcessing\.so\.'; then
        [ "$1" = shared ] || fail "$2 loads a shared library"
    else
        [ "$1" = static ] || fail "$2 does not load the shared library by its versioned name"
    fi
}

# The consumers take the VARIANT of the library, a NAME to build under, and the PREFIX where the library
# is; without one it is where compilers and loaders look by themselves.

# consumer_find_package VARIANT NAME [PREFIX]: debug and release programs, in a project that says C++17.
consumer_find_package() {
    local build="$work/find_package-$2" where=() config
    [ -z "${3-}" ] || where=(-DCMAKE_PREFIX_PATH="$3")
    say "find_package, $2"
    rm -rf "$build"
    quietly cmake -G 'Ninja Multi-Config' -S tests/package/find_package -B "$build" "${where[@]}" \
        -DCMAKE_CXX_STANDARD=17 -DWANTED_VERSION="$(declared_version)" -DWANTED_PREFIX="${3-/usr}"
    for config in Debug Release; do
        quietly cmake --build "$build" -j "$jobs" --config $config
        expect_linkage "$1" "$build/$config/consumer"
        "$build/$config/consumer"
    done
}

# consumer_pkg_config VARIANT NAME [PREFIX]
consumer_pkg_config() {
    local program="$work/pkg_config-$2" flags=() path='' libdir=''
    say "pkg-config, $2"
    if [ -n "${3-}" ]; then
        path=$(find "$3" -name DataProcessing.pc)
        path=${path%/*}
        eval "libdir=$(PKG_CONFIG_PATH=$path pkg-config --variable=libdir DataProcessing)"
    fi
    [ "$(PKG_CONFIG_PATH=$path pkg-config --modversion DataProcessing)" = "$(declared_version)" ] ||
        fail "pkg-config names another version"
    # Blanks in paths are escaped as a shell wants it.
    eval "flags=($(PKG_CONFIG_PATH=$path pkg-config --cflags --libs DataProcessing))"
    if [ -z "${3-}" ] && [[ " ${flags[*]}" = *" -"[IL]* ]]; then
        fail "pkg-config names directories that compilers know: ${flags[*]}"
    fi
    [ -z "$libdir" ] || flags+=("-Wl,-rpath,$libdir")
    quietly "$cxx" "${strict[@]}" -o "$program" tests/package/consumer.cpp "${flags[@]}"
    expect_linkage "$1" "$program"
    "$program"
}

# The version that the top CMakeLists.txt states.
declared_version() { sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt; }
