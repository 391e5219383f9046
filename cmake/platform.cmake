# The five libraries of the appliance. Each is ours by default; name a library file to link the appliance's own behind
# the same header in platform/include. See docs/porting.md.
add_library(platform_headers INTERFACE)
target_include_directories(platform_headers INTERFACE ${PROJECT_SOURCE_DIR}/platform/include)

foreach(lib confd tollan maker board mtd)
    string(TOUPPER ${lib} upper)
    set(GW_${upper}_LIBRARY "" CACHE FILEPATH "The appliance's own ${lib} library instead of platform/${lib}")
endforeach()

# gw_platform_library(NAME SOURCES...): the target platform_NAME, built from SOURCES unless the appliance's is named.
function(gw_platform_library name)
    string(TOUPPER ${name} upper)
    if(GW_${upper}_LIBRARY)
        add_library(platform_${name} INTERFACE)
        target_link_libraries(platform_${name} INTERFACE platform_headers ${GW_${upper}_LIBRARY})
    else()
        add_library(platform_${name} STATIC ${ARGN})
        target_link_libraries(platform_${name} PUBLIC platform_headers PRIVATE gw_options)
    endif()
endfunction()
