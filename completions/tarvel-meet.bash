# Completion of tarvel-meet for bash, with bash-completion's file names where it is loaded.

_tarvel_meet_description() {
  case $1 in
    -h | --help) echo "print a summary" ;;
    -c | --course) echo "course file or index" ;;
    -i | --implicit) echo "find the entry gate from each run itself" ;;
    -m | --metric) echo "metric units" ;;
    --no-check) echo "do not find out how far the figures can be trusted" ;;
    -o | --output) echo "folder for the results" ;;
    -l | --list) echo "file with more runs, one a line, or a meet.csv" ;;
    -x | --exclude) echo "leave out runs whose file name matches this pattern" ;;
    -j | --jobs) echo "runs at a time" ;;
    --hosts) echo "list of machines to work on" ;;
    --ssh) echo "command in place of ssh" ;;
    --retries) echo "how often to try when tarvel crashes or a machine fails" ;;
    --timeout) echo "seconds after which a run has failed" ;;
    --fresh) echo "analyse all runs, also those that are done" ;;
    --tarvel) echo "the tarvel to use" ;;
    -q | --quiet) echo "no progress bar and no last line" ;;
    --version) echo "print the version of tarvel that is used" ;;
  esac
}

# Files with these extensions, or any where there are none.
_tarvel_meet_files() {
  if declare -F _filedir >/dev/null; then
    _filedir "$@"
    ((${#COMPREPLY[@]} > 0)) || _filedir
  else
    compopt -o default
  fi
}

_tarvel_meet_options() {
  local option words
  words='-h --help -c --course -i --implicit -m --metric --no-check -o --output -l --list -x --exclude -j --jobs --hosts --ssh
    --retries --timeout --fresh --tarvel -q --quiet --version'
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$cur")
  # Only a list on the screen has room for descriptions; a single candidate would be typed into the command.
  [[ $COMP_TYPE == 63 && ${#COMPREPLY[@]} -gt 1 ]] || return 0
  for option in "${!COMPREPLY[@]}"; do
    COMPREPLY[option]+="  ($(_tarvel_meet_description "${COMPREPLY[option]}"))"
  done
}

_tarvel_meet() {
  local cur prev words cword
  if declare -F _init_completion >/dev/null; then
    _init_completion || return
  else
    cur=${COMP_WORDS[COMP_CWORD]}
    prev=${COMP_WORDS[COMP_CWORD - 1]}
  fi
  COMPREPLY=()
  case $prev in
    -c | --course) _tarvel_meet_files txt; return ;;
    -l | --list | --hosts | --tarvel) _tarvel_meet_files; return ;;
    -o | --output) _tarvel_meet_files -d; return ;;
    --ssh) mapfile -t COMPREPLY < <(compgen -c -- "$cur"); return ;;
    -x | --exclude | -j | --jobs | --retries | --timeout) return ;;
  esac
  case $cur in
    -*) _tarvel_meet_options ;;
    *) _tarvel_meet_files '@(csv|txt|tvl)' ;;
  esac
}

complete -F _tarvel_meet tarvel-meet
