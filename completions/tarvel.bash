# Completion of tarvel for bash, with bash-completion's file names where it is loaded.

_tarvel_description() {
  case $1 in
    -v) echo "print the version" ;;
    -d) echo "debug mode: also write coord.txt and a .tvl copy" ;;
    -i) echo "find the entry gate from the run itself" ;;
    -p) echo "with -g: the course has a pond" ;;
    -m) echo "metric units" ;;
    -t) echo "seconds aloft, as a judge measured them" ;;
    -g) echo "survey the course that was walked in this track" ;;
  esac
}

# Tracks may have any extension: without any of these, all files are offered.
_tarvel_tracks() {
  if declare -F _filedir >/dev/null; then
    _filedir '@(csv|txt|tvl)'
    ((${#COMPREPLY[@]} > 0)) || _filedir
  else
    compopt -o default
  fi
}

_tarvel_options() {
  local option
  mapfile -t COMPREPLY < <(compgen -W '-v -d -i -p -m -t -g' -- "$cur")
  # Only a list on the screen has room for descriptions; a single candidate would be typed into the command.
  [[ $COMP_TYPE == 63 && ${#COMPREPLY[@]} -gt 1 ]] || return 0
  for option in "${!COMPREPLY[@]}"; do
    COMPREPLY[option]+="  ($(_tarvel_description "${COMPREPLY[option]}"))"
  done
}

_tarvel() {
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
    -*t) return ;;
    -*g) _tarvel_tracks; return ;;
  esac
  case $cur in
    -*) _tarvel_options ;;
    *) _tarvel_tracks ;;
  esac
}

complete -F _tarvel tarvel
