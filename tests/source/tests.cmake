list(APPEND LMMOCKTL_UNIT_TESTS
  "${CMAKE_CURRENT_LIST_DIR}/ContainerReaderTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/GeneratedSourceTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/LmRApiTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/LmRReaderTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/StreamFileWriterTest.cpp")
