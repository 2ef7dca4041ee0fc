lmmocktl_add_layer(event
  SOURCES
    "${CMAKE_CURRENT_LIST_DIR}/ErrorEvent.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/Event.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/EventSource.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/NewBufferEvent.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/RemoveDeviceEvent.cpp"
  USES base)
