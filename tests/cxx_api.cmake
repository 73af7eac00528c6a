# <velkc.hpp>: its test runs as C++20 and is also compiled, not run, as
# C++17 without exceptions; both pedantic.
velkc_gtest(test_cxx_api test_cxx_api.cpp)
target_compile_options(test_cxx_api PRIVATE -pedantic)
add_library(test_cxx_api_cxx17 OBJECT test_cxx_api.cpp)
set_target_properties(test_cxx_api_cxx17 PROPERTIES CXX_STANDARD 17)
target_compile_options(test_cxx_api_cxx17 PRIVATE -pedantic -fno-exceptions)
target_link_libraries(test_cxx_api_cxx17 PRIVATE velkc GTest::gtest)
