#compdef lumoractl lumora_manager lumora_gateway lumora_lab lumora_sim
# Completion of zsh for lumora_manager, lumora_gateway, lumoractl, lumora_lab and lumora_sim. Paths of a tree come from the tree itself.

_lumora_value_product() { compadd -- @LUMORA_MODELS@ }
_lumora_value_interface_name() { compadd -- /sys/class/net/*(N:t) }
_lumora_value_socket() { _files }
_lumora_value_topology() { _files }
_lumora_value_root() { _files -/ }
_lumora_value_page() { _files -/ }
_lumora_value_certificate() { _files }
_lumora_value_key() { _files }
_lumora_value_token-file() { _files }
_lumora_value_nexel() { compadd -- ${NX_ROOT:-}/tmp/nexels/*(N:t) }
# Words that nobody can guess: the message alone.
for _lumora_name in timeout host port count for since seed speed far-prefix far-hash-tag peer peer-interface latency tree listen lab lab-node; do
  functions[_lumora_value_$_lumora_name]='_message word'
done
unset _lumora_name

_lumora_commands=(@LUMORA_ZSH_COMMANDS@
)

# One level of paths at a time, as files are completed, from the tree that the options so far choose.
_lumora_paths() {
  local -a chosen names
  local i level=${PREFIX%/*}
  [[ $PREFIX == */* ]] || level=""
  for ((i = 2; i < CURRENT; i++)); do
    case ${words[i]} in
      --socket | --nexel | --host | --port | --root) chosen+=(${words[i]} ${words[i + 1]}) ;;
    esac
  done
  names=(${(f)"$(lumoractl --timeout 1 $chosen list $level 2>/dev/null)"})
  [[ -z $level ]] || names=($level/$^names)
  compadd -S '' -- ${(M)names:#*/}
  compadd -- ${names:#*/}
}

_lumora_words() {
  case $command in
    "") _describe command _lumora_commands ;;
    save | load) _files ;;
    *) _lumora_paths ;;
  esac
}

_lumora_ctl() {
  local command="" i
  local -a more
  for ((i = 2; i < CURRENT; i++)); do
    case ${words[i]} in
      --socket | --nexel | --host | --port | --root | --timeout) ((i++)) ;;
      -*) ;;
      *) command=${words[i]} && break ;;
    esac
  done
  case $command in
    "") more=('--version[Print the version]') ;;@LUMORA_ZSH_COMMAND_OPTIONS@
  esac
  _arguments $more@LUMORA_ZSH_OPTIONS@ '*:word:_lumora_words'
}

case $service in
  lumoractl) _lumora_ctl ;;
  lumora_manager) _arguments@LUMORA_ZSH_lumora_manager@ ;;
  lumora_gateway) _arguments@LUMORA_ZSH_lumora_gateway@ ;;
  lumora_lab) _arguments@LUMORA_ZSH_lumora_lab@ ;;
  lumora_sim) _arguments@LUMORA_ZSH_lumora_sim@ '*:topology:_files' ;;
esac
