# The shared vocabulary: the GenTL types, the error type, the handle registry and the info answers.
lmmocktl_add_layer(base
  SOURCES
    "${CMAKE_CURRENT_LIST_DIR}/GenericException.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/HandleRegistry.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/Info.cpp"
  USES platform)
# Everything built from the producer's sources is the producer: the exports are marked for export.
target_compile_definitions(lmmocktl_base PUBLIC LMMOCKTL_BUILDING_PRODUCER)
