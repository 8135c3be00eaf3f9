# complete.bash - completion of qxhost and qxmon in bash.
#
# Asks the tool itself: subcommands, options, their values, properties and the names of validate's
# checks are those that it prints. Where a file may follow, bash completes file names.

# Prints the words that begin a line of one section of a help text.
_qx_words_of() {
  awk -v section="$1:" '$0 == section { on = 1; next } /^$/ || /^[A-Z]/ { on = 0 }
    on && /^ / { sub(/^ */, ""); sub(/^-[a-z],/, ""); print $1 }'
}

# Prints the options of a help text, and those of the tool that work there too.
_qx_options_of() {
  local help
  help=$(cat)
  _qx_words_of Options <<< "$help" | grep -e ^--
  awk '/^These work here too:/ { on = 1; print; next } !/^ / { on = 0 } on' <<< "$help" |
    grep -o -e '--[a-z-]*'
}

# Prints what an option takes, such as PATH or level|state; nothing if it takes no value.
_qx_value_of() {
  awk -v option="$1" '
    $1 == option && $2 ~ /^([A-Z]+|[A-Za-z]+([|][A-Za-z]+)+)$/ { print $2; exit }'
}

# Prints the words that may stand at the place of a property or of its value, if there is one.
_qx_properties_of() {
  local help given words
  help=$(cat)
  grep -q '^  PROPERTY' <<< "$help" || return
  words=$(_qx_words_of Properties <<< "$help" | grep '^[a-z]')
  if grep -q '^  PROPERTY VALUE' <<< "$help"; then
    # A value follows the property.
    for given; do
      if grep -qxF -e "$given" <<< "$words"; then
        grep -q "^  $given .* off or on" <<< "$help" && printf 'off\non\n'
        return
      fi
    done
  fi
  echo "$words"
}

_qx_complete() {
  local program=${COMP_WORDS[0]} word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]}
  local all help commands command= given value words=
  # bash makes three words of --option=value.
  if [ "$word" = = ]; then
    word=
  elif [ "$before" = = ]; then
    before=${COMP_WORDS[COMP_CWORD-2]}
  fi
  all=$("$program" --help 2>/dev/null) || return
  help=$all
  commands=$(_qx_words_of Subcommands <<< "$all")
  for given in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    if grep -qxF -e "$given" <<< "$commands"; then
      command=$given
      help=$("$program" "$command" --help 2>/dev/null) || return
      break
    fi
  done

  value=$(_qx_value_of "$before" <<< "$help"$'\n'"$all")
  case $value in
    'TAG|NAME') words=$("$program" "$command" --list 2>/dev/null | awk '{ print $1; print $2 }' | sort -u) ;;
    # The words to choose from; those in capitals stand for others.
    *'|'*) words=$(tr '|' '\n' <<< "$value" | grep -vxE '[A-Z]+') ;;
    NAME) words=$(_qx_words_of Profiles <<< "$help") ;;
    PATH | FILE | FOLDER) ;;
    # A number or an expression, and no name of a file.
    ?*)
      compopt +o default 2>/dev/null
      return
      ;;
    *)
      if [[ $word == -* ]]; then
        words=$(_qx_options_of <<< "$help")
      elif [ -z "$command" ]; then
        words=$commands
      else
        words=$(_qx_properties_of "${COMP_WORDS[@]:1:COMP_CWORD-1}" <<< "$help")
      fi
      ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}

complete -o default -F _qx_complete qxhost qxmon
