# Read behind project() in a copy of the tree whose sources hold the places of faults: what those refer to
# is linked to every program.
if(NOT KORV_BOARD_ONLY)
  add_library(korv_faults STATIC ${CMAKE_CURRENT_LIST_DIR}/fault.cpp)
  target_compile_options(korv_faults PRIVATE -m32 -O1 -fno-pie)
  string(APPEND CMAKE_CXX_STANDARD_LIBRARIES " ${CMAKE_BINARY_DIR}/libkorv_faults.a")
endif()
