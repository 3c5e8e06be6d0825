# A room is a folder and the library made of it. Other rooms see its headers
# only if they link it, directly or through what they link: each has an include
# root of its own, in which nothing but its folder can be found. An include that
# runs up therefore does not compile.

# open_room(TARGET FOLDER): FOLDER from the source root.
function(open_room target folder)
  set(root ${CMAKE_BINARY_DIR}/rooms/${target})
  cmake_path(GET folder PARENT_PATH parent)
  file(MAKE_DIRECTORY ${root}/${parent})
  file(CREATE_LINK ${CMAKE_SOURCE_DIR}/${folder} ${root}/${folder} SYMBOLIC)
  target_include_directories(${target} PUBLIC ${root})
endfunction()

# add_stage(NAME USES ROOM...): a folder of util/chronex.
function(add_stage name)
  cmake_parse_arguments(PARSE_ARGV 1 STAGE "" "" "USES")
  file(GLOB sources CONFIGURE_DEPENDS ${name}/*.cpp)
  add_library(chronex_${name} STATIC ${sources})
  list(TRANSFORM STAGE_USES REPLACE "^@" chronex_)
  target_link_libraries(chronex_${name} PUBLIC ${STAGE_USES})
  open_room(chronex_${name} util/chronex/${name})
endfunction()
