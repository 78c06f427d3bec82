# Adds TREE to another project in DIR: it can be used there, and brings neither tests nor rules to install.
cmake_minimum_required(VERSION 3.25)

file(REMOVE_RECURSE ${DIR})
execute_process(
    COMMAND ${CMAKE_COMMAND} -G ${GENERATOR} -S ${PROJECT} -B ${DIR} -D TREE=${TREE}
        -D CMAKE_CXX_COMPILER=${COMPILER} -D CMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER}
        -D CMAKE_INSTALL_PREFIX=${DIR}/prefix
    COMMAND_ERROR_IS_FATAL ANY)
# With Ninja the one file alone; what it links to need not be built for that.
set(target user)
if(GENERATOR STREQUAL Ninja)
    set(target CMakeFiles/user.dir/user.cpp.o)
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${DIR} --target ${target} COMMAND_ERROR_IS_FATAL ANY)

execute_process(COMMAND ${CMAKE_COMMAND} -E chdir ${DIR} ${CTEST} --show-only=human
    OUTPUT_VARIABLE tests COMMAND_ERROR_IS_FATAL ANY)
if(NOT tests MATCHES "Total Tests: 0")
    message(FATAL_ERROR "The tree brings its tests along:\n${tests}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --install ${DIR} COMMAND_ERROR_IS_FATAL ANY)
file(GLOB_RECURSE installed ${DIR}/prefix/*)
if(installed)
    message(FATAL_ERROR "The tree brings its rules to install along: ${installed}")
endif()
