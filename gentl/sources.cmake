# The C boundary: the error frame, the last-error store and the call gate, which the exports run
# every call through, beside the exports themselves (built into the .cti alone).
lmmocktl_add_layer(gentl
  SOURCES
    "${CMAKE_CURRENT_LIST_DIR}/CallGate.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/ErrorFrame.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/LastErrorStore.cpp"
  USES tree)
set(LMMOCKTL_EXPORT_SOURCES
  "${CMAKE_CURRENT_LIST_DIR}/ExportsDevice.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/ExportsEvent.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/ExportsInterface.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/ExportsLibrary.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/ExportsPort.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/ExportsStream.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/ExportsSystem.cpp")
