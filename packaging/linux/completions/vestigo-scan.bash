# shellcheck shell=bash
# Completes the arguments of vestigo-scan in bash.

_vestigo_scan() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} kind=options i
    # bash splits "--cache=FILE" into three words.
    [ "$word" != = ] || word=
    [ "$before" != = ] || before=${COMP_WORDS[COMP_CWORD - 2]}
    [[ $word == -* ]] || kind=folders
    for ((i = 1; i < COMP_CWORD; i++)); do
        [ "${COMP_WORDS[i]}" != -- ] || kind=folders
        [ "${COMP_WORDS[i]}" != --all-users ] || [ "$kind" != folders ] || kind=nothing
    done
    case $before in --previous | --cache) kind=files ;; esac

    COMPREPLY=()
    case $kind in
        options)
            mapfile -t COMPREPLY < <(compgen -W "--all-users --all --json --previous --cache
                --no-signatures --fail-on-legacy --help --version" -- "$word")
            ;;
        folders) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -d -- "$word") ;;
        files) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
    esac
}

complete -F _vestigo_scan vestigo-scan
