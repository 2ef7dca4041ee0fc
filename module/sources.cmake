lmmocktl_add_layer(module
  SOURCES
    "${PROJECT_BINARY_DIR}/generated/DescriptionData.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/Module.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/Port.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/ProducerIdentity.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/RegisterMap.cpp"
  USES event base)
