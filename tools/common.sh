# What the scripts have in common, to be sourced by them. It leaves them in the project's folder, and ends them at an
# error.
set -euo pipefail
caller=$PWD
cd "$(dirname "${BASH_SOURCE[0]}")/.."
root=$PWD

# Ends a tool whose arguments are not all numbers with what its head says.
require_numbers()
{
    local word
    for word in "$@"; do
        [[ $word =~ ^[0-9]{1,9}$ ]] && continue
        sed -n '2,/^[^#]/s/^# \{0,1\}//p' "tools/$(basename "$0")" >&2
        exit 2
    done
}

# Makes the machine ready as long as the script runs, with the Debian packages that it needs besides the usual ones.
prepare()
{
    trap 'tools/setup --done $$' EXIT
    tools/setup --for $$ "$@"
}

# Configures the build in build/mingw. Arguments are CMake's.
configure()
{
    mkdir -p build
    cmake --preset mingw -Wno-dev "$@" >build/configure.log 2>&1 && return
    cat build/configure.log >&2
    return 1
}

# Builds the named targets there, or everything.
build()
{
    local targets=()
    [ $# -eq 0 ] || targets=(--target "$@")
    cmake --build --preset mingw "${targets[@]}"
}

# What a user has in one folder: the workbench with its dispatcher, the client, a sample to try. Debian's Wine has no
# managed runtime of its own, so the bridge to Debian's is there as well.
user_targets=(OrvWorkBench64 OrvClient OrvDispatcher OrvSample OrvBridgeMscoree)

# Lays it out in the named folder. A client that runs there keeps the files that it was started with.
lay_out()
{
    local built=build/mingw
    mkdir -p "$1"
    cp --update --remove-destination "$built"/bin/OrvWorkBench64.* "$built/bin/OrvClient.exe" \
        "$built"/bin/OrvSample.* "$built/bridge/mscoree.dll" "$1"
}
