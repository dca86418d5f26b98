# Completion of tarvel-page for bash, with bash-completion's file names where it is loaded.

_tarvel_page_description() {
  case $1 in
    -h | --help) echo "print a summary" ;;
    -i | --implicit) echo "find the entry gate from the run itself" ;;
    -m | --metric) echo "begin in metric units" ;;
    -t | --aloft) echo "seconds aloft, as a judge measured them" ;;
    --no-check) echo "leave out intervals, reasons and verdict" ;;
    --draws) echo "tracks to draw for the intervals, 40 to 10000" ;;
    --seed) echo "where their random numbers begin" ;;
    -o | --output) echo "write this file" ;;
    --version) echo "print the version" ;;
  esac
}

# Files with these extensions, or any where there are none.
_tarvel_page_files() {
  if declare -F _filedir >/dev/null; then
    _filedir "$1"
    ((${#COMPREPLY[@]} > 0)) || _filedir
  else
    compopt -o default
  fi
}

_tarvel_page_options() {
  local option
  mapfile -t COMPREPLY < <(compgen -W '-h --help -i --implicit -m --metric -t --aloft --no-check --draws --seed -o --output --version' -- "$cur")
  # Only a list on the screen has room for descriptions; a single candidate would be typed into the command.
  [[ $COMP_TYPE == 63 && ${#COMPREPLY[@]} -gt 1 ]] || return 0
  for option in "${!COMPREPLY[@]}"; do
    COMPREPLY[option]+="  ($(_tarvel_page_description "${COMPREPLY[option]}"))"
  done
}

_tarvel_page() {
  local cur prev words cword
  if declare -F _init_completion >/dev/null; then
    _init_completion || return
  else
    cur=${COMP_WORDS[COMP_CWORD]}
    prev=${COMP_WORDS[COMP_CWORD - 1]}
  fi
  COMPREPLY=()
  # Letters may share a hyphen; the last of them takes the next word.
  case $prev in
    -t | -[im]*t | --aloft | --draws | --seed) return ;;
    -o | -[im]*o | --output) _tarvel_page_files html; return ;;
  esac
  case $cur in
    -*) _tarvel_page_options ;;
    *) _tarvel_page_files '@(csv|txt|tvl)' ;;
  esac
}

complete -F _tarvel_page tarvel-page
