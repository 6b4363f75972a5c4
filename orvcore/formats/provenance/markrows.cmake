# Turns the list of generators' marks (MARKS, tab separated: mark, where, writer, source) into the initialisers of a C++ list
# (OUTPUT). Stops when a row is not as expected.
file(READ "${MARKS}" text)
if(text MATCHES "[][\\\\;]" OR text MATCHES "\\)mark\"")
    message(FATAL_ERROR "${MARKS} holds a bracket, a semicolon or a backslash, for which there is no escape here")
endif()
string(REGEX REPLACE "\n+$" "" text "${text}")
string(REPLACE "\n" ";" rows "${text}")
list(POP_FRONT rows)

set(records "")
foreach(row IN LISTS rows)
    if(NOT row MATCHES "^([^\t]+)\t(text|keyword|key|credit|software)\t([^\t]+)\t([^\t]+)$")
        message(FATAL_ERROR "${MARKS}: not a row: ${row}")
    endif()
    string(APPEND records "{R\"mark(${CMAKE_MATCH_1})mark\", \"${CMAKE_MATCH_2}\", R\"mark(${CMAKE_MATCH_3})mark\", "
           "R\"mark(${CMAKE_MATCH_4})mark\"},\n")
endforeach()
file(WRITE "${OUTPUT}" "${records}")
