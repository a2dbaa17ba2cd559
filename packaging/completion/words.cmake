# Commands and options of lumoractl and its companions, with descriptions, for the completions of every shell.

# A command, '|', its description; no apostrophes, since the shells quote with them.
set(commands
  "get|Read values"
  "history|Print the last values of a path"
  "list|List the names below a level"
  "tree|Draw everything below a level"
  "info|Describe a path"
  "set|Write a value"
  "run|Run a command of the tree"
  "reset|Forget the stored value of a parameter"
  "watch|Print changes as they come"
  "explain|Say what is wrong, and why"
  "events|Print what has happened"
  "save|Save the parameters of a node"
  "load|Write saved parameters to a node")

# Options of all commands; "=" after the name means that it takes a value.
set(options
  "--help|Print the options"
  "--json|Print JSON"
  "--bare|Print values without paths and units"
  "--timeout=|Seconds to wait for an answer"
  "--node|The daemon of this node"
  "--socket=|The tree at a unix socket"
  "--nexel=|A device"
  "--host=|A peer, fe80::1%eth_sfp_1"
  "--port=|Port of the peer"
  "--root=|Folder prefixed to all socket paths")

# COMMAND|OPTION|description
set(command_options
  "list|--recursive|Full paths of everything below"
  "tree|--values|Include the present values"
  "watch|--count=|End after that many lines"
  "watch|--for=|End after that many seconds"
  "events|--since=|Only events since then"
  "load|--any-product|Accept a file from another model")

# PROGRAM|OPTION|description, for the programs without commands
set(program_options
  "lumora_manager|--help|Print the options"
  "lumora_manager|--port=|TCP port for the peer"
  "lumora_manager|--interface_name=|Interface of the supervisory link"
  "lumora_manager|--product=|Model of the node"
  "lumora_gateway|--help|Print the options"
  "lumora_gateway|--version|Print the version"
  "lumora_gateway|--tree=|Socket of the daemon"
  "lumora_gateway|--listen=|Where to serve, ADDRESS:PORT"
  "lumora_gateway|--page=|Folder of the page"
  "lumora_gateway|--certificate=|Certificate chain (PEM)"
  "lumora_gateway|--key=|Private key of the certificate (PEM)"
  "lumora_gateway|--token-file=|File with the token"
  "lumora_gateway|--host=|Another host name of the gateway"
  "lumora_gateway|--allow-writes|Serve writes"
  "lumora_gateway|--lab=|Socket of the simulated plant"
  "lumora_gateway|--lab-node=|Number of the node in the plant"
  "lumora_lab|--help|Print the options"
  "lumora_lab|--version|Print the version"
  "lumora_lab|--product=|Model of the node"
  "lumora_lab|--peer|The far end: a product or a simulated family"
  "lumora_lab|--seed=|Seed of everything random in the plant"
  "lumora_lab|--topology=|Plant to use"
  "lumora_lab|--until-converged|No screen, just a verdict"
  "lumora_lab|--keep|Keep the folder"
  "lumora_lab|--log|Print where the logs are, and keep them"
  "lumora_lab|--web|Serve each node to a browser, with a bench of faults"
  "lumora_sim|--help|Print the options"
  "lumora_sim|--version|Print the version"
  "lumora_sim|--seed=|Seed of all noise"
  "lumora_sim|--speed=|Plant seconds per second"
  "lumora_sim|--board|Write the calibration files"
  "lumora_sim|--print-board|Print the calibration file and exit"
  "lumora_sim|--far-prefix=|Folder of the far sockets"
  "lumora_sim|--far-hash-tag=|Hash tag of the far node"
  "lumora_sim|--peer=|Simulated peer"
  "lumora_sim|--peer-interface=|Where the peer listens"
  "lumora_sim|--latency=|NAME=MS, delay of a service")

# add_fish(PROGRAM CONDITION WORD DESCRIPTION): one line of fish.
function(add_fish program condition word description)
  string(REGEX REPLACE "^--" "" name "${word}")
  set(takes "")
  if(name MATCHES "=$")
    string(REGEX REPLACE "=$" "" name "${name}")
    set(takes " -x")
  endif()
  set(only "")
  if(condition)
    set(only " -n '${condition}'")
  endif()
  string(APPEND LUMORA_FISH_OPTIONS "complete -c ${program}${only} -l ${name}${takes} -d '${description}'\n")
  set(LUMORA_FISH_OPTIONS "${LUMORA_FISH_OPTIONS}" PARENT_SCOPE)
endfunction()

# add_zsh(VARIABLE WORD DESCRIPTION): one argument of zsh's _arguments.
function(add_zsh variable word description)
  string(REPLACE ":" "\\:" text "${description}")
  if(word MATCHES "=$")
    string(REGEX REPLACE "=$" "" name "${word}")
    string(REGEX REPLACE "^--" "" message "${name}")
    set(action "_lumora_value_${message}")
    string(APPEND ${variable} " '${name}[${text}]:${message}:${action}'")
  else()
    string(APPEND ${variable} " '${word}[${text}]'")
  endif()
  set(${variable} "${${variable}}" PARENT_SCOPE)
endfunction()

set(LUMORA_COMMANDS "")
set(LUMORA_ZSH_COMMANDS "")
set(LUMORA_FISH_OPTIONS "")
foreach(row ${commands})
  string(REPLACE "|" ";" row "${row}")
  list(GET row 0 word)
  list(GET row 1 description)
  list(APPEND LUMORA_COMMANDS ${word})
  string(APPEND LUMORA_ZSH_COMMANDS "\n  '${word}:${description}'")
  string(APPEND LUMORA_FISH_OPTIONS "complete -c lumoractl -n __lumora_needs_command -a ${word} -d '${description}'\n")
endforeach()
list(JOIN LUMORA_COMMANDS " " LUMORA_COMMANDS)
set(LUMORA_OPTIONS "")
foreach(row ${options})
  string(REPLACE "|" ";" row "${row}")
  list(GET row 0 word)
  list(GET row 1 description)
  add_fish(lumoractl "" "${word}" "${description}")
  add_zsh(LUMORA_ZSH_OPTIONS "${word}" "${description}")
  string(REPLACE "=" "" word "${word}")
  string(APPEND LUMORA_OPTIONS "${word} ")
endforeach()
foreach(row ${command_options})
  string(REPLACE "|" ";" row "${row}")
  list(GET row 0 command)
  list(GET row 1 word)
  list(GET row 2 description)
  add_fish(lumoractl "__lumora_command ${command}" "${word}" "${description}")
  set(of_zsh "")
  add_zsh(of_zsh "${word}" "${description}")
  string(APPEND LUMORA_ZSH_COMMAND_OPTIONS "\n    ${command}) more+=(${of_zsh} ) ;|")
  string(REPLACE "=" "" word "${word}")
  string(APPEND LUMORA_BASH_COMMAND_OPTIONS "\n      ${command}) options+=\" ${word}\" ;;&")
endforeach()
foreach(row ${program_options})
  string(REPLACE "|" ";" row "${row}")
  list(GET row 0 program)
  list(GET row 1 word)
  list(GET row 2 description)
  add_fish(${program} "" "${word}" "${description}")
  set(of_zsh "")
  add_zsh(of_zsh "${word}" "${description}")
  string(APPEND LUMORA_ZSH_${program} "${of_zsh}")
  string(REPLACE "=" "" word "${word}")
  string(APPEND LUMORA_BASH_${program} "${word} ")
endforeach()
