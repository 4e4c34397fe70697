# shellcheck shell=bash
# Completion of slavesim's command line for bash. Source this file, or install it as "slavesim" in
# /usr/share/bash-completion/completions.
#
# Options, their arguments and the kinds of faults come from the help of the program that is being called.

# _slavesim_section NAME: the first column of a section of the help on stdin, one entry per line.
_slavesim_section() {
    sed -n "/^$1:/,/^\$/ s/^  *\([^ ].*\)/\1/p" | sed 's/   .*//'
}

# _slavesim_offer WORDS: offers those that begin with the current word.
_slavesim_offer() {
    mapfile -t COMPREPLY < <(compgen -W "$1" -- "$current")
}

# _slavesim_offer_values TAKES: offers values for an option whose help shows this argument.
_slavesim_offer_values() {
    case $1 in
        FILE | '[FILE]')
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            ;;
        KIND) _slavesim_offer "$(_slavesim_section 'Kinds of faults' <<<"$help" | grep -E '^[a-z]+$')" ;;
        AREA=*)
            compopt -o nospace 2>/dev/null
            _slavesim_offer "HR= IR= DO= DI="
            ;;
    esac
}

_slavesim() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local help options takes
    help=$("${COMP_WORDS[0]/#\~/$HOME}" --help 2>/dev/null)
    options=$(_slavesim_section Options <<<"$help")
    COMPREPLY=()
    if [[ $current == = ]]; then # bash splits words at these
        current=
    elif [[ $previous == = ]]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    takes=$(awk -v option="$previous" '$1 == option { print $2 }' <<<"$options")
    if [[ $current == -* ]]; then
        _slavesim_offer "$(grep -oE -- '--[a-z-]+' <<<"$options")"
    else
        _slavesim_offer_values "$takes"
    fi
}

complete -F _slavesim slavesim
