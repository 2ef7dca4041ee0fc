lmmocktl_add_layer(stream
  SOURCES
    "${CMAKE_CURRENT_LIST_DIR}/AcquisitionControl.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/AcquisitionThread.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/Buffer.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/BufferBase.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/CameraLink.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/BufferQueues.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/DataStream.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/FrameComposer.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/ImageTransfer.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/Recording.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/Resource.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/SegmentedBuffer.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/StreamFormat.cpp"
  USES module source gendc)
