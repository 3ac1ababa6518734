# What all targets share, and the small functions of the build files.

add_library(talvex_settings INTERFACE)
target_compile_options(
  talvex_settings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror -fvisibility=hidden
                            $<$<COMPILE_LANGUAGE:CXX>:-fvisibility-inlines-hidden>)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # Unique symbols would keep dlclose from unloading the library.
  target_compile_options(talvex_settings INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-fno-gnu-unique>)
endif()
if(TALVEX_SANITIZE)
  target_compile_options(talvex_settings INTERFACE -fsanitize=${TALVEX_SANITIZE} -fno-omit-frame-pointer
                                                   -fno-sanitize-recover=all)
  target_link_options(talvex_settings INTERFACE -fsanitize=${TALVEX_SANITIZE})
  # gcc takes the checks themselves for uses of what is not initialised, also inside the C++ library. The builds
  # without sanitizers keep the warning.
  target_compile_options(talvex_settings INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()

# talvex_library_sources(<out> <folder>...): all sources of the folders.
function(talvex_library_sources out)
  set(found)
  foreach(folder IN LISTS ARGN)
    file(GLOB files CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/*.cpp)
    list(APPEND found ${files})
  endforeach()
  set(${out} ${found} PARENT_SCOPE)
endfunction()

# talvex_find(<package> <what for>): finds a package, or says what is left out without it.
macro(talvex_find package purpose)
  if(TALVEX_REQUIRE_ALL)
    find_package(${package} REQUIRED)
  else()
    find_package(${package} QUIET)
    if(NOT ${package}_FOUND)
      message(STATUS "${package} not found: no ${purpose}")
    endif()
  endif()
endmacro()

# talvex_googletest(): finds GoogleTest, or builds it from its sources if they are told, as the libraries of this
# machine serve no other one.
macro(talvex_googletest)
  if(TALVEX_GOOGLETEST_SOURCES)
    set(INSTALL_GTEST OFF)
    add_subdirectory(${TALVEX_GOOGLETEST_SOURCES} googletest EXCLUDE_FROM_ALL SYSTEM)
    set(GTest_FOUND ON)
  else()
    talvex_find(GTest tests)
  endif()
endmacro()

# talvex_dll(<target>): its name on Windows, and the entry that platform/DllEntry.cpp has for it. The marks of
# TALVEX_API alone make its export table.
function(talvex_dll target)
  if(WIN32)
    if(CMAKE_SIZEOF_VOID_P EQUAL 4)
      set(entry _talvexDllEntry@12)
    else()
      set(entry talvexDllEntry)
    endif()
    set_target_properties(${target} PROPERTIES PREFIX "")
    target_link_options(${target} PRIVATE -Wl,--entry=${entry})
  endif()
endfunction()

# talvex_export_only(<target> <list>): the dynamic symbol table of an ELF library holds what the list names,
# one function a line, and nothing else.
function(talvex_export_only target list)
  if(WIN32)
    return()
  endif()
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${list})
  file(STRINGS ${list} names REGEX "^[A-Za-z]")
  set(c_names "")
  set(cpp_names "")
  foreach(name IN LISTS names)
    string(APPEND c_names "    ${name};\n")
    string(APPEND cpp_names "      ${name}*;\n")
  endforeach()
  string(REGEX REPLACE "    [A-Za-z_]+::[A-Za-z_]+;\n" "" c_names "${c_names}")
  set(script ${CMAKE_CURRENT_BINARY_DIR}/${target}.map)
  file(CONFIGURE OUTPUT ${script}
       CONTENT "{\n  global:\n@c_names@    extern \"C++\" {\n@cpp_names@    };\n  local: *;\n};\n" @ONLY)
  target_link_options(${target} PRIVATE -Wl,--version-script=${script} -Wl,-z,defs)
  set_target_properties(${target} PROPERTIES LINK_DEPENDS ${script})
endfunction()

# talvex_tidy(<target>): with TALVEX_TIDY each source of the target goes through clang-tidy when it is compiled.
function(talvex_tidy target)
  if(TALVEX_TIDY)
    set_target_properties(${target} PROPERTIES CXX_CLANG_TIDY "clang-tidy;--quiet")
  endif()
endfunction()
