# Checks with the net-snmp tools that a generated module puts every object at
# the OID the agent registers, with the access and syntax the agent encodes,
# that table indexes encode and bound as the agent expects, and that the
# module defines no object beyond the expected ones below its objects root.
#
# cmake -DSNMPTRANSLATE=<snmptranslate> -DMIB_DIR=<dir> -DBASE_MIB_DIR=<dir>
#       -DENTERPRISE_ARC=<n> -DMODULE=<VELORA-QOS-MIB>
#       -DOBJECTS=<3.13.1, the objects root below enterprises.E>
#       -DEXPECTED=<qos-mib-oids.txt> -P check-oids.cmake
#
# EXPECTED has one check per line (see its header):
#   <OID> <name>                     the name translates to the OID
#   <OID> <name> <access> <syntax>   ... and has that MAX-ACCESS and SYNTAX
#   ! <name.index>                   the name must be rejected
# '@E@' in an OID stands for the enterprise arc; '#' starts a comment line.

foreach(var SNMPTRANSLATE MIB_DIR BASE_MIB_DIR ENTERPRISE_ARC MODULE OBJECTS EXPECTED)
  if(NOT DEFINED ${var} OR "${${var}}" STREQUAL "")
    message(FATAL_ERROR "check-oids.cmake: ${var} is not set")
  endif()
endforeach()
if(NOT EXISTS "${SNMPTRANSLATE}")
  message(FATAL_ERROR "snmptranslate not found (${SNMPTRANSLATE}); it comes with the Debian package snmp")
endif()

# Only the modules given here are loaded: -m without '+' replaces the default
# module list and -M without '+' the default directories.
set(translate "${SNMPTRANSLATE}" -M "${MIB_DIR}:${BASE_MIB_DIR}" -m ${MODULE})
set(objects_oid "1.3.6.1.4.1.${ENTERPRISE_ARC}.${OBJECTS}")
string(REPLACE "." "\\." objects_re "${objects_oid}")

file(STRINGS "${EXPECTED}" lines)
set(checked 0)
set(failures "")
set(expected_objects "")
foreach(line IN LISTS lines)
  if(line MATCHES "^[ \t]*(#|$)")
    continue()
  endif()

  if(line MATCHES "^![ \t]+(.+)$")
    set(name "${CMAKE_MATCH_1}")
    execute_process(COMMAND ${translate} -On "${name}"
      RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err
      OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(rc EQUAL 0)
      string(APPEND failures "  ${name}: accepted as '${out}', expected a rejection\n")
    endif()
  elseif(line MATCHES "^(\\.[0-9.@E]+)[ \t]+([^ \t]+)([ \t]+([a-z-]+)[ \t]+(.+))?$")
    string(REPLACE "@E@" "${ENTERPRISE_ARC}" want "${CMAKE_MATCH_1}")
    set(name "${CMAKE_MATCH_2}")
    set(want_access "${CMAKE_MATCH_4}")
    string(STRIP "${CMAKE_MATCH_5}" want_syntax)

    execute_process(COMMAND ${translate} -On "${name}"
      RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err
      OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT rc EQUAL 0)
      string(APPEND failures "  ${name}: not resolved (exit status ${rc}): ${err}\n")
    elseif(NOT out STREQUAL want)
      string(APPEND failures "  ${name}: got ${out}, expected ${want}\n")
    endif()

    if(want MATCHES "^\\.${objects_re}\\." AND name MATCHES "^[A-Za-z0-9-]+::([A-Za-z0-9]+)$")
      list(APPEND expected_objects "${CMAKE_MATCH_1}")
    endif()

    if(NOT want_access STREQUAL "")
      execute_process(COMMAND ${translate} -Td "${name}"
        RESULT_VARIABLE rc OUTPUT_VARIABLE def ERROR_VARIABLE err)
      set(access "")
      set(syntax "")
      if(def MATCHES "\n[ \t]*MAX-ACCESS[ \t]+([^\n]*)")
        string(STRIP "${CMAKE_MATCH_1}" access)
      endif()
      if(def MATCHES "\n[ \t]*SYNTAX[ \t]+([^\n]*)")
        string(STRIP "${CMAKE_MATCH_1}" syntax)
      endif()
      if(NOT access STREQUAL want_access)
        string(APPEND failures "  ${name}: MAX-ACCESS '${access}', expected '${want_access}'\n")
      endif()
      if(NOT syntax STREQUAL want_syntax)
        string(APPEND failures "  ${name}: SYNTAX '${syntax}', expected '${want_syntax}'\n")
      endif()
    endif()
  else()
    message(FATAL_ERROR "check-oids.cmake: malformed line in ${EXPECTED}: ${line}")
  endif()
  math(EXPR checked "${checked} + 1")
endforeach()

if(checked EQUAL 0)
  message(FATAL_ERROR "check-oids.cmake: no checks in ${EXPECTED}")
endif()

# Every object that the module defines below its objects root must be one that
# the agent serves (or a table, row or index of it).
execute_process(COMMAND ${translate} -Tz
  RESULT_VARIABLE rc OUTPUT_VARIABLE tree ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "snmptranslate -Tz failed (exit status ${rc}): ${err}")
endif()
string(REPLACE ";" "\\;" tree "${tree}")
string(REPLACE "\n" ";" tree "${tree}")
set(defined_objects "")
foreach(entry IN LISTS tree)
  if(entry MATCHES "^\"([^\"]+)\"[ \t]+\"${objects_re}\\.[0-9.]+\"")
    list(APPEND defined_objects "${CMAKE_MATCH_1}")
  endif()
endforeach()
set(unexpected ${defined_objects})
list(REMOVE_ITEM unexpected ${expected_objects})
set(missing ${expected_objects})
list(REMOVE_ITEM missing ${defined_objects})
if(unexpected)
  string(APPEND failures "  objects defined but not expected: ${unexpected}\n")
endif()
if(missing)
  string(APPEND failures "  objects expected but not defined: ${missing}\n")
endif()

if(NOT failures STREQUAL "")
  message(FATAL_ERROR "${MODULE} checks failed:\n${failures}")
endif()
list(LENGTH defined_objects n_objects)
message("${MODULE}: ${checked} checks passed; ${n_objects} objects below ${objects_oid}, none unexpected")
