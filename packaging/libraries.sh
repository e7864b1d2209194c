# shellcheck shell=bash
# Sourced by what makes the packages: the libraries' packages and sources, from the repositories that
# apt-get is set up with.

# use_repositories FOLDER ARCHITECTURE: sets `apt`, the options with which apt-get takes them for that
# processor and with their sources, in a place of their own: the system's settings and its list of
# packages stay as they are.
use_repositories() {
    local kind options="arch=$2 signed-by=/usr/share/keyrings/$ID-archive-keyring.gpg"
    apt=(
        -o "Dir::Etc::SourceList=$1/sources.list" -o Dir::Etc::SourceParts=-
        -o "Dir::State::Lists=$1/lists" -o Dir::Cache::PkgCache= -o Dir::Cache::SrcPkgCache=
        -o "APT::Architectures::=$2" -o APT::Sandbox::User=root
    )
    rm -rf "$1"
    mkdir -p "$1/lists/partial"
    # Of two that have the same version the first is asked: not every copy of Debian has the sources
    # of its security updates.
    for kind in deb deb-src; do
        apt-get indextargets --format "$kind [$options] \$(REPO_URI) \$(RELEASE) \$(COMPONENT)" \
            "Created-By: Packages" "Origin: ${ID^}"
    done | sort -ru >"$1/sources.list"
    quietly apt-get "${apt[@]}" update
}

# fetch_source FOLDER NAME: the source package in FOLDER/NAME.
fetch_source() {
    (cd "$1" && quietly apt-get "${apt[@]}" source --download-only "$2")
    dpkg-source --no-check --extract "$1/$2"_*.dsc "$1/$2" >/dev/null
}

# notice NAME FILE: the licence of what becomes a part of the program.
notice() {
    printf '==== %s ====\n\n' "$1"
    cat "$2"
    echo
}
