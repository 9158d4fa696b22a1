# ZUN_SANITIZE=address,undefined or thread: the whole tree, library and tests, under those sanitizers.
# Every report ends the process, so that no test passes over one.
if(ZUN_SANITIZE)
    add_compile_options(-fsanitize=${ZUN_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${ZUN_SANITIZE})
endif()

# The library's own code guides the fuzzing engine; the engine itself is linked by the fuzz targets.
if(ZUN_BUILD_FUZZERS)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()
