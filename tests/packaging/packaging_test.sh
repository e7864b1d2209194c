#!/usr/bin/env bash
# packaging_test.sh SOURCE BUILD (absolute): the manual page, the bundle, `cmake --install` and the
# Debian package of a build. The environment names the programs in CMAKE_COMMAND and CPACK_COMMAND.
set -euo pipefail
source=$1 build=$2 pages=$1/packaging
trap 'echo "packaging_test: line $LINENO: $BASH_COMMAND" >&2' ERR
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"

# What the sources read (TZ is the C library's), and the tools that the server lists.
known="TZ $(grep -rhoP '"\K--[a-z-]+(?=")|(environmentVariable|baseDirectory)\("\K[A-Z_]+' \
    "$source"/{server,store,platform})"
tools=$("$build/server/tovra-mcp" <<<'{"jsonrpc":"2.0","id":1,"method":"tools/list"}' | grep -oP '"name":"\K[a-z_]+')

# page NAME WORDS: the page is well formed, and names these options, variables and tools.
page() {
    MANWIDTH=80 LC_ALL=C.UTF-8 man --warnings --local-file "$pages/$1" 2>&1 >formatted | diff /dev/null -
    sed -nE 's/^\.It (Ev|Cm) //p; s/^\.It Fl (-[a-z-]*).*/-\1/p' "$pages/$1" | tr -s ' ,' '\n' | sort -u |
        diff - <(tr ' ' '\n' <<<"$2" | sort -u)
}
page tovra-mcp.1 "$known $tools"
page tovra-mcp-check.1 "--json --help NO_COLOR $(grep -v '^--\|TOKEN' <<<"${known// /$'\n'}")"

"$CMAKE_COMMAND" --build "$build" --target bundle tarball
"$CMAKE_COMMAND" --install "$build" --prefix "a 100% blank"
DESTDIR=$PWD/root "$CMAKE_COMMAND" --install "$build" --prefix /opt/tovra
"$CPACK_COMMAND" --config "$build/CPackConfig.cmake" -B "$PWD/packages"
dpkg-deb --extract packages/*.deb root

for prefix in /opt/tovra /usr; do
    grep "^ExecStart=$prefix/bin/tovra-mcp --http" "root$prefix/lib/systemd/user/tovra-mcp.service"
    for page in tovra-mcp.1 tovra-mcp-check.1; do
        zcat -f "root$prefix/share/man/man1/$page"* | cmp - "$pages/$page"
    done
    "root$prefix/bin/tovra-mcp-check" "root$prefix/share/doc/tovra-mcp/examples/sample-data.json" || (($? == 2))
    diff <(cd "$source/examples/hosts" && find . -type f | sort) \
        <(cd "root$prefix/share/doc/tovra-mcp/examples/hosts" && find . -type f | sort)
    if grep -r /usr/local/bin "root$prefix/share/doc/tovra-mcp/examples"; then exit 1; fi
done
cmp root/opt/tovra/share/doc/tovra-mcp/LICENSE "$source/LICENSE"
cmp root/usr/share/doc/tovra-mcp/copyright "$source/LICENSE"
grep -F "ExecStart=\"$PWD/a 100%% blank/bin/tovra-mcp\" --http" a*/lib/systemd/user/tovra-mcp.service
tar xf "$build"/tovra-mcp-*.tar.gz
cmp tovra-mcp-*/bin/tovra-mcp "$build/server/tovra-mcp"
configurations() { KNOWN=$known node "$source/tests/packaging/configurations.mjs" "$build" "$@"; }
configurations "$PWD/root" root/{opt/tovra,usr}/share/doc/tovra-mcp/examples/mcp-*.json
configurations "" a*/share/doc/tovra-mcp/examples/mcp-*.json

zcat root/usr/share/doc/tovra-mcp/changelog.gz | grep "^tovra-mcp ($(dpkg-deb --field packages/*.deb Version))"
depends='*libc6*libicu*libsimdjson*'
! grep -qx 'TOVRA_STATIC:.*=ON' "$build/CMakeCache.txt" || depends=
# shellcheck disable=SC2053
[[ $(dpkg-deb --field packages/*.deb Depends) == $depends ]]
