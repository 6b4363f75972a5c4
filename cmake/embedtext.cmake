# Writes a text file (INPUT) as a C++ string literal (OUTPUT), to be included where a value is expected.
file(READ "${INPUT}" text)
if(text MATCHES "\\)text\"")
    message(FATAL_ERROR "${INPUT} holds the end of a string literal")
endif()
file(WRITE "${OUTPUT}" "R\"text(${text})text\"\n")
