# Completion of tarvel-json for bash, with bash-completion's file names where it is loaded.

_tarvel_json_description() {
  case $1 in
    -h | --help) echo "print a summary" ;;
    -i | --implicit) echo "find the entry gate from the run itself" ;;
    -m | --metric) echo "texts and charts in metric units" ;;
    -t | --aloft) echo "seconds aloft, as a judge measured them" ;;
    --check) echo "how far each figure can be trusted" ;;
    --draws) echo "tracks to draw for --check, 40 to 10000" ;;
    --seed) echo "where its random numbers begin" ;;
    --version) echo "print the version" ;;
  esac
}

# Tracks may have any extension: without any of these, all files are offered.
_tarvel_json_tracks() {
  if declare -F _filedir >/dev/null; then
    _filedir '@(csv|txt|tvl)'
    ((${#COMPREPLY[@]} > 0)) || _filedir
  else
    compopt -o default
  fi
}

_tarvel_json_options() {
  local option
  mapfile -t COMPREPLY < <(compgen -W '-h --help -i --implicit -m --metric -t --aloft --check --draws --seed --version' -- "$cur")
  # Only a list on the screen has room for descriptions; a single candidate would be typed into the command.
  [[ $COMP_TYPE == 63 && ${#COMPREPLY[@]} -gt 1 ]] || return 0
  for option in "${!COMPREPLY[@]}"; do
    COMPREPLY[option]+="  ($(_tarvel_json_description "${COMPREPLY[option]}"))"
  done
}

_tarvel_json() {
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
  esac
  case $cur in
    -*) _tarvel_json_options ;;
    *) _tarvel_json_tracks ;;
  esac
}

complete -F _tarvel_json tarvel-json
