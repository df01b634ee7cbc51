# Shared compile settings and the two functions by which every folder declares itself.

find_program(KESTRUNE_CCACHE ccache)
if(KESTRUNE_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${KESTRUNE_CCACHE})
endif()

# Links in a fraction of the time, where one of these is installed.
include(CheckLinkerFlag)
foreach(linker mold lld)
    check_linker_flag(CXX -fuse-ld=${linker} KESTRUNE_LINKS_WITH_${linker})
    if(KESTRUNE_LINKS_WITH_${linker})
        add_link_options(-fuse-ld=${linker})
        break()
    endif()
endforeach()

add_library(kestrune_options INTERFACE)
target_compile_options(kestrune_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
    -ffp-contract=off) # results must not depend on fused multiply-add being there
if(KESTRUNE_WERROR)
    target_compile_options(kestrune_options INTERFACE -Werror)
endif()
target_compile_definitions(kestrune_options INTERFACE
    KESTRUNE_WEB_EDITION_URL="${KESTRUNE_WEB_EDITION_URL}"
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_FOREACH QT_NO_KEYWORDS
    QT_DISABLE_DEPRECATED_BEFORE=0x060400)
if(KESTRUNE_SANITIZE)
    # Also for what is not linked to the options, so that no object escapes.
    add_compile_options(-fsanitize=${KESTRUNE_SANITIZE} -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${KESTRUNE_SANITIZE})
    if(KESTRUNE_SANITIZE MATCHES "undefined")
        add_compile_options(-fno-sanitize-recover=undefined)
    endif()
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        add_compile_options(-Wno-maybe-uninitialized) # false alarms in what the sanitizers insert
    endif()
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        # What clang 14 writes before each function for this check, its coroutines cannot be assembled with.
        add_compile_options(-fno-sanitize=function -fno-sanitize-recover=all)
    endif()
endif()

# A program that starts others is still watched by the thread sanitizer afterwards.
function(kestrune_keep_watching target)
    if(KESTRUNE_SANITIZE MATCHES "thread")
        target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support/plainclone.cpp)
    endif()
endfunction()

# What Qt's generator writes for a target goes into its batches, instead of being compiled beside them.
# A second target, where one is named, is the one that the generator runs for.
function(kestrune_batch_generated target)
    set(generated ${CMAKE_CURRENT_BINARY_DIR}/${target}_autogen/mocs_compilation.cpp)
    if(ARGC GREATER 1)
        set(generated ${CMAKE_CURRENT_BINARY_DIR}/${ARGV1}_autogen/mocs_compilation.cpp)
        add_dependencies(${target} ${ARGV1}_autogen)
    endif()
    set(included ${CMAKE_CURRENT_BINARY_DIR}/${target}_generated.cpp)
    file(CONFIGURE OUTPUT ${included} CONTENT "#include \"${generated}\"\n")
    target_sources(${target} PRIVATE ${included})
    set_source_files_properties(${generated} PROPERTIES HEADER_FILE_ONLY ON)
    set_source_files_properties(${included} PROPERTIES SKIP_AUTOGEN ON OBJECT_DEPENDS ${generated})
endfunction()

# kestrune_add_library(kestrune_x ALIAS X SOURCES ... HEADERS ... LINKS ... [PRIVATE_LINKS ...])
# With KESTRUNE_ONE_PIECE nothing is built for it: a program that links it compiles its sources in its own batches,
# which reads the libraries' headers a few times instead of once for every folder.
function(kestrune_add_library name)
    cmake_parse_arguments(arg "" "ALIAS" "SOURCES;HEADERS;LINKS;PRIVATE_LINKS" ${ARGN})
    if(KESTRUNE_ONE_PIECE)
        add_library(${name} INTERFACE)
        list(TRANSFORM arg_SOURCES PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/ REGEX "^[^/]")
        list(TRANSFORM arg_HEADERS PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
        set_property(GLOBAL APPEND PROPERTY KESTRUNE_HEADERS ${arg_HEADERS})
        target_sources(${name} INTERFACE ${arg_SOURCES})
        target_include_directories(${name} INTERFACE ${PROJECT_SOURCE_DIR}/src)
        target_link_libraries(${name} INTERFACE ${arg_LINKS} ${arg_PRIVATE_LINKS})
    else()
        add_library(${name} STATIC ${arg_SOURCES})
        kestrune_batch_generated(${name})
        target_sources(${name} PUBLIC FILE_SET HEADERS
            BASE_DIRS ${PROJECT_SOURCE_DIR}/src FILES ${arg_HEADERS})
        target_link_libraries(${name} PUBLIC ${arg_LINKS} PRIVATE kestrune_options ${arg_PRIVATE_LINKS})
        # The header check compiles with the public settings only.
        target_compile_features(${name} PUBLIC cxx_std_20)
    endif()
    add_library(Kestrune::${arg_ALIAS} ALIAS ${name})
endfunction()

# kestrune_add_test(tst_x APP core|gui|widgets SOURCES ... LINKS ... [ENVIRONMENT ...])
# Usually one executable per folder; every test class registers itself with KESTRUNE_TEST.
function(kestrune_add_test name)
    cmake_parse_arguments(arg "" "APP;TIMEOUT" "SOURCES;LINKS;ENVIRONMENT" ${ARGN})
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 120)
    endif()
    if(KESTRUNE_SANITIZE MATCHES "thread")
        math(EXPR arg_TIMEOUT "${arg_TIMEOUT} * 5")
    endif()
    string(TOUPPER "${arg_APP}" app)
    add_executable(${name} ${arg_SOURCES} ${PROJECT_SOURCE_DIR}/tests/support/testmain.cpp)
    target_compile_definitions(${name} PRIVATE KESTRUNE_TEST_APP_${app}
        KESTRUNE_SOURCE_DIR="${PROJECT_SOURCE_DIR}" KESTRUNE_BIN_DIR="${CMAKE_RUNTIME_OUTPUT_DIRECTORY}")
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(${name} PRIVATE ${arg_LINKS} Kestrune::TestSupport Qt6::Test kestrune_options)
    kestrune_keep_watching(${name})
    if(app STREQUAL "GUI")
        target_link_libraries(${name} PRIVATE Qt6::Gui)
    elseif(app STREQUAL "WIDGETS")
        target_link_libraries(${name} PRIVATE Qt6::Widgets)
    endif()
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES TIMEOUT ${arg_TIMEOUT}
        ENVIRONMENT "TZ=UTC;LC_ALL=C.UTF-8;LANG=C.UTF-8;QT_QPA_PLATFORM=offscreen;QTEST_DISABLE_STACK_DUMP=1;${arg_ENVIRONMENT}")
endfunction()
