# shellcheck shell=bash
# Completion of driverhost's command line for bash. Source this file, or install it as "driverhost" in
# /usr/share/bash-completion/completions.
#
# Nothing of the program is listed here: commands, options and their values are taken from the help of the very
# program that is being called, each time, so that they are those of its version.

# _driverhost_section NAME: the first column of a section of the help on stdin, one entry a line.
_driverhost_section() {
    sed -n "/^$1:/,/^\$/ s/^  \([^ ].*\)/\1/p" | sed 's/   .*//'
}

# _driverhost_option_values NAME: what the help on stdin says that an option takes; nothing for a flag.
_driverhost_option_values() {
    _driverhost_section Options | sed -n "s/^\(-[^ ]*,\)*$1 \([^ ]*\).*/\2/p" | head -n 1
}

# _driverhost_offer WORDS: of these, those that begin with the current word.
_driverhost_offer() {
    mapfile -t COMPREPLY < <(compgen -W "$1" -- "$current")
}

# _driverhost_offer_files: names of files.
_driverhost_offer_files() {
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$current")
}

# _driverhost_offer_list LIST: the elements of a comma-separated list that are not in the current word yet.
_driverhost_offer_list() {
    local given=${current%"${current##*,}"} element
    compopt -o nospace 2>/dev/null
    for element in ${1//,/ }; do
        [[ ",$given" == *",$element,"* || "$given$element" != "$current"* ]] || COMPREPLY+=("$given$element")
    done
}

# _driverhost_offer_values TAKES: values of an option by what its help says that it takes.
_driverhost_offer_values() {
    case $1 in
        FILE) _driverhost_offer_files ;;
        *'|'*) _driverhost_offer "${1//|/ }" ;;
        [A-Z][A-Z],*) _driverhost_offer_list "$1" ;;
    esac
}

# _driverhost_offer_addresses: the prefixes of the areas, as the help of read names them.
_driverhost_offer_addresses() {
    compopt -o nospace 2>/dev/null
    _driverhost_offer "$("$program" read --help 2>/dev/null | sed -n '/^  ADDRESS/,/^$/p' |
        grep -oE '\b(FN[0-9])?[A-Z]{2}[0-9]' | sed 's/[0-9]$//' | sort -u)"
}

# _driverhost_offer_types: what follows the colon of ADDRESS:TYPE.
_driverhost_offer_types() {
    _driverhost_offer_values "$("$program" read --help 2>/dev/null | _driverhost_option_values --type)"
}

# _driverhost_offer_positional: what the help says that the command takes besides options.
_driverhost_offer_positional() {
    case $(_driverhost_section Positionals <<<"$help") in
        *ADDRESS*)
            if [[ $previous == : ]]; then
                _driverhost_offer_types
            else
                _driverhost_offer_addresses
            fi
            ;;
        *COMMAND*)
            _driverhost_offer "$("$program" "${help_of[@]}" --help 2>/dev/null | _driverhost_section Subcommands)"
            ;;
        *FILE* | *.csv* | *CSV*) _driverhost_offer_files ;;
    esac
}

# _driverhost_walk: goes through the words before the current one. Leaves the help of the command that they
# lead to in help, the options of it and of the commands above in options, and in takes what the option in front
# of the current word takes.
_driverhost_walk() {
    local word index
    help=$("$program" --help 2>/dev/null)
    options=$help
    for ((index = 1; index < COMP_CWORD; index++)); do
        word=${COMP_WORDS[index]}
        if [[ $word == = || $word == : ]]; then
            continue
        fi
        if [[ -n $takes ]]; then
            takes=
        elif [[ $word == -* ]]; then
            takes=$(_driverhost_option_values "$word" <<<"$options")
        elif _driverhost_section Subcommands <<<"$help" | grep -qxF -- "$word"; then
            command+=("$word")
            help=$("$program" "${command[@]}" --help 2>/dev/null)
            options+=$'\n\n'$help
        elif [[ ${command[0]} == help ]]; then
            help_of+=("$word")
        fi
    done
}

_driverhost() {
    local current=${COMP_WORDS[COMP_CWORD]} program=${COMP_WORDS[0]/#\~/$HOME}
    local previous=${COMP_WORDS[COMP_CWORD - 1]}
    local help options takes='' command=() help_of=()
    COMPREPLY=()
    _driverhost_walk
    if [[ $current == = || $current == : ]]; then # bash takes words apart at these
        previous=$current
        current=
    fi
    if [[ -n $takes ]]; then
        _driverhost_offer_values "$takes"
    elif [[ $current == -* ]]; then
        _driverhost_offer "$(_driverhost_section Options <<<"$options" | grep -oE -- '--[a-z]+')"
    elif grep -q '^Subcommands:' <<<"$help"; then
        _driverhost_offer "$(_driverhost_section Subcommands <<<"$help")"
    else
        _driverhost_offer_positional
    fi
}

complete -F _driverhost driverhost
