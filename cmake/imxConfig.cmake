# imx::imx is the shared library; with COMPONENTS static also imx::imx_static.
include(${CMAKE_CURRENT_LIST_DIR}/imx-shared.cmake)
if("static" IN_LIST imx_FIND_COMPONENTS)
  include(CMakeFindDependencyMacro)
  find_dependency(PNG)
  find_dependency(ZLIB)
  find_dependency(Threads)
  include(${CMAKE_CURRENT_LIST_DIR}/imx-static.cmake)
endif()
