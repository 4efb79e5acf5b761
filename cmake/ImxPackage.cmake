# What CPack makes of an installation: Debian packages, one for each component, or a Windows archive.
set(CPACK_PACKAGE_NAME imx)
set(CPACK_PACKAGE_VENDOR Quillmark)
set(CPACK_PACKAGE_CONTACT "Quillmark <imx@quillmark.example>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/ImxPackageDates.cmake)
  set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/ImxSortArchive.cmake)
  set(CPACK_PACKAGE_FILE_NAME imx-${PROJECT_VERSION}-win32)
  include(CPack)
  return()
endif()

# imx_debian_package(NAME SECTION SUMMARY TEXT): the package of the component NAME.
function(imx_debian_package name section summary text)
  string(TOUPPER ${name} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${text}" PARENT_SCOPE)
endfunction()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL imx libimx1 libimx-dev python3-imx imx-desktop)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/ImxDebianFiles.cmake
  ${PROJECT_SOURCE_DIR}/cmake/ImxPackageDates.cmake)

set(about "IMX loads and saves some twenty raster formats of workstations,
desktop computers and the web, among them Targa, ILBM, SGI, Softimage,
Wavefront RLA, Alias PIX, PCX, GIF, PNG and TRIM.
.
This package has")
imx_debian_package(imx graphics "load, show and convert raster images"
  "${about} the command line program.")
imx_debian_package(libimx1 libs "image load and save library"
  "${about} the shared library and its plug-ins. TIFF and AVI
need the libraries that it recommends.")
imx_debian_package(libimx-dev libdevel "image load and save library - development files"
  "${about} the C header, the static library and examples.")
imx_debian_package(python3-imx python "image load and save library - Python module"
  "${about} the Python module imx, whose pixels are numpy arrays,
and a plug-in for Pillow.")
imx_debian_package(imx-desktop graphics "IMX's picture formats in file managers and GTK programs"
  "${about} a loader for gdk-pixbuf, the MIME types of the
formats and a thumbnailer.")

# ./package tells what the files are linked with and what they open.
set(CPACK_DEBIAN_IMX_PACKAGE_DEPENDS "libimx1 (= ${PROJECT_VERSION}), ${IMX_PROGRAM_PACKAGES}")
set(CPACK_DEBIAN_LIBIMX1_PACKAGE_DEPENDS "${IMX_LIBRARY_PACKAGES}")
set(CPACK_DEBIAN_LIBIMX1_PACKAGE_RECOMMENDS "${IMX_OPENED_PACKAGES}")
set(CPACK_DEBIAN_LIBIMX-DEV_PACKAGE_DEPENDS
  "libimx1 (= ${PROJECT_VERSION}), libpng-dev, zlib1g-dev")
set(CPACK_DEBIAN_PYTHON3-IMX_PACKAGE_DEPENDS
  "libimx1 (= ${PROJECT_VERSION}), python3-numpy, ${IMX_PYTHON_PACKAGES_LINKED}")
set(CPACK_DEBIAN_PYTHON3-IMX_PACKAGE_SUGGESTS python3-pil)
set(CPACK_DEBIAN_IMX-DESKTOP_PACKAGE_DEPENDS
  "libimx1 (= ${PROJECT_VERSION}), libgdk-pixbuf2.0-bin, shared-mime-info, ${IMX_DESKTOP_PACKAGES}")

# What the package tools run: the linker's cache for the library, Python's compiler for the module.
set(control ${PROJECT_BINARY_DIR}/debian)
file(WRITE ${control}/triggers "activate-noawait ldconfig\n")
file(WRITE ${control}/shlibs
  "libimx ${PROJECT_VERSION_MAJOR} libimx1 (>= ${PROJECT_VERSION})\n")
file(WRITE ${control}/postinst "#!/bin/sh\nset -e\n"
  "if [ \"$1\" = configure ]; then py3compile -p python3-imx; fi\n")
file(WRITE ${control}/prerm "#!/bin/sh\nset -e\npy3clean -p python3-imx\n")
set(CPACK_DEBIAN_LIBIMX1_PACKAGE_CONTROL_EXTRA "${control}/triggers;${control}/shlibs")
set(CPACK_DEBIAN_PYTHON3-IMX_PACKAGE_CONTROL_EXTRA "${control}/postinst;${control}/prerm")
include(CPack)
