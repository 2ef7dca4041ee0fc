list(APPEND LMMOCKTL_UNIT_TESTS
  "${CMAKE_CURRENT_LIST_DIR}/EventDataTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/EventQueueTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/EventSourceTest.cpp")
