# Sourced by the other scripts: where the project is, and one way to say what is going on.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

say() { printf '== %s\n' "$*" >&2; }
die() {
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}
# Two jobs by default on small machines, all cores on others.
jobs=${DEFTMAPI_JOBS:-$(nproc 2>/dev/null || echo 2)}
