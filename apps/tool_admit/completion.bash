# Completion of tool_admit's options, tools and parameters for bash.
_tool_admit() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local call=0 tools=() tool='' i file
  COMPREPLY=()
  if [[ $current == = || $previous == = ]]; then # --option=WORD and NAME=TEXT are three words
    [[ $current == = ]] && previous=$current current=''
    [[ ${COMP_WORDS[COMP_CWORD - 2]} == --* ]] && previous=${COMP_WORDS[COMP_CWORD - 2]}
    [[ ${COMP_WORDS[COMP_CWORD - 1]} == --* ]] && previous=${COMP_WORDS[COMP_CWORD - 1]}
  fi
  for ((i = 1; i < COMP_CWORD; i++)); do
    case ${COMP_WORDS[i]} in
      --tools)
        file=${COMP_WORDS[i + 1]}
        [[ $file == = ]] && file=${COMP_WORDS[i + 2]}
        tools=(--tools "${file/#~\//$HOME/}") ;;
      --call) call=1 tool=${COMP_WORDS[i + 1]} ;;
      -*) call=0 ;;
    esac
  done
  case $previous in
    --report) mapfile -t COMPREPLY < <(compgen -W 'text json html' -- "$current"); return ;;
    --tools | --propose) mapfile -t COMPREPLY < <(compgen -f -- "$current"); return ;;
    --call) tool='' ;;
    =) return ;; # the value of an argument
  esac
  if [[ $current == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$("$1" --help | grep -oE -- '(^|[ ,])--[a-z-]+' | tr -d ' ,' | sort -u)" -- "$current")
  elif ((call)); then
    mapfile -t COMPREPLY < <("$1" "${tools[@]}" --complete "$tool" 2>/dev/null |
      while read -r word; do [[ $word == "$current"* ]] && printf '%s\n' "$word"; done)
    [[ $tool ]] && compopt -o nospace
  else
    mapfile -t COMPREPLY < <(compgen -f -- "$current")
  fi
}
complete -F _tool_admit tool_admit
