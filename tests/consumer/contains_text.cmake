# Fails unless TEXT is among the texts in the file LIBRARY.
cmake_minimum_required(VERSION 3.21)

string(REPLACE "." "[.]" pattern "${TEXT}")
file(STRINGS "${LIBRARY}" texts REGEX "^${pattern}$")
if(NOT texts)
    message(FATAL_ERROR "${TEXT} is not in ${LIBRARY}")
endif()
