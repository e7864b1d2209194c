# Completion of tovra-mcp and tovra-mcp-check for bash. It is installed under both names.

_tovra_mcp() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    case $before in
        --token) COMPREPLY=() ;;
        --http) COMPREPLY=($(compgen -W '8765 --read-only --token' -- "$word")) ;;
        *) COMPREPLY=($(compgen -W '--http --read-only --token' -- "$word")) ;;
    esac
}

_tovra_mcp_check() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    if [[ $word == -* ]]; then
        ((COMP_CWORD > 1)) || COMPREPLY=($(compgen -W '--json --hosts --mcp --sample --version --help -h' -- "$word"))
    elif ((COMP_CWORD == 1)) || [[ $before == --json ]]; then
        compopt -o filenames
        local IFS=$'\n'
        COMPREPLY=($(compgen -f -- "$word"))
    fi
}

complete -F _tovra_mcp tovra-mcp
complete -F _tovra_mcp_check tovra-mcp-check
