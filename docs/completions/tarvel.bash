# Completion of tarvel and its companions for bash. File names are completed by bash-completion when it is loaded.

# A line an option: its names, what follows it, what it does.
declare -gA _tarvel_options=(
  [tarvel]='
    -v  nothing  print the version
    -d  nothing  debug mode: also write coord.txt and a .tvl copy
    -i  nothing  find the entry gate from the run itself
    -p  nothing  with -g: the course has a pond
    -m  nothing  metric units
    -t  text     seconds aloft, as a judge measured them
    -g  track    survey the course that was walked in this track'
  [tarvel-check]='
    -h,--help      nothing  print a summary
    -i,--implicit  nothing  find the entry gate from each run itself
    -m,--metric    nothing  metric units
    -t,--aloft     text     seconds aloft of the one run, as a judge measured them
    --draws        text     tracks to draw, 40 to 10000
    --seed         text     where the random numbers begin
    --version      nothing  print the version'
  [tarvel-json]='
    -h,--help      nothing  print a summary
    -i,--implicit  nothing  find the entry gate from the run itself
    -m,--metric    nothing  texts and charts in metric units
    -t,--aloft     text     seconds aloft, as a judge measured them
    --check        nothing  how far each figure can be trusted
    --draws        text     tracks to draw for --check, 40 to 10000
    --seed         text     where its random numbers begin
    --version      nothing  print the version'
  [tarvel-meet]='
    -h,--help      nothing  print a summary
    -c,--course    course   course file or index
    -i,--implicit  nothing  find the entry gate from each run itself
    -m,--metric    nothing  metric units
    --no-check     nothing  do not find out how far the figures can be trusted
    -o,--output    folder   folder for the results
    -l,--list      file     file with more runs, one a line, or a meet.csv
    -x,--exclude   text     leave out runs whose file name matches this pattern
    -j,--jobs      text     runs at a time
    --hosts        file     list of machines to work on
    --ssh          command  command in place of ssh
    --retries      text     how often to try when tarvel crashes or a machine fails
    --timeout      text     seconds after which a run has failed
    --fresh        nothing  analyse all runs, also those that are done
    --tarvel       file     the tarvel to use
    -q,--quiet     nothing  no progress bar and no last line
    --version      nothing  print the version of tarvel that is used'
  [tarvel-page]='
    -h,--help      nothing  print a summary
    -i,--implicit  nothing  find the entry gate from the run itself
    -m,--metric    nothing  begin in metric units
    -t,--aloft     text     seconds aloft, as a judge measured them
    --no-check     nothing  leave out intervals, reasons and verdict
    --draws        text     tracks to draw for the intervals, 40 to 10000
    --seed         text     where their random numbers begin
    -o,--output    page     write this file
    --version      nothing  print the version'
  [tarvel-split]='
    -m,--metric   nothing  heights in metres
    -w,--write    nothing  write each jump into a file of its own
    -h,--help     nothing  print a summary
    -V,--version  nothing  print the version'
)

# Files with these extensions; when there are none, all files.
_tarvel_files() {
  if declare -F _filedir >/dev/null; then
    _filedir "$@"
    ((${#COMPREPLY[@]} > 0)) || _filedir
  else
    compopt -o default
  fi
}

# Fills follows and describes, of each option of the program $1.
_tarvel_read_options() {
  local names value description option
  while read -r names value description; do
    for option in ${names//,/ }; do
      follows[$option]=$value
      describes[$option]=$description
    done
  done <<<"${_tarvel_options[$1]}"
}

# Sets value to the kind of value that follows the word $1. Letters may share a hyphen: the first that takes a value
# takes the rest of the word, or the next word.
_tarvel_find_value() {
  local i
  value=${follows[$1]:-nothing}
  [[ $1 == -[!-]?* ]] || return 0
  for ((i = 1; i < ${#1}; ++i)); do
    value=${follows[-${1:i:1}]:-nothing}
    [[ $value == nothing ]] || break
  done
  ((i >= ${#1} - 1)) || value=nothing
}

_tarvel_offer_options() {
  local option
  mapfile -t COMPREPLY < <(compgen -W "${!describes[*]}" -- "$cur")
  # Only a list on the screen has room for descriptions; a single candidate would be typed into the command.
  [[ $COMP_TYPE == 63 && ${#COMPREPLY[@]} -gt 1 ]] || return 0
  for option in "${!COMPREPLY[@]}"; do
    COMPREPLY[option]+="  (${describes[${COMPREPLY[option]}]})"
  done
}

_tarvel() {
  local cur prev words cword value
  local -A follows=() describes=()
  if declare -F _init_completion >/dev/null; then
    _init_completion || return
  else
    cur=${COMP_WORDS[COMP_CWORD]}
    prev=${COMP_WORDS[COMP_CWORD - 1]}
  fi
  COMPREPLY=()
  _tarvel_read_options "${1##*/}"
  _tarvel_find_value "$prev"
  [[ $value != nothing || $cur == -* ]] || value=track
  case $value in
    nothing) _tarvel_offer_options ;;
    track) _tarvel_files '@(csv|txt|tvl)' ;;
    course) _tarvel_files txt ;;
    page) _tarvel_files html ;;
    file) _tarvel_files ;;
    folder) _tarvel_files -d ;;
    command) mapfile -t COMPREPLY < <(compgen -c -- "$cur") ;;
  esac
}

complete -F _tarvel "${!_tarvel_options[@]}"
