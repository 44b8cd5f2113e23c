# What every target of the project is built with. Link these privately.

add_library(qiv_warnings INTERFACE)
target_compile_options(
  qiv_warnings
  INTERFACE -Wall
            -Wextra
            -Wpedantic
            -Wshadow
            -Wconversion
            -Wsign-conversion
            -Wnon-virtual-dtor
            # g++ 12 sees overlapping copies in sums of strings where there are none.
            $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
            $<$<BOOL:${QIV_WARNINGS_AS_ERRORS}>:-Werror>)

add_library(qiv_sanitizers INTERFACE)
if(QIV_SANITIZE)
  target_compile_options(qiv_sanitizers INTERFACE -fsanitize=${QIV_SANITIZE}
                                                  -fno-omit-frame-pointer
                                                  -fno-sanitize-recover=all)
  if(QIV_SANITIZE MATCHES "undefined")
    target_compile_options(qiv_sanitizers INTERFACE -fsanitize=float-cast-overflow)
  endif()
  target_link_options(qiv_sanitizers INTERFACE -fsanitize=${QIV_SANITIZE})
endif()
if(QIV_COVERAGE)
  target_compile_options(qiv_sanitizers INTERFACE --coverage -fprofile-update=atomic)
  target_link_options(qiv_sanitizers INTERFACE --coverage)
endif()

# qiv_contract_library(<target> EXPORTS <map> SOURCES <files> HEADERS <files> INCLUDE_DIR <dir>)
#
# A shared library with a fixed public contract, lib<target>: only what the linker map names is
# exported, the language is C++14 (the exception specifications of the contract are checked by the
# language itself then), and every header of INCLUDE_DIR is installed under include/qiv.
function(qiv_contract_library target)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "EXPORTS;INCLUDE_DIR" "SOURCES;HEADERS")
  add_library(${target} SHARED ${ARG_SOURCES})
  target_include_directories(
    ${target} PUBLIC $<BUILD_INTERFACE:${ARG_INCLUDE_DIR}>
                     $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/qiv>)
  target_compile_features(${target} PUBLIC cxx_std_11)
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:qiv_warnings>
                                          $<BUILD_INTERFACE:qiv_sanitizers>)
  target_link_options(${target} PRIVATE LINKER:--version-script=${ARG_EXPORTS})
  if(NOT QIV_SANITIZE)
    target_link_options(${target} PRIVATE LINKER:--no-undefined)
  endif()
  set_target_properties(
    ${target}
    PROPERTIES CXX_STANDARD 14
               CXX_STANDARD_REQUIRED ON
               CXX_EXTENSIONS OFF
               CXX_VISIBILITY_PRESET hidden
               VISIBILITY_INLINES_HIDDEN ON
               VERSION ${PROJECT_VERSION}
               SOVERSION ${PROJECT_VERSION_MAJOR}
               LINK_DEPENDS ${ARG_EXPORTS})
  set_property(GLOBAL APPEND PROPERTY QIV_PUBLIC_HEADERS ${ARG_HEADERS})
endfunction()
