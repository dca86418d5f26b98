# Completion of tarvel-page for fish. Tracks may have any extension; most are CSV files, which come first.
complete -c tarvel-page -f
complete -c tarvel-page -s h -l help -d 'print a summary'
complete -c tarvel-page -s i -l implicit -d 'find the entry gate from the run itself'
complete -c tarvel-page -s m -l metric -d 'begin in metric units'
complete -c tarvel-page -s t -l aloft -x -d 'seconds aloft, as a judge measured them'
complete -c tarvel-page -l no-check -d 'leave out intervals, reasons and verdict'
complete -c tarvel-page -l draws -x -d 'tracks to draw for the intervals, 40 to 10000'
complete -c tarvel-page -l seed -x -d 'where their random numbers begin'
complete -c tarvel-page -s o -l output -x -k -a '(__fish_complete_suffix .html)' -d 'write this file'
complete -c tarvel-page -l version -d 'print the version'
complete -c tarvel-page -k -a '(__fish_complete_suffix .csv)' -d 'track of a run'
