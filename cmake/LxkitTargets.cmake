# Every folder of Source/ is one static library whose sources are the folder's *.cpp
# files, so adding a file never means editing a build file. A folder without sources
# yet becomes an interface library, so targets can depend on it from the start.
function(lxkit_library target folder)
    cmake_parse_arguments(ARG "" "" "DEPENDS" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp)
    if(sources)
        add_library(${target} STATIC ${sources})
        target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR}/Source)
        target_link_libraries(${target} PUBLIC ${ARG_DEPENDS})
        set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
    else()
        add_library(${target} INTERFACE)
        target_include_directories(${target} INTERFACE ${PROJECT_SOURCE_DIR}/Source)
        target_link_libraries(${target} INTERFACE ${ARG_DEPENDS})
    endif()
endfunction()

# One test executable per tests/<folder>, made of that folder's *.cpp files; it is
# skipped while the folder has none.
function(lxkit_test_suite name folder)
    cmake_parse_arguments(ARG "" "" "DEPENDS" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp)
    if(NOT sources)
        return()
    endif()
    add_executable(${name} ${sources})
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    target_link_libraries(${name} PRIVATE ${ARG_DEPENDS} lxkit_test_support GTest::gtest GTest::gmock GTest::gtest_main)
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
endfunction()
