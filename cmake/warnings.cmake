# The warnings that this project is kept free of, for its own targets alone.
function(tool_binding_warnings target)
  target_compile_options(${target} PRIVATE
    $<$<CXX_COMPILER_ID:GNU,Clang>:-Wall -Wextra -Wpedantic -Wconversion -Wshadow>)
endfunction()
