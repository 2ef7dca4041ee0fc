list(APPEND LMMOCKTL_CORE_SOURCES
  "${CMAKE_CURRENT_LIST_DIR}/ContainerReader.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/GeneratedImage.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/GeneratedSource.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/LmRApi.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/LmRFlowSetView.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/LmRHandleTable.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/LmRInfoFile.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/LmRLastError.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/LmRReader.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/MemoryImage.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/PixelFormatLayout.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/StreamFileWriter.cpp")
