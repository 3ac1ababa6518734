# Runs in cpack, between installing the components and making packages of them: brings each tree into the form that
# Debian asks for. Documents go to the folder of their package, with licence and changelogs; man pages and changelogs
# are compressed without a date.
set(packaging ${CMAKE_CURRENT_LIST_DIR}/../packaging)

# compress(<file>...): in place, as file.gz.
function(compress)
  execute_process(COMMAND gzip --best --no-name --force ${ARGV} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} key)
  set(name ${CPACK_DEBIAN_${key}_PACKAGE_NAME})
  set(tree ${CPACK_TEMPORARY_DIRECTORY}/${component}${CPACK_PACKAGING_INSTALL_PREFIX})
  set(docs ${tree}/share/doc/${name})
  if(EXISTS ${tree}/share/doc/talvex AND NOT name STREQUAL talvex)
    file(RENAME ${tree}/share/doc/talvex ${docs})
  endif()
  file(REMOVE ${docs}/LICENSE ${docs}/CHANGELOG.md)  # both are there under Debian's names
  set(overrides ${tree}/share/lintian/overrides/${name})
  configure_file(${packaging}/debian/lintian-overrides ${overrides} COPYONLY)
  if(EXISTS ${packaging}/debian/lintian-overrides.${component})
    file(READ ${packaging}/debian/lintian-overrides.${component} more)
    file(APPEND ${overrides} "${more}")
  endif()
  configure_file(${packaging}/debian/copyright ${docs}/copyright COPYONLY)
  configure_file(${packaging}/debian/changelog ${docs}/changelog.Debian COPYONLY)
  configure_file(${packaging}/../CHANGELOG.md ${docs}/changelog COPYONLY)
  file(GLOB pages ${tree}/share/man/man1/*.1)
  compress(${docs}/changelog.Debian ${docs}/changelog ${pages})
endforeach()
