# SPDX-License-Identifier: MIT
# fish completion for ixla-ctl

set -l commands status check get explain describe set unset watch log event

# The command line without options, as a list.
function __ixla_ctl_words
    set -l found
    set -l words (commandline -opc)
    set -l skip no
    for word in $words[2..]
        if test $skip = yes
            set skip no
        else if contains -- $word --socket --timeout --attribute --lines
            set skip yes
        else if not string match -q -- '-*' $word
            set -a found $word
        end
    end
    string join \n -- $found
end

# The number of words after the command is $argv[1], and the command is one of the others.
function __ixla_ctl_needs
    set -l words (__ixla_ctl_words)
    test (count $words) -eq (math $argv[1] + 1); and contains -- $words[1] $argv[2..]
end

# The IDs, or the keys of an ID, that plugins of the host declare.
function __ixla_ctl_names
    set -l socket
    set -l words (commandline -opc)
    set -l place (contains -i -- --socket $words); and set socket --socket $words[(math $place + 1)]
    ixla-ctl $socket --timeout 1 describe --names $argv 2>/dev/null
end

complete -c ixla-ctl -f
complete -c ixla-ctl -l socket -r -F -d 'socket of the host'
complete -c ixla-ctl -l timeout -x -d 'how long to wait for an answer'
complete -c ixla-ctl -l json -d 'print the result as JSON'
complete -c ixla-ctl -l help -s h -d 'print a summary with examples'
complete -c ixla-ctl -n "not __fish_seen_subcommand_from $commands" -l version -d 'print the version'
complete -c ixla-ctl -n "not __fish_seen_subcommand_from $commands" -l pid -x -a '(__fish_complete_pids)' -d 'read a process with gdb'
complete -c ixla-ctl -n "not __fish_seen_subcommand_from $commands" -l core -r -F -d 'read a core dump with gdb'

complete -c ixla-ctl -n "not __fish_seen_subcommand_from $commands" -a status -d 'libraries, interfaces, threads, memory, logs and limits'
complete -c ixla-ctl -n "not __fish_seen_subcommand_from $commands" -a check -d 'what is wrong, and what to do'
complete -c ixla-ctl -n "not __fish_seen_subcommand_from $commands" -a get -d 'print a value'
complete -c ixla-ctl -n "not __fish_seen_subcommand_from $commands" -a explain -d 'print a value and its source'
complete -c ixla-ctl -n "not __fish_seen_subcommand_from $commands" -a describe -d 'print the keys that plugins declare'
complete -c ixla-ctl -n "not __fish_seen_subcommand_from $commands" -a set -d 'set a value at run time'
complete -c ixla-ctl -n "not __fish_seen_subcommand_from $commands" -a unset -d 'remove a value that was set'
complete -c ixla-ctl -n "not __fish_seen_subcommand_from $commands" -a watch -d 'print values that are set'
complete -c ixla-ctl -n "not __fish_seen_subcommand_from $commands" -a log -d 'the logs of the host'
complete -c ixla-ctl -n "not __fish_seen_subcommand_from $commands" -a event -d 'the events of the host'

complete -c ixla-ctl -n '__fish_seen_subcommand_from log; and not __fish_seen_subcommand_from level tail' -a 'level tail'
complete -c ixla-ctl -n '__fish_seen_subcommand_from event; and not __fish_seen_subcommand_from send watch' -a 'send watch'
complete -c ixla-ctl -n '__fish_seen_subcommand_from level tail' -a 'core ixlaplugins.log'
complete -c ixla-ctl -n '__ixla_ctl_needs 0 get explain describe set unset watch' -a '(__ixla_ctl_names)'
complete -c ixla-ctl -n '__ixla_ctl_needs 1 get explain set unset' -a '(__ixla_ctl_names (__ixla_ctl_words)[2])'
complete -c ixla-ctl -n '__fish_seen_subcommand_from describe' -l names -d 'print only names'
complete -c ixla-ctl -n '__fish_seen_subcommand_from get set unset' -l attribute -x -d 'an attribute of the key'
complete -c ixla-ctl -n '__fish_seen_subcommand_from tail' -l lines -x -d 'number of lines'
complete -c ixla-ctl -n '__fish_seen_subcommand_from tail' -l follow -d 'print later lines, too'
