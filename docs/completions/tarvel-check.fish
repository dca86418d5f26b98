# Completion of tarvel-check for fish. Tracks may have any extension; most are CSV files, which come first.
complete -c tarvel-check -f
complete -c tarvel-check -s h -l help -d 'print a summary'
complete -c tarvel-check -s i -l implicit -d 'find the entry gate from each run itself'
complete -c tarvel-check -s m -l metric -d 'metric units'
complete -c tarvel-check -s t -l aloft -x -d 'seconds aloft of the one run, as a judge measured them'
complete -c tarvel-check -l draws -x -d 'tracks to draw, 40 to 10000'
complete -c tarvel-check -l seed -x -d 'where the random numbers begin'
complete -c tarvel-check -l version -d 'print the version'
complete -c tarvel-check -k -a '(__fish_complete_suffix .csv)' -d 'track of a run'
