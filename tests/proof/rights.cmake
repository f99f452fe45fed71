# Attacks on the files of a host that runs as root. Not for the target: under emulation the
# attacker and all tools would be this machine's, and its kernel is what is asked. Not with
# sanitizers: what is looked at is what the kernel was told, and the host is started often.
if(NOT CMAKE_CROSSCOMPILING AND NOT VESK_SANITIZE)
  foreach(scenario configuration reload plugins executables outputs sockets race modes ordinary)
    add_test(NAME proof.rights.${scenario}
      COMMAND ${CMAKE_CURRENT_LIST_DIR}/rights.sh ${CMAKE_BINARY_DIR} ${scenario})
    set_tests_properties(proof.rights.${scenario} PROPERTIES
      LABELS proof TIMEOUT 150 SKIP_RETURN_CODE 77)
  endforeach()
endif()
