# bash completion for chronex(1)

# Completes the last word of a filter expression. The shell takes all that stands
# between the quote and the cursor for one word, which is the first argument; the
# answers repeat what comes before the word that is completed. The second argument
# is the word as it is on the command line, quote included.
_chronex_filter() {
  local word=${1##*[[:space:]\(\)]}
  local before=${1%"$word"}
  local keyword keywords='AND OR NOT BETWEEN RECNO TIMESTAMP DBPUT DBUPDATE
    DBDELETE id conntime dbbegin dbend dbmemo'

  compopt -o nospace 2>/dev/null
  COMPREPLY=()
  for keyword in $keywords; do
    if [[ ${keyword^^} == "${word^^}"* ]]; then
      COMPREPLY+=("$before$keyword")
    fi
  done
  if ((${#COMPREPLY[@]} > 1)); then
    _chronex_same_case "$before" "$word"
  elif [[ ${#COMPREPLY[@]} == 1 && $2 == *[\"\']* ]]; then
    # The shell would take a single answer for the end of the expression and
    # close the quote.
    COMPREPLY+=("${COMPREPLY[0]} ")
  fi
}

# Of several answers the shell keeps what they have in common, which must not be
# less than what was typed.
_chronex_same_case() {
  local i answer
  for i in "${!COMPREPLY[@]}"; do
    answer=${COMPREPLY[i]#"$1"}
    case $2 in
      *[[:lower:]]*) COMPREPLY[i]=$1${answer,,} ;;
      ?*) COMPREPLY[i]=$1${answer^^} ;;
    esac
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
      _chronex_filter "$2" "$current"
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
  if [[ $current =~ ^-[MmrvxZ]*e[\"\'] ]]; then
    _chronex_filter "$2" "$current"
  elif [[ $current == -* ]]; then
    if ((COMP_CWORD == 1)); then options+=' -help -version'; fi
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
  fi
} && complete -o default -o bashdefault -F _chronex chronex
