tarvel_test(verdict/check_report_test USES tarvel_verdict)
tarvel_test(verdict/reason_text_test USES tarvel_verdict)
