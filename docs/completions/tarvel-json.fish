# Completion of tarvel-json for fish. Tracks may have any extension; most are CSV files, which come first.
complete -c tarvel-json -f
complete -c tarvel-json -s h -l help -d 'print a summary'
complete -c tarvel-json -s i -l implicit -d 'find the entry gate from the run itself'
complete -c tarvel-json -s m -l metric -d 'texts and charts in metric units'
complete -c tarvel-json -s t -l aloft -x -d 'seconds aloft, as a judge measured them'
complete -c tarvel-json -l check -d 'how far each figure can be trusted'
complete -c tarvel-json -l draws -x -d 'tracks to draw for --check, 40 to 10000'
complete -c tarvel-json -l seed -x -d 'where its random numbers begin'
complete -c tarvel-json -l version -d 'print the version'
complete -c tarvel-json -k -a '(__fish_complete_suffix .csv)' -d 'track of the run'
