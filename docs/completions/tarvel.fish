# Completion of tarvel for fish. Tracks may have any extension; most are CSV files, which come first.
complete -c tarvel -f
complete -c tarvel -s v -d 'print the version'
complete -c tarvel -s d -d 'debug mode: also write coord.txt and a .tvl copy'
complete -c tarvel -s i -n 'not __fish_contains_opt -s g' -d 'find the entry gate from the run itself'
complete -c tarvel -s p -d 'with -g: the course has a pond'
complete -c tarvel -s m -d 'metric units'
complete -c tarvel -s t -x -d 'seconds aloft, as a judge measured them'
complete -c tarvel -s g -n 'not __fish_contains_opt -s i' -x -k -a '(__fish_complete_suffix .csv)' \
  -d 'survey the course that was walked in this track'
complete -c tarvel -k -a '(__fish_complete_suffix .csv)' -d 'track of the run'
