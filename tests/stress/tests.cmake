# Stress and fault injection: many consumer threads, teardown while grabbing and open/close
# cycles, through the built LmMockTL.cti. Built as their own program with the label "stress".
list(APPEND LMMOCKTL_STRESS_TESTS
  "${CMAKE_CURRENT_LIST_DIR}/DeliveryAccountingTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/OpenCloseCyclesTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/RemovalDuringGrabTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/StreamHammerTest.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/TeardownWhileGrabbingTest.cpp")
