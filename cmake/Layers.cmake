# The producer is built floor by floor: every folder is one static library that sees its own
# headers and those of the folders it stands on, and nothing else. Each library compiles against a
# view of the source tree (a folder of links under the build tree) that holds exactly those
# folders, so an include of a folder above fails to compile instead of quietly tying the floors
# into a loop.
#
#   lmmocktl_add_layer(NAME SOURCES file... [FOLDER folder] [USES layer...] [LIBRARIES target...])
#
# FOLDER is the folder the library is made of (NAME unless given: a folder may be cut into more
# than one library); USES names the floors below (what they see, this one sees too); LIBRARIES are
# outside libraries.
function(lmmocktl_add_layer name)
  cmake_parse_arguments(PARSE_ARGV 1 layer "" "FOLDER" "SOURCES;USES;LIBRARIES")
  if(NOT layer_FOLDER)
    set(layer_FOLDER ${name})
  endif()
  set(target lmmocktl_${name})
  add_library(${target} STATIC ${layer_SOURCES})
  add_library(LmMockTL::${name} ALIAS ${target})

  set(visible ${layer_FOLDER})
  set(below "")
  foreach(use IN LISTS layer_USES)
    get_target_property(seen lmmocktl_${use} LMMOCKTL_VISIBLE_FOLDERS)
    list(APPEND visible ${seen})
    list(APPEND below lmmocktl_${use})
  endforeach()
  list(REMOVE_DUPLICATES visible)
  set_target_properties(${target} PROPERTIES LMMOCKTL_VISIBLE_FOLDERS "${visible}")

  set(view "${PROJECT_BINARY_DIR}/layers/${name}")
  file(REMOVE_RECURSE "${view}")
  file(MAKE_DIRECTORY "${view}")
  foreach(folder IN LISTS visible)
    file(CREATE_LINK "${PROJECT_SOURCE_DIR}/${folder}" "${view}/${folder}" SYMBOLIC)
  endforeach()
  target_include_directories(${target} PRIVATE "${view}")
  target_link_libraries(${target} PRIVATE lmmocktl_warnings PUBLIC ${below} ${layer_LIBRARIES})
  set_property(GLOBAL APPEND PROPERTY LMMOCKTL_LAYERS ${target})
endfunction()

# The include view of one layer, for a target that compiles against it without being part of it.
function(lmmocktl_layer_view target layer)
  target_include_directories(${target} PRIVATE "${PROJECT_BINARY_DIR}/layers/${layer}")
endfunction()
