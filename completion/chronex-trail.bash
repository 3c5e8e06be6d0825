# bash completion for chronex-trail(1)

# Filter expressions are completed as for chronex.
if ! declare -F _chronex_filter >/dev/null; then
  # shellcheck disable=SC1090  # the file beside this one
  . "${BASH_SOURCE[0]%chronex-trail*}chronex${BASH_SOURCE[0]##*chronex-trail}"
fi

_chronex_trail() {
  local current=${COMP_WORDS[COMP_CWORD]} command=${COMP_WORDS[1]}
  local previous=${COMP_WORDS[COMP_CWORD - 1]}
  local options='--filter --filter-file --help --items --jobs --master-keys
    --output --progress --resync --time-zone'
  local -A own_options=(
    [json]='--follow --from --split --state'
    [sql]='--append --cluster --engine --follow --force --from --segment --state'
    [query]='--json --list-tables --schema'
    [list]=--json
    [stats]='--csv --json --top'
    [page]='--keep --office-days --office-hours --rows'
    [states]=--pieces)

  COMPREPLY=()
  if ((COMP_CWORD == 1)); then
    mapfile -t COMPREPLY < <(
      compgen -W "${!own_options[*]} --help --version" -- "$current")
    return
  fi
  # In --option=value the shell takes the sign for a word.
  if [[ $current == = ]]; then return; fi
  if [[ $previous == = ]]; then previous=${COMP_WORDS[COMP_CWORD - 2]}; fi

  case $previous in
    -e | --filter)
      _chronex_filter "$2" "$current"
      ;;
    -I | --items)
      compopt +o default +o bashdefault 2>/dev/null
      ;;
    --engine)
      mapfile -t COMPREPLY < <(
        compgen -W 'sqlite postgresql clickhouse' -- "$current")
      ;;
    --cluster | --segment)
      compopt +o default +o bashdefault 2>/dev/null
      ;;
    --time-zone)
      _chronex_time_zone "$current"
      ;;
    --progress)
      mapfile -t COMPREPLY < <(compgen -W 'always auto never' -- "$2")
      ;;
    --keep)
      mapfile -t COMPREPLY < <(compgen -W 'evenly latest' -- "$2")
      ;;
    --top | --rows | --office-days | --office-hours)
      compopt +o default +o bashdefault 2>/dev/null
      ;;
    # File names: the shell's own completion.
    -f | --filter-file | --from | -o | --output | --split | --state) ;;
    --jobs | --pieces)
      compopt +o default +o bashdefault 2>/dev/null
      ;;
    *)
      if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(
          compgen -W "$options ${own_options[$command]-}" -- "$current")
      fi
      ;;
  esac
}

_chronex_time_zone() {
  local zones=/usr/share/zoneinfo
  mapfile -t COMPREPLY < <(
    compgen -f -- "$zones/$1" | while IFS= read -r zone; do
      if [[ -d $zone ]]; then zone+=/; fi
      printf '%s\n' "${zone#"$zones/"}"
    done)
  if [[ ${COMPREPLY[*]} == */ ]]; then compopt -o nospace 2>/dev/null; fi
}

complete -o default -o bashdefault -F _chronex_trail chronex-trail
