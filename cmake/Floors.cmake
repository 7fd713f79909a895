# lumen_floor(target [SOURCES file...] [MAY_INCLUDE folder-or-header...] [EXCEPT file:folder...]
#             [LINKS library...] [APART expression...])
#
# One floor of the house: an object library of a folder's sources. A file that includes another
# folder's header, when that folder is not listed, stops the build; EXCEPT lists single files that
# may include one folder more. Sources are compiled several at a time, where CMAKE_UNITY_BUILD is on,
# but for those that APART matches: siblings with names in common, or with headers full of macros.
function(lumen_floor target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;MAY_INCLUDE;EXCEPT;LINKS;APART")
  if(NOT arg_SOURCES)
    file(GLOB_RECURSE arg_SOURCES CONFIGURE_DEPENDS *.cpp *.h)
  endif()
  lumen_check_includes(${target} SOURCES ${arg_SOURCES}
    MAY_INCLUDE ${arg_MAY_INCLUDE} EXCEPT ${arg_EXCEPT})
  # A program's main file is checked like the others, but compiled with the program.
  list(FILTER arg_SOURCES EXCLUDE REGEX "/main\\.cpp$")
  foreach(expression IN LISTS arg_APART)
    set(apart ${arg_SOURCES})
    list(FILTER apart INCLUDE REGEX ${expression})
    set_source_files_properties(${apart} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
  endforeach()
  add_library(${target} OBJECT ${arg_SOURCES} ${checked_stamp})
  target_link_libraries(${target} PRIVATE lumen-options PUBLIC ${arg_LINKS})
endfunction()

# Sets `checked_stamp` to a file that is made when all includes of the sources are allowed.
function(lumen_check_includes target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;MAY_INCLUDE;EXCEPT")
  set(sources)
  foreach(source IN LISTS arg_SOURCES)
    cmake_path(ABSOLUTE_PATH source)
    list(APPEND sources ${source})
  endforeach()
  set(script ${PROJECT_SOURCE_DIR}/cmake/CheckIncludes.cmake)
  set(stamp ${CMAKE_CURRENT_BINARY_DIR}/${target}.includes)
  add_custom_command(OUTPUT ${stamp}
    COMMAND ${CMAKE_COMMAND} -D "sources=${sources}" -D "allowed=${arg_MAY_INCLUDE}"
            -D "exceptions=${arg_EXCEPT}" -D root=${PROJECT_SOURCE_DIR} -D stamp=${stamp}
            -P ${script}
    DEPENDS ${sources} ${script} VERBATIM)
  set(checked_stamp ${stamp} PARENT_SCOPE)
endfunction()
