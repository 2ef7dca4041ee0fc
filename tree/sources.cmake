lmmocktl_add_layer(tree
  SOURCES
    "${CMAKE_CURRENT_LIST_DIR}/ConfigurationLoader.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/Device.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/FileAccess.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/Interface.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/RemoteDevice.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/TransportLayer.cpp"
  USES stream)
