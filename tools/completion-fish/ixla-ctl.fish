# SPDX-License-Identifier: MIT
# fish completion for ixla-ctl

set -l commands status check get explain set unset watch log event

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
complete -c ixla-ctl -n "not __fish_seen_subcommand_from $commands" -a set -d 'set a value at run time'
complete -c ixla-ctl -n "not __fish_seen_subcommand_from $commands" -a unset -d 'remove a value that was set'
complete -c ixla-ctl -n "not __fish_seen_subcommand_from $commands" -a watch -d 'print values that are set'
complete -c ixla-ctl -n "not __fish_seen_subcommand_from $commands" -a log -d 'the logs of the host'
complete -c ixla-ctl -n "not __fish_seen_subcommand_from $commands" -a event -d 'the events of the host'

complete -c ixla-ctl -n '__fish_seen_subcommand_from log; and not __fish_seen_subcommand_from level tail' -a 'level tail'
complete -c ixla-ctl -n '__fish_seen_subcommand_from event; and not __fish_seen_subcommand_from send watch' -a 'send watch'
complete -c ixla-ctl -n '__fish_seen_subcommand_from level tail' -a 'core ixlaplugins.log'
complete -c ixla-ctl -n '__fish_seen_subcommand_from get set unset' -l attribute -x -d 'an attribute of the key'
complete -c ixla-ctl -n '__fish_seen_subcommand_from tail' -l lines -x -d 'number of lines'
complete -c ixla-ctl -n '__fish_seen_subcommand_from tail' -l follow -d 'print later lines, too'
