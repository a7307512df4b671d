# Calls inside one of our shared libraries bind to its own functions: they
# skip the PLT, and the compiler may inline exported functions into their
# callers. Hosts link against the libraries; they do not interpose them.
function(keel_bind_locally target)
  target_compile_options(${target} PRIVATE -fno-semantic-interposition)
  target_link_options(${target} PRIVATE -Wl,-Bsymbolic-functions)
endfunction()
