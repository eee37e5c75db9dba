# vek_set_warnings(target): the project's warning set, errors when VEK_WERROR.
function(vek_set_warnings target)
    if(MSVC)
        target_compile_options(${target} PRIVATE /W4 $<$<BOOL:${VEK_WERROR}>:/WX>)
    else()
        target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic
            $<$<BOOL:${VEK_WERROR}>:-Werror>)
    endif()
endfunction()
