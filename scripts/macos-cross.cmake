# The toolchain with which scripts/check-macos builds for a Mac on Linux. The programs cannot be run here,
# and are never handed out.
#
#   VESTIGO_CROSS_PROCESSOR  the processor, under the cross-compiler's name for it
#   VESTIGO_CROSS_ROOT       folder with the compiler in bin/, third-party headers and libraries
#   VESTIGO_CROSS_SYSTEM     folder with the declarations that take the place of the system's frameworks
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES
    VESTIGO_CROSS_PROCESSOR VESTIGO_CROSS_ROOT VESTIGO_CROSS_SYSTEM)
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR ${VESTIGO_CROSS_PROCESSOR})
foreach(language CXX OBJCXX)
    set(CMAKE_${language}_COMPILER ${VESTIGO_CROSS_ROOT}/bin/c++)
    # Flags that compile quickly, as the programs are never run.
    set(CMAKE_${language}_FLAGS_INIT
        "-O0 -fno-sanitize=undefined -F ${VESTIGO_CROSS_SYSTEM} -DSIMDJSON_IMPLEMENTATION_FALLBACK=1")
    foreach(processor ARM64 HASWELL ICELAKE WESTMERE)
        string(APPEND CMAKE_${language}_FLAGS_INIT " -DSIMDJSON_IMPLEMENTATION_${processor}=0")
    endforeach()
endforeach()
set(CMAKE_EXE_LINKER_FLAGS_INIT "-F ${VESTIGO_CROSS_SYSTEM} -L ${VESTIGO_CROSS_SYSTEM} -lobjc ${VESTIGO_CROSS_ROOT}/lib/memory_resource.o")
# The cross-compiler passes the language on twice, which clang warns of.
string(APPEND CMAKE_OBJCXX_FLAGS_INIT " -Wno-unused-command-line-argument")
foreach(tool ar ranlib install-name-tool)
    string(TOUPPER ${tool} name)
    string(REPLACE - _ name ${name})
    find_program(CMAKE_${name} llvm-${tool} REQUIRED)
endforeach()
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(CMAKE_FIND_ROOT_PATH ${VESTIGO_CROSS_ROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
foreach(kind INCLUDE LIBRARY PACKAGE)
    set(CMAKE_FIND_ROOT_PATH_MODE_${kind} ONLY)
endforeach()
# Otherwise each test program would be run after its build, to list its tests.
set(CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE PRE_TEST)
