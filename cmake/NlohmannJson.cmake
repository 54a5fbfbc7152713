# nlohmann_json::nlohmann_json: version 3.10.4 or later, but below 4.
find_package(nlohmann_json 3.10.4 REQUIRED CONFIG HINTS /usr/share/cmake /usr/lib/cmake)
if(nlohmann_json_VERSION VERSION_GREATER_EQUAL 4)
  message(FATAL_ERROR "nlohmann-json ${nlohmann_json_VERSION} found; major version 3 is wanted.")
endif()

if(CMAKE_CROSSCOMPILING)
  # The package points at /usr/include, which also holds the C headers of the build machine. Expose only nlohmann/.
  set(json_include ${CMAKE_BINARY_DIR}/nlohmann_json)
  file(MAKE_DIRECTORY ${json_include})
  file(CREATE_LINK /usr/include/nlohmann ${json_include}/nlohmann SYMBOLIC)
  set_target_properties(nlohmann_json::nlohmann_json PROPERTIES
    INTERFACE_INCLUDE_DIRECTORIES ${json_include}
    INTERFACE_SYSTEM_INCLUDE_DIRECTORIES ${json_include})
endif()
