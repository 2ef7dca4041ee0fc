list(APPEND LMMOCKTL_UNIT_TESTS
  "${CMAKE_CURRENT_LIST_DIR}/GeneratedSourceTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/ImageDecodersTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/ImageFileSourceTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/ImageFiles.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/LmRApiTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/LmRReaderTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/StreamFileWriterTest.cpp")
list(APPEND LMMOCKTL_BLACKBOX_TESTS
  "${CMAKE_CURRENT_LIST_DIR}/ImageFileStreamTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/ImageFiles.cpp")
