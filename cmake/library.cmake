set(RSMPL_HEADERS
    api/resample_api.h
    convert/Resample_DatTypeConvert.h
    design/Resample_FIRFilterDesign.h
    design/Resample_WinFunc.h
    fir/Resample_FIRFiltering.h
    fir/Resample_GeneralResampler.h
    fir/Resample_iMalloc.h
    iir/Resample_IIRFilterDesign.h
    iir/Resample_Rsmpl_IIR_api.h
    rsmpl.h
    spectral/Resample_CFFT.h
    spectral/Resample_Complex.h
    stream/rsmpl_stream.h)

# The library is made for speed whatever a host, a packager or a build type asks of the rest, but for
# Debug: options of a target come after theirs.
set(optimised $<NOT:$<CONFIG:Debug>>)

function(rsmpl_objects name)
    add_library(${name} OBJECT ${ARGN})
    target_link_libraries(${name} PRIVATE rsmpl_options)
    target_compile_options(${name} PRIVATE $<${optimised}:-O2>)
    set_target_properties(${name} PROPERTIES
        POSITION_INDEPENDENT_CODE ON
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
endfunction()

# The kernels, once per instruction level: RSMPL_LEVEL names the namespace of that copy.
# g++ 12 leaves their loops rolled at -O2, which takes four times as long.  The slp vectoriser would
# make the recursive filter two to three times slower; copies of what stages share, larger.
function(rsmpl_kernel_level level)
    rsmpl_objects(rsmpl_kernels_${level}
        kernels/Resample_ConvertKernels.cpp
        kernels/Resample_FftKernels.cpp
        kernels/Resample_FirKernels.cpp
        kernels/Resample_IirKernels.cpp
        kernels/Resample_LevelKernels.cpp)
    target_compile_definitions(rsmpl_kernels_${level} PRIVATE RSMPL_LEVEL=${level})
    target_compile_options(rsmpl_kernels_${level} PRIVATE
        $<${optimised}:-O3> -fno-tree-slp-vectorize
        $<$<CXX_COMPILER_ID:GNU>:-fno-ipa-cp-clone> ${ARGN})
endfunction()

# On AArch64 g++ 12 copies registers in the loops over the stages' maps, and pairs loads, which cost
# a Cortex-A55 more than two of them.  Without either the 1:3 stage takes 26.7, 16.7 and 11.4 cycles per
# filter step on the A53, A55 and A72 instead of 30.3, 21.8 and 12.3 (./bench/estimate).
if(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    set_source_files_properties(kernels/Resample_IirKernels.cpp PROPERTIES
        COMPILE_OPTIONS "-frename-registers;-fno-peephole2")
endif()

rsmpl_objects(rsmpl_base
    api/resample_api.cpp
    convert/Resample_DatTypeConvert.cpp
    design/Resample_FIRFilterDesign.cpp
    design/Resample_WinFunc.cpp
    fir/Resample_FIRFiltering.cpp
    fir/Resample_GeneralResampler.cpp
    fir/Resample_Polyphase.cpp
    fir/Resample_iMalloc.cpp
    iir/Resample_IIRFilterDesign.cpp
    iir/Resample_Rsmpl_IIR_api.cpp
    kernels/Resample_KernelChoice.cpp
    kernels/Resample_StageMaps.cpp
    spectral/Resample_CFFT.cpp
    spectral/Resample_Complex.cpp)
rsmpl_kernel_level(baseline)
set(rsmpl_sources $<TARGET_OBJECTS:rsmpl_base> $<TARGET_OBJECTS:rsmpl_kernels_baseline>)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
    rsmpl_kernel_level(avx2 -mavx2 -mfma)
    target_compile_definitions(rsmpl_base PRIVATE RSMPL_HAVE_AVX2)
    list(APPEND rsmpl_sources $<TARGET_OBJECTS:rsmpl_kernels_avx2>)
endif()

# rsmpl_libraries(NAME OBJECTS...): NAME, shared, exporting what cmake/NAME.map lists, and NAME_static,
# under the same file name.
function(rsmpl_libraries name)
    set(version_script ${PROJECT_SOURCE_DIR}/cmake/${name}.map)
    add_library(${name} SHARED ${ARGN})
    set_target_properties(${name} PROPERTIES
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        INSTALL_RPATH $ORIGIN
        LINK_DEPENDS ${version_script})
    target_link_options(${name} PRIVATE
        -Wl,--version-script=${version_script} -Wl,-Bsymbolic-functions -Wl,-z,relro,-z,now)
    add_library(${name}_static STATIC ${ARGN})
    set_target_properties(${name}_static PROPERTIES OUTPUT_NAME ${name})
    foreach(library ${name} ${name}_static)
        set_target_properties(${library} PROPERTIES LINKER_LANGUAGE CXX)
        target_include_directories(${library} INTERFACE
            $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
            $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/rsmpl>)
    endforeach()
endfunction()

rsmpl_libraries(rsmpl ${rsmpl_sources})
set_target_properties(rsmpl_static PROPERTIES EXPORT_NAME static)
target_link_libraries(rsmpl_static INTERFACE stdc++ m) # a host in C would not bring them
add_library(rsmpl::rsmpl ALIAS rsmpl)
add_library(rsmpl::static ALIAS rsmpl_static)

# The layer that hosts share, a library of its own on the other's exported calls.
rsmpl_objects(rsmpl_stream_objects stream/road.cpp stream/rsmpl_stream.cpp)
target_compile_options(rsmpl_stream_objects PRIVATE $<${optimised}:-O3>)
rsmpl_libraries(rsmpl_stream $<TARGET_OBJECTS:rsmpl_stream_objects>)
set_target_properties(rsmpl_stream PROPERTIES EXPORT_NAME stream)
set_target_properties(rsmpl_stream_static PROPERTIES EXPORT_NAME stream_static)
target_link_libraries(rsmpl_stream PRIVATE rsmpl)
target_link_libraries(rsmpl_stream_static INTERFACE rsmpl_static)
add_library(rsmpl::stream ALIAS rsmpl_stream)
add_library(rsmpl::stream_static ALIAS rsmpl_stream_static)
