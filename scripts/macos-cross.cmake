# Builds for a Mac on Linux, with the cross-compiler and the folders that scripts/check-macos has made.
# What comes out cannot be run here, and nothing of it is handed out.
#
#   VESTIGO_CROSS_PROCESSOR  as the cross-compiler calls it
#   VESTIGO_CROSS_ROOT       folder with the compiler in bin/, and include/ and lib/: what is not the system's
#   VESTIGO_CROSS_SYSTEM     folder of what stands for the system's frameworks
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES
    VESTIGO_CROSS_PROCESSOR VESTIGO_CROSS_ROOT VESTIGO_CROSS_SYSTEM)
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR ${VESTIGO_CROSS_PROCESSOR})
foreach(language CXX OBJCXX)
    set(CMAKE_${language}_COMPILER ${VESTIGO_CROSS_ROOT}/bin/c++)
    # What is quick to compile: nothing of it is ever run.
    set(CMAKE_${language}_FLAGS_INIT
        "-O0 -fno-sanitize=undefined -F ${VESTIGO_CROSS_SYSTEM} -DSIMDJSON_IMPLEMENTATION_FALLBACK=1")
    foreach(processor ARM64 HASWELL ICELAKE WESTMERE)
        string(APPEND CMAKE_${language}_FLAGS_INIT " -DSIMDJSON_IMPLEMENTATION_${processor}=0")
    endforeach()
endforeach()
set(CMAKE_EXE_LINKER_FLAGS_INIT "-F ${VESTIGO_CROSS_SYSTEM} -L ${VESTIGO_CROSS_SYSTEM} -lobjc ${VESTIGO_CROSS_ROOT}/lib/memory_resource.o")
# The cross-compiler names the language twice.
string(APPEND CMAKE_OBJCXX_FLAGS_INIT " -Wno-unused-command-line-argument")
foreach(tool ar ranlib install-name-tool)
    string(TOUPPER ${tool} name)
    string(REPLACE - _ name ${name})
    find_program(CMAKE_${name} llvm-${tool}-14 REQUIRED)
endforeach()
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(CMAKE_FIND_ROOT_PATH ${VESTIGO_CROSS_ROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
foreach(kind INCLUDE LIBRARY PACKAGE)
    set(CMAKE_FIND_ROOT_PATH_MODE_${kind} ONLY)
endforeach()
# They would be asked for their tests once they are built.
set(CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE PRE_TEST)
