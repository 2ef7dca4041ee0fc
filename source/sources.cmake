# The recorded stream files, reading and writing, apart from the rest of the sources: the writer's
# users (lmmocktl record, the tests and fuzz seeds that make recordings) link this alone.
lmmocktl_add_layer(streamfile
  FOLDER source
  SOURCES
    "${CMAKE_CURRENT_LIST_DIR}/LmRFlowSetView.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/LmRInfoFile.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/StreamFileWriter.cpp"
  USES base)

# The image decoders: one Debian library per format, and stb_image's BMP loader compiled into
# BmpDecoder.cpp alone (its header only, never the prebuilt libstb with every format).
find_package(PkgConfig REQUIRED)
pkg_check_modules(LMMOCKTL_IMAGE_LIBRARIES REQUIRED IMPORTED_TARGET GLOBAL libpng16 libjpeg libtiff-4 libopenjp2)
find_path(LMMOCKTL_STB_INCLUDE_DIR stb_image.h PATH_SUFFIXES stb REQUIRED)
set_property(SOURCE "${CMAKE_CURRENT_LIST_DIR}/BmpDecoder.cpp" APPEND PROPERTY INCLUDE_DIRECTORIES
  "${LMMOCKTL_STB_INCLUDE_DIR}")

lmmocktl_add_layer(source
  SOURCES
    "${CMAKE_CURRENT_LIST_DIR}/BmpDecoder.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/ContainerReader.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/GeneratedImage.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/GeneratedSource.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/ImageDecoder.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/ImageFileLoader.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/ImageFileSource.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/Jpeg2000Decoder.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/JpegDecoder.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/LmRApi.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/LmRHandleTable.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/LmRLastError.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/LmRReader.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/MemoryImage.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/PixelFormatLayout.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/PngDecoder.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/TiffDecoder.cpp"
  USES streamfile
  LIBRARIES PkgConfig::LMMOCKTL_IMAGE_LIBRARIES)
