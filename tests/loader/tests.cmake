tarvel_test(loader/track_loader_test USES tarvel_loader)
tarvel_test(loader/track_rows_test USES tarvel_loader)
