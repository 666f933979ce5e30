# Completion of oructl's command line in bash. What can stand where is known to oructl itself.

_oructl() {
    local word="${COMP_WORDS[COMP_CWORD]}" candidate
    COMPREPLY=()
    while IFS= read -r candidate; do
        case "$candidate" in
            :file)
                compopt -o filenames 2>/dev/null
                mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -f -- "$word")
                ;;
            :directory)
                compopt -o filenames 2>/dev/null
                mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -d -- "$word")
                ;;
            *) COMPREPLY+=("$(printf '%q' "$candidate")") ;;
        esac
    done < <("${COMP_WORDS[0]}" __complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
}

complete -F _oructl oructl
