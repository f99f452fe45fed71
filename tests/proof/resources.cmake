# A living veskd without what it needs. Not where it would run in an emulator: a scenario
# takes away what the kernel gives, and the emulator takes of that as well; what the host
# makes of it is the same code on either machine.
if(CMAKE_CROSSCOMPILING)
  return()
endif()

add_library(proof_flood MODULE ${CMAKE_CURRENT_LIST_DIR}/FloodClient.cpp)
target_link_libraries(proof_flood PRIVATE vesk Threads::Threads)

set(resources descriptors memory processes full_disk state_folder proc reader_gone reader_stuck
              reader_stuck_user terminal_held event_flood client_flood)
if(VESK_SANITIZE)
  # A sanitizer has reserved more address space than any limit that would be felt.
  list(REMOVE_ITEM resources memory)
endif()
foreach(scenario ${resources})
  add_test(NAME proof.resources.${scenario}
    COMMAND ${CMAKE_CURRENT_LIST_DIR}/resources.sh ${CMAKE_BINARY_DIR} ${scenario})
  set_tests_properties(proof.resources.${scenario} PROPERTIES
    LABELS proof SKIP_RETURN_CODE 77 TIMEOUT 120)
endforeach()
