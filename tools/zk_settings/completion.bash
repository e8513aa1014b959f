# shellcheck shell=bash
# Completes the commands and options that `zk_settings --help` names, and the sections and keys that FILE has.
_zk_settings()
{
    local current=${COMP_WORDS[COMP_CWORD]} operands=() names=() name i
    for ((i = 1; i < COMP_CWORD; ++i)); do
        case ${#operands[@]}${COMP_WORDS[i]} in
        [01]--output | [01]--wait) [[ ${COMP_WORDS[++i]} != '=' ]] || ((++i)) ;;
        [01]-?*) ;;
        *) operands+=("${COMP_WORDS[i]}") ;;
        esac
    done

    case ${#operands[@]}$current in
    [01]-*) mapfile -t names < <("$1" --help | sed -n 's/^  \(--[a-z]*\) .*/\1/p') ;;
    0*) mapfile -t names < <("$1" --help | sed -n '/^Commands:/,/^$/s/^  \([a-z]*\) .*/\1/p') ;;
    1*) return ;; # the shell completes FILE
    [23]*)
        # A pipe would be waited for.
        [[ ! -f ${operands[1]} ]] || mapfile -t names < <("$1" list "${operands[@]:1}" 2>/dev/null)
        ;;
    esac
    compopt +o default 2>/dev/null
    COMPREPLY=()
    for name in "${names[@]}"; do
        [[ $name != "$current"* ]] || COMPREPLY+=("$(printf %q "$name")")
    done
}
complete -o default -F _zk_settings zk_settings
