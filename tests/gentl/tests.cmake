list(APPEND LMMOCKTL_UNIT_TESTS
  "${CMAKE_CURRENT_LIST_DIR}/CallGateTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/ErrorFrameTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/ExportsEventTest.cpp"
  # The event export bodies, called directly against test modules.
  "${PROJECT_SOURCE_DIR}/gentl/ExportsEvent.cpp")
list(APPEND LMMOCKTL_BLACKBOX_TESTS
  "${CMAKE_CURRENT_LIST_DIR}/LibraryLifecycleTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/ExportChecksTest.cpp")
