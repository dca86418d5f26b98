# Completion of tarvel-split for bash, with bash-completion's file names where it is loaded.

_tarvel_split_description() {
  case $1 in
    -m | --metric) echo "heights in metres" ;;
    -w | --write) echo "write each jump into a file of its own" ;;
    -h | --help) echo "print a summary" ;;
    -V | --version) echo "print the version" ;;
  esac
}

_tarvel_split_options() {
  local option
  mapfile -t COMPREPLY < <(compgen -W '-m --metric -w --write -h --help -V --version' -- "$cur")
  # Only a list on the screen has room for descriptions; a single candidate would be typed into the command.
  [[ $COMP_TYPE == 63 && ${#COMPREPLY[@]} -gt 1 ]] || return 0
  for option in "${!COMPREPLY[@]}"; do
    COMPREPLY[option]+="  ($(_tarvel_split_description "${COMPREPLY[option]}"))"
  done
}

# Tracks may have any extension: without any of these, all files are offered.
_tarvel_split() {
  local cur prev words cword
  if declare -F _init_completion >/dev/null; then
    _init_completion || return
  else
    cur=${COMP_WORDS[COMP_CWORD]}
  fi
  COMPREPLY=()
  if [[ $cur == -* ]]; then
    _tarvel_split_options
  elif declare -F _filedir >/dev/null; then
    _filedir '@(csv|txt|tvl)'
    ((${#COMPREPLY[@]} > 0)) || _filedir
  else
    compopt -o default
  fi
}

complete -F _tarvel_split tarvel-split
