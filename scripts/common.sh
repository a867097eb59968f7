# shellcheck shell=bash
# Functions for ./dev and the scripts in this folder. They source this file in the root of the tree.

say() { printf '==> %s\n' "$*"; }

as_root() {
  if [[ $(id -u) -eq 0 ]]; then "$@"; else sudo "$@"; fi
}

# Configures and builds preset $1.
build() {
  say "building preset $1"
  cmake --preset "$1" >/dev/null
  cmake --build --preset "$1"
}

# Configures, builds and tests preset $1.
run_tests() {
  say "building and testing preset $1"
  CTEST_PARALLEL_LEVEL=$(nproc) cmake --workflow --preset "$1"
}

# The C and C++ sources.
sources() {
  find interface client export parser engine common diagnosis c platform tools tests fuzz bench examples cmake \
    -name '*.h' -o -name '*.cpp' -o -name '*.c'
}
