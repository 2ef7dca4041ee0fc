lmmocktl_add_layer(platform
  SOURCES "${CMAKE_CURRENT_LIST_DIR}/PlatformPosix.cpp"
  LIBRARIES ${CMAKE_DL_LIBS})
