# Image transfer into buffers.
list(APPEND LMMOCKTL_UNIT_TESTS
  "${CMAKE_CURRENT_LIST_DIR}/ImageTransferTest.cpp")
