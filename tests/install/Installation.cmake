# What the tests of installations share. SOURCE_DIR is the project's, WORK_DIR the test's own
# folder, CXX the compiler, VERSION the project's.

cmake_minimum_required(VERSION 3.22)

set(consumer_dir ${SOURCE_DIR}/tests/install/consumer)
set(consumers host algo_only g11n_only)

# run(<command>...) ends the test when the command fails; its output is left in run_output.
function(run)
  execute_process(
    COMMAND ${ARGN}
    OUTPUT_VARIABLE output
    ERROR_VARIABLE errors
    RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "${command}\nended with ${result}:\n${output}${errors}")
  endif()
  set(run_output "${output}" PARENT_SCOPE)
endfunction()

function(expect_equal what actual expected)
  if(NOT actual STREQUAL expected)
    message(FATAL_ERROR "${what}: expected\n${expected}\nbut it is\n${actual}")
  endif()
endfunction()

function(expect_match what actual pattern)
  if(NOT actual MATCHES "${pattern}")
    message(FATAL_ERROR "${what}: expected ${pattern}\nbut it is\n${actual}")
  endif()
endfunction()

# expected_files(<result> <component>...) reads the rows of the components from installed_files.txt.
function(expected_files result)
  file(STRINGS ${SOURCE_DIR}/tests/install/installed_files.txt rows REGEX "^[a-z]")
  set(files)
  foreach(row IN LISTS rows)
    string(REGEX MATCH "^([a-z]+) +(.+)$" row "${row}")
    set(component ${CMAKE_MATCH_1})
    string(CONFIGURE "${CMAKE_MATCH_2}" file @ONLY)
    if(component IN_LIST ARGN)
      list(APPEND files ${file})
    endif()
  endforeach()
  set(${result} ${files} PARENT_SCOPE)
endfunction()

# expect_files(<dir> <file>...): exactly these files are in the folder, links as "name -> target".
function(expect_files dir)
  file(GLOB_RECURSE paths LIST_DIRECTORIES false RELATIVE ${dir} ${dir}/*)
  set(actual)
  foreach(path IN LISTS paths)
    if(IS_SYMLINK ${dir}/${path})
      file(READ_SYMLINK ${dir}/${path} target)
      string(APPEND path " -> ${target}")
    endif()
    list(APPEND actual ${path})
  endforeach()
  set(expected ${ARGN})
  list(SORT actual)
  list(SORT expected)
  list(JOIN actual "\n" actual)
  list(JOIN expected "\n" expected)
  expect_equal("files in ${dir}" "${actual}" "${expected}")
endfunction()

# Runs the consumers in the folder, with the libraries of LD_LIBRARY_PATH if that is not empty.
function(expect_consumers_work dir ld_library_path)
  foreach(consumer IN LISTS consumers)
    run(${CMAKE_COMMAND} -E env LC_ALL=C LD_LIBRARY_PATH=${ld_library_path} ${dir}/${consumer})
    file(READ ${consumer_dir}/${consumer}.expected expected)
    expect_equal("output of ${dir}/${consumer}" "${run_output}" "${expected}")
  endforeach()
endfunction()

function(build_consumers_with_cmake dir prefix standard)
  run(${CMAKE_COMMAND} -S ${consumer_dir} -B ${dir} -G ${GENERATOR} -DCMAKE_CXX_COMPILER=${CXX}
      -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_STANDARD=${standard}
      -DCMAKE_CXX_STANDARD_REQUIRED=ON)
  file(STRINGS ${dir}/CMakeCache.txt found REGEX "^qiv_DIR:")
  expect_equal("the package found" "${found}" "qiv_DIR:PATH=${prefix}/${LIBDIR}/cmake/qiv")
  run(${CMAKE_COMMAND} --build ${dir})
endfunction()

function(build_consumers_with_pkg_config dir prefix standard)
  set(pkg_config ${CMAKE_COMMAND} -E env PKG_CONFIG_LIBDIR=${prefix}/${LIBDIR}/pkgconfig pkg-config)
  run(${pkg_config} --modversion qiv)
  expect_equal("version of the package" "${run_output}" "${VERSION}\n")
  run(${pkg_config} --cflags --libs qiv)
  separate_arguments(flags UNIX_COMMAND "${run_output}")
  file(MAKE_DIRECTORY ${dir})
  foreach(consumer IN LISTS consumers)
    run(${CXX} -std=c++${standard} -Wall -Wextra -Wpedantic -Werror ${consumer_dir}/${consumer}.cc
        -o ${dir}/${consumer} ${flags} -Wl,-rpath,${prefix}/${LIBDIR})
  endforeach()
endfunction()
