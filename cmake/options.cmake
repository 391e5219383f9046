# Flags that every target of this project shares: link gw_options.
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)

add_library(gw_options INTERFACE)
target_compile_options(gw_options INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
                                            -fno-omit-frame-pointer
                                            # part of -Wconversion in clang only
                                            $<$<CXX_COMPILER_ID:Clang>:-Wno-sign-conversion>)
target_include_directories(gw_options INTERFACE ${PROJECT_SOURCE_DIR})
if(GW_SANITIZE)
    add_compile_options(-fsanitize=${GW_SANITIZE} -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${GW_SANITIZE})
else()
    add_compile_definitions($<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>)
    add_compile_options(-fstack-protector-strong)
    add_link_options(-Wl,-z,relro,-z,now -Wl,--as-needed)
endif()

# System packages; imported as SYSTEM so that their headers do not meet our warnings.
pkg_check_modules(EVENT REQUIRED IMPORTED_TARGET libevent_core)
pkg_check_modules(YANG REQUIRED IMPORTED_TARGET libyang)
pkg_check_modules(EDIT REQUIRED IMPORTED_TARGET libedit)
pkg_check_modules(FUSE3 REQUIRED IMPORTED_TARGET fuse3)
pkg_check_modules(SNMP_AGENT REQUIRED IMPORTED_TARGET netsnmp-agent)
pkg_check_modules(SAFEC REQUIRED IMPORTED_TARGET libsafec)
