# Image transfer into buffers.
list(APPEND LMMOCKTL_CORE_SOURCES
  "${CMAKE_CURRENT_LIST_DIR}/ImageTransfer.cpp")
