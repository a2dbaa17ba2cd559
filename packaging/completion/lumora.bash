# Completion of bash for lumora_manager, lumora_gateway, lumoractl, lumora_lab and lumora_sim. Paths of a tree come from the tree itself.

_lumora_products="@LUMORA_MODELS@"

# The options in the words so far that choose a tree, to ask the same one.
_lumora_tree_options() {
  local i
  for ((i = 1; i < COMP_CWORD; i++)); do
    case ${COMP_WORDS[i]} in
      --socket | --nexel | --host | --port | --root) printf '%s\n' "${COMP_WORDS[i]}" "${COMP_WORDS[i + 1]}" ;;
    esac
  done
}

# One level of paths at a time, as files are completed.
_lumora_paths() {
  local word=$1 level="" names options
  [[ $word == */* ]] && level=${word%/*}
  mapfile -t options < <(_lumora_tree_options)
  names=$(lumoractl --timeout 1 "${options[@]}" list ${level:+"$level"} 2>/dev/null)
  mapfile -t COMPREPLY < <(compgen -P "${level:+$level/}" -W "$names" -- "${word##*/}")
  if [[ ${COMPREPLY[0]:-} == */ ]]; then compopt -o nospace 2>/dev/null || true; fi
}

# The first word that is neither an option nor the value of one.
_lumora_command() {
  local i
  for ((i = 1; i < COMP_CWORD; i++)); do
    case ${COMP_WORDS[i]} in
      --socket | --nexel | --host | --port | --root | --timeout) ((i++)) ;;
      -*) ;;
      *) printf '%s' "${COMP_WORDS[i]}" && return ;;
    esac
  done
}

_lumoractl() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command
  command=$(_lumora_command)
  COMPREPLY=()
  case $before in
    --socket) mapfile -t COMPREPLY < <(compgen -f -- "$word") && return ;;
    --root) mapfile -t COMPREPLY < <(compgen -d -- "$word") && return ;;
    --nexel) mapfile -t COMPREPLY < <(compgen -W "$(ls "${NX_ROOT:-}/tmp/nexels" 2>/dev/null)" -- "$word") && return ;;
    --host | --port | --timeout | --count | --for | --since) return ;;
  esac
  if [[ $word == -* ]]; then
    local options="@LUMORA_OPTIONS@"
    case $command in
      "") options+=" --version" ;;@LUMORA_BASH_COMMAND_OPTIONS@
    esac
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
  elif [[ -z $command ]]; then
    mapfile -t COMPREPLY < <(compgen -W "@LUMORA_COMMANDS@" -- "$word")
  elif [[ $command == save || $command == load ]]; then
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
  else
    _lumora_paths "$word"
  fi
}

_lumora_manager() {
  local word=${COMP_WORDS[COMP_CWORD]}
  case ${COMP_WORDS[COMP_CWORD - 1]} in
    --product | -d) mapfile -t COMPREPLY < <(compgen -W "$_lumora_products" -- "$word") ;;
    --interface_name | -i) mapfile -t COMPREPLY < <(compgen -W "$(ls /sys/class/net)" -- "$word") ;;
    *) mapfile -t COMPREPLY < <(compgen -W "@LUMORA_BASH_lumora_manager@" -- "$word") ;;
  esac
}

_lumora_gateway() {
  local word=${COMP_WORDS[COMP_CWORD]}
  case ${COMP_WORDS[COMP_CWORD - 1]} in
    --page) mapfile -t COMPREPLY < <(compgen -d -- "$word") ;;
    --certificate | --key | --token-file) mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
    --listen | --tree | --host | --lab | --lab-node) COMPREPLY=() ;;
    *)
      mapfile -t COMPREPLY < <(compgen -W "@LUMORA_BASH_lumora_gateway@" -- "$word")
      ;;
  esac
}

_lumora_lab() {
  local word=${COMP_WORDS[COMP_CWORD]}
  case ${COMP_WORDS[COMP_CWORD - 1]} in
    --product) mapfile -t COMPREPLY < <(compgen -W "$_lumora_products" -- "$word") ;;
    --topology) mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
    *)
      mapfile -t COMPREPLY < <(compgen -W "@LUMORA_BASH_lumora_lab@" -- "$word")
      ;;
  esac
}

_lumora_sim() {
  local word=${COMP_WORDS[COMP_CWORD]}
  if [[ $word == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "@LUMORA_BASH_lumora_sim@" -- "$word")
  else
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
  fi
}

complete -F _lumora_manager lumora_manager
complete -F _lumora_gateway lumora_gateway
complete -F _lumoractl lumoractl
complete -F _lumora_lab lumora_lab
complete -o filenames -F _lumora_sim lumora_sim
