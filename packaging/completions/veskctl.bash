# Completion of veskctl for bash: veskctl itself knows what may come.
# shellcheck shell=bash

_veskctl() {
  local word
  COMPREPLY=()
  while IFS= read -r word; do
    COMPREPLY+=("$(printf '%q' "$word")")
  done < <("${COMP_WORDS[0]}" complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
}
complete -o default -F _veskctl veskctl
