file(GLOB sources CONFIGURE_DEPENDS *.cpp)
add_library(kelvor_test_support STATIC ${sources})
target_include_directories(kelvor_test_support PUBLIC ${CMAKE_CURRENT_SOURCE_DIR}
  ${CMAKE_CURRENT_SOURCE_DIR}/.. ${PROJECT_SOURCE_DIR}/src PRIVATE /usr/include/doctest)
target_link_libraries(kelvor_test_support PUBLIC kelvor_surroundings kelvor_options
  PRIVATE bcrypt ole32 shlwapi advapi32)
