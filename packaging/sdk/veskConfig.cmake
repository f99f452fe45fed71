# find_package(vesk): the target vesk::vesk, which brings the headers, the library and
# -funsigned-char.
include(${CMAKE_CURRENT_LIST_DIR}/veskTargets.cmake)
