# complete.bash - completion of qxhost and qxmon in bash.
#
# Asks the tool itself: subcommands, options and the names of validate's checks are those that it
# prints. Where a file may follow, bash completes file names.

# Prints the words that begin a line of one section of a help text.
_qx_words_of() {
  awk -v section="$1:" '$0 == section { on = 1; next } /^$/ || /^[A-Z]/ { on = 0 }
    on && /^ / { sub(/^ */, ""); sub(/^-[a-z],/, ""); print $1 }'
}

_qx_complete() {
  local program=${COMP_WORDS[0]} word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]}
  local help commands command= given value words=
  help=$("$program" --help 2>/dev/null) || return
  commands=$(_qx_words_of Subcommands <<< "$help")
  for given in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    if grep -qxF -e "$given" <<< "$commands"; then
      command=$given
      help=$("$program" "$command" --help 2>/dev/null) || return
      break
    fi
  done

  # What the option before takes, such as PATH; nothing if it takes no value.
  value=$(awk -v option="$before" '$1 == option && $2 ~ /^[A-Z|]+$/ { print $2; exit }' <<< "$help")
  case $value in
    'TAG|NAME') words=$("$program" "$command" --list 2>/dev/null | awk '{ print $1; print $2 }' | sort -u) ;;
    PATH | FILE | FOLDER | 'BUNDLE|'*) ;;
    ?*) return ;;
    *)
      if [[ $word == -* ]]; then
        words=$(_qx_words_of Options <<< "$help" | grep -e ^--)
      elif [ -z "$command" ]; then
        words=$commands
      fi
      ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}

complete -o default -F _qx_complete qxhost qxmon
