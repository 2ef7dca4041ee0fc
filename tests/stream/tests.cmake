# Streaming: buffers, data streams, acquisition and the data stream exports.
list(APPEND LMMOCKTL_UNIT_TESTS
  "${CMAKE_CURRENT_LIST_DIR}/BufferTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/DataStreamTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/ImageTransferTest.cpp")
list(APPEND LMMOCKTL_BLACKBOX_TESTS
  "${CMAKE_CURRENT_LIST_DIR}/AcquisitionTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/GenDCStreamingTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/InjectedFaultsTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/SoftwareTriggerTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/StreamConcurrencyTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/StreamFileReplayTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/StreamExportChecksTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/StreamInfoTest.cpp")
