# node_api: the headers of Node-API and node-addon-api, and an import library for the Node-API functions.
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
  # node-addon-api then tries to pass on an exception that can no longer be thrown.
  NODE_API_SWALLOW_UNTHROWABLE_EXCEPTIONS)

# Both halves of Node-API are in one import library, because node_api_binding.cc looks for one table of imports, which
# is named after the library.
set(def ${CMAKE_BINARY_DIR}/node_api.def)
set(halves ${node_modules}/node-api-headers/def)
file(READ ${halves}/js_native_api.def js_half)
file(READ ${halves}/node_api.def node_half)
string(REGEX REPLACE "^NAME NODE.EXE[\r\n]+EXPORTS[\r\n]+" "" node_half "${node_half}")
file(CONFIGURE OUTPUT ${def} CONTENT "${js_half}\n${node_half}" @ONLY)
if(MSVC)
  set(import_library ${CMAKE_BINARY_DIR}/node_api.lib)
  add_custom_command(OUTPUT ${import_library} DEPENDS ${def} VERBATIM
    COMMAND ${CMAKE_AR} /nologo /def:${def} /machine:x64 /out:${import_library})
  target_link_options(node_api INTERFACE /DELAYLOAD:NODE.EXE)
  target_link_libraries(node_api INTERFACE delayimp)
else()
  set(import_library ${CMAKE_BINARY_DIR}/libnode_api_delay.a)
  # The library is given without its folder, because this argument becomes a part of the table's name.
  add_custom_command(OUTPUT ${import_library} DEPENDS ${def} VERBATIM WORKING_DIRECTORY ${CMAKE_BINARY_DIR}
    COMMAND ${CMAKE_DLLTOOL} -d ${def} -y libnode_api_delay.a)
endif()
add_custom_target(node_api_import_library DEPENDS ${import_library})
add_dependencies(node_api node_api_import_library)
target_link_libraries(node_api INTERFACE ${import_library})
