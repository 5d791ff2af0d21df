# What every target of this project is compiled with.
add_library(rsmpl_options INTERFACE)
target_compile_features(rsmpl_options INTERFACE cxx_std_17)
target_include_directories(rsmpl_options INTERFACE ${PROJECT_SOURCE_DIR})
# No contraction: a fused multiply-add is written where one is meant, so that every
# compiler and processor gives the same bits.
target_compile_options(rsmpl_options INTERFACE
    -ffp-contract=off -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow)

set(RSMPL_SANITIZE "" CACHE STRING "Sanitizers for everything, such as address,undefined")
if(RSMPL_SANITIZE)
    add_compile_options(
        -fsanitize=${RSMPL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${RSMPL_SANITIZE})
endif()
