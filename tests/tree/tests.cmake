list(APPEND LMMOCKTL_UNIT_TESTS
  "${CMAKE_CURRENT_LIST_DIR}/ConfigurationLoaderTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/ConfigurationSchemaTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/DeclaredRegistersTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/TreeRegistersTest.cpp")
list(APPEND LMMOCKTL_BLACKBOX_TESTS
  "${CMAKE_CURRENT_LIST_DIR}/HostProcessTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/ModuleTreeTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/ExportChecksTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/RemoteDeviceTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/RemovalEventTest.cpp")

# A host program that exports the configuration hooks; the host-process tests run it once per
# scenario, each in a fresh process, because the producer keeps its unique id for a process's life.
add_executable(lmmocktl_host_probe "${CMAKE_CURRENT_LIST_DIR}/HostProbe.cpp")
set_target_properties(lmmocktl_host_probe PROPERTIES ENABLE_EXPORTS ON)
target_include_directories(lmmocktl_host_probe PRIVATE "${PROJECT_SOURCE_DIR}")
target_link_libraries(lmmocktl_host_probe PRIVATE lmmocktl_warnings ${CMAKE_DL_LIBS})
set_property(SOURCE "${CMAKE_CURRENT_LIST_DIR}/HostProcessTest.cpp" APPEND PROPERTY COMPILE_DEFINITIONS
  "LMMOCKTL_HOST_PROBE_PATH=\"$<TARGET_FILE:lmmocktl_host_probe>\"")
# The configuration schema shipped with the Python package, held against the loader.
set_property(SOURCE "${CMAKE_CURRENT_LIST_DIR}/ConfigurationSchemaTest.cpp" APPEND PROPERTY COMPILE_DEFINITIONS
  "LMMOCKTL_CONFIG_SCHEMA=\"${PROJECT_SOURCE_DIR}/python/lmmocktl/config.schema.json\"")
