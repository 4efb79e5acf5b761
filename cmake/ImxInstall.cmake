# What `cmake --install` puts where, in one component per package.

set(IMX_VENDOR_DOC ${CMAKE_INSTALL_DATADIR}/doc)
file(GLOB IMX_DOCUMENTS ${PROJECT_SOURCE_DIR}/*.md)
list(APPEND IMX_DOCUMENTS ${PROJECT_SOURCE_DIR}/LICENSE)

# imx_install_documents(FOLDER): they lie to each other as in the sources, so that their links hold.
function(imx_install_documents folder)
  install(FILES ${IMX_DOCUMENTS} DESTINATION ${folder} COMPONENT imx)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION ${folder} COMPONENT imx
    FILES_MATCHING PATTERN *.md PATTERN *.png)
endfunction()

if(WIN32)
  # One folder, as the programs look for their plug-ins beside them.
  install(TARGETS imx imxview setup KZLDJPEG KZSVJPEG KZldTIFF
    RUNTIME DESTINATION . LIBRARY DESTINATION . COMPONENT imx)
  imx_install_documents(documents)
  return()
endif()

set(IMX_PLUGINS ${CMAKE_INSTALL_LIBDIR}/${IMX_PLUGIN_FOLDER})
install(TARGETS imx RUNTIME COMPONENT imx)
install(TARGETS KZLDJPEG KZSVJPEG KZldTIFF LIBRARY DESTINATION ${IMX_PLUGINS} COMPONENT libimx1)
install(CODE "file(CREATE_LINK KZldTIFF.so \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${IMX_PLUGINS}/KZLDTIFF.so\" SYMBOLIC)"
  COMPONENT libimx1)

install(FILES ${IMX_DOCUMENTS_FOLDER}/imx.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT imx)
set(completions "bash:bash-completion/completions/imx" "zsh:zsh/vendor-completions/_imx"
  "fish:fish/vendor_completions.d/imx.fish")
foreach(completion IN LISTS completions)
  string(REGEX MATCH "^([a-z]+):(.*)/([^/]*)$" _ ${completion})
  install(FILES ${IMX_DOCUMENTS_FOLDER}/imx.${CMAKE_MATCH_1} RENAME ${CMAKE_MATCH_3}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/${CMAKE_MATCH_2} COMPONENT imx)
endforeach()
imx_install_documents(${IMX_VENDOR_DOC}/imx)

if(NOT TARGET imx_shared)
  return()
endif()

# The libraries, and what their users' builds ask for.
foreach(kind IN ITEMS shared static)
  target_include_directories(imx_${kind} INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
endforeach()
set_target_properties(imx_shared PROPERTIES EXPORT_NAME imx)
install(TARGETS imx_shared EXPORT imx-shared
  LIBRARY COMPONENT libimx1 NAMELINK_COMPONENT libimx-dev)
install(TARGETS imx_static EXPORT imx-static ARCHIVE COMPONENT libimx-dev)
install(FILES ${PROJECT_SOURCE_DIR}/include/imx/imx.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/imx COMPONENT libimx-dev)

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/imx)
foreach(kind IN ITEMS shared static)
  install(EXPORT imx-${kind} NAMESPACE imx:: DESTINATION ${package} COMPONENT libimx-dev)
endforeach()
include(CMakePackageConfigHelpers)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/imxConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_SOURCE_DIR}/cmake/imxConfig.cmake
  ${PROJECT_BINARY_DIR}/imxConfigVersion.cmake DESTINATION ${package} COMPONENT libimx-dev)
# Found from where it lies, as the CMake package is.
file(RELATIVE_PATH IMX_UP /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" IMX_UP "${IMX_UP}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/imx.pc.in ${PROJECT_BINARY_DIR}/imx.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/imx.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT libimx-dev)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples/library
  DESTINATION ${IMX_VENDOR_DOC}/libimx-dev/examples COMPONENT libimx-dev)
