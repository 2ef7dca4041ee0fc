# lmmocktl run as a user runs it, against the built LmMockTL.cti, with its output files checked.
add_executable(lmmocktl_cli_tests
  "${CMAKE_CURRENT_LIST_DIR}/GenDcContainerViewTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/GenTLArvDeviceTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/LmMockTLCommandTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/UnpackedImageTest.cpp")
target_link_libraries(lmmocktl_cli_tests PRIVATE lmmocktl_consumer lmmocktl_warnings GTest::gtest_main)
target_include_directories(lmmocktl_cli_tests PRIVATE "${PROJECT_SOURCE_DIR}" "${CMAKE_CURRENT_SOURCE_DIR}")
target_compile_definitions(lmmocktl_cli_tests PRIVATE
  LMMOCKTL_CLI_PATH="$<TARGET_FILE:lmmocktl>"
  LMMOCKTL_CTI_PATH="$<TARGET_FILE:LmMockTL>")
add_dependencies(lmmocktl_cli_tests lmmocktl LmMockTL)
# GLib's type system and Aravis keep their start-up allocations for the life of the process.
gtest_discover_tests(lmmocktl_cli_tests PROPERTIES LABELS cli
  ENVIRONMENT "LSAN_OPTIONS=suppressions=${CMAKE_CURRENT_LIST_DIR}/lsan.supp")
