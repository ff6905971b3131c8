# Each folder of the service is a library of its own, in the order the data
# flows: model, tuningfile, storage, context, engine, manager, service. A
# folder's sources see the headers of their own folder and of the folders
# before it, and no others: including a header of a later folder fails to
# compile. The folders' objects make up liborvaxservice.
set(ORVAX_LAYERS model tuningfile storage context engine manager service)

# orvax_layer(FOLDER SOURCES file... [LIBRARIES target...]) builds orvax_FOLDER
# from the folder's sources, on the library of the folder before it.
function(orvax_layer folder)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBRARIES")
  list(FIND ORVAX_LAYERS ${folder} position)
  if(position LESS 0)
    message(FATAL_ERROR "${folder} is not one of the folders ${ORVAX_LAYERS}")
  endif()
  # An include root holding links to this folder and the ones before it only.
  set(root ${PROJECT_BINARY_DIR}/layers/${folder})
  file(MAKE_DIRECTORY ${root})
  foreach(index RANGE ${position})
    list(GET ORVAX_LAYERS ${index} visible)
    file(CREATE_LINK ${PROJECT_SOURCE_DIR}/${visible} ${root}/${visible} SYMBOLIC)
  endforeach()

  set(target orvax_${folder})
  add_library(${target} OBJECT ${arg_SOURCES})
  target_include_directories(${target} PRIVATE ${root})
  target_compile_options(${target} PRIVATE -fno-exceptions)
  target_link_libraries(${target} PUBLIC Android::utils Android::log ${arg_LIBRARIES} PRIVATE orvax_warnings)
  if(position GREATER 0)
    math(EXPR before "${position} - 1")
    list(GET ORVAX_LAYERS ${before} previous)
    target_link_libraries(${target} PUBLIC orvax_${previous})
  endif()
  target_link_libraries(orvaxservice PRIVATE ${target})
endfunction()
