# Run by cpack when the files of the packages stand in place: what only a Debian package
# has. All of it is the same whenever and wherever the packages are made.
set(debian "${CPACK_VESK_SOURCE_DIR}/packaging/debian")
set(version "${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")
# Of SOURCE_DATE_EPOCH, if that is set.
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)

function(compress)
  execute_process(COMMAND gzip -9nf ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

foreach(package IN LISTS CPACK_COMPONENTS_ALL)
  set(usr "${CPACK_TEMPORARY_DIRECTORY}/${package}/usr")
  set(doc "${usr}/share/doc/${package}")
  file(COPY "${debian}/copyright" DESTINATION "${doc}" FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
  configure_file("${CPACK_VESK_SOURCE_DIR}/CHANGELOG.md" "${doc}/changelog" COPYONLY)
  configure_file("${debian}/changelog.in" "${doc}/changelog.Debian" @ONLY)
  file(CHMOD "${doc}/changelog" "${doc}/changelog.Debian"
       PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
  file(GLOB pages "${usr}/share/man/man*/*.[1-9]")
  compress("${doc}/changelog" "${doc}/changelog.Debian" ${pages})
  file(READ "${debian}/lintian-overrides" overrides)
  if(EXISTS "${debian}/${package}/lintian-overrides")
    file(READ "${debian}/${package}/lintian-overrides" own)
    string(APPEND overrides "${own}")
  endif()
  file(WRITE "${usr}/share/lintian/overrides/${package}" "${overrides}")
endforeach()
