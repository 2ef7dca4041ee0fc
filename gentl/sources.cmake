list(APPEND LMMOCKTL_CORE_SOURCES
  "${CMAKE_CURRENT_LIST_DIR}/CallGate.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/ErrorFrame.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/GenericException.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/HandleRegistry.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/LastErrorStore.cpp")
list(APPEND LMMOCKTL_EXPORT_SOURCES
  "${CMAKE_CURRENT_LIST_DIR}/ExportsDevice.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/ExportsEvent.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/ExportsInterface.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/ExportsLibrary.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/ExportsPort.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/ExportsStream.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/ExportsSystem.cpp")
