# Completion of tarvel-meet for fish. Runs are tracks, mostly CSV files, which come first, or folders.
complete -c tarvel-meet -f
complete -c tarvel-meet -s h -l help -d 'print a summary'
complete -c tarvel-meet -s c -l course -n 'not __fish_contains_opt -s i implicit' -x -k \
  -a '(__fish_complete_suffix .txt)' -d 'course file or index'
complete -c tarvel-meet -s i -l implicit -n 'not __fish_contains_opt -s c course' \
  -d 'find the entry gate from each run itself'
complete -c tarvel-meet -s m -l metric -d 'metric units'
complete -c tarvel-meet -l no-check -d 'do not find out how far the figures can be trusted'
complete -c tarvel-meet -s o -l output -x -a '(__fish_complete_directories)' -d 'folder for the results'
complete -c tarvel-meet -s l -l list -r -F -d 'file with more runs, one a line, or a meet.csv'
complete -c tarvel-meet -s x -l exclude -x -d 'leave out runs whose file name matches this pattern'
complete -c tarvel-meet -s j -l jobs -x -d 'runs at a time'
complete -c tarvel-meet -l hosts -r -F -d 'list of machines to work on'
complete -c tarvel-meet -l ssh -x -a '(__fish_complete_command)' -d 'command in place of ssh'
complete -c tarvel-meet -l retries -x -d 'how often to try when tarvel crashes or a machine fails'
complete -c tarvel-meet -l timeout -x -d 'seconds after which a run has failed'
complete -c tarvel-meet -l fresh -d 'analyse all runs, also those that are done'
complete -c tarvel-meet -l tarvel -r -F -d 'the tarvel to use'
complete -c tarvel-meet -s q -l quiet -d 'no progress bar and no last line'
complete -c tarvel-meet -l version -d 'print the version of tarvel that is used'
complete -c tarvel-meet -k -a '(__fish_complete_suffix .csv)' -d 'track or folder of tracks'
