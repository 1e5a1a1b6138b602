# Runs smilint at level 6 on each generated MIB module and fails when it
# prints anything at all: warnings count as failures.
#
# cmake -DSMILINT=<smilint> -DMIB_DIR=<dir> -DBASE_MIB_DIR=<dir>
#       -DMODULES=<MODULE;...> -P smilint.cmake

foreach(var SMILINT MIB_DIR BASE_MIB_DIR MODULES)
  if(NOT DEFINED ${var} OR "${${var}}" STREQUAL "")
    message(FATAL_ERROR "smilint.cmake: ${var} is not set")
  endif()
endforeach()

if(NOT EXISTS "${SMILINT}")
  message(FATAL_ERROR "smilint not found (${SMILINT}); it comes with the Debian package smitools")
endif()
foreach(base SNMPv2-SMI SNMPv2-TC SNMPv2-CONF)
  if(NOT EXISTS "${BASE_MIB_DIR}/${base}.txt")
    message(FATAL_ERROR "base MIB module ${base} missing from ${BASE_MIB_DIR}; run scripts/install-base-mibs.sh ${BASE_MIB_DIR} (target base-mibs)")
  endif()
endforeach()

set(failed "")
foreach(module IN LISTS MODULES)
  set(file "${MIB_DIR}/${module}.txt")
  if(NOT EXISTS "${file}")
    message(FATAL_ERROR "generated MIB module ${file} is missing")
  endif()

  # An enterprise SMI module is not a MIB and cannot carry the -MIB suffix
  # that libsmi asks module names to end with.
  set(ignore "")
  if(module MATCHES "-SMI$")
    list(APPEND ignore -i module-name-suffix)
  endif()

  execute_process(
    COMMAND ${CMAKE_COMMAND} -E env "SMIPATH=${MIB_DIR}:${BASE_MIB_DIR}"
            "${SMILINT}" -l 6 -s -m ${ignore} "${file}"
    RESULT_VARIABLE rc
    OUTPUT_VARIABLE out
    ERROR_VARIABLE out)
  if(NOT rc EQUAL 0 OR NOT out STREQUAL "")
    message("smilint -l 6 ${module}: exit status ${rc}\n${out}")
    list(APPEND failed ${module})
  else()
    message("smilint -l 6 ${module}: clean")
  endif()
endforeach()

if(failed)
  message(FATAL_ERROR "smilint reported problems in: ${failed}")
endif()
