list(APPEND LMMOCKTL_CORE_SOURCES
  "${CMAKE_CURRENT_LIST_DIR}/GeneratedImage.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/GeneratedSource.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/MemoryImage.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/PixelFormatLayout.cpp")
