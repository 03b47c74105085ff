# The warnings that this project is kept free of, for its own targets alone. GCC 12 takes an empty
# std::optional for an uninitialized one at -O1.
function(tool_binding_warnings target)
  target_compile_options(${target} PRIVATE
    $<$<CXX_COMPILER_ID:GNU,Clang>:-Wall -Wextra -Wpedantic -Wconversion -Wshadow>
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endfunction()
