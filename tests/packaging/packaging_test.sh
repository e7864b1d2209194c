#!/usr/bin/env bash
# packaging_test.sh SOURCE BUILD (absolute): the manual pages, the bundles, server.json, `cmake --install`,
# the tarball, the Debian package, the Homebrew formula and the recipe for a token. The environment
# names the programs in CMAKE_COMMAND and CPACK_COMMAND.
set -euo pipefail
source=$1 build=$2 pages=$1/packaging
: "${CMAKE_COMMAND:=cmake}" "${CPACK_COMMAND:=cpack}"
trap 'echo "packaging_test: line $LINENO: $BASH_COMMAND" >&2' ERR
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
PATH=$(echo "$source"/tests/clients/node_modules/node-linux-*/bin):$PATH

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
page tovra-mcp-check.1 "--hosts --json --mcp --sample --version NO_COLOR $(grep -v '^--\|TOKEN' <<<"${known// /$'\n'}")"

"$CMAKE_COMMAND" --build "$build" --target bundle tarball
"$CMAKE_COMMAND" --install "$build" --prefix "a 100% blank"
DESTDIR=$PWD/root "$CMAKE_COMMAND" --install "$build" --prefix /opt/tovra
"$CPACK_COMMAND" --config "$build/CPackConfig.cmake" -B "$PWD/packages"
dpkg-deb --extract packages/*.deb root
mkdir -p root/usr/local
tar xf "$build"/tovra-mcp-*.tar.gz -C root/usr/local --strip-components 1

# What lies below a prefix. A program that has its libraries in itself comes with their licences.
is_static=false
! grep -qx 'TOVRA_STATIC:.*=ON' "$build/CMakeCache.txt" || is_static=true
contents() {  # LICENCE [FILE...]
    {
        printf '%s\n' bin/tovra-mcp{,-check} lib/systemd/user/tovra-mcp.service share/man/man1/tovra-mcp{,-check}.1
        printf 'share/%s\n' bash-completion/completions/tovra-mcp{,-check} zsh/site-functions/_tovra-mcp
        printf 'share/doc/tovra-mcp/%s\n' "$@" hosts.md
        ! $is_static || echo share/doc/tovra-mcp/LIBRARIES
        (cd "$source" && find examples -name '*.json' -o -name '*.toml') | sed 's|^|share/doc/tovra-mcp/|'
    } | LC_ALL=C sort
}
below() { (cd "root$1" && find bin lib share -type f) | sed 's/\.1\.gz$/.1/' | LC_ALL=C sort; }
contents LICENSE | diff - <(below /opt/tovra)
contents LICENSE | diff - <(below /usr/local)
contents copyright changelog.gz | diff - <(below /usr)
# Files and no folders, and all are root's: see make_tarball.cmake.
if tar tvf "$build"/tovra-mcp-*.tar.gz | grep -v '^-rw[x-]r-[x-]r-[x-] root/root '; then exit 1; fi

# sample FOLDER: the made-up records, and both recordings on them.
sample() {
    "$1/tovra-mcp-check" --sample >sample.json
    "$1/tovra-mcp-check" sample.json || (($? == 2))
    TOVRA_DATA_FILE=$PWD/sample.json "$1/tovra-mcp" <<'REQUESTS' | grep -c '"text":"Added' | grep -qx 2
{"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"add_transaction","arguments":{"amount":4.8}}}
{"jsonrpc":"2.0","id":2,"method":"tools/call","params":{"name":"add_to_goal","arguments":{"goal":"new bicycle","amount":25}}}
REQUESTS
}
for prefix in /opt/tovra /usr /usr/local; do
    grep "^ExecStart=$prefix/bin/tovra-mcp --http" "root$prefix/lib/systemd/user/tovra-mcp.service"
    for page in tovra-mcp.1 tovra-mcp-check.1; do
        zcat -f "root$prefix/share/man/man1/$page"* | cmp - "$pages/$page"
    done
    sample "root$prefix/bin"
    if [[ $prefix != /usr/local ]] && grep -r /usr/local/bin "root$prefix/share/doc/tovra-mcp/examples"; then exit 1; fi
done
cmp root/opt/tovra/share/doc/tovra-mcp/LICENSE "$source/LICENSE"
cmp root/usr/share/doc/tovra-mcp/copyright "$source/LICENSE"
cmp root/usr/local/bin/tovra-mcp "$build/server/tovra-mcp"
grep -F "ExecStart=\"$PWD/a 100%% blank/bin/tovra-mcp\" --http" a*/lib/systemd/user/tovra-mcp.service

# The bundles, by the tool of those who made the format, and as a host may unpack them.
for bundle in "$build"/tovra-mcp-*.mcpb; do
    folder=bundles/$(basename "${bundle%-[0-9]*-linux-*}")
    "$source/tests/clients/node_modules/.bin/mcpb" unpack "$bundle" "$folder"
    "$source/tests/clients/node_modules/.bin/mcpb" validate "$folder/manifest.json"
    find "$folder" -type f -exec chmod 600 {} +
done
configurations() { KNOWN=$known node "$source/tests/packaging/configurations.mjs" "$build" "$PWD/bundles" "$@"; }
configurations "$PWD/root" root/{opt/tovra,usr,usr/local}/share/doc/tovra-mcp/examples/mcp-*.json
configurations "" a*/share/doc/tovra-mcp/examples/mcp-*.json

zcat root/usr/share/doc/tovra-mcp/changelog.gz | grep "^tovra-mcp ($(dpkg-deb --field packages/*.deb Version))"
dpkg-deb --field packages/*.deb Homepage | grep .
depends='*libc6*libicu*libsimdjson*'
! $is_static || depends=
# shellcheck disable=SC2053
[[ $(dpkg-deb --field packages/*.deb Depends) == $depends ]]

version=$(dpkg-deb --field packages/*.deb Version)
ruby "$source/tests/packaging/formula.rb" "$source/Formula/tovra-mcp.rb" "$version" "$build" "$PWD/cellar/$version"

# The recipe at the top of the unit makes a token, and without the means to make one it fails.
sed -n '/mkdir -p/,/environment)/s/^# *//p' "$source/examples/tovra-mcp.service" >recipe
mkdir tools home
ln -s "$(command -v mkdir)" "$(command -v od)" "$(command -v tr)" tools
HOME=$PWD/home PATH=$PWD/tools "$BASH" recipe
grep -xE 'TOVRA_MCP_TOKEN=[0-9a-f]{64}' home/.config/tovra-mcp/environment
rm -r tools/od home/.config
if HOME=$PWD/home PATH=$PWD/tools "$BASH" recipe 2>/dev/null; then exit 1; fi
[[ ! -e home/.config/tovra-mcp/environment ]]
