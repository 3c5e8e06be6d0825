# bash completion for chronex(1)

# Completes the last word of a filter expression. The shell takes the whole
# expression for one word, quote included; the answers repeat what comes before
# the word that is completed.
_chronex_filter() {
  local text=${1#[\"\']} keyword
  local word=${text##*[[:space:]\(\)]}
  local before=${text%"$word"}
  local keywords='AND OR NOT BETWEEN RECNO TIMESTAMP DBPUT DBUPDATE DBDELETE
    id conntime dbbegin dbend dbmemo'

  compopt -o nospace 2>/dev/null
  COMPREPLY=()
  for keyword in $keywords; do
    if [[ ${keyword^^} == "${word^^}"* ]]; then
      COMPREPLY+=("$before$keyword")
    fi
  done
}

_chronex() {
  local options='-c -e -f -I -i -M -m -o -r -v -x -Z'
  local current=${COMP_WORDS[COMP_CWORD]} previous='' i

  # Options end at the first word that is none, after "--" and at "-". The
  # argument of the last of grouped options is the next word.
  for ((i = 1; i < COMP_CWORD; i++)); do
    if [[ ${COMP_WORDS[i]} =~ ^-[MmrvxZ]*([cefIio])$ ]]; then
      if ((i + 1 == COMP_CWORD)); then previous=${BASH_REMATCH[1]}; fi
      ((i++))
    elif [[ ${COMP_WORDS[i]} != -?* || ${COMP_WORDS[i]} == -- ]]; then
      COMPREPLY=()
      return
    fi
  done

  case $previous in
    e)
      _chronex_filter "$current"
      return
      ;;
    c | I | i)
      compopt +o default +o bashdefault 2>/dev/null
      COMPREPLY=()
      return
      ;;
    f | o)
      # File names: the shell's own completion.
      COMPREPLY=()
      return
      ;;
  esac

  COMPREPLY=()
  if [[ $current == -* ]]; then
    if ((COMP_CWORD == 1)); then options+=' -help -version'; fi
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
  fi
} && complete -o default -o bashdefault -F _chronex chronex
