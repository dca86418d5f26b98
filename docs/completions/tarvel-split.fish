# Completion of tarvel-split for fish. Tracks may have any extension; most are CSV files, which come first.
complete -c tarvel-split -f
complete -c tarvel-split -s m -l metric -d 'heights in metres'
complete -c tarvel-split -s w -l write -d 'write each jump into a file of its own'
complete -c tarvel-split -s h -l help -d 'print a summary'
complete -c tarvel-split -s V -l version -d 'print the version'
complete -c tarvel-split -k -a '(__fish_complete_suffix .csv)' -d 'track of the jumps'
