lmmocktl_add_layer(gendc
  SOURCES
    "${CMAKE_CURRENT_LIST_DIR}/ComponentHeader.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/Container.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/ContainerData.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/ContainerDescriptor.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/ContainerHeader.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/ContainerLayout.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/DescriptorReader.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/FieldTable.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/FlowMappingTable.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/HeaderBase.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/PartHeader.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/StreamSettings.cpp"
  USES base)
