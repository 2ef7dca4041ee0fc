list(APPEND LMMOCKTL_UNIT_TESTS
  "${CMAKE_CURRENT_LIST_DIR}/ContainerLayoutTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/ContainerTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/DescriptorReaderTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/HeaderBaseTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/HeaderKindsTest.cpp")
