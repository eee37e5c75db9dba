#!/usr/bin/env bash
# Consumes the library every way an outside project would: an installed copy
# through find_package and through pkg-config (C compiler only, no C++
# runtime), add_subdirectory, and FetchContent from this git repository.
set -euo pipefail
src=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
quiet() { "$@" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }; }

quiet cmake -S "$src" -B "$work/library" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DVEK_BUILD_TESTS=OFF -DVEK_BUILD_EXAMPLES=OFF -DVEK_BUILD_BENCHMARKS=OFF
quiet cmake --build "$work/library"
quiet cmake --install "$work/library" --prefix "$work/prefix"

modes=(package subdirectory)
git -C "$src" rev-parse HEAD >/dev/null 2>&1 && modes+=(fetchcontent)
for mode in "${modes[@]}"; do
    quiet cmake -S "$src/tests/consumers" -B "$work/$mode" -G Ninja -DVEK_CONSUME="$mode" \
        -DVEK_SOURCE_DIR="$src" -DVEK_GIT_TAG="$(git -C "$src" rev-parse HEAD 2>/dev/null || echo HEAD)" \
        -DCMAKE_PREFIX_PATH="$work/prefix"
    quiet cmake --build "$work/$mode"
    "$work/$mode/consumer_c"
    "$work/$mode/consumer_cxx"
    echo "consumed through $mode"
done

pc_dir=$(dirname "$(find "$work/prefix" -name vek-string.pc)")
flags=$(PKG_CONFIG_PATH="$pc_dir" pkg-config --cflags --libs vek-string)
# shellcheck disable=SC2086 # the flags are words
cc -std=c99 "$src/tests/consumers/consumer.c" $flags -o "$work/pkg-config-consumer"
"$work/pkg-config-consumer"
echo "consumed through pkg-config"
