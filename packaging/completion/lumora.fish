# Completion of fish for lumora_manager, lumora_gateway, lumoractl, lumora_lab and lumora_sim. Paths of a tree come from the tree itself.

# The first word of the line that is neither an option nor the value of one.
function __lumora_first_word
    set -l words (commandline -opc)[2..]
    while set -q words[1]
        switch $words[1]
            case --socket --nexel --host --port --root --timeout
                set -e words[1]
            case '-*'
            case '*'
                echo $words[1]
                return
        end
        set -e words[1]
    end
    return 1
end

function __lumora_needs_command
    not __lumora_first_word >/dev/null
end

function __lumora_command
    test (__lumora_first_word; or echo) = $argv[1]
end

# One level of paths at a time, from the tree that the options so far choose.
function __lumora_paths
    set -l chosen
    set -l words (commandline -opc)
    for at in (seq (count $words))
        contains -- $words[$at] --socket --nexel --host --port --root; and set -a chosen $words[$at] $words[(math $at + 1)]
    end
    set -l level (string match -r '^.*(?=/)' -- (commandline -ct))
    for name in (lumoractl --timeout 1 $chosen list $level 2>/dev/null)
        echo (string join / $level $name)
    end
end

function __lumora_takes_paths
    not __lumora_needs_command; and not __lumora_command save; and not __lumora_command load
end

complete -c lumoractl -f
complete -c lumoractl -n __lumora_needs_command -l version -d 'Print the version'
complete -c lumoractl -n __lumora_takes_paths -a '(__lumora_paths)'
complete -c lumoractl -n '__lumora_command save; or __lumora_command load' -F
complete -c lumora_manager -f
complete -c lumora_gateway -f
complete -c lumora_lab -f
@LUMORA_FISH_OPTIONS@
complete -c lumora_manager -l product -x -a '@LUMORA_MODELS@'
complete -c lumora_lab -l product -x -a '@LUMORA_MODELS@'
complete -c lumora_lab -l topology -r -F
complete -c lumora_gateway -l page -x -a '(__fish_complete_directories)'
complete -c lumora_gateway -l certificate -r -F
complete -c lumora_gateway -l key -r -F
complete -c lumora_gateway -l token-file -r -F
complete -c lumoractl -l nexel -x -a '(path basename $NX_ROOT/tmp/nexels/* 2>/dev/null)'
complete -c lumoractl -l socket -r -F
complete -c lumoractl -l root -x -a '(__fish_complete_directories)'
