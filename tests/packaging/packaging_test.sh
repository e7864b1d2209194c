#!/usr/bin/env bash
# packaging_test.sh SOURCE BUILD
#
# The manual page, the host configurations, the bundle, `cmake --install` and the Debian package of
# a build. The environment names the programs in CMAKE_COMMAND and CPACK_COMMAND.
set -euo pipefail
source=$1
build=$2
page=$source/packaging/tovra-mcp.1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
trap 'echo "packaging_test: line $LINENO: $BASH_COMMAND" >&2' ERR
# Configurations that name no data file must not find that of whoever runs this.
unset TOVRA_DATA_FILE TOVRA_MCP_TOKEN XDG_CONFIG_HOME XDG_DATA_HOME
export HOME=$scratch

quietly() { "$@" >"$scratch/log" 2>&1 || { cat "$scratch/log" >&2; return 1; }; }

# What the sources read (TZ is the C library's), and the tools that the server lists.
KNOWN=$(grep -ohE '"--[a-z-]+"' "$source/server/settings.cpp" | tr -d '"'
    grep -rhoE '(environmentVariable|baseDirectory)\("[A-Z_]+"' "$source"/{server,store,platform} |
        grep -oE '[A-Z_]{3,}'; echo TZ)
TOOLS=$("$build/server/tovra-mcp" <<<'{"jsonrpc":"2.0","id":1,"method":"tools/list"}' |
    grep -oE '"name":"[a-z_]+"' | cut -d '"' -f 4)
export KNOWN TOOLS
check() { node "$(dirname "${BASH_SOURCE[0]}")/configurations.mjs" "$@"; }

MANWIDTH=80 LC_ALL=C.UTF-8 man --warnings --local-file "$page" 2>&1 >"$scratch/page" | (! grep .)
sed -nE 's/^\.It (Ev|Cm) //p; s/^\.It Fl (-[a-z-]*).*/-\1/p' "$page" | tr -s ' ,' '\n' |
    sort -u | diff - <(printf '%s\n' "$KNOWN" "$TOOLS" | sort -u)

quietly "$CMAKE_COMMAND" --install "$build" --prefix "$scratch/prefix"
doc=$scratch/prefix/share/doc/tovra-mcp
check hosts "" "$doc"/examples/*.json
grep -q "^ExecStart=$scratch/prefix/bin/tovra-mcp --http" "$doc/examples/tovra-mcp.service"
cmp "$page" "$scratch/prefix/share/man/man1/tovra-mcp.1"
cmp "$source/LICENSE" "$doc/LICENSE"

quietly "$CMAKE_COMMAND" --build "$build" --target bundle
check bundle "$build"

quietly "$CPACK_COMMAND" --config "$build/CPackConfig.cmake" -B "$scratch/packages"
package=$(echo "$scratch"/packages/tovra-mcp_*.deb)
dpkg-deb --extract "$package" "$scratch/root"
doc=$scratch/root/usr/share/doc/tovra-mcp
check hosts "$scratch/root" "$doc"/examples/*.json
gzip -dc "$scratch/root/usr/share/man/man1/tovra-mcp.1.gz" | cmp "$page"
cmp "$source/LICENSE" "$doc/copyright"
[[ $(gzip -dc "$doc/changelog.gz") == "tovra-mcp ($(dpkg-deb --field "$package" Version))"* ]]
depends=$(dpkg-deb --field "$package" Depends)
[[ $depends == *libc6* && $depends == *libsimdjson* && $depends == *libicu* ]]
