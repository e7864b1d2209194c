#!/usr/bin/env bash
# packaging_test.sh SOURCE BUILD
#
# The manual page, the host configurations, the bundle, `cmake --install` and the Debian package of
# a build. The environment names the programs in CMAKE_COMMAND and CPACK_COMMAND.
set -euo pipefail
source_folder=$1
build=$2
here=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
page=$source_folder/packaging/tovra-mcp.1

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
# Configurations that name no data file must not find that of whoever runs this.
unset TOVRA_DATA_FILE TOVRA_MCP_TOKEN XDG_CONFIG_HOME XDG_DATA_HOME
export HOME=$scratch

fail() {
    echo "packaging_test: $*" >&2
    exit 1
}

# quietly COMMAND...: shows what the command says only where it fails.
quietly() {
    "$@" >"$scratch/log" 2>&1 || { cat "$scratch/log" >&2; fail "failed: $*"; }
}

# same_names WHAT HAVE WANT: two texts of names, in any order, are the same ones.
same_names() {
    diff <(sort -u <<<"$2") <(sort -u <<<"$3") || fail "$1 (< found, > wanted)"
}

# What the sources read (TZ is the C library's), and the tools that the server lists.
options=$(grep -oE '"--[a-z-]+"' "$source_folder/server/settings.cpp" | tr -d '"')
variables=$(cd "$source_folder" && { grep -rhoE '(environmentVariable|baseDirectory)\("[A-Z_]+"' \
    server store platform | grep -oE '[A-Z_]{3,}'; echo TZ; })
tools=$("$build/server/tovra-mcp" <<<'{"jsonrpc":"2.0","id":1,"method":"tools/list"}' |
    grep -oE '"name":"[a-z_]+"' | cut -d '"' -f 4)
[[ $options && $variables && $tools ]] || fail "no options, variables or tools found"

echo "The manual page"
MANWIDTH=80 LC_ALL=C.UTF-8 man --warnings --local-file "$page" >"$scratch/page" 2>"$scratch/warnings"
[[ -s $scratch/page && ! -s $scratch/warnings ]] || fail "$(cat "$scratch/warnings")"
same_names "options of the page" "$(sed -n 's/^\.It Fl \(-[a-z-]*\).*/-\1/p' "$page")" "$options"
same_names "variables of the page" \
    "$(sed -n 's/^\.It Ev //p' "$page" | tr -s ' ,' '\n')" "$variables"
same_names "tools of the page" "$(sed -n 's/^\.It Cm //p' "$page")" "$tools"

# check_configurations ROOT FOLDER: those in FOLDER name real things, and what they start answers;
# the paths in them are below ROOT.
check_configurations() {
    ls "$2"/*.json >/dev/null
    OPTIONS=$options VARIABLES=$variables node "$here/configurations.mjs" hosts "$1" "$2"/*.json
}

echo "cmake --install"
prefix=$scratch/prefix
quietly "$CMAKE_COMMAND" --install "$build" --prefix "$prefix"
check_configurations "" "$prefix/share/doc/tovra-mcp/examples"
grep -q "^ExecStart=$prefix/bin/tovra-mcp --http" \
    "$prefix/share/doc/tovra-mcp/examples/tovra-mcp.service" || fail "the path in the service file"
cmp "$page" "$prefix/share/man/man1/tovra-mcp.1"
cmp "$source_folder/LICENSE" "$prefix/share/doc/tovra-mcp/LICENSE"

echo "The bundle"
quietly "$CMAKE_COMMAND" --build "$build" --target bundle
OPTIONS=$options VARIABLES=$variables TOOLS=$tools node "$here/configurations.mjs" bundle "$build"

echo "The Debian package"
quietly "$CPACK_COMMAND" --config "$build/CPackConfig.cmake" -B "$scratch/packages"
packages=("$scratch"/packages/tovra-mcp_*.deb)
dpkg-deb --extract "${packages[0]}" "$scratch/root"
check_configurations "$scratch/root" "$scratch/root/usr/share/doc/tovra-mcp/examples"
gzip -dc "$scratch/root/usr/share/man/man1/tovra-mcp.1.gz" | cmp "$page"
cmp "$source_folder/LICENSE" "$scratch/root/usr/share/doc/tovra-mcp/copyright"
read -r version < <(dpkg-deb --field "${packages[0]}" Version)
gzip -dc "$scratch/root/usr/share/doc/tovra-mcp/changelog.gz" | head -n 1 |
    grep -qF "tovra-mcp ($version)" || fail "the changelog does not begin with $version"

# What the program was built with satisfies what the package asks for.
depends=$(dpkg-deb --field "${packages[0]}" Depends)
[[ $depends == *libc6* && $depends == *libsimdjson* && $depends == *libicu* ]] ||
    fail "dependencies: $depends"
while read -r name relation wanted; do
    installed=$(dpkg-query --show --showformat='${Version}\n' "$name" | head -n 1)
    dpkg --compare-versions "$installed" "$relation" "$wanted" ||
        fail "depends on $name $relation $wanted, here is $installed"
done < <(tr ',' '\n' <<<"$depends" | tr -d '()')
