tarvel_test(loader/track_loader_test USES tarvel_loader)
