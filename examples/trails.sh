# Makes an audit file of each generation, as many at a time as the machine has
# processors.
#
#   sh trails.sh shop.*-*
#
# Of logs NAME-1, NAME-2, ... the audit file is trail.NAME. It is replaced only by
# a whole one: what a failed run has written stays in new.NAME. The exit status
# is not 0 if a run failed, and standard error says which.

printf '%s\n' "$@" | sed 's/-[0-9]*\(\.gz\)\{0,1\}$//' | sort -u |
  xargs -d '\n' -P "$(nproc)" -I % sh -c '
    chronex -o "new.$1" "$1"-* && mv "new.$1" "trail.$1" && exit 0
    echo "$1: failed" >&2
    exit 1' sh %
