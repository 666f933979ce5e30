# Shared by the scripts beside it; sourced, never run.

set -euo pipefail

source_dir="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
script_name="$(basename "$0")"

# A clone in another folder finds in the compiler cache what this one compiled.
export CCACHE_BASEDIR="$source_dir" CCACHE_NOHASHDIR=yes
# The compiler says what it has read, which saves a run of the preprocessor; and what was compiled
# with precompiled headers is kept as well.
export CCACHE_DEPEND=1 CCACHE_SLOPPINESS=pch_defines,time_macros

say() { printf '%s: %s\n' "$script_name" "$*"; }

fail() {
    printf '%s: %s\n' "$script_name" "$*" >&2
    exit 1
}

# usage: the comment at the top of the script.
usage() { sed -n '2,/^$/s/^# \{0,1\}//p' "$0"; }

# banner TEXT: one line that stands out between the output of tools.
banner() { printf '\n==== %s ====\n' "$*"; }

# configure_and_build PRESET [CMAKE-ARGUMENT...]
configure_and_build() {
    local preset="$1"
    shift
    banner "configure $preset"
    cmake --preset "$preset" -S "$source_dir" "$@"
    banner "build $preset"
    cmake --build --preset "$preset"
}
