# Completion for bash.  Options and their values are those that --help lists.

_rsmpl_help() { "$@" --help 2>/dev/null; }

_rsmpl()
{
    local command=$1 word=$2 previous=$3 verb= list=
    local ratios="2:3 1:2 1:3 1:4 1:6 3:2 2:1 3:1 4:1 6:1"
    [[ $COMP_CWORD -gt 1 && ${COMP_WORDS[1]} =~ ^(info|response|selftest)$ ]] && verb=${COMP_WORDS[1]}

    [[ $previous == = ]] && previous=${COMP_WORDS[COMP_CWORD - 2]} # bash takes --engine=fir apart

    if [[ $word == -* ]]; then
        list=$(_rsmpl_help "$command" $verb |
            sed -nE 's/^ +(-[[:alnum:]])?,?(--[[:alnum:]-]+)?( .*)?$/\1 \2/p')
    elif [[ $previous == --* ]]; then # values, as in --engine auto|iir|fir
        list=$(_rsmpl_help "$command" $verb |
            sed -nE "s/^ +(-.,)?$previous (\w+(\|\w+)+)( .*)?$/\2/p" | tr '|' ' ')
    elif [[ $verb == response ]]; then
        list=$ratios
    elif [[ $COMP_CWORD == 1 ]]; then
        list="info response selftest"
    fi

    # Bash takes a colon for the end of a word.
    if [[ ${COMP_LINE:0:COMP_POINT} =~ [[:space:]]([0-9]+:)([0-9]*)$ && $verb == response ]]; then
        list=$(printf '%s\n' $ratios | sed -n "s/^${BASH_REMATCH[1]}//p")
        word=${BASH_REMATCH[2]}
    fi
    mapfile -t COMPREPLY < <(compgen -W "$list" -- "$word")
    if [[ $COMP_CWORD == 1 && $word != -* ]]; then # a verb or a file
        mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -f -- "$word")
        compopt -o filenames 2>/dev/null
    fi
}
complete -o default -F _rsmpl rsmpl
