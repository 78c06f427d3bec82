# Installs BUILD into DIR/prefix, and builds the EXAMPLE and the plug-ins of SIBLINGS against nothing but that.
cmake_minimum_required(VERSION 3.25)

function(run)
    execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(build name source)
    file(COPY ${source}/ DESTINATION ${DIR}/${name})
    run(${CMAKE_COMMAND} -G ${GENERATOR} -S ${DIR}/${name} -B ${DIR}/${name}/build
        -D CMAKE_PREFIX_PATH=${DIR}/prefix
        -D CMAKE_BUILD_TYPE=${BUILD_TYPE}
        -D CMAKE_CXX_COMPILER=${COMPILER}
        -D CMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER}
        -D CMAKE_CXX_FLAGS=${FLAGS}
        ${ARGN})
    run(${CMAKE_COMMAND} --build ${DIR}/${name}/build)
endfunction()

file(REMOVE_RECURSE ${DIR})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${DIR}/prefix)
build(echo-plugin ${EXAMPLE})
run(${CMAKE_COMMAND} --install ${DIR}/echo-plugin/build)
build(siblings ${SIBLINGS} -D BUSWIRE=${BUSWIRE})
