# kelvara_layer(<name> [DEPENDS <lower layers>...])
#
# Builds kelvara/<name>/*.cpp into the static library kelvara_<name>. The
# repository root is the include root ("kelvara/base/Text.h"), but a layer's
# own sources see only the headers of the layers it links, because every
# layer is checked by kelvara_check_layering below.
function(kelvara_layer name)
    cmake_parse_arguments(ARG "" "" "DEPENDS" ${ARGN})
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS
        ${PROJECT_SOURCE_DIR}/kelvara/${name}/*.cpp)
    add_library(kelvara_${name} STATIC ${sources})
    target_include_directories(kelvara_${name} PUBLIC ${PROJECT_SOURCE_DIR})
    foreach(dep IN LISTS ARG_DEPENDS)
        target_link_libraries(kelvara_${name} PUBLIC kelvara_${dep})
    endforeach()
    kelvara_warnings(kelvara_${name})
    set_property(GLOBAL APPEND PROPERTY KELVARA_LAYERS ${name})
    set_property(GLOBAL PROPERTY KELVARA_LAYER_DEPS_${name} ${ARG_DEPENDS})
endfunction()

function(kelvara_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Werror)
endfunction()
