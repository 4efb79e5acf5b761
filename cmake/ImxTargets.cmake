# What every target of the tree shares: language level, warnings, sanitizers, floating-point rules.

# Interface target carrying the flags; every target links it, libraries publicly.
add_library(imx_flags INTERFACE)
target_compile_features(imx_flags INTERFACE cxx_std_20)
target_include_directories(imx_flags INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_definitions(imx_flags INTERFACE _FILE_OFFSET_BITS=64)
target_compile_options(imx_flags INTERFACE
  -Wall -Wextra -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast -Wnon-virtual-dtor
  -Wnull-dereference -Wdouble-promotion -Wformat=2
  # Every float step is rounded on its own, the same on both targets.
  -ffp-contract=off)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # GCC 12 sees overlaps in std::string's operator+ that are not there.
  target_compile_options(imx_flags INTERFACE -Wno-restrict)
endif()
if(IMX_WERROR)
  target_compile_options(imx_flags INTERFACE -Werror)
endif()
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  target_compile_options(imx_flags INTERFACE -msse2 -mfpmath=sse -mstackrealign)
endif()
if(IMX_SANITIZE)
  target_compile_options(imx_flags INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(imx_flags INTERFACE -fsanitize=address,undefined)
endif()
if(IMX_FUZZ)
  target_compile_options(imx_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(NOT IMX_SANITIZE AND NOT IMX_FUZZ)
  # What makes a fault harder to exploit; tools/check-hardening shows it. The sanitizers bring checks
  # of their own.
  target_compile_options(imx_flags INTERFACE
    -fstack-protector-strong
    $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE>
    $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
  if(WIN32)
    target_link_options(imx_flags INTERFACE -fstack-protector-strong
      -Wl,--dynamicbase -Wl,--nxcompat -Wl,--large-address-aware)
  else()
    set(is_part $<STREQUAL:$<TARGET_PROPERTY:TYPE>,STATIC_LIBRARY>)
    set(is_program $<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>)
    # The parts also make the shared library, which exports nothing but its interface.
    target_compile_options(imx_flags INTERFACE
      $<${is_program}:-fPIE> $<${is_part}:-fPIC> $<${is_part}:-fvisibility=hidden>)
    target_link_options(imx_flags INTERFACE $<${is_program}:-pie> -Wl,-z,relro,-z,now)
  endif()
endif()
if(WIN32)
  # Without the time of linking, and an address made from the output's path, the same sources give the
  # same bytes.
  target_link_options(imx_flags INTERFACE -static -Wl,--no-insert-timestamp
    $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,MODULE_LIBRARY>:-Wl,--disable-auto-image-base>)
  target_compile_definitions(imx_flags INTERFACE
    NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0501 __USE_MINGW_ANSI_STDIO=1)
endif()

# imx_library(NAME SOURCES... [LINKS ...]): a static library. LINKS are the libraries it may call; they
# are public because its headers use theirs.
function(imx_library name)
  cmake_parse_arguments(LIBRARY "" "" "SOURCES;LINKS" ${ARGN})
  add_library(${name} STATIC ${LIBRARY_SOURCES})
  target_link_libraries(${name} PUBLIC imx_flags ${LIBRARY_LINKS})
endfunction()

# imx_use_headers(TARGET HEADER): lets the target's sources include HEADER (FOLDER/NAME), of a library
# that has no other part, from the system that builds. A folder with nothing else lets the cross
# compiler have it without the native system's other headers.
function(imx_use_headers target header)
  cmake_path(GET header PARENT_PATH folder)
  find_path(IMX_${folder}_INCLUDE ${header} NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  set(headers ${CMAKE_CURRENT_BINARY_DIR}/headers)
  file(MAKE_DIRECTORY ${headers})
  file(CREATE_LINK ${IMX_${folder}_INCLUDE}/${folder} ${headers}/${folder} SYMBOLIC)
  target_include_directories(${target} SYSTEM PRIVATE ${headers})
endfunction()
