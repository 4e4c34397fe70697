# shellcheck shell=bash
# Completion of driverhost's command line for bash. Source this file, or install it as "driverhost" in
# /usr/share/bash-completion/completions.
#
# Nothing about the program is listed here: commands, options and their values come from the help of the program that is
# being called, each time, so they are those of its version.

# _driverhost_section NAME: the first column of a section of the help on stdin, one entry per line.
_driverhost_section() {
    sed -n "/^$1:/,/^\$/ s/^  \([^ ].*\)/\1/p" | sed 's/   .*//'
}

# _driverhost_option_values NAME: the argument of an option, according to the help on stdin; nothing for a flag.
_driverhost_option_values() {
    _driverhost_section Options | sed -n "s/^\(-[^ ]*,\)*$1\(,-[^ ]*\)* \([^ ]*\).*/\3/p" | head -n 1
}

# _driverhost_offer WORDS: offers those that begin with the current word.
_driverhost_offer() {
    mapfile -t COMPREPLY < <(compgen -W "$1" -- "$current")
}

# _driverhost_offer_files: offers file names.
_driverhost_offer_files() {
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$current")
}

# _driverhost_offer_list LIST: offers elements of a comma-separated list that are not yet in the current word.
_driverhost_offer_list() {
    local given=${current%"${current##*,}"} element
    compopt -o nospace 2>/dev/null
    for element in ${1//,/ }; do
        [[ ",$given" == *",$element,"* || "$given$element" != "$current"* ]] || COMPREPLY+=("$given$element")
    done
}

# _driverhost_offer_values TAKES: offers values for an option whose help shows this argument.
_driverhost_offer_values() {
    local words
    case $1 in
        FILE*) _driverhost_offer_files ;;
        *'|'*) words=${1//|/ } && _driverhost_offer "${words//(N)/(}" ;;
        [A-Z][A-Z],*) _driverhost_offer_list "$1" ;;
    esac
}

# _driverhost_offer_addresses: offers the prefixes of the areas, as the help of read names them.
_driverhost_offer_addresses() {
    compopt -o nospace 2>/dev/null
    _driverhost_offer "$("$program" read --help 2>/dev/null | sed -n '/^  ADDRESS/,/^$/p' |
        grep -oE '\b(FN[0-9])?[A-Z]{2}[0-9]' | sed 's/[0-9]$//' | sort -u)"
}

# _driverhost_offer_names: offers the signals of the project. Readline quotes them, but for characters by which the shell
# would run a part of the name as a command; names with those are left out.
_driverhost_offer_names() {
    local typed=${current#[\"\']} name
    typed=${typed//\\/}
    while IFS= read -r name; do
        if [[ ${name,,} == "${typed,,}"* && $name != *[\`\$\!]* ]]; then
            COMPREPLY+=("$name")
            compopt -o filenames 2>/dev/null
        fi
    done < <("$program" project show --all --format json 2>/dev/null | grep -oE '"name":"([^"\]|\\.)*"' |
        sed -E 's/^"name":"(.*)"$/\1/; s/\\(.)/\1/g')
}

# _driverhost_offer_types: offers what may follow the colon of ADDRESS:TYPE.
_driverhost_offer_types() {
    _driverhost_offer_values "$("$program" read --help 2>/dev/null | _driverhost_option_values --type)"
}

# _driverhost_offer_positional: offers what the help lists as the command's positional arguments.
_driverhost_offer_positional() {
    case $(_driverhost_section Positionals <<<"$help") in
        *ADDRESS*)
            if [[ $previous == : ]]; then
                _driverhost_offer_types
            else
                _driverhost_offer_addresses
                _driverhost_offer_names
            fi
            ;;
        *COMMAND*)
            _driverhost_offer "$("$program" "${help_of[@]}" --help 2>/dev/null | _driverhost_section Subcommands)"
            ;;
        *FILE* | *.csv* | *CSV*) _driverhost_offer_files ;;
    esac
}

# _driverhost_walk: goes through the words before the current one. Sets help to the help of the command that they lead
# to, options to its options and those of the commands above it, and takes to the argument of the option in front of the
# current word.
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
    if [[ $current == = || $current == : ]]; then # bash splits words at these
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
