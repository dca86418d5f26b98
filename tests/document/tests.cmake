tarvel_test(document/clock_time_test USES tarvel_document)
tarvel_test(document/document_text_test USES tarvel_document HEADERS <gtest/gtest.h> <nlohmann/json.hpp>)
tarvel_test(document/track_json_test USES tarvel_document HEADERS_OF document_text_test)
tarvel_test(document/run_document_test USES tarvel_document HEADERS_OF document_text_test)
