lmmocktl_add_layer(stream
  SOURCES
    "${CMAKE_CURRENT_LIST_DIR}/AcquisitionThread.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/Buffer.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/BufferBase.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/CameraLink.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/DataStream.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/ImageTransfer.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/Resource.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/SegmentedBuffer.cpp"
  USES module source gendc)
