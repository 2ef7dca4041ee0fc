list(APPEND LMMOCKTL_UNIT_TESTS
  "${CMAKE_CURRENT_LIST_DIR}/DescriptionTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/PortTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/RegisterMapTest.cpp")
