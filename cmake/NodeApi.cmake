# node_api: the headers of Node-API and node-addon-api, and an import library for the Node-API functions that is bound
# at run time to whatever executable hosts Node.js (src/addon/delay_load_host.cc redirects "node.exe" to it).
set(node_modules ${CMAKE_SOURCE_DIR}/node_modules)
if(NOT EXISTS ${node_modules}/node-addon-api/napi.h)
  message(FATAL_ERROR "node-addon-api is missing: run 'npm ci' first.")
endif()

add_library(node_api INTERFACE)
target_include_directories(node_api SYSTEM INTERFACE
  ${node_modules}/node-addon-api ${node_modules}/node-api-headers/include)
target_compile_definitions(node_api INTERFACE
  NAPI_VERSION=8 NODE_ADDON_API_CPP_EXCEPTIONS NODE_ADDON_API_DISABLE_DEPRECATED
  # Without it, a script worker that is terminated inside one of our callbacks or functions ends the whole process:
  # node-addon-api then tries to hand on an exception that nobody can throw any more.
  NODE_API_SWALLOW_UNTHROWABLE_EXCEPTIONS)

set(import_libraries)
foreach(name js_native_api node_api)
  set(def ${node_modules}/node-api-headers/def/${name}.def)
  if(MSVC)
    set(library ${CMAKE_BINARY_DIR}/${name}.lib)
    add_custom_command(OUTPUT ${library} DEPENDS ${def} VERBATIM
      COMMAND ${CMAKE_AR} /nologo /def:${def} /machine:x64 /out:${library})
  else()
    set(library ${CMAKE_BINARY_DIR}/lib${name}_delay.a)
    add_custom_command(OUTPUT ${library} DEPENDS ${def} VERBATIM
      COMMAND ${CMAKE_DLLTOOL} -d ${def} -y ${library})
  endif()
  list(APPEND import_libraries ${library})
endforeach()
add_custom_target(node_api_import_libraries DEPENDS ${import_libraries})
add_dependencies(node_api node_api_import_libraries)
target_link_libraries(node_api INTERFACE ${import_libraries})
if(MSVC)
  target_link_options(node_api INTERFACE /DELAYLOAD:NODE.EXE)
  target_link_libraries(node_api INTERFACE delayimp)
endif()
