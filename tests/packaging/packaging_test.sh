#!/usr/bin/env bash
# packaging_test.sh SOURCE BUILD (absolute): the manual page, the bundle, `cmake --install` and the
# Debian package of a build. The environment names the programs in CMAKE_COMMAND and CPACK_COMMAND.
set -euo pipefail
source=$1 build=$2 page=$1/packaging/tovra-mcp.1
trap 'echo "packaging_test: line $LINENO: $BASH_COMMAND" >&2' ERR
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"

# What the sources read (TZ is the C library's), and the tools that the server lists.
known="TZ $(grep -rhoP '"\K--[a-z-]+(?=")|(environmentVariable|baseDirectory)\("\K[A-Z_]+' \
    "$source"/{server,store,platform})"
tools=$("$build/server/tovra-mcp" <<<'{"jsonrpc":"2.0","id":1,"method":"tools/list"}' | grep -oP '"name":"\K[a-z_]+')

MANWIDTH=80 LC_ALL=C.UTF-8 man --warnings --local-file "$page" 2>&1 >formatted | diff /dev/null -
sed -nE 's/^\.It (Ev|Cm) //p; s/^\.It Fl (-[a-z-]*).*/-\1/p' "$page" | tr -s ' ,' '\n' | sort -u |
    diff - <(tr ' ' '\n' <<<"$known $tools" | sort -u)

"$CMAKE_COMMAND" --build "$build" --target bundle tarball
"$CMAKE_COMMAND" --install "$build" --prefix "a 100% blank"
DESTDIR=$PWD/root "$CMAKE_COMMAND" --install "$build" --prefix /opt/tovra
"$CPACK_COMMAND" --config "$build/CPackConfig.cmake" -B "$PWD/packages"
dpkg-deb --extract packages/*.deb root

for prefix in /opt/tovra /usr; do
    grep "^ExecStart=$prefix/bin/tovra-mcp --http" "root$prefix/share/doc/tovra-mcp/examples/tovra-mcp.service"
    zcat -f "root$prefix"/share/man/man1/tovra-mcp.1* | cmp - "$page"
done
cmp root/opt/tovra/share/doc/tovra-mcp/LICENSE "$source/LICENSE"
cmp root/usr/share/doc/tovra-mcp/copyright "$source/LICENSE"
grep -F "ExecStart=\"$PWD/a 100%% blank/bin/tovra-mcp\" --http" a*/share/doc/tovra-mcp/examples/tovra-mcp.service
tar xf "$build"/tovra-mcp-*.tar.gz
cmp tovra-mcp-*/bin/tovra-mcp "$build/server/tovra-mcp"
configurations() { KNOWN=$known node "$source/tests/packaging/configurations.mjs" "$build" "$@"; }
configurations "$PWD/root" root/{opt/tovra,usr}/share/doc/tovra-mcp/examples/*.json
configurations "" a*/share/doc/tovra-mcp/examples/*.json

zcat root/usr/share/doc/tovra-mcp/changelog.gz | grep "^tovra-mcp ($(dpkg-deb --field packages/*.deb Version))"
depends='*libc6*libicu*libsimdjson*'
! grep -qx 'TOVRA_STATIC:.*=ON' "$build/CMakeCache.txt" || depends=
# shellcheck disable=SC2053
[[ $(dpkg-deb --field packages/*.deb Depends) == $depends ]]
