tarvel_test(split/stretches_test USES tarvel_split)
tarvel_test(split/joined_tracks_test USES tarvel_split)
tarvel_script_test(split/program_test)
