# The key file reader and the key file unlock. The latter is tested through a
# probe on a pseudo-terminal, with keys that the openssl command encrypts.
find_program(OPENSSL_PROGRAM openssl REQUIRED)

add_executable(ini_test ini_test.cpp)
target_link_libraries(ini_test PRIVATE mkey run_program GTest::gtest_main)
gtest_discover_tests(ini_test)

add_executable(mkey_probe mkey_probe.cpp memory_scan.cpp)
target_link_libraries(mkey_probe PRIVATE mkey keyutil common)
# As the program is linked.
target_link_options(mkey_probe PRIVATE -Wl,-z,relro,-z,now)

add_executable(mkey_test mkey_test.cpp prompt_test.cpp)
target_compile_definitions(mkey_test PRIVATE
  MKEY_PROBE="$<TARGET_FILE:mkey_probe>"
  MAKE_KEY_FILE="${CMAKE_CURRENT_SOURCE_DIR}/make_key_file.sh")
target_link_libraries(mkey_test PRIVATE run_program GTest::gtest_main util)
add_dependencies(mkey_test mkey_probe)
gtest_discover_tests(mkey_test)
