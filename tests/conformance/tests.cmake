# Aravis' GenApi engine over every module's port of the built LmMockTL.cti, in several
# configurations. One process runs every case, so that the figures it prints at the end cover them
# all.
add_executable(lmmocktl_conformance_tests
  "${CMAKE_CURRENT_LIST_DIR}/NodeMapConformanceTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/../source/ImageFiles.cpp")
target_link_libraries(lmmocktl_conformance_tests PRIVATE lmmocktl_consumer lmmocktl_warnings GTest::gtest_main
                                                         PkgConfig::LMMOCKTL_IMAGE_LIBRARIES)
target_include_directories(lmmocktl_conformance_tests PRIVATE "${PROJECT_SOURCE_DIR}" "${CMAKE_CURRENT_SOURCE_DIR}")
target_compile_definitions(lmmocktl_conformance_tests PRIVATE LMMOCKTL_CTI_PATH="$<TARGET_FILE:LmMockTL>")
add_dependencies(lmmocktl_conformance_tests LmMockTL)
add_test(NAME genapi_conformance COMMAND lmmocktl_conformance_tests)
# GLib's type system and Aravis keep their start-up allocations for the life of the process.
set_tests_properties(genapi_conformance PROPERTIES LABELS conformance
  ENVIRONMENT "LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/tools/lsan.supp")
