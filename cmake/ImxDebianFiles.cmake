# What each Debian package holds beside its component: who may do what with it, what has changed, and
# manual pages in the form that Debian wants. CPack runs it before it packs.
set(source ${CMAKE_CURRENT_LIST_DIR}/..)
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
foreach(package IN LISTS CPACK_COMPONENTS_ALL)
  set(root ${CPACK_TEMPORARY_DIRECTORY}/${package}/usr)
  set(documents ${root}/share/doc/${package})
  file(MAKE_DIRECTORY ${documents})
  configure_file(${source}/cmake/copyright ${documents}/copyright COPYONLY)
  file(REMOVE ${documents}/LICENSE)
  file(WRITE ${documents}/changelog "imx (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium\n\n"
    "  * As CHANGELOG.md of the sources tells.\n\n -- ${CPACK_PACKAGE_CONTACT}  ${date}\n")
  file(GLOB compressed ${documents}/changelog ${root}/share/man/man*/*.[1-9])
  execute_process(COMMAND gzip -9nf ${compressed} COMMAND_ERROR_IS_FATAL ANY)
  file(GLOB_RECURSE archives ${root}/*.a)
  if(archives)
    execute_process(COMMAND strip --strip-debug --enable-deterministic-archives ${archives}
      COMMAND_ERROR_IS_FATAL ANY)
  endif()
endforeach()
