# shellcheck shell=bash
# Completes the commands, options and dialects that `zk_settings --help` names, and the sections and keys of FILE.
_zk_settings()
{
    # The words up to the cursor, without quotes. COMP_WORDS has the quotes, and is also split at ':', '=' and '@'.
    local words=() last=0 start=0 quote='' character i
    for ((i = 0; i < COMP_POINT; ++i)); do
        character=${COMP_LINE:i:1}
        case $quote$character in
        [[:space:]]) start=$((i + 1)) last=${#words[@]} ;;
        \" | \') quote=$character words[last]+='' ;;
        \"\" | \'\') quote='' ;;
        \\ | \"\\) words[last]+=${COMP_LINE: ++i:1} ;;
        *) words[last]+=$character ;;
        esac
    done

    local operands=() dialect=() current # options come before the second operand, FILE
    for ((i = 1; i <= last; ++i)); do
        current=${words[i]-}
        case ${#operands[@]}$current in
        [01]--dialect | [01]--wait) [[ $i -eq $last ]] || current+="=${words[++i]-}" ;;&
        [01]--dialect*) dialect=("$current") ;;
        [01]-?*) ;;
        *) operands+=("$current") ;;
        esac
    done

    local file=${operands[1]/#\~\//~/} section=("${operands[@]:2:1}") names=() name
    case "${#operands[@]} ${operands[0]} $current" in
    [01]\ *\ --dialect=*) mapfile -t names < <("$1" --help | sed -n 's/^Dialects: //p' | grep -o '[a-z]*') ;;
    [012]\ *\ -*) mapfile -t names < <("$1" --help | sed -n 's/^  \(--[-a-z]*\).*/\1/p') ;;
    1\ *) mapfile -t names < <("$1" --help | sed -n '/^Commands:/,/^$/s/^  \([a-z]*\).*/\1/p') ;;
    2\ *) return ;; # the shell completes FILE and VALUE
    3\ * | 4\ [!l]* | *[02468]\ set\ *)
        [[ ${#operands[@]} -gt 3 ]] || section=()
        # A pipe would be waited for.
        [[ ! -f $file ]] || mapfile -t names < <("$1" list "${dialect[@]}" "$file" "${section[@]}" 2>/dev/null)
        ;;
    *) return ;;
    esac

    local typed=${COMP_LINE:start:COMP_POINT-start}
    [[ $current != --dialect=* ]] || names=("${names[@]/#/--dialect=}") typed=$current
    local kept=${typed%"$2"} # bash replaces only the rest
    compopt +o default
    for name in "${names[@]}"; do
        [[ $name == "$current"* ]] || continue
        case $quote in
        \") name=\"$(printf %s "$name" | sed 's/["$\\`]/\\&/g')\" ;;
        \') name=\'${name//\'/\'\\\'\'}\' ;;
        *) name=$(printf %q "$name") ;;
        esac
        [[ $name != "$kept"* ]] || COMPREPLY+=("${name#"$kept"}")
    done
}
complete -o default -F _zk_settings zk_settings
