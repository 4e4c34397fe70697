# The panel has little memory. docs/panel.md says what each of these steps saves or costs.

include(CheckCXXCompilerFlag)

# Tell the compiler that no other library overrides a function of the module (symbol interposition), so that it may
# inline and call them directly. The panel's compiler may be too old for this option.
check_cxx_compiler_flag(-fno-semantic-interposition HAVE_NO_SEMANTIC_INTERPOSITION)

# keep_small(target): builds the target for speed, but without what makes code larger and no command faster. Drivers
# neither throw nor catch, so calls need no unwind tables and no clean-up code.
function(keep_small target)
  set(for_speed -O2 -fno-exceptions -fno-asynchronous-unwind-tables -fno-align-functions)
  if(HAVE_NO_SEMANTIC_INTERPOSITION)
    list(APPEND for_speed -fno-semantic-interposition)
  endif()
  target_compile_options(${target} PRIVATE "$<$<CONFIG:Release>:${for_speed}>")
  target_compile_definitions(${target} PRIVATE "$<$<CONFIG:Release>:QT_NO_EXCEPTIONS>")
endfunction()

# link_small(module): calls inside the module go directly to their target.
function(link_small module)
  target_link_options(${module} PRIVATE -Wl,-Bsymbolic-functions -Wl,--as-needed)
endfunction()
